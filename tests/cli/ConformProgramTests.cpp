#include "output/SessionDocument.h"

#include "support/ConformFolders.h"
#include "support/FolderSnapshot.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>

#include <filesystem>

#if JUCE_LINUX || JUCE_MAC

// The built program itself: what it says, how it ends and what it leaves behind.

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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
    const ConformFolders folders;
    const auto missing = folders.temp.file ("nowhere").getFullPathName(), shoot = folders.shoot.getFullPathName();
    const auto file = folders.addPoly ("poly.wav").getFullPathName(), out = folders.out.getFullPathName();
    const auto session = folders.temp.file ("day.ldsession").getFullPathName();
    juce::File (session).replaceWithText ("{}");
    const std::pair<std::vector<juce::String>, std::string> cases[] = {
        { {}, "required" },
        { { shoot }, "--out is required" },
        { { missing, "--out", out }, "There is no " + missing.toStdString() + "." },
        { { shoot, "--out", file }, file.toStdString() + " is a file, not a folder." },
        { { shoot, "--out", out, "--loud" }, "--loud" },
        { { shoot, "--out", out, "--iso", missing }, "There is no " + missing.toStdString() + "." },
        { { shoot, "--out", out, "--jobs", "0" }, "--jobs" },
        { { session, "--out", out, "--iso", shoot }, "--iso goes with a folder" },
        { { shoot, "--scan-only", "--mhl" }, "--mhl lists what a run has written" },
        { { shoot, "--out", out, "--sound-report", "day.csv" }, "--sound-report names the page" },
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
    EXPECT_EQ (run ({ LD_CONFORM_PROGRAM, "--version" }).out,
               "lodestrand-conform " JUCE_APPLICATION_VERSION_STRING "\n");
    EXPECT_EQ (run ({ LD_DEMO_PROGRAM, "--version" }).out,
               "lodestrand-demo-shoot " JUCE_APPLICATION_VERSION_STRING "\n");
    EXPECT_FALSE (folders.out.exists());
}

TEST (ConformProgram, AFolderWithoutAPolyEndsWithOne)
{
    const ConformFolders folders;
    folders.shoot.getChildFile ("notes.txt").replaceWithText ("no audio");
    const auto result = folders.conform();
    EXPECT_EQ (result.status, 1);
    EXPECT_THAT (both (result), HasSubstr ("Found no poly in " + folders.shoot.getFullPathName().toStdString() + "."));
    EXPECT_FALSE (folders.out.exists());
}

