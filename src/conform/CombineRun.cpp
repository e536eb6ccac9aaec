#include "conform/CombineRun.h"

#include "output/BwfWriter.h"
#include "output/Interchange.h"
#include "session/GuestPlacing.h"
#include "session/LockedPlacements.h"
#include "session/TakeLoading.h"

#include <algorithm>
#include <new>

namespace ld
{
namespace
{

const auto givenUp = juce::Result::fail ("Cancelled.");

// Returns false once the run is not wanted any more.
bool placeGuests (Session& session,
                  const LockedPlacements& locked,
                  const SyncProgress& progress,
                  const std::function<bool()>& isWanted)
{
    const auto count = (float) session.guests.size();
    auto index = 0.0f;

    for (auto& guest : session.guests)
    {
        SyncProgress guestProgress;

        if (! isWanted())
            return false;

        if (progress)
            guestProgress = [&progress, index, count] (float fraction, const juce::String& phase) {
                progress ((index + fraction) / count, phase);
            };

        ++index;

        auto placed = placeGuest (session.host, describeGuest (guest), locked, guestProgress);
        juce::ignoreUnused (takeOverPlace (guest, std::move (placed)));
    }

    return isWanted();
}

GuestOutcome outcomeOf (const GuestClip& guest)
{
    GuestOutcome outcome;
    outcome.pieces = guest.pieces;
    outcome.alignment = guest.alignment;
    outcome.rejected = guest.alignment.needsManual;

    for (const auto& track : guest.tracks)
        outcome.trackNames.push_back (track.name);

    return outcome;
}

GuestOutcome leftOut (const ScanFile& scan, const juce::String& why)
{
    GuestOutcome outcome;
    copyIdentity (scan, outcome.pieces.emplace_back());
    outcome.alignment.needsManual = true;
    outcome.alignment.detail = why;
    outcome.rejected = true;
    return outcome;
}

void leaveOutAll (std::vector<GuestOutcome>& guests, const juce::String& why)
{
    for (auto& guest : guests)
    {
        if (! guest.rejected)
            guest.alignment.detail = why;

        guest.rejected = true;
    }
}

bool isListed (const std::vector<GuestOutcome>& guests, const juce::File& file)
{
    const auto isFile = [&] (const GuestPiece& piece) { return piece.file == file; };
    const auto holdsFile = [&] (const GuestOutcome& guest) {
        return std::any_of (guest.pieces.begin(), guest.pieces.end(), isFile);
    };
    return std::any_of (guests.begin(), guests.end(), holdsFile);
}

// The guests of the session, then every other file: those that could not be added, and pieces that found no place
// beside the others of their source.
std::vector<GuestOutcome>
listGuests (const Session& session, const std::vector<ScanFile>& scans, const std::vector<juce::Result>& results)
{
    std::vector<GuestOutcome> guests;

    for (const auto& guest : session.guests)
        guests.push_back (outcomeOf (guest));

    for (size_t i = 0; i < scans.size(); ++i)
    {
        if (scans[i].file == session.host.file || isListed (guests, scans[i].file))
            continue;

        const auto failed = results[i].failed();
        guests.push_back (leftOut (scans[i], failed ? results[i].getErrorMessage() : "No place found for this piece"));
        guests.back().isUnreadable = failed;
    }

    return guests;
}

ExportRequest exportRequestOf (Session& session, const juce::File& output)
{
    ExportRequest request;
    request.mixer = session.mixer;
    request.mixerCount = session.mixerCount();    // told by host and guests
    request.host = std::move (session.host);
    request.guests = std::move (session.guests);
    request.outputFile = output;
    return request;
}

juce::Result writeTake (ExportRequest& request, TakeOutcome& outcome)
{
    const auto result = PolyExporter::write (request);

    if (result.wasOk() || request.guests.empty() || ! request.isWanted())
        return result;

    // A poly is worth writing even without its ISOs.
    const auto count = (int) request.guests.size();
    request.guests.clear();
    const auto alone = PolyExporter::write (request);

    if (alone.wasOk())
    {
        outcome.rejected += count;
        leaveOutAll (outcome.guests, result.getErrorMessage());
    }

    return alone;
}

juce::Result
writeInterchange (ExportRequest written, const ReferencePicture& picture, const std::vector<GuestOutcome>& outcomes)
{
    InterchangeRequest request;

    for (const auto& guest : outcomes)
        if (guest.rejected && ! guest.pieces.empty())
            request.leftOut.push_back ({ guest.pieces.front().file, guest.alignment });

    request.host = std::move (written.host);
    request.guests = std::move (written.guests);
    request.video = picture;
    request.combinedFile = request.baseFile = written.outputFile;
    return writeInterchangePackage (request);
}

// Without an output, its MIX is only measured.
void combine (const BatchMatch& take, const TakeEdits& edits, const SyncProgress& progress, TakeOutcome& outcome)
{
    Session session;

    if (const auto loaded = session.loadHost (take.host.file); loaded.failed())
    {
        outcome.error = loaded.getErrorMessage();
        return;
    }

    outcome.isPolyRead = true;

    for (const auto channel : take.omittedHost)
        session.omitHostChannel (channel);

    std::vector<juce::File> files;

    for (const auto& scan : take.guests)
        files.push_back (scan.file);

    const auto results = session.addGuestsWithoutAudio (files);
    applyMetadataOverrides (session, edits.metadata, edits.names);

    if (! placeGuests (session, lockedPlacementsOf (take), progress, edits.isWanted))
    {
        outcome.error = givenUp.getErrorMessage();
        return;
    }

    outcome.guests = listGuests (session, take.guests, results);
    outcome.rejected =
        (int) std::erase_if (session.guests, [] (const auto& guest) { return guest.alignment.needsManual; });
    session.mixer = bankOf (session.host, session.guests, edits.levels, edits.mixer);

    auto request = exportRequestOf (session, outcome.output);
    request.includeMarkers = edits.writesMarkers;
    request.hasNewIds = edits.givesNewIds;
    request.isWanted = edits.isWanted;
    request.mixMeasured = [&outcome] (const MixLevel& level) { outcome.mix = level; };

    if (outcome.output == juce::File())
    {
        outcome.error = BwfWriter::measureMix (request).getErrorMessage();
        return;
    }

    auto result = writeTake (request, outcome);
    outcome.written = result.wasOk();

    if (outcome.written && edits.writesInterchange)
        result = writeInterchange (std::move (request), edits.picture, outcome.guests);

    outcome.error = result.getErrorMessage();
}

// No guest of a take that was not written is in a file.
void leaveOutGuests (const BatchMatch& take, TakeOutcome& outcome)
{
    if (outcome.guests.empty())
        for (const auto& scan : take.guests)
            outcome.guests.push_back (leftOut (scan, outcome.error));

    leaveOutAll (outcome.guests, outcome.error);
}

}    // namespace

TakeEdits editsOf (const SessionDocument& document)
{
    TakeEdits edits;
    edits.metadata = document.metadataOverrides;
    edits.names = document.nameOverrides;
    edits.levels = document.levels;
    edits.mixer = document.mixer;
    edits.picture.file = document.videoFile;
    edits.picture.loaded = document.videoFile.existsAsFile();
    edits.picture.timestampSamples = document.videoTimestampSamples;
    edits.picture.timecodeRate = document.videoTimecodeRate;
    return edits;
}

OutputNames::OutputNames (juce::File folderToUse) : folder (std::move (folderToUse))
{
}

juce::File OutputNames::nameFor (const juce::File& poly)
{
    const auto stem = "COMBINED_" + poly.getFileNameWithoutExtension();
    auto name = stem;

    // Some file systems do not tell capitals from small letters.
    for (int number = 2; ! taken.insert (name.toLowerCase()).second; ++number)
        name = stem + "_" + juce::String (number);

    return folder.getChildFile (name + ".wav");
}

TakeOutcome
combineTake (const BatchMatch& take, const TakeEdits& edits, const juce::File& output, const SyncProgress& progress)
{
    TakeOutcome outcome;
    outcome.poly = take.host.file;
    outcome.output = output;
    outcome.reason = take.reason;
    outcome.score = take.score;

    try
    {
        combine (take, edits, progress, outcome);
    }
    catch (const std::bad_alloc&)
    {
        outcome.error = "Not enough memory to combine " + take.host.file.getFileName() + ".";
    }

    if (! outcome.written)
        leaveOutGuests (take, outcome);

    return outcome;
}

TakeOutcome measureTakeMix (const BatchMatch& take, const TakeEdits& edits, const SyncProgress& progress)
{
    return combineTake (take, edits, {}, progress);
}

std::vector<TakeOutcome> combineTakes (const std::vector<BatchMatch>& takes,
                                       const TakeEdits& edits,
                                       const juce::File& folder,
                                       const CombineProgress& progress)
{
    std::vector<TakeOutcome> outcomes;
    OutputNames names (folder);

    for (const auto& take : takes)
    {
        if (! edits.isWanted())
            break;

        const auto told = [&, index = (int) outcomes.size()] (float fraction, const juce::String& phase) {
            if (progress)
                progress (index, fraction, phase);
        };
        told (0.0f, {});
        const auto outcome = combineTake (take, edits, names.nameFor (take.host.file), told);

        if (outcome.isPolyRead)
            told (1.0f, {});

        outcomes.push_back (outcome);
    }

    return outcomes;
}

juce::String combineSummary (int written, int count, int rejected)
{
    juce::String text;
    text << "Wrote " << written << " of " << count << " COMBINED WAV files.";

    if (rejected > 0)
        text << " " << rejected << " ISO candidates were rejected; their polys were still written.";

    if (count > written)
        text << " " << (count - written) << " source poly files could not be read or written.";

    return text;
}

}    // namespace ld
