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

void placeOrWait (const HostTake& host, GuestClip& guest, const LoadRequest& request, std::vector<juce::Uuid>& pending)
{
    if (findLocked (request.locked, guest) != nullptr)
    {
        juce::ignoreUnused (takeOverPlace (guest, placeGuest (host, describeGuest (guest), request.locked, {})));
        return;
    }

    extractAudio (host, guest);

    guest.lanesHidden = request.removesUnmatched;
    guest.matchPending = true;
    pending.push_back (guest.id);
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
    LoadedTake loaded;
    auto session = std::make_unique<Session>();
    loaded.result = session->loadHost (request.host);

    if (loaded.result.failed())
        return loaded;

    juce::ignoreUnused (session->addGuestsWithoutAudio (request.guests));

    for (auto& guest : session->guests)
    {
        placeOrWait (session->host, guest, request, loaded.pending);
    }

    if (request.removesUnmatched)
        session->selectedGuest = juce::Uuid::null();

    if (request.referenceChannel)
        session->setReferenceChannel (*request.referenceChannel);

    for (const auto channel : request.omittedHost)
        session->omitHostChannel (channel);

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
    described.pieces = guest.pieces;
    described.notes = guest.notes;
    return described;
}

AddedFiles addFiles (const HostTake& host, const std::vector<GuestClip>& guests, const std::vector<juce::File>& files)
{
    Session session;
    session.host = host;
    session.guests = guests;
    std::map<juce::String, size_t> piecesBefore;

    for (const auto& guest : guests)
        piecesBefore[guest.id.toString()] = std::max<size_t> (guest.pieces.size(), 1);

    AddedFiles added;

    for (const auto& result : session.addGuestsWithoutAudio (files))
        added.added += result.wasOk() ? 1 : 0;

    for (auto& guest : session.guests)
    {
        if (guest.pieces.size() == piecesBefore[guest.id.toString()])
            continue;

        extractAudio (session.host, guest);
        added.guests.push_back (std::move (guest));
    }

    return added;
}

std::vector<GuestClip> takeOverAddedFiles (Session& session, std::vector<GuestClip> guests)
{
    std::vector<GuestClip> replaced;
    auto isLayoutChanged = false;

    for (auto& guest : guests)
    {
        auto* const live = session.findGuest (guest.id);
        session.selectedGuest = guest.id;

        if (live == nullptr)
        {
            session.guests.push_back (std::move (guest));
            isLayoutChanged = true;
            continue;
        }

        guest.tracks = live->tracks;
        guest.notes = live->notes;
        guest.alignment = live->alignment;
        guest.lanesHidden = live->lanesHidden;
        guest.waveEmphasis = live->waveEmphasis;
        std::swap (*live, guest);
        replaced.push_back (std::move (guest));
    }

    if (isLayoutChanged)
        session.resetMixer();

    return replaced;
}

GuestClip takeOutGuest (Session& session, const juce::Uuid& id)
{
    GuestClip taken;

    if (auto* const guest = session.findGuest (id))
    {
        std::swap (taken, *guest);
        guest->id = id;
    }

    session.removeGuest (id);
    return taken;
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
            found.files.push_back (file);
    }

    return found;
}

}    // namespace ld
