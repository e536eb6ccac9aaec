#include "sync/Signal.h"

#include "support/TestSignals.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::FloatEq;
using testing::FloatNear;

TEST (Resampling, GivesTheLengthScaledAndRoundedAndNeverNothing)
{
    const std::tuple<size_t, double, double, size_t> cases[] = {
        { 480000, 48000, 8000, 80000 },
        { 10, 44100, 48000, 11 },
        { 1, 1, 3, 3 },
        { 1000, 1.0, 1.0006, 1001 },
        { 5, 2, 1, 3 },    // 2.5 and 3.5 round away from zero
        { 7, 2, 1, 4 },
        { 3, 8, 1, 1 },
    };

    for (const auto& [length, sourceRate, targetRate, expected] : cases)
        EXPECT_EQ (resampleTo (Signal (length), sourceRate, targetRate).size(), expected)
            << length << " from " << sourceRate << " to " << targetRate;
}

TEST (Resampling, DrawsStraightLinesAndHoldsTheLastSample)
{
    EXPECT_THAT (resampleTo (Signal { 0, 1, 4, 9, 16 }, 3, 2), ElementsAre (0.0f, 2.5f, 9.0f));
    EXPECT_THAT (resampleTo (Signal { 0, 4 }, 1, 4), ElementsAre (0, 1, 2, 3, 4, 4, 4, 4));
    EXPECT_THAT (resampleTo (Signal { 0.7f }, 48000, 8000), ElementsAre (0.7f));

    const auto source = noise (4800, 1);
    const auto low = resampleTo (source, 48000, 8000);

    for (size_t i = 0; i < low.size(); ++i)
        ASSERT_EQ (low[i], source[6 * i]) << "no mean of the samples between, at " << i;
}

TEST (Resampling, FusesTheProductAndTheSum)
{
    const auto source = noise (2000, 2);
    const auto result = resampleTo (source, 44100, 48000);
    const auto ratio = 44100.0 / 48000.0;
    auto roundedTwiceDiffers = 0;

    for (size_t i = 0; i < 2000; ++i)
    {
        const auto position = ratio * (double) i;
        const auto left = (size_t) position;
        const auto fraction = (float) (position - (double) left);
        const auto step = source[left + 1] - source[left];
        ASSERT_EQ (result[i], std::fma (fraction, step, source[left])) << i;

        const volatile float product = fraction * step;
        roundedTwiceDiffers += result[i] != product + source[left];
    }

    EXPECT_GT (roundedTwiceDiffers, 10);
}

TEST (Resampling, CopiesWhereThereIsNothingToDo)
{
    const auto source = noise (100, 3);
    constexpr auto notANumber = std::numeric_limits<double>::quiet_NaN();
    const std::pair<double, double> rates[] = { { 48000, 48000 }, { 48000, 0 },          { 0, 48000 },
                                                { -1, 48000 },    { 48000, notANumber }, { notANumber, 1 } };

    for (const auto& [sourceRate, targetRate] : rates)
        EXPECT_EQ (resampleTo (source, sourceRate, targetRate), source) << sourceRate << " to " << targetRate;

    EXPECT_TRUE (resampleTo (Signal {}, 48000, 8000).empty());
}

TEST (Mixdown, SumsAtOneOverTheRootOfTheChannelCount)
{
    const auto half = std::sqrt (0.5f);
    EXPECT_THAT (mixdown ({ { 1, 1, 1 }, { 1 } }), ElementsAre (FloatEq (2 * half), FloatEq (half), FloatEq (half)));
    EXPECT_THAT (mixdown ({ { 1 }, { -2, 8 }, {}, { 3, 0, 5 } }), ElementsAre (1.0f, 4.0f, 2.5f))
        << "an empty channel counts in the divisor";
    EXPECT_THAT (mixdown ({ { 0.3f, 2.0f } }), ElementsAre (0.3f, 2.0f)) << "one channel keeps its level, unclipped";
    EXPECT_TRUE (mixdown ({}).empty());
    EXPECT_TRUE (mixdown ({ {}, {} }).empty());
}

TEST (ClockDrift, StretchesByTheSlopeAndAtMostHalfAPercent)
{
    const auto signal = noise (100000, 4);
    EXPECT_EQ (applyClockDrift (signal, 1e-4).size(), 100010U) << "a lag that grows is made up for by a longer signal";
    EXPECT_EQ (applyClockDrift (signal, -1e-4).size(), 99990U);
    EXPECT_EQ (applyClockDrift (signal, 0.02), applyClockDrift (signal, 0.005));
    EXPECT_EQ (applyClockDrift (signal, 0.02).size(), 100500U);
    EXPECT_EQ (applyClockDrift (signal, -0.02).size(), 99500U);
    EXPECT_EQ (applyClockDrift (signal, 5e-9), signal);
    EXPECT_NE (applyClockDrift (signal, 2e-8), signal);
    EXPECT_TRUE (applyClockDrift ({}, 0.001).empty());
}

TEST (StandardDeviation, IsThePopulationsAndZeroForOneSample)
{
    EXPECT_EQ (stdDev ({}), 0.0f);
    EXPECT_EQ (stdDev ({ 7 }), 0.0f);
    EXPECT_EQ (stdDev ({ 1, 3 }), 1.0f);
    EXPECT_THAT (stdDev (noise (400000, 5)), FloatNear (std::sqrt (1.0f / 12.0f), 1e-3f));
}

TEST (LoudestWindow, IsToldOneSampleEarlyAndTheFirstOfEqualsStands)
{
    EXPECT_EQ (loudestWindowStart (Signal { 1, 1, 9, 9, 1 }, 2), 1);
    EXPECT_EQ (loudestWindowStart (Signal { 9, 9, 1, 1, 1 }, 2), 0);
    EXPECT_EQ (loudestWindowStart (Signal { 5, 0, 5, 0 }, 1), 0);
    EXPECT_EQ (loudestWindowStart (Signal { 0, 0, 0, -7 }, 1), 2) << "the last window counts too";
    EXPECT_EQ (loudestWindowStart (Signal { 1, 9 }, 5), 0) << "wider than the signal";
}

}    // namespace
}    // namespace ld::test
