#include "batch/SourceAudio.h"
#include "sync/MfccSearch.h"
#include "sync/Signal.h"
#include "sync/StreamResampler.h"

#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

// What is computed from a stretch or from blocks of a signal is what the whole signal gives, digit for digit.

namespace ld::test
{
namespace
{

using juce::int64;

// Visits a signal in blocks of odd sizes.
template <typename Visit>
void inBlocks (const Signal& signal, Visit&& visit)
{
    const size_t sizes[] = { 1, 7, 4096, 2, 256, 1021 };

    for (size_t at = 0, i = 0; at < signal.size(); ++i)
    {
        const auto size = std::min (sizes[i % std::size (sizes)], signal.size() - at);
        visit (std::span (signal).subspan (at, size));
        at += size;
    }
}

}    // namespace

TEST (SignalInBlocks, IsResampledAsAWhole)
{
    for (const auto& [from, to] : { std::pair { 48000.0, 8000.0 },
                                    { 44100.0, 48000.0 },
                                    { 48000.0, 44100.0 },
                                    { 48000.0, 48000.0 },
                                    { 8000.0, 96000.0 } })
        for (const auto length : { 1, 2, 3, 50, 20011 })
        {
            const auto signal = noise (length, 1);
            const auto whole = resampleTo (signal, from, to);
            EXPECT_EQ ((int64) whole.size(), resampledLength (length, from, to));

            for (const auto first : { (int64) 0, (int64) whole.size() / 3, (int64) whole.size() - 1 })
            {
                StreamResampler resampler (length, from, to, first);
                Signal out;
                inBlocks (stretchOf (signal, resampler.firstInput(), length - resampler.firstInput()),
                          [&] (auto block) { resampler.push (block, out); });
                EXPECT_EQ (out, Signal (whole.begin() + first, whole.end())) << from << " to " << to << ", " << length;
            }
        }
}

TEST (SignalInBlocks, HasTheLoudestWindowAndTheCoefficientsOfTheWhole)
{
    auto signal = speech (40 * 8000, 8000, 3);
    std::fill (signal.begin() + 9000, signal.begin() + 30000, 0.0f);

    for (const auto window : { 1, 100, 256, 1000, 30001, 400000 })
    {
        LoudestWindow loudest (window);
        inBlocks (signal, [&] (auto block) { loudest.push (block); });
        EXPECT_EQ (loudest.finish(), loudestWindowStart (signal, window)) << window;
    }

    MfccSignal::Builder builder ((int64) signal.size());
    inBlocks (signal, [&] (auto block) { builder.push (block); });
    const auto built = builder.finish();
    const auto whole = computeMfcc (signal);
    ASSERT_EQ (built.frames().size(), whole.size());
    EXPECT_TRUE (std::equal (whole.begin(), whole.end(), built.frames().begin()));
}

// The window's energy, summed anew at each place.
TEST (SignalInBlocks, LoudestWindowIsTheLoudest)
{
    const auto signal = speech (6000, 8000, 4);
    constexpr size_t window = 700;
    auto best = 0.0;
    size_t bestStart = 0;

    for (size_t start = 0; start + window <= signal.size(); ++start)
    {
        auto energy = 0.0;

        for (size_t i = 0; i < window; ++i)
            energy += (double) signal[start + i] * signal[start + i];

        if (energy > best)
        {
            best = energy;
            bestStart = start;
        }
    }

    EXPECT_EQ (loudestWindowStart (signal, window), (int64) bestStart - 1) << "told one sample early";
}

TEST (SourceAudio, StretchesAreThoseOfTheWholeFile)
{
    const TempFolder temp;

    for (const auto fileRate : { 48000, 44100, 96000 })
    {
        const auto length = 80021;
        const WaveFormat format { .channels = 2, .sampleRate = fileRate, .bits = 32, .tag = 3 };
        const auto file = WaveBuilder (format, { noise (length, 1), noise (length, 2) }).writeTo (temp.file ("a.wav"));
        const auto whole = loadAllChannels (file, 48000);
        ASSERT_EQ (whole.size(), 2u);
        EXPECT_EQ (whole[1], resampleTo (noise (length, 2), fileRate, 48000)) << fileRate;

        const auto mono = mixdown (whole);
        const SourceAudio source (file, 48000);
        ASSERT_EQ (source.length(), (int64) mono.size());

        for (const auto& [start, count] : { std::pair { 0, 1 }, { 0, 36000 }, { 32767, 2 }, { 1001, 30000 } })
            EXPECT_EQ (source.readMono (start, count), stretchOf (mono, start, count)) << fileRate << " " << start;

        EXPECT_EQ (source.readMono (source.length() - 5, 5), stretchOf (mono, source.length() - 5, 5)) << fileRate;
    }

    EXPECT_TRUE (loadAllChannels (temp.file ("none.wav"), 48000).empty());
    const auto empty = WaveBuilder (WaveFormat {}, { {} }).writeTo (temp.file ("empty.wav"));
    EXPECT_EQ (loadAllChannels (empty, 48000), Channels { { 0.0f } });
}

}    // namespace ld::test
