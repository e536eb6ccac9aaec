#include "batch/BatchMatcher.h"
#include "batch/GlobalDecision.h"
#include "batch/MatchPlan.h"
#include "batch/Workers.h"
#include "sync/MfccSearch.h"
#include "sync/Signal.h"
#include "sync/WaveformSearch.h"

#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <set>

namespace ld::test
{
namespace
{

using juce::int64;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int rate = 8000;

/** A folder of takes at 8 kHz; sound is what all microphones hear. */
struct Shoot
{
    juce::File add (const juce::String& name,
                    const Channels& channels,
                    std::optional<juce::uint64> stamp = {},
                    int fileRate = rate)
    {
        const WaveFormat format { .channels = (int) channels.size(), .sampleRate = fileRate, .bits = 32, .tag = 3 };
        WaveBuilder wave (format, channels);

        if (stamp)
            wave.chunk ("iXML", ixmlBody ({ .stamp = stamp, .stampRate = (double) fileRate }));

        return wave.writeTo (temp.file (name));
    }

    [[nodiscard]] std::vector<ScanFile> scans() const
    {
        std::vector<ScanFile> all;

        for (const auto& file : collectMediaFiles (temp.folder))
            all.push_back (inspectAudioFile (file));

        return all;
    }

    const TempFolder temp;
};

Channels threeOf (const Signal& sound)
{
    const auto length = (int64) sound.size();
    return { sound, stretchOf (sound, -3, length), sumOf (sound, noise (length, 77), 0.3f) };
}

double correlationAt (const Signal& host, const Signal& guest, int64 lag)
{
    auto hostEnergy = 0.0, guestEnergy = 0.0, product = 0.0;

    for (size_t i = 0; i < guest.size(); ++i)
    {
        const double h = host[i + (size_t) lag], g = guest[i];
        hostEnergy += h * h;
        guestEnergy += g * g;
        product += h * g;
    }

    return product / std::sqrt (hostEnergy * guestEnergy);
}

// "file on poly: detail", in the matcher's order.
std::vector<std::string> told (const MatchOutcome& outcome)
{
    std::vector<std::string> lines;

    for (const auto& verdict : outcome.comparisons)
        lines.push_back ((verdict.guest.file.getFileNameWithoutExtension() + " on "
                          + verdict.poly.getFileNameWithoutExtension() + ": " + verdict.guest.alignment.detail)
                             .toStdString());

    return lines;
}

std::vector<Alignment> alignmentsOf (const MatchOutcome& outcome)
{
    std::vector<Alignment> alignments;

    for (const auto& verdict : outcome.comparisons)
        alignments.push_back (verdict.guest.alignment);

    return alignments;
}

// A day in small: two polys, files with and without timecode, at another rate, of several channels, of other takes.
void fillWithEveryKind (Shoot& shoot)
{
    const auto first = speech (60 * rate, rate, 1), second = speech (50 * rate, rate, 2);
    const auto stampOf = [] (int seconds) { return (juce::uint64) (36000 + seconds) * rate; };
    shoot.add ("a1.wav", threeOf (first), stampOf (0));
    shoot.add ("a2.wav", threeOf (second), stampOf (600));
    shoot.add ("b1.wav", { stretchOf (first, 10 * rate - 400, 30 * rate) }, stampOf (10));
    shoot.add ("b2.wav", { noise (40 * rate, 5), noise (40 * rate, 6) }, stampOf (605));
    shoot.add ("b3.wav", { stretchOf (second, -30 * rate, 200 * rate) });
    shoot.add ("b4.wav", { resampledExactly (first, 5.0 * rate, 8.0 / 9.0, 40 * 9000) }, {}, 9000);
    shoot.add ("b5.wav", { speech (70 * rate, rate, 9) });
    shoot.add ("b6.wav", { speech (20 * rate, rate, 8) }, stampOf (58));
}

}    // namespace

TEST (BatchMatcher, SaysOfEveryPairWhyItBelongsOrDoesNot)
{
    Shoot shoot;
    const auto sound = speech (40 * rate, rate, 1);
    const auto excerpt = stretchOf (sound, 5 * rate + 123, 20 * rate);
    shoot.add ("a.wav", threeOf (sound), 36000u * rate);
    shoot.add ("b_excerpt.wav", { excerpt }, 36005u * rate);
    shoot.add ("c_other_hour.wav", { stretchOf (sound, 0, 20 * rate) }, 50000u * rate);
    shoot.add ("d_other_sound.wav", { noise (20 * rate, 3) }, 36010u * rate);
    shoot.add ("e_no_stamp.wav", { stretchOf (sound, 10 * rate, 25 * rate) });
    shoot.add ("f_short.wav", { noise (31, 3) });
    shoot.add ("g_short_stamped.wav", { noise (31, 3) }, 36001u * rate);
    shoot.add ("h_unlike.wav", { noise (30 * rate, 4) });
    shoot.add ("i_early.wav", { stretchOf (sound, -7 * rate - 40, 30 * rate) }, 35993u * rate);

    std::atomic<int> calls { 0 }, highest { 0 };
    const auto outcome = compareBatch (shoot.scans(), [&] (int done, int total) {
        ++calls;
        highest = std::max (highest.load(), done);
        EXPECT_EQ (total, 8);
    });

    EXPECT_EQ (calls, 8) << "settled without audio or not";
    EXPECT_EQ (highest, 8);
    const auto lines = told (outcome);
    ASSERT_EQ (lines.size(), 8u);
    const auto correlation = correlationAt (mixdown (threeOf (sound)), excerpt, 5 * rate + 123);
    EXPECT_EQ (lines[0],
               "b_excerpt on a: Timecode rough-in / waveform locked ncc="
                   + juce::String (correlation, 2).toStdString());
    EXPECT_EQ (lines[1], "c_other_hour on a: Different time of day than this take");
    EXPECT_EQ (lines[2], "d_other_sound on a: Timecode only / no waveform lock");
    EXPECT_THAT (lines[3], testing::StartsWith ("e_no_stamp on a: MFCC z="));
    EXPECT_EQ (lines[4], "f_short on a: Could not read ISO waveform");
    EXPECT_EQ (lines[5], "g_short_stamped on a: Could not read ISO waveform") << "under a second of overlap";
    EXPECT_THAT (lines[6], testing::StartsWith ("h_unlike on a: MFCC z="));

    const auto& match = outcome.matches.front();
    ASSERT_EQ (match.guests.size(), 4u);
    EXPECT_EQ (match.reason, "global waveform comparison");

    const auto& locked = match.guests[0].alignment;
    EXPECT_EQ (locked.offsetSamples, 5 * rate + 123);
    EXPECT_EQ (locked.method, Alignment::Method::timecodeRefined);
    EXPECT_NEAR (locked.confidence, 20.0 * correlation, 0.01);

    const auto& byTimecode = match.guests[1].alignment;
    EXPECT_EQ (byTimecode.offsetSamples, 10 * rate);
    EXPECT_EQ (byTimecode.confidence, 0.35f);

    const auto& byContent = match.guests[2].alignment;
    EXPECT_EQ (byContent.offsetSamples, 10 * rate);
    EXPECT_GE (byContent.confidence, 5.0f);

    const auto& early = match.guests[3].alignment;
    EXPECT_EQ (early.offsetSamples, -7 * rate - 40);
    EXPECT_EQ (early.method, Alignment::Method::timecodeRefined);
    EXPECT_EQ (match.score, std::max ({ locked.confidence, byContent.confidence, early.confidence }));
}

TEST (BatchMatcher, LocksInsideAnOverlapFromATenthOfCorrelationOn)
{
    Shoot shoot;
    const auto sound = noise (30 * rate, 1), other = noise (20 * rate, 2);
    const auto heard = [&] (float gain) {
        return Channels { sumOf (other, stretchOf (sound, 5 * rate + 9, 20 * rate), gain) };
    };
    shoot.add ("a.wav", { sound, sound, sound }, 36000u * rate);
    shoot.add ("b_less.wav", heard (0.08f), 36005u * rate);
    shoot.add ("c_more.wav", heard (0.13f), 36005u * rate);
    EXPECT_THAT (told (compareBatch (shoot.scans(), {})),
                 ElementsAre ("b_less on a: Timecode only / no waveform lock",
                              "c_more on a: Timecode rough-in / waveform locked ncc=0.13"));
}

// Too far from its timecode for the waveform: the shared stretch is searched for its content, either in either.
TEST (BatchMatcher, SearchesTheSharedStretchBothWays)
{
    auto turned = 0;

    for (const unsigned seed : { 1u, 2u, 3u })
    {
        Shoot shoot;
        const auto sound = speech (60 * rate, rate, seed);
        const auto guest = stretchOf (sound, 20 * rate, 25 * rate);
        shoot.add ("a.wav", Channels (3, sound), 36000u * rate);
        shoot.add ("b.wav", { guest }, 36012u * rate);
        const auto outcome = compareBatch (shoot.scans(), {});
        const auto& found = outcome.comparisons.at (0).guest.alignment;
        const auto shared = stretchOf (mixdown (Channels (3, sound)), 12 * rate, 25 * rate);
        const auto inHost = computeMfccOffset (shared, guest, rate);
        const auto inGuest = computeMfccOffset (guest, shared, rate);
        EXPECT_NEAR (found.confidence, std::max (inHost.zScore, inGuest.zScore), 1e-3);
        EXPECT_EQ (found.offsetSamples, 20 * rate);
        turned += inGuest.zScore > inHost.zScore ? 1 : 0;
    }

    EXPECT_GT (turned, 0);
}

TEST (MatchRoute, LeadsThroughTheOverlapAndUpToTwoSecondsBeyondIt)
{
    struct Case
    {
        int64 offset, overlap, guestLength;    // s
        MatchRoute route;
        int64 hostStart, guestStart, length;    // s
    };

    for (const auto& [offset, overlap, guestLength, route, hostStart, guestStart, length] :
         { Case { 10, 20, 20, MatchRoute::timecode, 10, 0, 20 },
           Case { 10, 20, 21, MatchRoute::timecode, 10, 0, 21 },
           Case { 10, 20, 30, MatchRoute::timecode, 10, 0, 22 },
           Case { -7, 20, 90, MatchRoute::timecode, 0, 7, 22 },
           Case { 35, 5, 90, MatchRoute::timecode, 35, 0, 5 },
           Case { 10, 20, 19, MatchRoute::whole, 0, 0, 0 },
           Case { 39, 0, 90, MatchRoute::whole, 0, 0, 0 } })
    {
        MatchTables tables;
        tables.matches.emplace_back().guests.emplace_back();
        tables.sources = { MatchSource {}, MatchSource {} };
        MatchPair pair;
        pair.guestSource = 1;
        pair.overlap = { true, offset * rate, overlap * rate };

        for (auto& source : tables.sources)
        {
            source.rate = rate;
            source.channels = 1;
        }

        tables.sources[0].length = 40 * rate;
        tables.sources[1].length = guestLength * rate;
        chooseRoute (tables, pair);
        EXPECT_EQ (pair.route, route) << guestLength;
        EXPECT_EQ (pair.hostStart, hostStart * rate);
        EXPECT_EQ (pair.guestStart, guestStart * rate);
        EXPECT_EQ (pair.length, length * rate);
    }
}

TEST (BatchMatcher, JudgesFilesThatHaveGoneByTheirHeaders)
{
    Shoot shoot;
    const auto sound = speech (10 * rate, rate, 1);
    const auto gonePoly = shoot.add ("a_gone.wav", threeOf (sound), 36000u * rate);
    shoot.add ("b_here.wav", threeOf (sound), 40000u * rate);
    const auto goneFile = shoot.add ("c_gone.wav", { sound }, 40002u * rate);
    shoot.add ("d_here.wav", { sound }, 36004u * rate);
    const auto goneUnstamped = shoot.add ("e_gone.wav", { sound });
    shoot.add ("f_here.wav", { sound });
    const auto scans = shoot.scans();

    for (const auto& file : { gonePoly, goneFile, goneUnstamped })
        file.deleteFile();

    const auto outcome = compareBatch (scans, {});
    EXPECT_THAT (told (outcome),
                 ElementsAre ("c_gone on a_gone: Different time of day than this take",
                              "d_here on a_gone: Timecode only / no waveform lock",
                              "e_gone on a_gone: Could not read poly waveform",
                              "f_here on a_gone: Could not read poly waveform",
                              "c_gone on b_here: Timecode only / no waveform lock",
                              "d_here on b_here: Different time of day than this take",
                              "e_gone on b_here: Could not read ISO waveform",
                              testing::StartsWith ("f_here on b_here: MFCC z=")));
}

// A source is deleted while a worker has read nothing but its header.
TEST (BatchMatcher, EndsWithVerdictsWhenFilesVanishDuringTheScan)
{
    for (const auto budget : { 1e6, 1e9 })
    {
        Shoot shoot;
        fillWithEveryKind (shoot);
        const auto scans = shoot.scans();
        std::atomic<bool> isGone { false };
        MatchOptions options;
        options.memoryBudget = budget;
        options.onRead = [&] (double) {
            if (! isGone.exchange (true))
                for (const auto* name : { "b3.wav", "b4.wav", "a2.wav" })
                    shoot.temp.file (name).deleteFile();
        };

        const auto outcome = compareBatch (scans, {}, options);
        EXPECT_EQ (outcome.comparisons.size(), 12u);

        for (const auto& verdict : outcome.comparisons)
            EXPECT_TRUE (verdict.guest.alignment.detail.isNotEmpty());
    }
}

TEST (BatchMatcher, AnswersTheSameUnderAnyBudgetAndWithAnyNumberOfWorkers)
{
    Shoot shoot;
    fillWithEveryKind (shoot);
    const auto scans = shoot.scans();
    const auto whole = compareBatch (scans, {}, { .workers = 1, .memoryBudget = 1e10, .onRead = {} });

    for (const auto budget : { 1.0, 1e6, 4e6, 1.5e7, 6e7 })
        for (const auto workers : { 1, 3 })
        {
            const auto other = compareBatch (scans, {}, { .workers = workers, .memoryBudget = budget, .onRead = {} });
            EXPECT_EQ (alignmentsOf (other), alignmentsOf (whole)) << budget << " bytes, " << workers << " workers";
            EXPECT_EQ (told (other), told (whole));
        }
}

// The pairs without timecode, as the plain functions judge them from whole files in memory.
TEST (BatchMatcher, FindsWhatThePlainSearchFinds)
{
    Shoot shoot;
    fillWithEveryKind (shoot);
    auto compared = 0;

    for (const auto& verdict : compareBatch (shoot.scans(), {}).comparisons)
    {
        if (verdict.guest.ixml.hasTimestamp)
            continue;

        auto signals = loadAllChannels (verdict.poly, rate);
        signals.insert (signals.begin(), mixdown (signals));
        const auto& poly = signals.front();
        const auto guest = mixdown (loadAllChannels (verdict.guest.file, rate));
        const auto found = computeMfccOffsetBest (signals, guest, rate, false);
        const auto refined = refineAround (poly, guest, found.offsetSamples, { rate, 4, 4 });

        EXPECT_EQ (verdict.guest.alignment.confidence, found.zScore);
        EXPECT_EQ (verdict.guest.alignment.offsetSamples, refined.lag);
        EXPECT_EQ (verdict.guest.alignment.needsManual, ! found.locked);
        ++compared;
    }

    EXPECT_EQ (compared, 6);
}

TEST (BatchMatcher, WithoutPairsHasNothingToTell)
{
    Shoot shoot;
    EXPECT_THAT (matchBatchByWaveform ({}, {}), IsEmpty());
    shoot.add ("a.wav", threeOf (noise (100, 1)));
    const auto matches = matchBatchByWaveform (shoot.scans(), [] (int, int) { ADD_FAILURE() << "there is no pair"; });
    ASSERT_EQ (matches.size(), 1u);
    EXPECT_THAT (matches.front().guests, IsEmpty());
    EXPECT_TRUE (matches.front().reason.isEmpty());
}

TEST (GlobalDecision, KeepsWhatComesNearAFilesBestAndWhatTimecodeAnchors)
{
    using enum Alignment::Method;

    struct Case
    {
        const char* file;
        Alignment::Method method;
        float confidence;
        bool usedTimecode, needsManual, isKept;
    };

    const Case cases[] = {
        { "best elsewhere", waveform, 6.0f, false, false, false },
        { "best elsewhere", waveform, 10.0f, false, false, true },
        { "near the best", waveform, 8.0f, false, false, true },
        { "near the best", waveform, 10.0f, false, false, true },
        { "anchored", waveform, 6.0f, true, false, true },
        { "anchored", waveform, 10.0f, false, false, true },
        { "anchored weakly", waveform, 4.9f, true, false, false },
        { "anchored weakly", waveform, 30.0f, false, false, true },
        { "by timecode beside a lock", timecode, 0.35f, true, false, true },
        { "by timecode beside a lock", timecodeRefined, 20.0f, true, false, true },
        { "weak everywhere", waveform, 4.9f, false, false, false },
        { "doubtful counts for nothing", waveform, 40.0f, true, true, false },
        { "doubtful counts for nothing", waveform, 6.1f, false, false, true },
        { "doubtful counts for nothing", waveform, 7.6f, false, false, true },
        { "doubtful counts for nothing", waveform, 6.0f, false, false, false },
    };
    std::vector<Verdict> verdicts;

    for (const auto& c : cases)
    {
        auto& verdict = verdicts.emplace_back();
        verdict.path = c.file;
        verdict.usedTimecode = c.usedTimecode;
        verdict.alignment.method = c.method;
        verdict.alignment.confidence = c.confidence;
        verdict.alignment.needsManual = c.needsManual;
    }

    const auto accepted = acceptedOf (verdicts);

    for (size_t i = 0; i < verdicts.size(); ++i)
        EXPECT_EQ (accepted[i], cases[i].isKept) << cases[i].file << " " << cases[i].confidence;
}

TEST (Workers, DoEveryJobOnceAndHandOnWhatOneThrows)
{
    for (const auto threads : { 1, 4, 100 })
    {
        std::mutex mutex;
        std::multiset<int> seen;
        runWorkers (
            50,
            [&] (int index) {
            const std::scoped_lock lock (mutex);
            seen.insert (index);
            },
            threads);
        EXPECT_EQ (seen.size(), 50u);
        EXPECT_EQ (std::set<int> (seen.begin(), seen.end()).size(), 50u);
    }

    runWorkers (0, [] (int) { ADD_FAILURE(); });
    EXPECT_THROW (runWorkers (20, [] (int) { throw std::bad_alloc(); }), std::bad_alloc);
}

}    // namespace ld::test
