#include "sync/WaveformSearch.h"

#include "support/TestSignals.h"
#include "sync/Fft.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <complex>

namespace ld::test
{
namespace
{

using juce::int64;
using testing::FloatNear;

AlignResult phat (const Signal& a, const Signal& b)
{
    return gccPhat (a, b);
}

AlignResult coarse (const Signal& a, const Signal& b, int rate)
{
    return envelopeCoarse (a, b, rate);
}

AlignResult refine (const Signal& host, const Signal& guest, int64 roughLag, int rate, int search, int window)
{
    return refineAround (host, guest, roughLag, { rate, search, window });
}

float correlation (const Signal& host, const Signal& guest, int64 lag)
{
    return correlationAtLag (host, guest, lag);
}

using Spectrum = std::vector<std::complex<double>>;

// The definition of the transform, one bin at a time.
Spectrum slowTransform (const Spectrum& input, int sign)
{
    const auto size = input.size();
    Spectrum turns (size), output (size);

    for (size_t k = 0; k < size; ++k)
        turns[k] = std::polar (1.0, sign * 2.0 * juce::MathConstants<double>::pi * (double) k / (double) size);

    for (size_t k = 0; k < size; ++k)
        for (size_t n = 0; n < size; ++n)
            output[k] += input[n] * turns[k * n % size];

    return output;
}

Spectrum padded (const Signal& signal, size_t size)
{
    Spectrum result (signal.begin(), signal.end());
    result.resize (size);
    return result;
}

AlignResult slowPhat (const Signal& a, const Signal& b, int size)
{
    auto cross = slowTransform (padded (a, (size_t) size), -1);
    const auto placed = slowTransform (padded (b, (size_t) size), -1);

    for (size_t k = 0; k < cross.size(); ++k)
    {
        cross[k] *= std::conj (placed[k]);
        cross[k] = k == 0 ? 0.0 : cross[k] / (std::abs (cross[k]) + 1e-6);
    }

    const auto inverse = slowTransform (cross, 1);
    std::vector<double> r;

    for (const auto& value : inverse)
        r.push_back (value.real() / size);

    // Seen as a whole: all that comes ahead of the peak counts as runner-up, behind it what lies beyond the guard.
    const auto best = (int) (std::max_element (r.begin(), r.end()) - r.begin());
    auto second = -1.0;

    for (int k = 0; k < size; ++k)
        if (k < best || (k > best && std::min (k - best, size - k + best) > std::max (size / 64, 8)))
            second = std::max (second, r[(size_t) k]);

    const auto confidence = second > 1e-8 ? (r[(size_t) best] / second - 1.0) * 2.0 : 1.0;
    return { best > size / 2 ? best - size : best, (float) std::clamp (confidence, 0.0, 1.0), true };
}

TEST (PhaseTransform, AgreesWithASlowDirectSumInLagAndConfidence)
{
    struct Case
    {
        int64 aLength, bStart, bLength;
        int size, lowPass;
    };

    auto unclamped = 0;

    for (const auto& [aLength, bStart, bLength, size, lowPass] : {
             Case { 300, 60, 200, 512, 1 },
             Case { 300, -70, 200, 512, 1 },
             Case { 200, 40, 57, 512, 1 },    // one sample too long for 256
             Case { 200, 40, 56, 256, 1 },
             Case { 400, 1, 300, 1024, 3 },    // a wide peak: its rising flank is the runner-up
             Case { 400, -1, 300, 1024, 3 },
             Case { 600, 350, 300, 1024, 1 },
         })
        for (unsigned seed = 1; seed <= 6; ++seed)
        {
            const auto source = lowPassed (noise (1200, seed), lowPass);
            const auto host = stretchOf (source, 400, aLength);
            const auto guest = sumOf (stretchOf (source, 400 + bStart, bLength), noise (bLength, seed + 50), 1.2f);
            const auto fast = phat (host, guest), slow = slowPhat (host, guest, size);
            EXPECT_EQ (fast.lag, slow.lag) << aLength << ", " << bStart << ", " << bLength << ", seed " << seed;
            EXPECT_THAT (fast.confidence, FloatNear (slow.confidence, 2e-3f)) << bStart << ", seed " << seed;
            EXPECT_TRUE (fast.found);
            unclamped += slow.confidence > 0.0f && slow.confidence < 1.0f;
        }

    EXPECT_GT (unclamped, 10) << "the confidence must not be at its limits everywhere";
}

TEST (PhaseTransform, TellsWhereTheSecondSignalLiesOnTheFirst)
{
    const auto source = noise (60000, 7);

    for (const int64 lag : { 0, 1, -1, 1000, -1000, 15000, -19999 })
    {
        const auto host = stretchOf (source, 20000, 20000);
        const auto guest = stretchOf (source, 20000 + lag, 40000);
        const auto result = phat (host, guest);
        EXPECT_EQ (result.lag, lag);
        EXPECT_EQ (phat (guest, host).lag, -lag) << "the other way round";
    }
}

TEST (PhaseTransform, AnExcerptFromTheEndIsNotPlacedAheadOfTheStart)
{
    constexpr int rate = 1000;
    const auto host = noise (200 * rate, 8);
    const auto result = phat (host, stretchOf (host, 140 * rate, 20 * rate));
    EXPECT_EQ (result.lag, 140 * rate) << "not -122.144 s, where the two do not meet";
    EXPECT_EQ (result.confidence, 1.0f);

    // At the largest transform, where a long recording is cut and no room is left behind it.
    const auto longHost = noise (1200000, 9);
    EXPECT_EQ (phat (longHost, stretchOf (longHost, 900000, 100000)).lag, 900000);
    EXPECT_EQ (phat (stretchOf (longHost, 300000, 800000), longHost).lag, -300000);

    EXPECT_EQ (lagFromIndex (200, 256, 57), -56);
    EXPECT_EQ (lagFromIndex (200, 256, 56), 200) << "it would end where the host starts";
    EXPECT_EQ (lagFromIndex (128, 256, 250), 128);
    EXPECT_EQ (lagFromIndex (129, 256, 250), -127);
}

TEST (PhaseTransform, TooShortOrSilentInputIsNotFound)
{
    const auto signal = noise (4000, 10);
    EXPECT_EQ (phat (signal, stretchOf (signal, 5, 15)), AlignResult {});
    EXPECT_TRUE (phat (signal, stretchOf (signal, 5, 16)).found);
    EXPECT_EQ (gccPhat ({}, signal), AlignResult {});

    const auto silent = phat (signal, Signal (2000));
    EXPECT_FALSE (silent.found);
    EXPECT_EQ (silent.lag, 0);
    EXPECT_EQ (silent.confidence, 1.0f) << "no runner-up";
}

TEST (Envelopes, GiveTheLagInWholeSteps)
{
    constexpr int rate = 8000;    // a step is 100 samples
    const auto source = speech (60 * rate, rate, 11);

    for (const int64 lag : { 0, 12300, -40000 })
    {
        const auto host = stretchOf (source, 50000, 200000);
        const auto result = coarse (host, stretchOf (source, 50000 + lag, 160000), rate);
        EXPECT_EQ (result.lag, lag);
        EXPECT_TRUE (result.found);
    }

    const auto between = coarse (source, stretchOf (source, 70030, 160000), rate).lag;
    EXPECT_EQ (between % 100, 0);
    EXPECT_LE (std::abs (between - 70030), 100);
}

TEST (Envelopes, FallBackOnRawSamplesBelowEightValues)
{
    const auto source = noise (20000, 12);
    EXPECT_EQ (coarse (source, stretchOf (source, 137, 799), 8000).lag, 137) << "7 values of 100 samples, in samples";
    EXPECT_EQ (coarse (source, stretchOf (source, 137, 800), 8000), AlignResult {}) << "8 values, too few to correlate";
    EXPECT_EQ (coarse (source, stretchOf (source, 137, 1599), 8000), AlignResult {});
    EXPECT_TRUE (coarse (source, stretchOf (source, 137, 1600), 8000).found);
    EXPECT_EQ (coarse (source, stretchOf (source, 137, 4799), 99).lag, 137) << "without a rate a step is 600 samples";
    EXPECT_EQ (coarse (source, stretchOf (source, 137, 4800), 99), AlignResult {});
}

TEST (Envelopes, ThinOutVeryLongRecordings)
{
    // At 100 Hz a step is one sample; beyond 262144 of them every second one is taken.
    const auto atLimit = noise (262144, 13), beyond = noise (262145, 13);
    EXPECT_EQ (coarse (atLimit, stretchOf (atLimit, 1001, 100000), 100).lag, 1001);
    EXPECT_EQ (coarse (beyond, stretchOf (beyond, 1000, 100000), 100).lag, 1000);
    EXPECT_EQ (coarse (beyond, stretchOf (beyond, 1001, 100000), 100).lag % 2, 0);
}

TEST (Refining, FindsTheSampleFromARoughLag)
{
    constexpr int rate = 8000;
    const auto source = noise (40 * rate, 14);
    const auto host = stretchOf (source, 5 * rate, 30 * rate);

    for (const int64 lag : { 0, 7, 81234, -30001, 200000 })
        for (const int64 error : { -15990, -1, 0, 12345 })
        {
            auto guest = stretchOf (source, 5 * rate + lag, 15 * rate);

            // The loudest stretch, where the look is taken, lies neither at the start nor at the end.
            for (size_t i = 62000; i < 66000; ++i)
                guest[i] *= 1.5f;

            const auto result = refine (host, guest, lag + error, rate, 2, 4);
            EXPECT_EQ (result.lag, lag) << "from " << error << " samples off";
            EXPECT_GE (result.confidence, 0.45f);
            EXPECT_TRUE (result.found);
        }
}

TEST (Refining, AnswersWithTheRoughLagWhereItLearnsNothing)
{
    const auto host = noise (40000, 15);
    const auto guest = stretchOf (host, 1000, 8000);
    const AlignResult fewSamples { 39980, 0.15f, true };
    EXPECT_EQ (refine (host, guest, 39980, 8000, 2, 4), fewSamples) << "20 samples in common";
    EXPECT_EQ (refine (host, guest, 39969, 8000, 2, 4).confidence, 0.15f) << "31 samples in common";
    EXPECT_NE (refine (host, guest, 39968, 8000, 2, 4).confidence, 0.15f);
    EXPECT_EQ (refine (host, guest, -7969, 8000, 2, 4), (AlignResult { -7969, 0.15f, true }));
    EXPECT_EQ (refine (host, guest, 500000, 8000, 2, 4), (AlignResult { 500000, 0.15f, true })) << "nothing in common";
    EXPECT_EQ (refine (host, Signal (8000), 900, 8000, 2, 4), (AlignResult { 900, 0.1f, true })) << "a silent guest";
    EXPECT_EQ (refine (host, guest, 990, 0, 2, 4).lag, 1000) << "48 kHz where the rate is unknown";
}

// Two stretches with nothing in common but a start and an end each: of band-limited sound only those are broadband.
TEST (Refining, APeakAtTheEdgeOfTheSearchIsNoAnswer)
{
    constexpr int rate = 8000, search = 4, window = 6;
    constexpr int64 rough = 56000, radius = search * rate;
    auto atTheEdge = 0;

    for (unsigned seed = 20; seed < 30; ++seed)
    {
        const auto host = lowPassed (noise (30 * rate, seed), 40);
        const auto guest = lowPassed (noise (window * rate, seed + 100), 40);
        const auto ends =
            phat (stretchOf (host, rough - radius, 2 * radius + window * rate), stretchOf (guest, 0, window * rate));
        const auto result = refine (host, guest, rough, rate, search, window);

        if (std::abs (ends.lag - radius) < radius - 1)
            continue;

        EXPECT_EQ (result, (AlignResult { rough, 0.1f, true })) << seed;
        ++atTheEdge;
    }

    EXPECT_EQ (atTheEdge, 10) << "the case must be the one that it is meant to be";

    // With sound in common, the edge of the search is told from the sample next to it.
    const auto host = noise (30 * rate, 31);

    for (const auto& [error, isFound] : { std::pair (radius - 2, true),
                                          { radius - 1, false },
                                          { radius, false },
                                          { 2 - radius, true },
                                          { 1 - radius, false },
                                          { -radius, false } })
    {
        const auto result = refine (host, stretchOf (host, rough + error, window * rate), rough, rate, search, window);
        EXPECT_EQ (result.lag, isFound ? rough + error : rough) << error;
        EXPECT_EQ (result.confidence, isFound ? 1.0f : 0.1f) << error;
    }
}

TEST (PlainCorrelation, IsTheNormalisedProductWithNoMeanRemoved)
{
    const Signal ones (40, 1.0f);
    Signal mixed (32, 1.0f);
    std::fill_n (mixed.begin(), 8, -1.0f);
    EXPECT_FLOAT_EQ (correlation (ones, mixed, 0), 0.5f) << "(24 - 8) / 32";
    EXPECT_FLOAT_EQ (correlation (ones, mixed, 8), 0.5f);
    EXPECT_EQ (correlation (ones, mixed, 9), 0.0f) << "31 samples in common";
    EXPECT_EQ (correlation (ones, Signal (32), 0), 0.0f);

    const auto source = noise (5000, 32);
    auto inverted = source;

    for (auto& sample : inverted)
        sample *= -0.1f;

    EXPECT_FLOAT_EQ (correlation (source, inverted, 0), 1.0f);
    EXPECT_FLOAT_EQ (correlation (source, stretchOf (inverted, 4000, 3000), 4000), 1.0f) << "runs past the host's end";
    EXPECT_FLOAT_EQ (correlation (stretchOf (source, 700, 3000), source, -700), 1.0f) << "starts before the host";
    EXPECT_LT (correlation (stretchOf (source, 700, 3000), source, 700), 0.1f);
}

TEST (PlainCorrelation, LooksAtEverySecondPairBeyondFourHundredThousand)
{
    const auto host = noise (400000, 33);
    auto guest = host;

    for (size_t i = 1; i < guest.size(); i += 2)
        guest[i] = -guest[i];

    EXPECT_FLOAT_EQ (correlation (host, guest, 0), 1.0f);
    guest.pop_back();
    EXPECT_LT (correlation (host, guest, 0), 0.01f);
}

}    // namespace
}    // namespace ld::test
