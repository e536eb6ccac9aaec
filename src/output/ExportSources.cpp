#include "output/ExportSources.h"

#include "media/SoundFile.h"
#include "sync/Signal.h"

#include <algorithm>

namespace ld
{
namespace
{

// A failed result says why an incomplete export is refused.
juce::Result prepareGuest (const GuestClip& guest, int hostRate, GuestLanes& lanes)
{
    lanes.clip = &guest;
    lanes.offset = guest.alignment.offsetSamples;

    if (guest.channelAudio.empty())
    {
        if (guest.pieces.size() >= 2)
            return juce::Result::fail ("Stitched ISO audio was not prepared; refusing an incomplete export.");

        if (SoundFile sound; sound.open (guest.file).wasOk())
        {
            lanes.loaded = sound.readAllChannels();

            for (auto& channel : lanes.loaded)
                channel = resampleTo (std::move (channel), sound.format.sampleRate, hostRate);
        }
    }

    lanes.channels = guest.channelAudio.empty() ? &lanes.loaded : &guest.channelAudio;

    if ((int) lanes.channels->size() != std::max (guest.format.channels, 1))
        return juce::Result::fail ("Could not prepare every ISO channel for export.");

    return juce::Result::ok();
}

}    // namespace

SoundingPart soundingPart (const std::vector<float>& channel, juce::int64 local, juce::int64 count)
{
    const auto begin = std::clamp<juce::int64> (-local, 0, count);
    return { begin, std::clamp ((juce::int64) channel.size() - local, begin, count) };
}

juce::Result ExportSources::open (const ExportRequest& request)
{
    guests.resize (request.guests.size());

    for (size_t i = 0; i < guests.size(); ++i)
        if (const auto prepared = prepareGuest (request.guests[i], request.host.format.sampleRate, guests[i]);
            prepared.failed())
            return prepared;

    // A poly that was exchanged for another since it was loaded is not the one that the request speaks of.
    if (! host.open (request.host.file) || host.format != request.host.format || ! host.isPlausible())
        return juce::Result::fail ("Could not reopen host file.");

    return juce::Result::ok();
}

bool ExportSources::readHost (juce::int64 start, juce::int64 count, std::span<juce::int32> block) const
{
    const auto held = std::clamp<juce::int64> (host.framesInFile() - start, 0, count);
    std::fill_n (block.begin(), count * host.format.channels, 0);
    return held == 0 || host.readInterleavedInt32 (start, held, block.data());
}

}    // namespace ld
