#include "sync/ClipAudio.h"

#include "media/LargeBuffers.h"
#include "media/MemoryBudget.h"
#include "media/SoundFile.h"
#include "media/VectorClones.h"
#include "sync/Signal.h"

#include <cmath>

namespace ld
{
namespace
{

LD_VECTOR_CLONES void averageInto (float* out, juce::uint8* covered, const float* in, std::ptrdiff_t count)
{
    for (std::ptrdiff_t i = 0; i < count; ++i)
    {
        const auto n = covered[i];
        const auto mean = std::fma (out[i], (float) n, in[i]) / (float) (n + 1);
        out[i] = n == 0 ? in[i] : mean;
        covered[i] = (juce::uint8) ((n < 254 ? n : 254) + 1);
    }
}

}    // namespace

std::vector<std::vector<float>>
layOutAudio (const std::vector<PlacedAudio>& pieces, size_t channelCount, juce::int64 length)
{
    requireMemory ((double) length * ((double) channelCount * sizeof (float) + 1.0));
    std::vector<std::vector<float>> channels (channelCount);
    auto covered = makeZeros<juce::uint8> ((size_t) length);

    for (size_t c = 0; c < channelCount; ++c)
    {
        channels[c] = makeZeros<float> ((size_t) length);
        std::fill (covered.begin(), covered.end(), (juce::uint8) 0);

        for (const auto& piece : pieces)
        {
            if (c >= piece.channels->size() || piece.start >= length)
                continue;

            const auto& audio = (*piece.channels)[c];
            const auto count = std::min (length - piece.start, (juce::int64) audio.size());
            averageInto (
                channels[c].data() + piece.start, covered.data() + piece.start, audio.data(), (std::ptrdiff_t) count);
        }
    }

    return channels;
}

GuestClip readForSearch (const SoundFile& source, int hostRate)
{
    GuestClip clip;
    clip.file = source.file;
    clip.format = source.format;
    clip.channelAudio = source.readAllChannels();

    for (auto& channel : clip.channelAudio)
        channel = resampleTo (std::move (channel), source.format.sampleRate, (double) hostRate);

    clip.monoAudio = mixdown (clip.channelAudio);
    return clip;
}

void rebuildGuestPeaks (GuestClip& guest)
{
    guest.peaks.clear();

    for (const auto& channel : guest.channelAudio)
        guest.peaks.push_back (peaksOf (channel, guestPeakBuckets));
}

void stretchGuest (GuestClip& guest, double driftSlope)
{
    for (auto& channel : guest.channelAudio)
        channel = applyClockDrift (channel, driftSlope);

    guest.monoAudio =
        guest.channelAudio.empty() ? applyClockDrift (guest.monoAudio, driftSlope) : mixdown (guest.channelAudio);
    rebuildGuestPeaks (guest);
}

}    // namespace ld
