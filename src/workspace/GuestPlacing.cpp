#include "workspace/GuestPlacing.h"

#include "media/BwfReader.h"
#include "media/LargeBuffers.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int searchSeconds = 2;

}    // namespace

HostTake readHostForSearch (HostTake host, int referenceChannel)
{
    BwfReader reader;

    if (! reader.open (host.file) || ! reader.isPlausible())
        return host;

    try
    {
        const auto channel = std::clamp (referenceChannel, 0, std::max (reader.format.channels, 1) - 1);
        host.referenceAudio = makeZeros<float> ((size_t) reader.framesInFile());
        juce::ignoreUnused (reader.readChannel (channel, 0, reader.framesInFile(), host.referenceAudio.data(), 1));
    }
    catch (const std::bad_alloc&)
    {
        host.referenceAudio.clear();
    }

    return host;
}

PlacedGuest placeGuest (const HostTake& host, GuestClip guest, const SyncProgress& progress)
{
    PlacedGuest placed { std::move (guest), {} };

    try
    {
        // Several pieces are searched one by one, each from its file.
        if (placed.guest.pieces.size() <= 1)
            stitchGuest (host, placed.guest);

        placed.alignment = SyncEngine().alignAndPlacePieces (host, placed.guest, searchSeconds, progress);
    }
    catch (const std::bad_alloc&)
    {
        placed.guest.channelAudio.clear();
        placed.alignment = {};
        placed.alignment.needsManual = true;
        placed.alignment.detail = "Not enough memory to place it";
    }

    return placed;
}

GuestClip takeOverPlace (GuestClip& live, PlacedGuest placed)
{
    auto& found = placed.guest;

    if (! found.channelAudio.empty())
    {
        std::swap (live.file, found.file);
        std::swap (live.format, found.format);
        std::swap (live.bext, found.bext);
        std::swap (live.ixml, found.ixml);
        std::swap (live.pieces, found.pieces);
        std::swap (live.channelAudio, found.channelAudio);
        std::swap (live.monoAudio, found.monoAudio);
        std::swap (live.peaks, found.peaks);
    }

    live.alignment = placed.alignment;
    live.matchPending = false;
    live.lanesHidden = false;
    live.waveEmphasis = 1.0f;
    return std::move (placed.guest);
}

}    // namespace ld
