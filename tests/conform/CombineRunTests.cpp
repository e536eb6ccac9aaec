#include "conform/CombineRun.h"

#include "support/DirectLag.h"
#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>

#include <cmath>

namespace ld::test
{
namespace
{

using juce::int64;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int hostRate = 48000;

// A poly whose tracks are the recorder's mix and two microphones, all of one noise at other levels.
juce::File writePoly (const juce::File& file, const std::vector<float>& sound, juce::uint64 stamp = 0)
{
    auto quieter = sound;

    for (auto& sample : quieter)
        sample *= 0.5f;

    return WaveBuilder ({ .channels = 3 }, { sound, quieter, sound })
        .chunk ("iXML", ixmlBody ({ .trackNames = { "Mix", "Lav", "Boom" } }))
        .chunk ("bext", bextBody ({ .timeReference = stamp }))
        .writeTo (file);
}

// A guest that a match has placed already.
ScanFile lockedAt (const juce::File& file, int64 offset, double driftSlope = 0.0)
{
    auto scan = inspectAudioFile (file);
    scan.alignment = { offset, Alignment::Method::timecode, 1.0f, false, driftSlope, "Timecode" };
    return scan;
}

BatchMatch takeOf (const juce::File& poly, std::vector<ScanFile> guests)
{
    BatchMatch take;
    take.host = inspectAudioFile (poly);
    take.guests = std::move (guests);
    take.reason = "timecode";
    return take;
}

// The sound of a room: noise without its highest octaves, in phrases of changing loudness.
std::vector<float> talk (int64 length, int seed)
{
    auto sound = noise (length, seed, 0.6f);
    const auto loudness = noise (length / 9600 + 1, seed + 1, 1.0f);
    auto smooth = 0.0f;

    for (size_t i = 0; i < sound.size(); ++i)
        sound[i] = (smooth += 0.4f * (sound[i] - smooth)) * std::abs (loudness[i / 9600]);

    return sound;
}

// What a recorder hears whose clock runs fast by this ratio, by a straight line between two samples.
std::vector<float> heardAtOtherClock (const std::vector<float>& sound, int64 firstSample, double ratio)
{
    std::vector<float> heard;

    for (size_t i = 0;; ++i)
    {
        const auto at = (double) firstSample + (double) i / ratio;
        const auto whole = (size_t) at;

        if (whole + 1 >= sound.size())
            return heard;

        heard.push_back (sound[whole] + (float) (at - (double) whole) * (sound[whole + 1] - sound[whole]));
    }
}

std::vector<float> laneOf (const juce::File& file, size_t lane)
{
    const auto lanes = readLanes (file);
    std::vector<float> samples;

    for (const auto value : lanes.at (lane))
        samples.push_back ((float) (value / 8388608.0));

    return samples;
}

std::vector<float> part (const std::vector<float>& samples, int64 start, int64 length)
{
    return { samples.begin() + start, samples.begin() + start + length };
}

}    // namespace

TEST (CombineRun, TakesOfOneNameGetFilesOfTheirOwn)
{
    OutputNames names (juce::File ("/out"));
    std::vector<juce::String> given;

    for (const auto* poly : { "/a/T1.wav", "/b/T1.WAV", "/c/t1.wav", "/a/T1_2.wav", "/a/T2.bwf" })
        given.push_back (names.nameFor (juce::File (poly)).getFullPathName());

    EXPECT_THAT (given,
                 ElementsAre ("/out/COMBINED_T1.wav",
                              "/out/COMBINED_T1_2.wav",
                              "/out/COMBINED_t1_3.wav",
                              "/out/COMBINED_T1_2_2.wav",
                              "/out/COMBINED_T2.wav"));
}

TEST (CombineRun, AGuestThatIsPlacedAlreadyIsNotSearchedAgain)
{
    const TempFolder temp;
    const auto poly = writePoly (temp.file ("poly.wav"), noise (30000, 1, 0.2f));
    const auto ones = std::vector<float> (10000, 0.25f);
    const auto pack = WaveBuilder ({}, { ones }).writeTo (temp.file ("pack.wav"));
    const auto slow = WaveBuilder ({}, { ones }).writeTo (temp.file ("slow.wav"));
    auto take = takeOf (poly, { lockedAt (pack, -100), lockedAt (slow, 5000, 1.0e-3) });
    take.omittedHost = { 1 };
    const auto done = combineTake (take, temp.file ("out/COMBINED.wav"), {});
    ASSERT_TRUE (done.written) << done.error;
    EXPECT_THAT (walkWave (done.output).complaints, IsEmpty());
    EXPECT_EQ (done.reason, "timecode");
    ASSERT_EQ (done.guests.size(), 2u);
    EXPECT_EQ (done.guests[0].alignment.method, Alignment::Method::timecode);

    const auto lanes = readLanes (done.output), host = readLanes (poly);
    ASSERT_EQ (lanes.size(), 5u);
    EXPECT_EQ (lanes[1], host[0]);
    EXPECT_EQ (lanes[2], host[2]);
    const auto countOf = [] (const std::vector<double>& lane, double value) {
        return std::ranges::count (lane, value);
    };
    EXPECT_EQ (countOf (lanes[3], 0.25 * 8388608.0), 9900);
    EXPECT_EQ (countOf (lanes[4], 0.25 * 8388608.0), 10010) << "stretched by a thousandth";

    // Mix: the boom and the guests, but not the recorder's mix.
    for (const auto p : { size_t { 0 }, size_t { 7000 }, size_t { 20000 } })
        EXPECT_NEAR (lanes[0][p], std::min (lanes[2][p] + lanes[3][p] + lanes[4][p], 8388607.0), 1.0);
}

TEST (CombineRun, ADoubtfulGuestIsLeftOutAndTheTakeIsStillWritten)
{
    const TempFolder temp;
    const auto poly = writePoly (temp.file ("poly.wav"), talk (5 * hostRate, 1));
    const auto silent = WaveBuilder ({}, { std::vector<float> (96000) }).writeTo (temp.file ("silent.wav"));
    auto unsure = lockedAt (silent, 0);
    unsure.alignment.needsManual = true;
    const auto done = combineTake (takeOf (poly, { unsure }), temp.file ("COMBINED.wav"), {});
    ASSERT_TRUE (done.written) << done.error;
    ASSERT_EQ (done.guests.size(), 1u);
    EXPECT_TRUE (done.guests[0].rejected);
    EXPECT_NE (done.guests[0].alignment.detail, "");
    EXPECT_EQ (readLanes (done.output).size(), 4u);
}

TEST (CombineRun, AGuestThatNoMemoryWouldHoldCostsTheTakeNothingButItself)
{
    const TempFolder temp;
    const auto sound = noise (1'000'000, 1, 0.2f);
    const auto poly = writePoly (temp.file ("poly.wav"), part (sound, 0, 48000));

    // A header damaged to 1 Hz: at the poly's rate it would be eleven days long.
    const auto slow = WaveBuilder ({ .sampleRate = 1 }, { sound }).writeTo (temp.file ("slow.wav"));
    const auto done = combineTake (takeOf (poly, { inspectAudioFile (slow) }), temp.file ("COMBINED.wav"), {});
    EXPECT_TRUE (done.written) << done.error;
    ASSERT_EQ (done.guests.size(), 1u);
    EXPECT_TRUE (done.guests[0].rejected);
    EXPECT_EQ (readLanes (done.output).size(), 4u);
}

TEST (CombineRun, WhyATakeWasNotWrittenIsTold)
{
    const TempFolder temp;
    const auto poly = writePoly (temp.file ("poly.wav"), noise (1000, 1, 0.2f));
    const auto pack = WaveBuilder ({}, { noise (1000, 2, 0.2f) }).writeTo (temp.file ("pack.wav"));
    const auto take = takeOf (poly, { lockedAt (pack, 0) });
    const auto blocked = combineTake (take, pack.getChildFile ("COMBINED.wav"), {});
    EXPECT_FALSE (blocked.written);
    EXPECT_EQ (blocked.error, "Could not create output file.");
    ASSERT_EQ (blocked.guests.size(), 1u);
    EXPECT_TRUE (blocked.guests[0].rejected);

    poly.deleteFile();
    const auto gone = combineTake (take, temp.file ("COMBINED.wav"), {});
    EXPECT_FALSE (gone.written);
    EXPECT_EQ (gone.error, "Could not read poly.wav as a BWF/WAV.");
    EXPECT_FALSE (temp.file ("COMBINED.wav").exists());
}

TEST (CombineRun, AGuestWhoseClockRunsAwayIsInStepFromItsStartToItsEnd)
{
    constexpr auto seconds = 60;
    constexpr auto clock = 1.0 + 150.0e-6;    // 9 ms in a minute
    const TempFolder temp;
    const auto sound = talk (seconds * hostRate, 1);
    const auto poly = writePoly (temp.file ("poly.wav"), sound, 48000);

    // Its timecode is a tenth of a second wrong, as that of packs is.
    const auto pack = WaveBuilder ({}, { heardAtOtherClock (sound, 30000, clock) })
                          .chunk ("bext", bextBody ({ .timeReference = 48000 + 30000 + 4800 }))
                          .writeTo (temp.file ("pack.wav"));
    const auto done = combineTake (takeOf (poly, { inspectAudioFile (pack) }), temp.file ("COMBINED.wav"), {});
    ASSERT_TRUE (done.written) << done.error;
    ASSERT_EQ (done.guests.size(), 1u);
    ASSERT_FALSE (done.guests[0].rejected) << done.guests[0].alignment.detail;
    EXPECT_NEAR (done.guests[0].alignment.driftSlope, -150.0e-6, 5.0e-6);
    const auto lane = slopeOf (laneOf (done.output, 4)), host = slopeOf (sound);
    constexpr int64 window = hostRate / 2;

    for (const auto start : { int64 { 31000 }, int64 { seconds / 2 * hostRate }, (int64) lane.size() - window - 2000 })
        EXPECT_LE (std::abs (bestLag (host, start, part (lane, start, window))), 12) << start;
}

}    // namespace ld::test
