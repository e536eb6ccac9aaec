#include "conform/ConformReport.h"

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

std::vector<float> laneOf (const juce::File& file, size_t lane)
{
    const auto lanes = readLanes (file);
    std::vector<float> samples;

    for (const auto value : lanes.at (lane))
        samples.push_back ((float) (value / 8388608.0));

    return samples;
}

std::vector<std::string> trackNamesIn (const juce::File& file)
{
    std::vector<std::string> names;

    for (const auto& track : inspectAudioFile (file).ixml.tracks)
        names.push_back (track.name.toStdString());

    return names;
}

// "name: detail" of each guest that was left out.
std::vector<std::string> leftOutOf (const TakeOutcome& take)
{
    std::vector<std::string> lines;

    for (const auto& guest : take.guests)
        if (guest.rejected)
            lines.push_back ((guest.pieces.at (0).file.getFileName() + ": " + guest.alignment.detail).toStdString());

    return lines;
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
    const auto done = combineTake (take, {}, temp.file ("out/COMBINED.wav"), {});
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
    const auto done = combineTake (takeOf (poly, { unsure }), {}, temp.file ("COMBINED.wav"), {});
    ASSERT_TRUE (done.written) << done.error;
    ASSERT_EQ (done.guests.size(), 1u);
    EXPECT_TRUE (done.guests[0].rejected);
    EXPECT_NE (done.guests[0].alignment.detail, "");
    EXPECT_EQ (done.rejected, 1);
    EXPECT_EQ (readLanes (done.output).size(), 4u);
}

TEST (CombineRun, AGuestThatNoMemoryWouldHoldCostsTheTakeNothingButItself)
{
    const TempFolder temp;
    const auto sound = noise (1'000'000, 1, 0.2f);
    const auto poly = writePoly (temp.file ("poly.wav"), part (sound, 0, 48000));

    // A header damaged to 1 Hz: at the poly's rate it would be eleven days long.
    const auto slow = WaveBuilder ({ .sampleRate = 1 }, { sound }).writeTo (temp.file ("slow.wav"));
    const auto done = combineTake (takeOf (poly, { inspectAudioFile (slow) }), {}, temp.file ("COMBINED.wav"), {});
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
    const auto blocked = combineTake (take, {}, pack.getChildFile ("COMBINED.wav"), {});
    EXPECT_FALSE (blocked.written);
    EXPECT_EQ (blocked.error, "Could not create output file.");
    EXPECT_THAT (leftOutOf (blocked), ElementsAre ("pack.wav: Could not create output file."));
    EXPECT_EQ (blocked.rejected, 0) << "it is not the guest's fault";

    poly.deleteFile();
    const auto gone = combineTake (take, {}, temp.file ("COMBINED.wav"), {});
    EXPECT_FALSE (gone.written);
    EXPECT_EQ (gone.error, "Could not read poly.wav as a BWF/WAV.");
    EXPECT_THAT (leftOutOf (gone), ElementsAre ("pack.wav: Could not read poly.wav as a BWF/WAV."));
    EXPECT_EQ (gone.rejected, 0) << "nobody has tried it";
    EXPECT_FALSE (temp.file ("COMBINED.wav").exists());
}