TEST (ConformProgram, QuietSaysNothingAndOtherwiseItEndsWithATable)
{
    const ConformFolders folders;
    folders.addPoly ("T1.wav");
    const auto told = folders.conform();
    EXPECT_EQ (told.status, 0) << told.err;
    EXPECT_THAT (told.out.toStdString(), HasSubstr ("T1.wav  ->  COMBINED_T1.wav"));
    EXPECT_THAT (told.out.toStdString(), HasSubstr ("Wrote 1 of 1 COMBINED WAV files.\n"));
    EXPECT_EQ (told.err, "") << "progress is for terminals";

    const auto report = folders.temp.file ("report.json");
    const auto page = folders.temp.file ("day.html");
    const auto quiet =
        folders.conform ({ "--quiet", "--report", report.getFullPathName(), "--sound-report", page.getFullPathName() });
    EXPECT_THAT (page.loadFileAsString().toStdString(), HasSubstr ("<h1>Sound report: shoot</h1>"));
    EXPECT_TRUE (page.withFileExtension ("csv").existsAsFile());
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
    const ConformFolders folders;
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
    const ConformFolders folders;
    folders.addTakeWithGuests();
    folders.addPoly ("T2.wav");
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
    EXPECT_THAT (folders.written(),
                 testing::IsSupersetOf ({ "COMBINED_T1.aaf",
                                          "COMBINED_T1.ale",
                                          "COMBINED_T1.edl",
                                          "COMBINED_T1.otio",
                                          "COMBINED_T1.wav",
                                          "COMBINED_T1.xml",
                                          "COMBINED_T2.otio",
                                          "DAY_out.ale",
                                          "DAY_out.otio",
                                          "DAY_out.xml" }));
    const auto edl = folders.out.getChildFile ("COMBINED_T1.edl").loadFileAsString().toStdString();
    EXPECT_THAT (edl, HasSubstr ("002  A001     V     C"));
    EXPECT_THAT (edl, HasSubstr ("* FROM CLIP NAME: pack.wav"));

    const auto file = folders.out.getChildFile ("COMBINED_T1.wav");
    EXPECT_NE (walkWave (file).find ("cue "), nullptr) << "the pack begins a second into the take";
    auto without = words;
    without.insert (without.end(), { "--no-markers", "--new-ids" });
    EXPECT_EQ (run (without).status, 0);
    EXPECT_EQ (walkWave (file).find ("cue "), nullptr);
    EXPECT_THAT (readBody (file, *walkWave (file).find ("iXML")), HasSubstr ("<PARENT_FILENAME>T1.wav<"));

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

TEST (ConformProgram, HashListsNameASingleFlippedBitInOutputsAndSources)
{
    const ConformFolders folders;
    folders.addTakeWithGuests();
    ASSERT_EQ (folders.conform ({ "--iso", folders.isos.getFullPathName() }).status, 0);
    const auto without = snapshotOf (folders.out);
    ASSERT_EQ (folders.conform ({ "--iso", folders.isos.getFullPathName(), "--mhl" }).status, 0);
    EXPECT_EQ (snapshotOf (folders.out).at ("COMBINED_T1.wav"), without.at ("COMBINED_T1.wav"));
    EXPECT_THAT (
        folders.written(),
        testing::IsSupersetOf ({ "COMBINED_T1.wav", "SOURCES_isos.mhl", "SOURCES_shoot.mhl", "ascmhl_chain.xml" }));
    const std::vector<juce::String> words { LD_CONFORM_PROGRAM, "--verify", folders.out.getFullPathName() };
    const auto whole = run (words);
    EXPECT_EQ (whole.status, 0) << both (whole);
    EXPECT_EQ (whole.out, "6 files are as listed.\n") << "the combined file, three sources and their lists";

    for (const auto& file : { folders.out.getChildFile ("COMBINED_T1.wav"),
                              folders.shoot.getChildFile ("T1.wav"),
                              folders.shoot.getChildFile ("pack.wav"),
                              folders.isos.getChildFile ("boom.wav") })
    {
        juce::MemoryBlock bytes;
        ASSERT_TRUE (file.loadFileAsData (bytes));
        auto damaged = bytes;
        damaged[bytes.getSize() / 2] ^= 4;
        writeBytes (file, damaged);
        const auto told = run (words);
        EXPECT_EQ (told.status, 1);
        EXPECT_THAT (told.out.toStdString(), testing::StartsWith ("damaged    "));
        EXPECT_THAT (told.out.toStdString(), HasSubstr (file.getFileName().toStdString() + "\n5 files"));
        writeBytes (file, bytes);
    }

    EXPECT_EQ (run ({ LD_CONFORM_PROGRAM, "--verify", folders.shoot.getFullPathName() }).status, 1) << "no lists";
    EXPECT_EQ (run ({ LD_CONFORM_PROGRAM, "--verify", folders.temp.file ("no").getFullPathName() }).status, 2);
}

TEST (ConformProgram, AScanAloneWritesNoTake)
{
    const ConformFolders folders;
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
    const ConformFolders folders;
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
    const ConformFolders folders;

    for (const auto* path : { "day1/T1.wav", "day2/T1.wav", "day3/T1.WAV" })
        folders.addPoly (path);

    EXPECT_EQ (folders.conform().status, 0);
    EXPECT_THAT (folders.written(), ElementsAre ("COMBINED_T1.wav", "COMBINED_T1_2.wav", "COMBINED_T1_3.wav"));
}

TEST (ConformProgram, BrokenFilesEndWithAStatusAndCostNoOtherTake)
{
    const ConformFolders folders;
    folders.addPoly ("good.wav");
    auto number = 0;

    for (const auto& bytes : brokenFiles())
        writeBytes (folders.shoot.getChildFile ("broken_" + juce::String (++number) + ".wav"), bytes);

    std::filesystem::copy_file (folders.shoot.getChildFile ("good.wav").getFullPathName().toStdString(),
                                folders.shoot.getFullPathName().toStdString() + "/caf\xE9_long_name.wav");
    const auto before = snapshotOf (folders.shoot);
    const auto result = folders.conform();
    EXPECT_EQ (result.status, 1) << result.err;
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("Could not be read:"));
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("caf\xC3\xA9_long_name.wav\n        its name is no UTF-8 text"));
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("broken_2.wav"));
    EXPECT_TRUE (folders.out.getChildFile ("COMBINED_good.wav").existsAsFile());
    EXPECT_EQ (folders.out.findChildFiles (juce::File::findFiles, false, "*caf*").size(), 0);
    EXPECT_EQ (snapshotOf (folders.shoot), before);

    for (const auto& file : folders.out.findChildFiles (juce::File::findFiles, false))
        EXPECT_THAT (walkWave (file).complaints, IsEmpty()) << file.getFileName();
}

}    // namespace ld::test

#endif
