#include "batch/FolderScan.h"

#include "clocks/ShootMatch.h"
#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#include <optional>

namespace ld::test
{
namespace
{

using juce::int64;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int64 minute = 60 * 48000;

struct Stamp
{
    juce::uint64 samples;
    double rate = 48000.0;
};

ScanFile scan (const juce::String& name, int channels, int64 frames, std::optional<Stamp> stamp = {})
{
    ScanFile file;
    file.file = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile (name);
    file.format.channels = channels;
    file.format.numFrames = frames;
    file.format.valid = true;

    if (stamp)
    {
        file.ixml.present = file.ixml.hasTimestamp = true;
        file.ixml.timestampSamples = stamp->samples;
        file.ixml.timestampSampleRate = stamp->rate;
    }

    return file;
}

ScanFile sceneTake (ScanFile file, const juce::String& scene, const juce::String& take)
{
    file.ixml.scene = scene;
    file.ixml.take = take;
    return file;
}

std::vector<std::string> namesOf (const std::vector<ScanFile>& files)
{
    std::vector<std::string> names;

    for (const auto& file : files)
        names.push_back (file.file.getFileName().toStdString());

    return names;
}

std::vector<std::string> collected (const TempFolder& temp, const juce::String& folder = {})
{
    std::vector<std::string> names;

    for (const auto& file : collectMediaFiles (folder.isEmpty() ? temp.folder : temp.file (folder)))
        names.push_back (file.getRelativePathFrom (temp.folder).replaceCharacter ('\\', '/').toStdString());

    return names;
}

TEST (MediaFiles, AreListedFromAllFoldersInOrderOfTheirPaths)
{
    const TempFolder temp;

    for (const auto* name : { "b.wav", "a/z.BWF", "a/deeper/x.bwf", "C.WAV", "c.wave", "take.mp3", "wav", "b.wav.txt" })
        EXPECT_TRUE (temp.file (name).create().wasOk());

    EXPECT_TRUE (temp.file ("folder.wav").createDirectory().wasOk());
    EXPECT_THAT (collected (temp), ElementsAre ("C.WAV", "a/deeper/x.bwf", "a/z.BWF", "b.wav", "c.wave"));
    EXPECT_THAT (collected (temp, "a"), ElementsAre ("a/deeper/x.bwf", "a/z.BWF"));
    EXPECT_THAT (collected (temp, "take.mp3"), ElementsAre ("take.mp3")) << "a file that was named is taken as it is";
    EXPECT_THAT (collected (temp, "missing"), IsEmpty());
    EXPECT_THAT (collected (temp, "folder.wav"), IsEmpty());
}

#if ! JUCE_WINDOWS
TEST (MediaFiles, EachRealFileIsListedOnceByTheShortestPath)
{
    const TempFolder temp, elsewhere;

    for (const auto* name : { "day/one.wav", "day/deep/er/three.wav" })
        EXPECT_TRUE (temp.file (name).create().wasOk());

    EXPECT_TRUE (elsewhere.file ("two.wav").create().wasOk());
    EXPECT_TRUE (temp.folder.createSymbolicLink (temp.file ("day/loop"), true));

    for (const auto* name : { "linked", "a", "day/again" })
        EXPECT_TRUE (elsewhere.folder.createSymbolicLink (temp.file (name), true));

    EXPECT_TRUE (temp.file ("day/deep").createSymbolicLink (temp.file ("zz-deep"), true));
    EXPECT_TRUE (temp.file ("day/one.wav").createSymbolicLink (temp.file ("day/deep/copy.wav"), true));
    EXPECT_THAT (collected (temp), ElementsAre ("a/two.wav", "day/one.wav", "zz-deep/er/three.wav"));
    EXPECT_EQ (collectMediaFiles ({ elsewhere.folder, temp.folder, elsewhere.folder }).size(), 3u);
}
#endif

TEST (TimecodeOverlap, IsCountedOnTheHostsClock)
{
    auto guestAt44 = scan ("g.wav", 1, 44100 * 10, Stamp { 44100 * 101, 44100.0 });
    guestAt44.format.sampleRate = 44100;
    const auto host = scan ("h.wav", 4, 48000 * 20, Stamp { 48000 * 100 });

    const auto at = [] (juce::uint64 second, int64 seconds) {
        return scan ("g.wav", 1, 48000 * seconds, Stamp { 48000 * second });
    };
    auto cutAfterFive = at (95, 10), cutAfterSeven = at (95, 10);
    cutAfterFive.format.missingFrames = 48000 * 5;
    cutAfterSeven.format.missingFrames = 48000 * 3;
    const std::tuple<ScanFile, bool, int64, int64> cases[] = {
        { cutAfterFive, false, 0, 0 },          { cutAfterSeven, true, -240000, 96000 },
        { guestAt44, true, 48000, 480000 },     { at (95, 10), true, -240000, 240000 },
        { at (90, 60), true, -480000, 960000 }, { at (119, 10), true, 912000, 48000 },
        { at (120, 10), false, 0, 0 },    // where the one ends the other starts
        { at (90, 10), false, 0, 0 },           { scan ("g.wav", 1, 480000), false, 0, 0 },
    };

    for (const auto& [guest, valid, offset, overlap] : cases)
    {
        const auto result = tcOverlap (host, guest);
        EXPECT_EQ (result.valid, valid);
        EXPECT_EQ (result.offsetSamples, offset);
        EXPECT_EQ (result.overlapSamples, overlap);
    }
}

TEST (PairScore, TakesTheStrongestEvidence)
{
    const auto stamped = scan ("x.wav", 4, 4 * minute, Stamp { 0 });
    const auto slated = sceneTake (stamped, "12A", "3");
    const auto named = [] (const juce::String& name) { return scan (name + ".wav", 1, 9); };
    const std::tuple<ScanFile, ScanFile, float, const char*> cases[] = {
        { slated, sceneTake (named ("y"), " 12a ", "3 "), 100.0f, "scene/take" },
        { slated, sceneTake (scan ("y.wav", 1, minute, Stamp { 0 }), "12A", ""), 76.25f, "timecode" },
        { slated, sceneTake (named ("y"), "12A", "4"), 0.0f, "" },
        { stamped, scan ("y.wav", 1, 9 * minute, Stamp { 0 }), 95.0f, "timecode" },
        { named ("123456789012aaaaaaaaaaaaaaaaaa"), named ("123456789012bbbbbbbbbbbbbbbbbbb"), 0.0f, "" },
        { named ("ABCDEFGHIJKLMNOaaaaaaaaaaaaaaa"), named ("abcdefghijklmnobbbbbbbbbbbbbbbbbbb"), 20.0f, "filename" },
        { named ("take7"), named ("TAKE7_boom"), 40.0f, "filename" },
    };

    for (const auto& [host, guest, score, reason] : cases)
    {
        const auto result = scorePair (host, guest);
        EXPECT_FLOAT_EQ (result.score, score) << guest.file.getFileName();
        EXPECT_EQ (result.reason, reason);
        EXPECT_EQ (result.strong, score > 40.0f);
    }
}

TEST (Attaching, KeepsEachFileAndEachReasonOnce)
{
    BatchMatch match;
    attachGuest (match, scan ("a.wav", 1, 9), { 80.0f, "timecode", true });
    attachGuest (match, scan ("b.wav", 1, 9), { 100.0f, "scene/take", true });
    attachGuest (match, scan ("c.wav", 1, 9), { 75.0f, "timecode", true });
    attachGuest (match, scan ("a.wav", 1, 9), { 120.0f, "filename", false });
    EXPECT_THAT (namesOf (match.guests), ElementsAre ("a.wav", "b.wav", "c.wav"));
    EXPECT_EQ (match.reason, "timecode + scene/take");
    EXPECT_EQ (match.score, 100.0f);
}

TEST (BatchMatching, EveryMonoOrStereoFileIsACandidateForEveryPoly)
{
    auto unreadable = scan ("bad.wav", 1, 9);
    unreadable.format.valid = false;
    const auto matches = matchBatch ({ scan ("iso1.wav", 1, 9),
                                       scan ("A.wav", 3, minute, Stamp { 0 }),
                                       unreadable,
                                       scan ("B.wav", 8, minute, Stamp { 100 * (juce::uint64) minute }),
                                       scan ("iso2.wav", 2, 9, Stamp { 0 }) });
    ASSERT_EQ (matches.size(), 2U);
    EXPECT_EQ (matches[0].host.file.getFileName(), "A.wav");
    EXPECT_EQ (matches[1].host.file.getFileName(), "B.wav");

    for (const auto& match : matches)
    {
        EXPECT_THAT (namesOf (match.guests), ElementsAre ("iso1.wav", "iso2.wav")) << "metadata does not decide";
        EXPECT_EQ (match.reason, "waveform candidate");
        EXPECT_EQ (match.score, 20.0f);
    }
}

// What a second poly must show to be attached to the first, of 6 channels and one minute from stamp 0.
TEST (BatchMatching, AFurtherPolyNeedsEvidenceAndATwinHalfItsLength)
{
    const auto half = (juce::uint64) minute / 2;
    const auto poly = sceneTake (scan ("poly.wav", 6, minute, Stamp { 0 }), "1", "1");

    const auto other = [] (int channels, int64 frames, juce::uint64 at) {
        return scan ("x.wav", channels, frames, Stamp { at });
    };
    const std::tuple<const char*, ScanFile, bool> cases[] = {
        { "a twin over half its length", other (6, minute, half), true },
        { "a twin over a sample less", other (6, minute, half + 1), false },
        { "another channel count, one sample", other (8, minute, 2 * half - 1), true },
        { "no common timecode", other (6, minute, 2 * half), false },
        { "a much longer one, a little", other (6, minute * 3 / 2, 2 * half - 1), true },
        { "not quite so much longer", other (6, minute * 3 / 2 - 1, 2 * half - 1), false },
        { "a much shorter one, a little", other (6, minute / 3, 2 * half - 1), true },
        { "scene and take, another time", sceneTake (other (6, minute, 9 * half), "1", "1"), true },
        { "a like name is weak", scan ("poly.wave", 6, minute), false },
    };

    for (const auto& [what, further, isAttached] : cases)
    {
        const auto matches = matchBatch ({ poly, further });
        ASSERT_EQ (matches.size(), 2U);
        EXPECT_EQ (matches[0].guests.size(), isAttached ? 1U : 0U) << what;
    }
}

TEST (BatchMatching, ALoneFileIsThePolyAndNeverItsOwnGuest)
{
    for (const auto& lone : { scan ("one.wav", 2, 9, Stamp { 0 }), scan ("one.wav", 2, 9) })
    {
        const auto matches = matchBatch ({ lone });
        ASSERT_EQ (matches.size(), 1U);
        EXPECT_EQ (matches[0].host.file, lone.file);
    }

    EXPECT_THAT (matchBatch ({ scan ("one.wav", 2, 9), scan ("two.wav", 2, 9) }), IsEmpty());

    const TempFolder temp;
    const auto sound = speech (20 * 8000, 8000, 1);
    const auto file =
        WaveBuilder ({ .channels = 2, .sampleRate = 8000 }, { sound, sound }).writeTo (temp.file ("one.wav"));
    const auto shoot = matchShoot ({ inspectAudioFile (file) }, {});
    ASSERT_EQ (shoot.matches.size(), 1U);
    EXPECT_EQ (shoot.matches[0].host.file, file);
    EXPECT_THAT (shoot.matches[0].guests, IsEmpty());
}

TEST (SourceFamily, IsTheFamilyIdThenTheTracksThenTheNameWithoutItsNumber)
{
    const std::pair<const char*, const char*> stems[] = {
        { "Lav_001", "st:1:lav" },         { "LAV-7", "st:1:lav" },   { "lav 12", "st:1:lav" }, { "Lav.3", "st:1:lav" },
        { "Lav001", "st:1:lav" },          { "AB_12", "st:1:AB_12" }, { "AB12", "st:1:AB12" },  { "ABC12", "st:1:abc" },
        { "ABC_12", "st:1:abc" },          { "A__12", "st:1:A__12" }, { "Boom", "st:1:Boom" },  { "0001", "st:1:0001" },
        { "Take1_Lav", "st:1:Take1_Lav" }, { "A1B2C3", "st:1:a1b2c" }
    };

    for (const auto& [name, key] : stems)
        EXPECT_EQ (isoFamilyKey (scan (juce::String (name) + ".wav", 0, 9)), key) << name;

    auto file = scan ("Lav_001.wav", 2, 9);
    TrackInfo left, right;
    left.name = " Ann ";
    right.name = "BEN";
    right.function = "Lav";
    file.ixml.tracks = { left, right };
    EXPECT_EQ (isoFamilyKey (file), "tr:2|ann:other|ben:lav");
    file.ixml.familyUid = " F00D ";
    EXPECT_EQ (isoFamilyKey (file), "fam:f00d");
}

TEST (Clusters, JoinConsecutiveFilesOfOneSourceAndPartThoseThatRunTogether)
{
    const auto at = [] (int64 start) { return Stamp { (juce::uint64) start }; };
    const auto clusters = clusterIsoFills ({
        scan ("Lav_004.wav", 1, minute),    // no stamp: last, and never in conflict
        scan ("Lav_003.wav", 1, minute, at (3 * minute)),
        scan ("Lav_001.wav", 1, minute, at (minute)),
        scan ("Cam_001.wav", 2, 10 * minute, at (0)),
        scan ("Lav_002.wav", 1, minute, at (2 * minute - 100)),       // a short overlap, as of a split
        scan ("Lav_009.wav", 1, minute, at (minute + minute / 2)),    // half of _001
        scan ("Lav_010.wav", 1, minute, at (3 * minute + minute / 2 + 1)),
    });
    ASSERT_EQ (clusters.size(), 3U);
    EXPECT_THAT (namesOf (clusters[0]), ElementsAre ("Cam_001.wav"));
    EXPECT_THAT (namesOf (clusters[1]),
                 ElementsAre ("Lav_001.wav", "Lav_002.wav", "Lav_003.wav", "Lav_010.wav", "Lav_004.wav"));
    EXPECT_THAT (namesOf (clusters[2]), ElementsAre ("Lav_009.wav"));
    EXPECT_THAT (clusterIsoFills ({}), IsEmpty());
}

TEST (Clusters, CompareSpansInSecondsWhateverTheRates)
{
    auto slow = scan ("Lav_002.wav", 1, 44100 * 60, Stamp { 44100 * 120, 44100.0 });
    slow.format.sampleRate = 44100;
    const auto next = scan ("Lav_001.wav", 1, minute, Stamp { (juce::uint64) minute });

    // From 60 to 120 s and from 120 to 180 s; by raw stamps the second comes later, and they do not overlap.
    EXPECT_EQ (clusterIsoFills ({ slow, next }).size(), 1U);
    slow.ixml.timestampSamples = 44100 * 90;
    EXPECT_EQ (clusterIsoFills ({ slow, next }).size(), 2U);
    slow.ixml.timestampSamples = 44100 * 91;
    EXPECT_EQ (clusterIsoFills ({ slow, next }).size(), 1U);
}

}    // namespace
}    // namespace ld::test