TEST (CombineRun, TheUsersNamesAndMixAreInTheFile)
{
    const TempFolder temp;
    const auto level = [] (float value) { return std::vector<float> (40000, value); };
    const auto poly = WaveBuilder ({ .channels = 3 }, { level (0.5f), level (0.25f), level (0.125f) })
                          .chunk ("iXML", ixmlBody ({ .trackNames = { "Mix", "Lav", "Boom" }, .stamp = 48000 }))
                          .writeTo (temp.file ("poly.wav"));
    const auto pieceOf = [&] (const char* name, float value, int64 start) {
        const std::vector<float> audio (10000, value);
        const auto stamp = (juce::uint64) (48000 + start);
        const auto file = WaveBuilder ({}, { audio })
                              .chunk ("bext", bextBody ({ .timeReference = stamp }))
                              .writeTo (temp.file (name));
        return lockedAt (file, start);
    };

    // Sorted by name, as a folder lists them, the later recording stands first.
    const auto take = takeOf (poly, { pieceOf ("pack_10.wav", 0.0625f, 22000), pieceOf ("pack_2.wav", 0.25f, 9000) });
    const auto path = [&] (const char* name) { return temp.file (name).getFullPathName(); };
    TakeEdits edits;
    edits.names["st:1:pack"] = { "Anna" };
    edits.metadata[path ("poly.wav") + "\n" + path ("pack_10.wav") + "\n" + path ("pack_2.wav")] = {
        "st:1:pack", std::vector<TrackInfo> (2), "windy"
    };
    edits.mixer["H|OTHER|LAV|1"].mute = true;
    edits.mixer["H|OTHER|BOOM|2"].gainDb = -20.0f;
    edits.mixer["G|SINGLE|ANNA|0"].automation = { { 0, 0.0f }, { 25600, -40.0f } };
    const auto done = combineTake (take, edits, temp.file ("COMBINED.wav"), {});
    ASSERT_TRUE (done.written) << done.error;
    EXPECT_THAT (walkWave (done.output).complaints, IsEmpty());
    EXPECT_THAT (trackNamesIn (done.output), ElementsAre ("MIX", "OLDMIX", "Lav", "Boom", "Anna"));
    EXPECT_EQ (inspectAudioFile (done.output).ixml.note, "windy");
    ASSERT_EQ (done.guests.size(), 1u);
    EXPECT_THAT (done.guests[0].trackNames, ElementsAre ("Anna"));

    // Position, the guest's own lane, the new mix: the boom at a tenth and the guest at its curve.
    const std::tuple<size_t, float, float> expected[] = { { 8999, 0.0f, 0.0125f },
                                                          { 12800, 0.25f, 0.0125f + 0.25f * 0.1f },
                                                          { 18944, 0.25f, 0.0125f + 0.25f * 0.0331131f },
                                                          { 19000, 0.0f, 0.0125f },
                                                          { 30000, 0.0625f, 0.0125f + 0.0625f * 0.01f },
                                                          { 32000, 0.0f, 0.0125f } };
    const auto mix = laneOf (done.output, 0), guest = laneOf (done.output, 4);

    for (const auto& [position, lane, mixed] : expected)
    {
        EXPECT_EQ (guest[position], lane) << position;
        EXPECT_NEAR (mix[position], mixed, 1e-6) << position;
    }
}

TEST (CombineRun, AMixThatClipsIsToldWithTheFadersThatBringItWithinFullScale)
{
    const TempFolder temp;
    std::vector<float> lav (40000, 0.25f), boom (40000, 0.75f);
    std::fill_n (lav.begin() + 5000, 10000, 0.75f);
    const auto take = takeOf (WaveBuilder ({ .channels = 2 }, { lav, boom })
                                  .chunk ("iXML", ixmlBody ({ .trackNames = { "Lav", "Boom" }, .stamp = 0 }))
                                  .writeTo (temp.file ("poly.wav")),
                              {});
    const auto done = combineTake (take, {}, temp.file ("COMBINED.wav"), {});
    ASSERT_TRUE (done.written && done.mix) << done.error;
    EXPECT_FLOAT_EQ (done.mix->peak, 1.5f);
    EXPECT_EQ (clippedShare (*done.mix), 0.25);
    EXPECT_EQ (clippingSentence (*done.mix), "MIX clips in 25.0 % of the take; it fits with all faders 3.6 dB lower");

    const auto files = temp.folder.getNumberOfChildFiles (juce::File::findFiles);
    EXPECT_EQ (measureTakeMix (take, {}, {}).mix, done.mix);
    TakeEdits lowered;

    for (const auto* source : { "H|OTHER|LAV|0", "H|OTHER|BOOM|1" })
        shiftMixerGain (lowered.mixer[source], fittingDb (*done.mix));

    const auto fitting = measureTakeMix (take, lowered, {});
    EXPECT_EQ (fitting.mix->clippedFrames, 0);
    EXPECT_GT (fitting.mix->peak, 0.98f) << "no lower than it must be";
    EXPECT_EQ (clippingSentence (*fitting.mix), "");
    EXPECT_EQ (temp.folder.getNumberOfChildFiles (juce::File::findFiles), files) << "measuring writes nothing";
}

