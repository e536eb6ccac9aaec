#include "output/MixSum.h"

#include <algorithm>
#include <cmath>

namespace ld
{

using juce::int64;

MixSum::MixSum (const ExportRequest& requestToMix, const std::vector<GuestLanes>& lanes)
    : request (requestToMix), guests (lanes), anySolo (anySoloIn (channelsInUse (request.mixer, request.mixerCount))),
      mix ((size_t) blockFrames)
{
}

std::span<const float> MixSum::sum (std::span<const juce::int32> host, int64 start, int64 count)
{
    std::fill_n (mix.begin(), count, 0.0f);
    addGuests ({ start, count }, addHost (host, { start, count }));
    limit (count);
    return std::span (mix).first ((size_t) count);
}

// Adds a source at its gain. Without automation that is looked up once; with it, sample by sample.
template <typename Source>
void MixSum::add (const MixerChannel& channel, Block block, SoundingPart part, Source&& source)
{
    if (channel.automation.empty() && channel.muteAutomation.empty())
    {
        if (! mixerChannelAudible (channel, anySolo, block.start))
            return;

        const auto gain = mixDbToGain (channel.gainDb);

        for (auto i = part.begin; i < part.end; ++i)
            mix[(size_t) i] += source (i) * gain;

        return;
    }

    for (auto i = part.begin; i < part.end; ++i)
        if (mixerChannelAudible (channel, anySolo, block.start + i))
            mix[(size_t) i] += source (i) * mixDbToGain (mixerGainDbAt (channel, block.start + i));
}

// Returns the mixer's channels that the poly has taken.
int MixSum::addHost (std::span<const juce::int32> samples, Block block)
{
    const auto& host = request.host;
    auto index = 0;

    for (int c = 0; c < host.format.channels; ++c)
    {
        if (isChannelOmitted (host, c))
            continue;

        const auto feedsMix = (size_t) c >= host.tracks.size() || isMixSourceTrack (host.tracks[(size_t) c]);

        if (feedsMix && index < request.mixerCount)
            add (request.mixer[(size_t) index], block, { 0, block.count }, [&] (int64 i) {
                return (float) samples[(size_t) (i * host.format.channels + c)] * 0x1p-23f;
            });

        ++index;
    }

    return index;
}

void MixSum::addGuests (Block block, int index)
{
    for (const auto& guest : guests)
    {
        const auto local = block.start - guest.offset;
        auto lane = 0;

        for (const auto& channel : *guest.channels)
        {
            if (! isOriginalMixLane (*guest.clip, lane++) && index < request.mixerCount)
                add (request.mixer[(size_t) index], block, soundingPart (channel, local, block.count), [&] (int64 i) {
                    return channel[(size_t) (local + i)];
                });

            ++index;
        }
    }
}

void MixSum::limit (int64 count)
{
    auto peak = reached.peak;

    for (auto& sample : std::span (mix).first ((size_t) count))
    {
        peak = std::max (peak, std::abs (sample));
        reached.clippedFrames += std::abs (sample) > 1.0f;
        sample = std::clamp (sample, -1.0f, 1.0f);
    }

    reached.peak = peak;
    reached.frames += count;
}

}    // namespace ld
