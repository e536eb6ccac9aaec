#include "sync/EnvelopeSync.h"

#include "support/TestSignals.h"
#include "sync/Signal.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

namespace ld::test
{
namespace
{

using juce::int64;
using testing::IsEmpty;

constexpr int rate = 8000;

EnvelopeSyncResult syncOf (const Signal& host, const Signal& guest, int sampleRate = rate)
{
    return computeEnvelopeSync (host, guest, sampleRate);
}

// A guest of the host's sound whose lag is another in each stretch of this many seconds.
Signal guestWithLags (const Signal& host, const std::vector<std::pair<int, int64>>& secondsAndLags)
{
    Signal guest;

    for (const auto& [seconds, lag] : secondsAndLags)
    {
        const auto stretch = stretchOf (host, (int64) guest.size() + lag, (int64) seconds * rate);
        guest.insert (guest.end(), stretch.begin(), stretch.end());
    }

    return guest;
}

TEST (EnvelopeSync, FindsAShortGuestByItsLoudnessAlone)
{
    const auto host = speech (200 * rate, rate, 1);
    const auto guest = stretchOf (host, 31 * rate + 17, 120 * rate);
    const auto result = syncOf (host, guest);
    EXPECT_EQ (result.method, "coarse");
    EXPECT_EQ (result.windowsTried, 0);
    EXPECT_NEAR ((double) result.offsetSamples, 31.0 * rate, rate / 100.0) << "the envelope's hop";
    EXPECT_GT (result.confidence, 0.9f);
    EXPECT_TRUE (result.reliable);

    // Late in a long host, where the correlation has wrapped around.
    const auto late = syncOf (host, stretchOf (host, 160 * rate, 20 * rate));
    EXPECT_NEAR ((double) late.offsetSamples, 160.0 * rate, rate / 100.0);

    // At another rate the offset is in that rate's samples.
    const auto slow = resampleTo (host, rate, 16000);
    EXPECT_NEAR (
        (double) syncOf (slow, stretchOf (slow, 40 * 16000, 60 * 16000), 16000).offsetSamples, 40 * 16000.0, 160.0);
}

TEST (EnvelopeSync, DoesNotTrustWhatIsNotAlikeOrFlat)
{
    const Signal silence ((size_t) (100 * rate));
    const auto silent = syncOf (silence, silence);
    EXPECT_EQ (silent.method, "coarse");
    EXPECT_FALSE (silent.reliable);

    const auto host = speech (100 * rate, rate, 1);
    EXPECT_FALSE (syncOf (host, speech (90 * rate, rate, 2)).reliable);
    EXPECT_FALSE (syncOf (noise (100 * rate, 1), stretchOf (noise (100 * rate, 1), 5 * rate, 90 * rate)).reliable)
        << "the same sound, but no change of loudness";

    for (const auto length : { 0, 31, 63, 320 })
        EXPECT_EQ (syncOf (host, stretchOf (host, 0, length)), EnvelopeSyncResult()) << length;

    EXPECT_EQ (computeEnvelopeSync ({}, host, rate), EnvelopeSyncResult());
}

TEST (EnvelopeSync, TakesTheUpperMedianOfOneOrTwoWindows)
{
    const auto host = speech (400 * rate, rate, 3);
    const auto one = syncOf (host, stretchOf (host, 20 * rate + 7, 130 * rate));
    EXPECT_EQ (one.method, "median");
    EXPECT_EQ (one.windowsTried, 1);
    EXPECT_EQ (one.windowsUsed, 1);
    EXPECT_EQ (one.offsetSamples, 20 * rate + 7) << "to the sample";
    EXPECT_TRUE (one.reliable);

    const auto two = syncOf (host, guestWithLags (host, { { 180, 20 * rate }, { 130, 20 * rate + 40 } }));
    EXPECT_EQ (two.method, "median");
    EXPECT_EQ (two.windowsUsed, 2);
    EXPECT_EQ (two.offsetSamples, 20 * rate + 40);

    // The first window of a guest that begins before its host lies outside it.
    Signal early ((size_t) (100 * rate));
    const auto rest = stretchOf (host, 0, 230 * rate);
    early.insert (early.end(), rest.begin(), rest.end());
    const auto negative = syncOf (host, early);
    EXPECT_EQ (negative.windowsTried, 2);
    EXPECT_EQ (negative.windowsUsed, 1);
    EXPECT_EQ (negative.offsetSamples, -100 * rate);
}

TEST (EnvelopeSync, FitsALineThroughThreeWindows)
{
    const auto host = speech (560 * rate, rate, 4);
    constexpr int64 lag = 10 * rate;

    // A millisecond, 8 samples, more every 180 s: the windows stand at 60, 240 and 420 s.
    const auto drifting = syncOf (host, guestWithLags (host, { { 180, lag }, { 180, lag + 8 }, { 140, lag + 16 } }));
    EXPECT_EQ (drifting.method, "");
    EXPECT_EQ (drifting.windowsTried, 3);
    EXPECT_EQ (drifting.windowsUsed, 3);
    EXPECT_TRUE (drifting.reliable);
    EXPECT_NEAR (drifting.driftSlope, 0.001 / 180.0, 1e-9);

    // At 250 s, the middle, the line stands 10 s behind its middle window: 8 + 10 / 180 * 8 samples.
    EXPECT_EQ (drifting.offsetSamples, lag + 8);

    // Too steep to be a clock: the slope is limited, the offset is the line's own.
    constexpr int64 step = -180 * rate / 100;
    const auto steep =
        syncOf (host, guestWithLags (host, { { 180, lag }, { 180, lag + step }, { 140, lag + 2 * step } }));
    EXPECT_EQ (steep.windowsUsed, 3);
    EXPECT_EQ (steep.driftSlope, -0.005);
    EXPECT_EQ (steep.offsetSamples, lag + step - rate / 10) << "10 s behind the middle window, 0.01 s each";
}

TEST (LogEnvelope, FollowsLoudnessAndLeavesSlowChangesOut)
{
    EXPECT_THAT (logEnvelope (Signal (320, 0.5f), rate).values, IsEmpty());

    const auto one = logEnvelope (Signal (400, 0.5f), rate);
    ASSERT_EQ (one.values.size(), 1u);
    EXPECT_NEAR (one.values[0], std::log (0.501), 1e-6);
    EXPECT_EQ (one.rate, 100.0f);
    EXPECT_EQ (logEnvelope (Signal (321, 0.5f), rate).values.size(), 1u);
    EXPECT_NEAR (logEnvelope (Signal (400), rate).values[0], std::log (std::sqrt (1e-9) + 0.001), 1e-6);

    // (80000 - 400) / 80 + 1 windows, less 1.5 s at either end; of 30 a fifth at either end.
    EXPECT_EQ (logEnvelope (noise (10 * rate, 1), rate).values.size(), 996u - 300u);
    EXPECT_EQ (logEnvelope (noise (400 + 29 * 80, 1), rate).values.size(), 30u - 12u);

    // A syllable a second upon a swell of a factor of ten in 100 s: the syllables stay, the swell goes.
    Signal swell ((size_t) (100 * rate));
    Signal spoken (swell.size());

    for (size_t i = 0; i < swell.size(); ++i)
    {
        const auto seconds = (double) i / rate;
        swell[i] = 0.05f * (float) std::pow (10.0, seconds / 100.0);
        spoken[i] = swell[i] * (std::fmod (seconds, 1.0) < 0.3 ? 1.0f : 0.1f);
    }

    EXPECT_LT (stdDev (logEnvelope (swell, rate).values), 0.2f) << "0.66 before";
    EXPECT_GT (stdDev (logEnvelope (spoken, rate).values), 0.8f);
}

TEST (CorrelateNormalized, FindsALagWhateverTheLevels)
{
    const auto a = noise (5000, 1);
    auto b = stretchOf (a, 1234, 2000);
    const auto plain = correlateNormalized (a, b);
    EXPECT_TRUE (plain.valid);
    EXPECT_EQ (plain.lag, 1234);
    EXPECT_NEAR (plain.score, 1.0f, 0.03f);

    for (auto& value : b)
        value = 3.0f * value + 7.0f;

    EXPECT_EQ (correlateNormalized (a, b).lag, 1234);
    EXPECT_NEAR (correlateNormalized (a, b).score, plain.score, 1e-3f);
    EXPECT_EQ (correlateNormalized (stretchOf (a, 300, 4000), a).lag, -300);
    EXPECT_EQ (correlateNormalized (a, stretchOf (a, 4500, 500)).lag, 4500);

    EXPECT_EQ (correlateNormalized (a, Signal (100, 0.1f)), (NormalizedPeak { 0, 0.0f, true }));
    EXPECT_EQ (correlateNormalized (a, Signal (7, 1.0f)), NormalizedPeak());
}

}    // namespace
}    // namespace ld::test