TEST (CombineRun, UnknownPlacesAreSearchedAndDoubtfulOnesLeftOut)
{
    const TempFolder temp;
    const auto sound = talk (40 * hostRate, 1);
    const auto poly = writePoly (temp.file ("poly.wav"), sound);
    const auto pieceOf = [&] (const char* name, const std::vector<float>& audio) {
        auto scan = lockedAt (WaveBuilder ({}, { audio }).writeTo (temp.file (name)), 7);
        scan.alignment = {};
        return scan;
    };
    constexpr int64 length = 10 * hostRate;
    auto doubtful = lockedAt (WaveBuilder ({}, { part (sound, 250'000, length) }).writeTo (temp.file ("plant.wav")), 7);
    doubtful.alignment.needsManual = true;
    doubtful.alignment.detail = "in doubt";
    const auto take = takeOf (poly,
                              { pieceOf ("pack_1.wav", part (sound, 250'000, length)),
                                pieceOf ("pack_2.wav", talk (length, 77)),
                                pieceOf ("pack_3.wav", part (sound, 1'200'000, length)),
                                doubtful });
    TakeEdits edits;
    edits.names["st:1:pack"] = { "Anna" };
    const auto done = combineTake (take, edits, temp.file ("COMBINED.wav"), {});
    ASSERT_TRUE (done.written) << done.error;
    EXPECT_THAT (leftOutOf (done),
                 testing::UnorderedElementsAre ("plant.wav: in doubt", "pack_2.wav: No place found for this piece"));
    EXPECT_EQ (done.rejected, 1) << "the one in doubt, which is not searched again; the pack itself was placed";
    ASSERT_FALSE (done.guests.at (0).rejected) << done.guests[0].alignment.detail;
    EXPECT_NEAR ((double) done.guests[0].alignment.offsetSamples, 250'000.0, 2.0);
    ASSERT_EQ (done.guests[0].pieces.size(), 2u);
    EXPECT_NEAR ((double) done.guests[0].pieces[1].offsetSamples, 950'000.0, 2.0);
    EXPECT_EQ (trackNamesIn (done.output).back(), "Anna");
}

TEST (CombineRun, GuestFilesThatHaveGoneAreToldAndCostNothingButThemselves)
{
    const TempFolder temp;
    const auto poly = writePoly (temp.file ("poly.wav"), noise (20000, 1, 0.2f));
    std::vector<ScanFile> scans;

    for (const auto* name : { "silent.wav", "pack.wav", "gone.wav", "text.wav", "late.wav" })
        scans.push_back (lockedAt (WaveBuilder ({}, { std::vector<float> (9000) }).writeTo (temp.file (name)), 100));

    scans[0].alignment = {};
    scans[2].file.deleteFile();
    scans[3].file.replaceWithText ("no audio");
    auto take = takeOf (poly, scans);
    take.guests.push_back (scans[1]);

    // The first guest is searched while the last one's disk is pulled out.
    const auto told = [&] (float, const juce::String&) { scans[4].file.deleteFile(); };
    ConformOutcome run;
    run.takes.push_back (combineTake (take, {}, temp.file ("COMBINED.wav"), told));
    const auto& done = run.takes[0];
    EXPECT_TRUE (done.written) << done.error;
    EXPECT_EQ (readLanes (done.output).size(), 5u);
    ASSERT_FALSE (scans[4].file.exists());
    ASSERT_EQ (done.guests.size(), 5u) << "a file that is listed twice is one";
    EXPECT_FALSE (done.guests[1].rejected);
    EXPECT_THAT (leftOutOf (done),
                 ElementsAre (testing::StartsWith ("silent.wav: "),
                              "late.wav: Its files cannot be read",
                              "gone.wav: Could not read gone.wav as WAV/BWF.",
                              "text.wav: Could not read text.wav as WAV/BWF."));
    EXPECT_TRUE (done.guests[3].alignment.needsManual);
    EXPECT_EQ (run.rejected(), 2) << "only what could be added is a candidate";

    accountForFiles (run, scans);
    EXPECT_THAT (run.unreadable, ElementsAre (scans[2].file, scans[3].file));
    EXPECT_THAT (run.unmatched, ElementsAre (scans[0].file, scans[4].file));
}

TEST (CombineRun, ItsSummaryNamesOnlyWhatHappened)
{
    const juce::String rejected = " ISO candidates were rejected; their polys were still written.";
    const juce::String unwritten = " source poly files could not be read or written.";
    EXPECT_EQ (combineSummary (3, 3, 0), "Wrote 3 of 3 COMBINED WAV files.");
    EXPECT_EQ (combineSummary (1, 1, 1), "Wrote 1 of 1 COMBINED WAV files. 1" + rejected);
    EXPECT_EQ (combineSummary (2, 3, 0), "Wrote 2 of 3 COMBINED WAV files. 1" + unwritten);
    EXPECT_EQ (combineSummary (0, 2, 4), "Wrote 0 of 2 COMBINED WAV files. 4" + rejected + " 2" + unwritten);
}

}    // namespace ld::test
