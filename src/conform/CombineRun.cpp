#include "conform/CombineRun.h"

#include "output/BwfWriter.h"
#include "session/Session.h"

#include <algorithm>
#include <new>

namespace ld
{
namespace
{

constexpr int searchSeconds = 2;

bool isSoundPlacement (const ScanFile& scan)
{
    return ! scan.alignment.needsManual && scan.alignment.method != Alignment::Method::none;
}

// The placement that a scan found for one of a guest's files, its first file ahead of its pieces.
const ScanFile* findLockedPlacement (const std::vector<ScanFile>& scans, const GuestClip& guest)
{
    const auto placementOf = [&] (const juce::File& file) -> const ScanFile* {
        const auto isSound = [&] (const ScanFile& scan) { return isSoundPlacement (scan) && scan.file == file; };
        const auto at = std::find_if (scans.begin(), scans.end(), isSound);
        return at == scans.end() ? nullptr : &*at;
    };

    if (const auto* placement = placementOf (guest.file))
        return placement;

    for (const auto& piece : guest.pieces)
        if (const auto* placement = placementOf (piece.file))
            return placement;

    return nullptr;
}

void placeGuest (Session& session, GuestClip& guest, const ScanFile* placement, const SyncProgress& progress)
{
    // Several pieces are searched one by one, each from its file.
    if (placement != nullptr || guest.pieces.size() <= 1)
        session.extractGuestAudio (guest);

    if (placement != nullptr)
        SyncEngine::applyLockedAlignment (guest, placement->alignment);
    else
        guest.alignment = SyncEngine().alignAndPlacePieces (session.host, guest, searchSeconds, progress);
}

void placeGuests (Session& session, const std::vector<ScanFile>& scans, const SyncProgress& progress)
{
    const auto count = (float) session.guests.size();
    auto index = 0.0f;

    for (auto& guest : session.guests)
    {
        SyncProgress guestProgress;

        if (progress)
            guestProgress = [&progress, index, count] (float fraction, const juce::String& phase) {
                progress ((index + fraction) / count, phase);
            };

        ++index;

        try
        {
            placeGuest (session, guest, findLockedPlacement (scans, guest), guestProgress);
        }
        catch (const std::bad_alloc&)
        {
            // One damaged header in a folder must not cost every take of it.
            guest.alignment = {};
            guest.alignment.needsManual = true;
            guest.alignment.detail = "Not enough memory to place it";
        }
    }
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

void rejectAll (std::vector<GuestOutcome>& guests)
{
    for (auto& guest : guests)
        guest.rejected = true;
}

juce::Result writeTake (Session& session, const juce::File& output, TakeOutcome& outcome)
{
    ExportRequest request;
    request.host = std::move (session.host);
    request.mixer = session.mixer;
    request.mixerCount = session.mixerCount();
    request.guests = std::move (session.guests);
    request.outputFile = output;

    auto result = PolyExporter::write (request);

    if (result.failed() && ! request.guests.empty())
    {
        // A poly is worth writing even without its ISOs.
        request.guests.clear();
        rejectAll (outcome.guests);
        result = PolyExporter::write (request);
    }

    return result;
}

void combine (const BatchMatch& take, const SyncProgress& progress, TakeOutcome& outcome)
{
    Session session;

    if (const auto loaded = session.loadHost (take.host.file); loaded.failed())
    {
        outcome.error = loaded.getErrorMessage();
        return;
    }

    for (const auto channel : take.omittedHost)
        session.omitHostChannel (channel);

    std::vector<juce::File> files;

    for (const auto& scan : take.guests)
        files.push_back (scan.file);

    juce::ignoreUnused (session.addGuestsWithoutAudio (files));
    placeGuests (session, take.guests, progress);

    for (const auto& guest : session.guests)
        outcome.guests.push_back (outcomeOf (guest));

    std::erase_if (session.guests, [] (const auto& guest) { return guest.alignment.needsManual; });
    session.applyMixerTemplate ({});

    const auto result = writeTake (session, outcome.output, outcome);
    outcome.written = result.wasOk();
    outcome.error = result.getErrorMessage();
}

}    // namespace

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

TakeOutcome combineTake (const BatchMatch& take, const juce::File& output, const SyncProgress& progress)
{
    TakeOutcome outcome;
    outcome.poly = take.host.file;
    outcome.output = output;
    outcome.reason = take.reason;
    outcome.score = take.score;

    try
    {
        combine (take, progress, outcome);
    }
    catch (const std::bad_alloc&)
    {
        outcome.written = false;
        outcome.error = "Not enough memory to combine " + take.host.file.getFileName() + ".";
    }

    return outcome;
}

}    // namespace ld
