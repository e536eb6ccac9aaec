#include "support/TestSignals.h"
#include "sync/ClipAudio.h"
#include "sync/Signal.h"
#include "sync/WaveformSearch.h"

#include <gmock/gmock.h>

#include <cmath>
#include <optional>

namespace ld::test
{
namespace
{

using juce::int64;

constexpr int rate = 8000;

DriftResult drift (const Signal& host, const Signal& guest, int64 lag)
{
    return measureDrift (host, guest, lag, rate);
}

VerifyResult verify (const Signal& host, const Signal& guest, int64 lag)
{
    return verifyAlignment (host, guest, lag, rate);
}

// A guest whose lag jumps: piece i covers the next `length` samples, at its own lag. No lag: silence.
struct Piece
{
    int64 length;
    std::optional<int64> lag;
};

Signal guestOf (const Signal& source, int64 sourceStart, const std::vector<Piece>& pieces)
{
    Signal guest;

    for (const auto& [length, lag] : pieces)
    {
        const auto piece =
            lag ? stretchOf (source, sourceStart + (int64) guest.size() + *lag, length) : Signal ((size_t) length);
        guest.insert (guest.end(), piece.begin(), piece.end());
    }

    return guest;
}

TEST (ClockDrift, IsMeasuredWithItsSignAndTakenOutOfTheWholeClip)
{
    constexpr int64 hostStart = 5 * rate, guestLength = 45 * rate;
    const auto source = noise (65 * rate, 1);
    const auto host = stretchOf (source, hostStart, 55 * rate);

    for (const auto slope : { 50e-6, -80e-6 })
        for (const int64 lag : { 12345, -17000 })
        {
            GuestClip guest;
            guest.channelAudio = { resampledExactly (source, (double) (hostStart + lag), 1.0 + slope, guestLength) };
            const auto measured = drift (host, guest.channelAudio.front(), lag + 3);
            EXPECT_NEAR (measured.driftSlope, slope, 4e-6) << lag;
            EXPECT_NEAR ((double) measured.offsetSamples, (double) lag, 1.0) << slope;
            EXPECT_EQ (measured.windowsTried, 5);
            EXPECT_EQ (measured.windowsAccepted, 5);
            EXPECT_TRUE (measured.reliable);

            // With the slope known exactly, each second of the stretched clip lies where it was recorded.
            stretchGuest (guest, slope);
            EXPECT_EQ ((int64) guest.monoAudio.size(), std::llround ((double) guestLength * (1.0 + slope)));

            for (const int64 at : { 3 * rate, 22 * rate, 43 * rate })
            {
                const auto found =
                    gccPhat (stretchOf (host, at + lag - 400, 2 * 400 + rate), stretchOf (guest.monoAudio, at, rate));
                EXPECT_LE (std::abs (found.lag - 400), 1) << at << ", " << slope << ", " << lag;
                EXPECT_GT (found.confidence, 0.5f);
            }
        }
}

// 40 s in common: windows of 2 s that start at 0.12, 0.3, 0.5, 0.7 and 0.88 of 38 s.
TEST (ClockDrift, AnOutlierLeavesTheFittedOffsetButNoSlope)
{
    constexpr int64 overlap = 40 * rate;
    const auto source = noise (50 * rate, 2);
    const auto host = stretchOf (source, 4 * rate, overlap);

    // By hand, with positions as shares of 38 s: sxx 0.3688, sxy 0.38 y; the line misses the last point by 0.4085 y.
    for (const auto& [last, offset, slope] :
         { std::tuple (1000, -315, 0.0), { 380, -120, 380 * 1.030369 / (38 * rate) }, { 400, -126, 0.0 } })
    {
        const auto result = drift (host, guestOf (source, 4 * rate, { { 256000, 0 }, { 64000, last } }), 0);
        EXPECT_EQ (result.windowsAccepted, 5);
        EXPECT_NEAR ((double) result.offsetSamples, offset, 1.0) << last;
        EXPECT_NEAR (result.driftSlope, slope, 1e-8) << last;
        EXPECT_TRUE (result.reliable) << "whatever the residual";
    }
}

TEST (ClockDrift, IsLimitedToHalfAPercent)
{
    constexpr int64 overlap = 40 * rate, span = 38 * rate;
    const auto source = noise (60 * rate, 3);
    const auto host = stretchOf (source, 5 * rate, 45 * rate);

    for (const auto sign : { 1, -1 })
    {
        const auto lagAt = [sign] (double share) { return (int64) std::llround (sign * 0.01 * share * (double) span); };
        const auto guest = guestOf (source,
                                    5 * rate + 4000,
                                    { { 60000, lagAt (0.12) },
                                      { 60000, lagAt (0.3) },
                                      { 60000, lagAt (0.5) },
                                      { 60000, lagAt (0.7) },
                                      { overlap - 240000, lagAt (0.88) } });
        const auto result = drift (host, guest, 4000 + lagAt (0.5));
        EXPECT_EQ (result.windowsAccepted, 5);
        EXPECT_EQ (result.driftSlope, sign * 0.005);
        EXPECT_NEAR ((double) result.offsetSamples, 4000.0, 1.0) << "the offset is that of the unlimited line";
    }
}

TEST (ClockDrift, NeedsTwoWindowsAndASecondOfOverlap)
{
    const auto source = noise (50 * rate, 4);
    const auto host = stretchOf (source, 0, 40 * rate);
    const auto oneWindow = drift (host, guestOf (source, 0, { { 30000, {} }, { 30000, 0 }, { 260000, {} } }), 0);
    EXPECT_EQ (oneWindow.windowsTried, 5);
    EXPECT_EQ (oneWindow.windowsAccepted, 1);
    EXPECT_FALSE (oneWindow.reliable);

    const auto twoWindows = drift (host, guestOf (source, 0, { { 60000, 10 }, { 196000, {} }, { 64000, 10 } }), 4);
    EXPECT_EQ (twoWindows.windowsAccepted, 2);
    EXPECT_TRUE (twoWindows.reliable);
    EXPECT_EQ (twoWindows.offsetSamples, 10);
    EXPECT_EQ (twoWindows.driftSlope, 0.0);
    EXPECT_GT (twoWindows.meanCorrelation, 0.99f);

    const auto unrelated = drift (host, noise (40 * rate, 5), 77);
    EXPECT_LT (unrelated.windowsAccepted, 2);
    EXPECT_EQ (unrelated.offsetSamples, 77);

    EXPECT_EQ (drift (host, stretchOf (source, 500, rate), 500).windowsAccepted, 5);
    const auto tooShort = drift (host, stretchOf (source, 500, rate - 1), 490);
    EXPECT_EQ (tooShort.windowsTried, 0);
    EXPECT_EQ (tooShort.offsetSamples, 490);
    EXPECT_FALSE (tooShort.reliable);
}

// 80000 samples in common: windows from 6400, 32000 and 57600; each of the pieces below holds one of them.
TEST (Verification, TwoWindowsMustAgreeWithinAMillisecond)
{
    struct Case
    {
        std::optional<int64> first, second, third;
        int agreeing;
        int64 median, deviation;
        bool verified;
    };

    const auto source = noise (20 * rate, 6);
    const auto host = stretchOf (source, 2 * rate, 80000);

    for (const auto& [first, second, third, agreeing, median, deviation, verified] : {
             Case { 0, 0, 0, 3, 0, 0, true },
             Case { 0, 5, -3, 3, 0, 5, true },
             Case { 0, 0, 8, 3, 0, 8, true },
             Case { 0, 0, 9, 2, 0, 9, false },
             Case { -9, 0, 0, 2, 0, 9, false },
             Case { 20, {}, 5, 1, 20, 15, false },    // of two the upper is the median
             Case { 0, {}, 5, 2, 5, 5, true },
             Case { {}, 3, {}, 1, 3, 0, false },
             Case { {}, {}, {}, 0, 0, 0, false },
         })
    {
        const auto guest = guestOf (source, 2 * rate, { { 27200, first }, { 25600, second }, { 27200, third } });
        const auto result = verify (host, guest, 0);
        EXPECT_EQ (result.windowsChecked, 3);
        EXPECT_EQ (result.windowsAgreeing, agreeing);
        EXPECT_EQ (result.medianLag, median);
        EXPECT_EQ (result.maxDeviation, deviation);
        EXPECT_EQ (result.verified, verified);
        EXPECT_EQ (result.meanConfidence > 0.2f, agreeing > 0);
    }

    EXPECT_EQ (verify (host, stretchOf (host, 0, 4095), 0).windowsChecked, 0);
    EXPECT_TRUE (verify (host, stretchOf (host, 100, 4096), 100).verified);
    EXPECT_EQ (verify (host, stretchOf (host, 0, 20000), 76000).windowsChecked, 0) << "4000 samples in common";
    EXPECT_TRUE (verify (stretchOf (host, 3000, 60000), host, -3000).verified);
}

}    // namespace
}    // namespace ld::test
