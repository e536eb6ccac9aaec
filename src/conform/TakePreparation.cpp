#include "conform/TakePreparation.h"

#include "session/GuestPlacing.h"
#include "session/LockedPlacements.h"
#include "session/TakeLoading.h"
#include "session/TakeSketch.h"

#include <algorithm>
#include <new>

namespace ld
{
namespace
{

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

ExportRequest exportRequestOf (Session& session)
{
    ExportRequest request;
    request.mixer = session.mixer;
    request.mixerCount = session.mixerCount();    // counted from host and guests
    request.host = std::move (session.host);
    request.guests = std::move (session.guests);
    return request;
}

juce::Result makeReady (const BatchMatch& take,
                        const TakeEdits& edits,
                        const SyncProgress& progress,
                        TakeOutcome& outcome,
                        Session& session)
{
    if (const auto loaded = session.loadHost (take.host.file); loaded.failed())
        return loaded;

    outcome.isPolyRead = true;

    for (const auto channel : take.omittedHost)
        session.omitHostChannel (channel);

    std::vector<juce::File> files;

    for (const auto& scan : take.guests)
        files.push_back (scan.file);

    const auto results = session.addGuestsWithoutAudio (files);
    applyMetadataOverrides (session, edits.metadata, edits.names);

    for (auto& guest : session.guests)
        for (auto& piece : guest.pieces)
            piece.wantsHash = edits.wantsHashes;

    if (! placeGuests (session, lockedPlacementsOf (take), progress, edits.isWanted))
        return juce::Result::fail ("Cancelled.");

    outcome.guests = listGuests (session, take.guests, results);
    outcome.rejected =
        (int) std::erase_if (session.guests, [] (const auto& guest) { return guest.alignment.needsManual; });
    session.mixer = bankOf (session.host, session.guests, edits.levels, edits.mixer);
    return juce::Result::ok();
}

// No guest of a take that was not written is in a file.
void leaveOutGuests (const BatchMatch& take, TakeOutcome& outcome)
{
    if (outcome.guests.empty())
        for (const auto& scan : take.guests)
            outcome.guests.push_back (leftOut (scan, outcome.error));

    leaveOutAll (outcome.guests, outcome.error);
}

ReferencePicture pictureOf (const SessionDocument& document)
{
    ReferencePicture picture;
    picture.file = document.videoFile;
    picture.loaded = document.videoFile.existsAsFile();
    picture.timestampSamples = document.videoTimestampSamples;
    picture.timecodeRate = document.videoTimecodeRate;
    return picture;
}

}    // namespace

TakeEdits editsOf (const SessionDocument& document)
{
    return { .metadata = document.metadataOverrides,
             .names = document.nameOverrides,
             .levels = document.levels,
             .mixer = document.mixer,
             .picture = pictureOf (document) };
}

TakeOutcome outcomeOfWork (const BatchMatch& take, const TakeEdits& edits)
{
    TakeOutcome outcome;
    outcome.poly = take.host.file;
    outcome.reason = take.reason;
    outcome.score = take.score;
    const auto sketch = sketchTake ({ .take = take, .referenceChannel = {} });

    if (sketch == nullptr)
    {
        outcome.error = "Could not read " + take.host.file.getFileName() + ".";
        leaveOutGuests (take, outcome);
        return outcome;
    }

    outcome.isPolyRead = true;
    applyMetadataOverrides (*sketch, edits.metadata, edits.names);
    std::vector<juce::Result> results;

    for (const auto& scan : take.guests)
        results.push_back (scan.file.existsAsFile() ? juce::Result::ok()
                                                    : juce::Result::fail ("The file is not there"));

    outcome.guests = listGuests (*sketch, take.guests, results);
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

TakeOutcome
prepareTake (const BatchMatch& take, const TakeEdits& edits, const SyncProgress& progress, const TakeWriter& write)
{
    TakeOutcome outcome;
    outcome.poly = take.host.file;
    outcome.reason = take.reason;
    outcome.score = take.score;

    try
    {
        Session session;
        auto result = makeReady (take, edits, progress, outcome, session);

        if (result.wasOk())
        {
            auto request = exportRequestOf (session);
            result = write (request, outcome);
        }

        outcome.error = result.getErrorMessage();
    }
    catch (const std::bad_alloc&)
    {
        outcome.error = "Not enough memory to combine " + take.host.file.getFileName() + ".";
    }

    if (! outcome.written)
        leaveOutGuests (take, outcome);

    return outcome;
}

std::vector<TakeOutcome> forEachTake (int count,
                                      const std::function<bool()>& isWanted,
                                      const std::function<TakeOutcome (int, const SyncProgress&)>& takeAt,
                                      const CombineProgress& progress)
{
    std::vector<TakeOutcome> outcomes;

    for (int index = 0; index < count && isWanted(); ++index)
    {
        const auto told = [&] (float fraction, const juce::String& phase) {
            if (progress)
                progress (index, fraction, phase);
        };
        told (0.0f, {});
        outcomes.push_back (takeAt (index, told));

        if (outcomes.back().isPolyRead)
            told (1.0f, {});
    }

    return outcomes;
}

}    // namespace ld
