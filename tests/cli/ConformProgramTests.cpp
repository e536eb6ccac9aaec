#include "output/SessionDocument.h"

#include "support/FolderSnapshot.h"
#include "support/RunProgram.h"
#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>

#if JUCE_LINUX || JUCE_MAC

#include <csignal>

// The built program itself: what it says, how it ends and what it leaves behind.

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/** A shoot folder and an output folder beside it. */
struct Folders
{
    Folders() { shoot.createDirectory(); }

    [[nodiscard]] ProgramRun conform (std::vector<juce::String> more = {}, std::optional<juce::int64> limit = {}) const
    {
        std::vector<juce::String> words { LD_CONFORM_PROGRAM, shoot.getFullPathName(), "--out", out.getFullPathName() };
        words.insert (words.end(), more.begin(), more.end());
        return run (words, limit);
    }

    // The names of the files that are in the output folder.
    [[nodiscard]] std::vector<std::string> written() const
    {
        std::vector<std::string> names;

        for (const auto& file : out.findChildFiles (juce::File::findFiles, true))
            names.push_back (file.getFileName().toStdString());

        std::ranges::sort (names);
        return names;
    }

    juce::File addPoly (const juce::String& path, int frames = 4800) const
    {
        const auto file = shoot.getChildFile (path);
        file.getParentDirectory().createDirectory();
        return WaveBuilder ({ .channels = 3 }, Channels (3, noise (frames, 1, 0.2f))).writeTo (file);
    }

    // A poly of 20 s, and recordings of it: one in the shoot, one in a folder beside it.
    void addTakeWithGuests() const
    {
        const auto sound = speech (20 * 48000, 48000, 1);
        isos.createDirectory();
        WaveBuilder ({ .channels = 3 }, Channels (3, sound)).writeTo (shoot.getChildFile ("T1.wav"));
        WaveBuilder ({}, { stretchOf (sound, 48000, 15 * 48000) }).writeTo (shoot.getChildFile ("pack.wav"));
        WaveBuilder ({}, { stretchOf (sound, 3 * 48000, 12 * 48000) }).writeTo (isos.getChildFile ("boom.wav"));
    }

    const TempFolder temp;
    const juce::File shoot = temp.file ("shoot"), out = temp.file ("out"), isos = temp.file ("isos");
};

std::string both (const ProgramRun& result)
{
    return (result.out + result.err).toStdString();
}

// A poly whose sound is a hole in the file: it costs no disk, and its combined file takes a while.
void addHugePoly (const juce::File& file)
{
    constexpr juce::uint32 audioBytes = 600'000'000;
    const WaveFormat format { .channels = 8 };
    WaveBuilder().chunk ("fmt ", fmtBody (format)).chunk ("data", 0, audioBytes).writeTo (file);
    juce::FileOutputStream stream (file);
    EXPECT_TRUE (stream.setPosition (file.getSize() + audioBytes - 1) && stream.writeByte (0));
}

std::vector<juce::MemoryBlock> brokenFiles()
{
    const WaveFormat format { .channels = 4, .bits = 16 };
    const auto whole = WaveBuilder (format, Channels (4, noise (500, 1, 0.5f))).build();
    std::vector<juce::MemoryBlock> files { {}, bodyOf ("RIFF"), bodyOf (std::string (4096, '\xFF')) };

    for (const auto length : { 11, 12, 20, 43, 44, 45, 1000 })
        files.emplace_back (whole.getData(), (size_t) length);

    // Every field of the header in turn made absurd, but for the upper half of the audio's size: a take that lost power
    // is written as long as it claims to be, and that would be 4 GB.
    for (size_t at = 4; at < 42; at += 2)
        for (const auto value : { '\x00', '\xFF' })
        {
            auto forged = whole;
            forged[at] = forged[at + 1] = value;
            files.push_back (forged);
        }

    for (const auto size :
         { juce::uint64 { 0 }, juce::uint64 { 1 } << 40, juce::uint64 { 1 } << 62, ~juce::uint64 { 0 } })
        files.push_back (WaveBuilder()
                             .rf64 (size, size)
                             .chunk ("fmt ", fmtBody (format))
                             .chunk ("data", 800, WaveBuilder::sizeInDs64)
                             .build());

    return files;
}

}    // namespace

