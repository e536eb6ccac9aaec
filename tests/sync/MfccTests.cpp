#include "sync/MfccSearch.h"

#include "support/TestSignals.h"

#include <gmock/gmock.h>

#include <cmath>
#include <complex>

namespace ld::test
{
namespace
{

using juce::int64;
using testing::Each;
using testing::FloatNear;

constexpr double pi = juce::MathConstants<double>::pi;

MfccResult offset (const Signal& host, const Signal& guest, int rate)
{
    return computeMfccOffset (host, guest, rate);
}

MfccResult offsetBothWays (const Signal& host, const Signal& guest, int rate)
{
    return computeMfccOffsetBothWays (host, guest, rate);
}

int64 samplesOfFrames (int64 frames)
{
    return 256 + (frames - 1) * 128;
}

TEST (MelFilters, AreTrianglesBetweenTheEdgesOnTheMelScale)
{
    // Edges in bins, worked out by hand from 20 Hz, 4 kHz and 28 equal steps between.
    const std::tuple<size_t, int, double> weights[] = {
        { 0, 1, 0.0 },
        { 0, 2, (2 - 1.28) / (4.596 - 1.28) },
        { 0, 8, (8.15 - 8) / (8.15 - 4.596) },
        { 0, 9, 0.0 },
        { 1, 9, (11.96 - 9) / (11.96 - 8.15) },
        { 1, 12, 0.0 },
        { 25, 217, (217 - 216.973) / (235.809 - 216.973) },
        { 25, 236, (256 - 236) / (256 - 235.809) },
        { 25, 255, (256 - 255) / (256 - 235.809) },
        { 25, 256, 0.0 },
        { 24, 235, (235.809 - 235) / (235.809 - 216.973) },
    };

    for (const auto& [filter, bin, weight] : weights)
        EXPECT_NEAR (melFilters()[filter][(size_t) bin], weight, 1e-3) << filter << ", bin " << bin;
}

double hertzOfMel (double mel)
{
    return 700.0 * (std::pow (10.0, mel / 2595.0) - 1.0);
}

// One triangle drawn from its definition: 1 at its middle edge, 0 at and beyond the outer ones.
double triangle (int filter, double bin)
{
    const auto edge = [] (int i) {
        const auto low = 2595.0 * std::log10 (1.0 + 20.0 / 700.0), high = 2595.0 * std::log10 (1.0 + 4000.0 / 700.0);
        return hertzOfMel (low + (high - low) * i / 27.0) * 512.0 / 8000.0;
    };
    const auto rising = (bin - edge (filter)) / (edge (filter + 1) - edge (filter));
    const auto falling = (edge (filter + 2) - bin) / (edge (filter + 2) - edge (filter + 1));
    return std::max (0.0, std::min (rising, falling));
}

std::vector<double> slowCepstrum (const float* samples)
{
    std::vector<double> energies (26, 1e-10), coefficients (26);

    for (int bin = 0; bin < 256; ++bin)    // the Nyquist bin is left out
    {
        std::complex<double> sum;

        for (int i = 0; i < 256; ++i)
            sum += samples[i] * (0.54 - 0.46 * std::cos (2.0 * pi * i / 255.0))
                   * std::polar (1.0, -2.0 * pi * bin * i / 512.0);

        for (int m = 0; m < 26; ++m)
            energies[(size_t) m] += triangle (m, bin) * std::norm (sum);
    }

    for (int c = 0; c < 26; ++c)
        for (int m = 0; m < 26; ++m)
            coefficients[(size_t) c] += std::log (energies[(size_t) m]) * std::cos (pi * c * (m + 0.5) / 26.0);

    return coefficients;
}

TEST (Cepstrum, AgreesWithASlowDirectTransform)
{
    auto signal = speech (samplesOfFrames (9), 8000, 3);
    signal = sumOf (signal, noise ((int64) signal.size(), 4), 0.01f);
    std::vector<std::vector<double>> expected;

    for (size_t frame = 0; frame < 9; ++frame)
        expected.push_back (slowCepstrum (signal.data() + 128 * frame));

    const auto found = computeMfcc (signal);
    ASSERT_EQ (found.size(), 9U);

    for (size_t c = 0; c < 26; ++c)
    {
        auto mean = 0.0, variance = 0.0;

        for (const auto& frame : expected)
            mean += frame[c] / 9.0;

        for (const auto& frame : expected)
            variance += std::pow (frame[c] - mean, 2) / 9.0;

        for (size_t frame = 0; frame < 9; ++frame)
            EXPECT_NEAR (found[frame][c], (expected[frame][c] - mean) / std::sqrt (variance), 2e-3)
                << frame << ", " << c;
    }
}

TEST (Cepstrum, CountsFramesOnlyFromBeyondTheFirst)
{
    for (const auto& [samples, frames] :
         { std::pair (0, 0), { 255, 0 }, { 256, 0 }, { 257, 1 }, { 383, 1 }, { 384, 2 }, { 512, 3 } })
        EXPECT_EQ (computeMfcc (noise (samples, 5)).size(), (size_t) frames) << samples;

    for (const auto& frame : computeMfcc (Signal (2000)))
        EXPECT_THAT (frame, Each (0.0f)) << "silence has no shape";
}

TEST (ColumnCorrelation, IsCircularAtTheNextPowerOfTwo)
{
    const auto r = correlateColumn ({ 1, 2, 3, 4, 5 }, { 10, 1 });
    const float expected[] = { 12, 23, 34, 45, 50, 0, 0, 1 };    // sums of a[i + k] b[i], by hand
    ASSERT_EQ (r.size(), 8U);

    for (size_t i = 0; i < 8; ++i)
        EXPECT_THAT (r[i], FloatNear (expected[i], 1e-4f)) << i;
}

TEST (QuerySearch, NeedsTenFramesInAThirdOfTheSearch)
{
    const auto query = speech (40000, 8000, 6);
    const auto searched = [&] (int64 searchFrames, int64 queryFrames) {
        return findQueryInSearch (stretchOf (query, 3000, samplesOfFrames (searchFrames)),
                                  stretchOf (query, 3000, samplesOfFrames (queryFrames)),
                                  8000);
    };

    EXPECT_EQ (searched (29, 200), MfccResult {});
    EXPECT_GT (searched (30, 200).zScore, 0.0f);
    EXPECT_EQ (searched (200, 9), MfccResult {});
    EXPECT_GT (searched (200, 10).zScore, 0.0f);
    EXPECT_EQ (findQueryInSearch (Signal (40000), query, 8000).zScore, 0.0f) << "silence";
    EXPECT_FALSE (findQueryInSearch (query, Signal (8000), 8000).locked);
}

// The score as it is defined: whole columns on one circle, the root of the sum of their squares, over every lag.
TEST (QuerySearch, ScoresOnTheWholeCircle)
{
    for (const auto searchFrames : { 700, 4096, 9001 })
    {
        const auto search = speech (samplesOfFrames (searchFrames), 8000, 6);
        const auto query = stretchOf (search, 128 * (searchFrames / 2), samplesOfFrames (searchFrames / 3));
        const auto a = computeMfcc (search), b = computeMfcc (query);
        const auto length = std::min ({ b.size(), a.size() / 3, (size_t) 2000 });
        const auto start =
            std::min (b.size() - length, (size_t) loudestWindowStart (query, (int64) length * 128) / 128);
        std::vector<double> total;

        for (size_t c = 0; c < 26; ++c)
        {
            std::vector<float> whole, part;

            for (const auto& frame : a)
                whole.push_back (frame[c]);

            for (size_t i = 0; i < length; ++i)
                part.push_back (b[start + i][c]);

            const auto r = correlateColumn (whole, part);
            total.resize (r.size());

            for (size_t i = 0; i < r.size(); ++i)
                total[i] += (double) r[i] * r[i];
        }

        auto mean = 0.0, squares = 0.0, best = 0.0;

        for (auto& value : total)
        {
            value = std::sqrt (value);
            mean += value / (double) total.size();
            best = std::max (best, value);
        }

        for (const auto value : total)
            squares += (value - mean) * (value - mean) / (double) total.size();

        EXPECT_NEAR (findQueryInSearch (search, query, 8000).zScore, (best - mean) / std::sqrt (squares), 1e-3);
    }
}

// Frame and rate arithmetic: the lag is known to a hop of 16 ms, in the samples of the caller's rate.
TEST (ContentOffset, FindsAnExcerptToAFrame)
{
    struct Case
    {
        int rate;
        double hostSeconds, guestStart, guestSeconds;
    };

    for (const auto& [rate, hostSeconds, guestStart, guestSeconds] : {
             Case { 8000, 40, 10, 8 },
             Case { 11025, 40, 3.3, 20 },    // only the loudest third of the search is used of it
             Case { 8000, 20, -5, 12 },      // starts ahead of the host
             Case { 8000, 8, -11, 40 },      // holds the whole host
             Case { 16000, 8, -25, 40 },
             Case { 8000, 200, 140, 20 },    // late in a long take, where a circle could mean -122 s
             Case { 8000, 20, -140, 200 },
         })
    {
        const auto source = speech ((int64) (260 * rate), rate, 7);
        const auto hostStart = guestStart < 0 ? (int64) (-guestStart * rate) : 0;
        const auto host = stretchOf (source, hostStart, (int64) (hostSeconds * rate));
        const auto guest = stretchOf (source, hostStart + (int64) (guestStart * rate), (int64) (guestSeconds * rate));
        const auto found = offset (host, guest, rate);
        EXPECT_NEAR (found.offsetSeconds, guestStart, 0.017) << rate;
        EXPECT_NEAR ((double) found.offsetSamples, guestStart * rate, 0.017 * rate) << guestStart;
        EXPECT_TRUE (found.locked) << guestStart << ", z " << found.zScore;
        EXPECT_GE (found.zScore, 5.0f);
    }
}

TEST (ContentOffset, TheLoudestPartOfTheQueryIsUsedAndItsPlaceTakenOff)
{
    constexpr int rate = 8000;
    const auto source = speech (60 * rate, rate, 8);
    const auto host = stretchOf (source, 10 * rate, 30 * rate);

    for (const int loudFrom : { 0, 6, 12 })
        for (const int start : { 4, -7 })
        {
            auto guest = stretchOf (source, (10 + start) * rate, 25 * rate);

            for (size_t i = 0; i < guest.size(); ++i)
                guest[i] *= i / rate >= (size_t) loudFrom && i / rate < (size_t) loudFrom + 10 ? 4.0f : 1.0f;

            EXPECT_NEAR (offset (host, guest, rate).offsetSeconds, start, 0.017) << loudFrom;
        }
}

TEST (ContentOffset, TheBetterOfBothWaysAndOfAllChannelsStands)
{
    constexpr int rate = 8000;
    const auto source = speech (60 * rate, rate, 9);
    const auto host = stretchOf (source, 5 * rate, 30 * rate), guest = stretchOf (source, 12 * rate, 30 * rate);
    const auto oneWay = offset (host, guest, rate), otherWay = offset (guest, host, rate);
    const auto both = offsetBothWays (host, guest, rate);
    EXPECT_EQ (both.zScore, std::max (oneWay.zScore, otherWay.zScore));
    EXPECT_NE (oneWay.zScore, otherWay.zScore);
    EXPECT_NEAR (both.offsetSeconds, 7.0, 0.017);
    EXPECT_EQ (offsetBothWays (guest, host, rate).zScore, both.zScore) << "whichever of the two is the search";
    EXPECT_NEAR (offsetBothWays (guest, host, rate).offsetSeconds, -7.0, 0.017);

    const auto weak = sumOf (host, noise ((int64) host.size(), 10), 0.5f);
    const std::vector<Signal> channels { noise (30 * rate, 11), Signal (30 * rate), Signal (255), weak, host, host };

    for (const auto bothWays : { false, true })
    {
        const auto best = computeMfccOffsetBest (channels, guest, rate, bothWays);
        EXPECT_EQ (best, bothWays ? both : oneWay);
    }

    EXPECT_EQ (computeMfccOffsetBest ({ Signal (9999) }, guest, rate, true), MfccResult {});
    EXPECT_EQ (offset (host, stretchOf (guest, 0, 255), rate), MfccResult {});
    EXPECT_EQ (offsetBothWays (stretchOf (host, 0, 255), guest, rate), MfccResult {});
    EXPECT_EQ (computeMfccOffset (std::span<const float>(), guest, rate), MfccResult {});
}

}    // namespace
}    // namespace ld::test
