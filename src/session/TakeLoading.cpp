#include "session/TakeLoading.h"

#include "batch/FolderScan.h"
#include "media/BextIxml.h"
#include "session/GuestPlacing.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

bool hasFile (const Session& session, const juce::File& file)
{
    return session.host.file == file || std::ranges::any_of (session.guests, [&] (const auto& guest) {
               return std::ranges::count (filesOf (guest), file) > 0;
           });
}

// A guest that does not fit stays, so that the user sees what is missing.
void extractAudio (const HostTake& host, GuestClip& guest)
{
    try
    {
        stitchGuest (host, guest);
    }
    catch (const std::bad_alloc&)
    {
        guest.alignment.needsManual = true;
        guest.alignment.detail = "Not enough memory to load it";
    }
}

void placeOrWait (const HostTake& host, GuestClip& guest, const LockedPlacements& known, LoadedTake& loaded)
{
    if (findLocked (known, guest) != nullptr)
    {
        juce::ignoreUnused (takeOverPlace (guest, placeGuest (host, describeGuest (guest), known, {})));
        return;
    }

    extractAudio (host, guest);
    guest.matchPending = true;
    loaded.pending.push_back (guest.id);
}

// A file that is not there today, or cannot be read, keeps its lane.
GuestClip missingGuest (const ScanFile& scan)
{
    GuestClip guest;
    guest.id = juce::Uuid();
    copyIdentity (scan, guest);
    guest.alignment = guest.pieces.emplace_back().saved = scan.alignment;
    copyIdentity (scan, guest.pieces.back());
    guest.pieces.back().alignment = scan.alignment;
    guest.isMissing = true;

    auto& track = guest.tracks.emplace_back();
    track.name = scan.file.getFileNameWithoutExtension();
    track.isHost = false;
    guest.givenTracks = guest.tracks;
    return guest;
}

// Whether a file's stamp puts it outside the take. Lengths and places are host samples.
bool liesOutside (const HostTake& host, const ScanFile& scan)
{
    const auto offset = offsetByStamps (host, scan);

    if (! offset)
        return false;

    const auto rate = std::max (host.format.sampleRate, 1);
    const auto length =
        (juce::int64) std::round ((double) framesHeld (scan.format) * rate / std::max (scan.format.sampleRate, 1));
    return length + *offset < 1 || *offset >= framesHeld (host.format);
}

}    // namespace

LoadedTake loadTake (const LoadRequest& request)
{
    const auto& take = request.take;
    LoadedTake loaded;
    auto session = std::make_unique<Session>();
    loaded.result = session->loadHost (take.host.file);

    if (loaded.result.failed())
        return loaded;

    for (const auto channel : take.omittedHost)
        session->omitHostChannel (channel);

    std::vector<juce::File> files;

    for (const auto& scan : take.guests)
        files.push_back (scan.file);

    const auto results = session->addGuestsWithoutAudio (files);
    const auto known = lockedPlacementsOf (take);

    for (auto& guest : session->guests)
        if (request.isWanted())
            placeOrWait (session->host, guest, known, loaded);

    for (size_t i = 0; i < files.size(); ++i)
        if (const auto isAdded = results[i].wasOk(); ! isAdded && ! hasFile (*session, files[i]))
            session->guests.push_back (missingGuest (take.guests[i]));

    session->selectedGuest = juce::Uuid::null();

    if (request.referenceChannel)
        session->setReferenceChannel (*request.referenceChannel);

    loaded.session = std::move (session);
    return loaded;
}

HostTake describeHost (const HostTake& host)
{
    HostTake described;
    copyIdentity (host, described);
    described.tracks = host.tracks;
    described.omittedChannels = host.omittedChannels;
    return described;
}

GuestClip describeGuest (const GuestClip& guest)
{
    GuestClip described;
    copyIdentity (guest, described);
    described.id = guest.id;
    described.alignment = guest.alignment;
    described.tracks = guest.tracks;
    described.givenTracks = guest.givenTracks;
    described.pieces = guest.pieces;
    described.leftOut = guest.leftOut;
    described.notes = guest.notes;
    described.isMissing = guest.isMissing;
    return described;
}

AddedGuests addGuests (const HostTake& host,
                       const std::vector<GuestClip>& guests,
                       const std::vector<ScanFile>& scans,
                       const std::function<bool()>& isWanted)
{
    Session session;
    session.host = host;
    std::map<juce::String, size_t> filesBefore;

    // Missing guests cannot be read, so no file is added to one.
    for (const auto& guest : guests)
    {
        if (guest.isMissing)
            continue;

        session.guests.push_back (guest);
        filesBefore[guest.id.toString()] = filesOf (guest).size();
    }

    std::vector<juce::File> files;
    std::transform (
        scans.begin(), scans.end(), std::back_inserter (files), [] (const auto& scan) { return scan.file; });
    const auto results = session.addGuestsWithoutAudio (files);
    LockedPlacements known;
    LoadedTake loaded;
    AddedGuests added;

    for (const auto& scan : scans)
        if (! isUnsearched (scan.alignment))
            known.try_emplace (scan.file.getFullPathName(), scan.alignment);

    for (const auto& guest : guests)
        for (const auto& place : filePlacesOf (guest))
            if (! isUnsearched (place.place))
                known.try_emplace (place.file.getFullPathName(), place.place);

    for (auto& guest : session.guests)
    {
        if (filesOf (guest).size() == filesBefore[guest.id.toString()] || ! isWanted())
            continue;

        placeOrWait (session.host, guest, known, loaded);
        added.guests.push_back (std::move (guest));
    }

    for (size_t i = 0; i < scans.size(); ++i)
        if (results[i].failed() && ! hasFile (session, files[i]))
            added.guests.push_back (missingGuest (scans[i]));

    added.pending = std::move (loaded.pending);
    return added;
}

FilesForTake filesForTake (const HostTake& host, const juce::File& folder)
{
    FilesForTake found;

    for (const auto& file : collectMediaFiles (folder))
    {
        if (file == host.file)
            continue;

        const auto scan = inspectAudioFile (file);

        if (! scan.format.valid)
            continue;

        if (liesOutside (host, scan))
            ++found.skipped;
        else
            found.files.push_back (scan);
    }

    return found;
}

}    // namespace ld