TEST (ConformProgram, WrongUsageEndsWithTwoAndASentence)
{
    const Folders folders;
    const auto missing = folders.temp.file ("nowhere").getFullPathName(), shoot = folders.shoot.getFullPathName();
    const auto file = folders.addPoly ("poly.wav").getFullPathName(), out = folders.out.getFullPathName();
    const std::pair<std::vector<juce::String>, std::string> cases[] = {
        { {}, "required" },
        { { shoot }, "--out is required" },
        { { missing, "--out", out }, "There is no " + missing.toStdString() + "." },
        { { shoot, "--out", file }, file.toStdString() + " is a file, not a folder." },
        { { shoot, "--out", out, "--loud" }, "--loud" },
        { { shoot, "--out", out, "--iso", missing }, "There is no " + missing.toStdString() + "." },
        { { shoot, "--out", out, "--jobs", "0" }, "--jobs" },
    };

    for (const auto& [words, sentence] : cases)
    {
        auto command = words;
        command.insert (command.begin(), LD_CONFORM_PROGRAM);
        const auto result = run (command);
        EXPECT_EQ (result.status, 2) << sentence;
        EXPECT_THAT (both (result), HasSubstr (sentence));
    }

    EXPECT_EQ (run ({ LD_CONFORM_PROGRAM, "--help" }).status, 0);
    EXPECT_FALSE (folders.out.exists());
}

TEST (ConformProgram, AFolderWithoutAPolyEndsWithOne)
{
    const Folders folders;
    folders.shoot.getChildFile ("notes.txt").replaceWithText ("no audio");
    const auto result = folders.conform();
    EXPECT_EQ (result.status, 1);
    EXPECT_THAT (both (result), HasSubstr ("Found no poly in " + folders.shoot.getFullPathName().toStdString() + "."));
    EXPECT_FALSE (folders.out.exists());
}

TEST (ConformProgram, QuietSaysNothingAndOtherwiseItEndsWithATable)
{
    const Folders folders;
    folders.addPoly ("T1.wav");
    const auto told = folders.conform();
    EXPECT_EQ (told.status, 0) << told.err;
    EXPECT_THAT (told.out.toStdString(), HasSubstr ("T1.wav  ->  COMBINED_T1.wav"));
    EXPECT_THAT (told.out.toStdString(), HasSubstr ("Wrote 1 of 1 COMBINED WAV files.\n"));
    EXPECT_EQ (told.err, "") << "progress is for terminals";

    const auto report = folders.temp.file ("report.json");
    const auto quiet = folders.conform ({ "--quiet", "--report", report.getFullPathName() });
    EXPECT_EQ (quiet.status, 0);
    EXPECT_EQ (both (quiet), "");
    const auto take = juce::JSON::parse (report)["takes"][0];
    EXPECT_EQ (take["poly"].toString(), folders.shoot.getChildFile ("T1.wav").getFullPathName());
    EXPECT_EQ (take["output"].toString(), folders.out.getChildFile ("COMBINED_T1.wav").getFullPathName());

    const auto below = report.getChildFile ("below").getFullPathName();
    const auto unwritten = folders.conform ({ "--report", below });
    EXPECT_EQ (unwritten.status, 1);
    EXPECT_THAT (both (unwritten), HasSubstr ("Could not write " + below.toStdString() + "."));
}

TEST (ConformProgram, ASavedSessionCombinesToTheSameBytes)
{
    const Folders folders;
    folders.addTakeWithGuests();
    const auto session = folders.temp.file ("day.ldsession"), report = folders.temp.file ("report.json");
    const auto direct = folders.conform ({ "--iso",
                                           folders.isos.getFullPathName(),
                                           "--save-session",
                                           session.getFullPathName(),
                                           "--report",
                                           report.getFullPathName() });
    ASSERT_EQ (direct.status, 0) << both (direct);
    const auto comparisons = juce::JSON::parse (report)["comparisons"];
    ASSERT_EQ (comparisons.size(), 2);
    EXPECT_EQ (comparisons[1]["file"].toString(), folders.isos.getChildFile ("boom.wav").getFullPathName());
    EXPECT_EQ ((int) comparisons[1]["offsetSamples"], 3 * 48000);
    EXPECT_TRUE ((bool) comparisons[1]["accepted"]);
    EXPECT_EQ (walkWave (folders.out.getChildFile ("COMBINED_T1.wav")).channels, 1 + 3 + 2);

    const auto direct1 = snapshotOf (folders.out);
    folders.out.deleteRecursively();
    const auto reopened =
        run ({ LD_CONFORM_PROGRAM, session.getFullPathName(), "--out", folders.out.getFullPathName(), "--jobs", "2" });
    EXPECT_EQ (reopened.status, 0) << both (reopened);
    EXPECT_EQ (snapshotOf (folders.out), direct1);
}

TEST (ConformProgram, InterchangeFilesStandBesideTheirTakeAndNeverCostIt)
{
    const Folders folders;
    folders.addTakeWithGuests();
    const auto session = folders.temp.file ("day.ldsession"), report = folders.temp.file ("report.json");
    const auto plain = folders.conform ({ "--save-session", session.getFullPathName() });
    ASSERT_EQ (plain.status, 0) << both (plain);
    const auto combined = snapshotOf (folders.out).at ("COMBINED_T1.wav");

    // The session's picture goes along.
    SessionDocument document;
    ASSERT_TRUE (readSessionDocument (session, document).wasOk());
    document.videoFile = folders.temp.file ("A001.mov");
    document.videoFile.replaceWithText ("a picture");
    ASSERT_TRUE (writeSessionDocument (session, document).wasOk());
    const std::vector<juce::String> words {
        LD_CONFORM_PROGRAM, session.getFullPathName(), "--out", folders.out.getFullPathName(), "--interchange",
        "--report",         report.getFullPathName()
    };
    EXPECT_EQ (run (words).status, 0);
    EXPECT_THAT (
        folders.written(),
        ElementsAre ("COMBINED_T1.aaf", "COMBINED_T1.ale", "COMBINED_T1.edl", "COMBINED_T1.wav", "COMBINED_T1.xml"));
    const auto edl = folders.out.getChildFile ("COMBINED_T1.edl").loadFileAsString().toStdString();
    EXPECT_THAT (edl, HasSubstr ("002  T1       V   C"));
    EXPECT_THAT (edl, HasSubstr ("* FROM CLIP NAME: pack.wav"));

    // A folder in the place of one of them.
    const auto blocked = folders.out.getChildFile ("COMBINED_T1.ale");
    blocked.deleteFile();
    blocked.getChildFile ("full").createDirectory();
    const auto failed = run (words);
    EXPECT_EQ (failed.status, 1);
    EXPECT_THAT (failed.out.toStdString(),
                 HasSubstr ("T1.wav  ->  COMBINED_T1.wav; Could not write COMBINED_T1.ale\n"));
    const auto take = juce::JSON::parse (report)["takes"][0];
    EXPECT_TRUE ((bool) take["written"]);
    EXPECT_EQ (take["error"].toString(), "Could not write COMBINED_T1.ale");
    EXPECT_FALSE ((bool) take["guests"][0]["rejected"]);
    EXPECT_EQ (snapshotOf (folders.out).at ("COMBINED_T1.wav"), combined);
}

TEST (ConformProgram, AScanAloneWritesNoTake)
{
    const Folders folders;
    folders.addTakeWithGuests();
    const auto session = folders.temp.file ("day.ldsession"), report = folders.temp.file ("report.json");
    const auto scan = run ({ LD_CONFORM_PROGRAM,
                             folders.shoot.getFullPathName(),
                             "--scan-only",
                             "--save-session",
                             session.getFullPathName(),
                             "--report",
                             report.getFullPathName() });
    EXPECT_EQ (scan.status, 0) << both (scan);
    EXPECT_THAT (scan.out.toStdString(), HasSubstr ("placed    pack.wav"));
    EXPECT_THAT (scan.out.toStdString(), HasSubstr ("Found 1 takes, 1 of them with guests. Nothing was written.\n"));
    EXPECT_FALSE (folders.out.exists());
    EXPECT_FALSE ((bool) juce::JSON::parse (report)["takes"][0]["written"]);

    const auto below = session.getChildFile ("below").getFullPathName();
    const auto unsaved = folders.conform ({ "--save-session", below });
    EXPECT_EQ (unsaved.status, 1);
    EXPECT_THAT (both (unsaved), HasSubstr ("Could not write session file."));
    EXPECT_TRUE (folders.out.getChildFile ("COMBINED_T1.wav").existsAsFile()) << "the takes are written all the same";
}

TEST (ConformProgram, ASessionThatCannotBeReadOrHasLostItsMediaIsTold)
{
    const Folders folders;
    folders.addTakeWithGuests();
    const auto lost = folders.addPoly ("T2.wav");
    const auto session = folders.temp.file ("day.ldsession"), other = folders.temp.file ("other.ldsession");
    const auto conform = [&] (const juce::File& file) {
        return run ({ LD_CONFORM_PROGRAM, file.getFullPathName(), "--out", folders.out.getFullPathName() });
    };
    ASSERT_NE (folders.conform ({ "--scan-only", "--save-session", session.getFullPathName() }).status, 2);
    lost.deleteFile();
    folders.shoot.getChildFile ("pack.wav").deleteFile();

    const auto result = conform (session);
    EXPECT_EQ (result.status, 1);
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("T2.wav  ->  not written: "));
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("left out  pack.wav"));
    EXPECT_THAT (folders.written(), ElementsAre ("COMBINED_T1.wav"));

    for (const auto& [text, sentence] :
         { std::pair { "{}", "Session has no takes." }, { "[[[", "Session file is not valid JSON." } })
    {
        other.replaceWithText (text);
        const auto refused = conform (other);
        EXPECT_EQ (refused.status, 1);
        EXPECT_THAT (both (refused), HasSubstr (sentence));
    }
}

TEST (ConformProgram, PolysOfOneNameGetFilesOfTheirOwn)
{
    const Folders folders;

    for (const auto* path : { "day1/T1.wav", "day2/T1.wav", "day3/T1.WAV" })
        folders.addPoly (path);

    EXPECT_EQ (folders.conform().status, 0);
    EXPECT_THAT (folders.written(), ElementsAre ("COMBINED_T1.wav", "COMBINED_T1_2.wav", "COMBINED_T1_3.wav"));
}

TEST (ConformProgram, ALinkThatLeadsBackIntoTheShootIsNotFollowedForEver)
{
    const Folders folders;
    folders.addPoly ("day/T1.wav");
    ASSERT_TRUE (folders.shoot.createSymbolicLink (folders.shoot.getChildFile ("day/again"), false));
    EXPECT_EQ (folders.conform().status, 0);
    EXPECT_THAT (folders.written(), ElementsAre ("COMBINED_T1.wav"));
}

TEST (ConformProgram, BrokenFilesEndWithAStatusAndCostNoOtherTake)
{
    const Folders folders;
    folders.addPoly ("good.wav");
    auto number = 0;

    for (const auto& bytes : brokenFiles())
        writeBytes (folders.shoot.getChildFile ("broken_" + juce::String (++number) + ".wav"), bytes);

    const auto before = snapshotOf (folders.shoot);
    const auto result = folders.conform();
    EXPECT_EQ (result.status, 1) << result.err;
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("Could not be read:"));
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("broken_2.wav"));
    EXPECT_TRUE (folders.out.getChildFile ("COMBINED_good.wav").existsAsFile());
    EXPECT_EQ (snapshotOf (folders.shoot), before);

    for (const auto& file : folders.out.findChildFiles (juce::File::findFiles, false))
        EXPECT_THAT (walkWave (file).complaints, IsEmpty()) << file.getFileName();
}

TEST (ConformProgram, AFileThatCannotGrowIsToldAndLeavesTheEarlierOne)
{
    const Folders folders;
    const auto poly = folders.addPoly ("T1.wav");
    ASSERT_EQ (folders.conform().status, 0);
    folders.out.getChildFile ("COMBINED_T1.wav").replaceWithText ("of an earlier run");
    const auto before = snapshotOf (folders.temp.folder);
    const auto result = folders.conform ({}, poly.getSize() / 2);
    EXPECT_EQ (result.status, 1);
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("T1.wav  ->  not written: Could not create output file."));
    EXPECT_EQ (snapshotOf (folders.temp.folder), before);
}

TEST (ConformProgram, EndedInTheMidstOfAWriteItLeavesNoFileOfATakesName)
{
    for (const auto signal : { SIGKILL, SIGINT, SIGTERM, SIGHUP })
    {
        const Folders folders;
        addHugePoly (folders.shoot.getChildFile ("T1.wav"));
        ChildProgram program (
            { LD_CONFORM_PROGRAM, folders.shoot.getFullPathName(), "--out", folders.out.getFullPathName() });
        const auto unfinished = [&] {
            return folders.out.findChildFiles (juce::File::findFiles, false, ".lodestrand-*.part");
        };
        ASSERT_TRUE (becomesTrue ([&] { return ! unfinished().isEmpty() || ! program.isRunning(); }));
        program.send (signal);
        const auto status = program.wait();
        EXPECT_EQ (status, signal == SIGKILL ? -SIGKILL : 128 + signal);
        EXPECT_FALSE (folders.out.getChildFile ("COMBINED_T1.wav").exists());
        EXPECT_EQ (unfinished().size(), signal == SIGKILL ? 1 : 0);
        EXPECT_EQ (folders.written().size(), signal == SIGKILL ? 1u : 0u);
    }
}

}    // namespace ld::test

#endif
