#include "batch/FolderScan.h"

#include "support/ConformFolders.h"
#include "support/FolderSnapshot.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>

#if JUCE_LINUX || JUCE_MAC

#include <csignal>
#include <unistd.h>

// What goes wrong on a set: disks fill up, drives are pulled, files change under the program's hands. Each ends with a
// sentence, the sources as they were, and no half file under a take's name.

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/** A conform of one huge poly, caught while its combined file is being written. */
class CaughtInTheWrite
{
public:
    CaughtInTheWrite()
    {
        addHugePoly (poly);
        sources = digestsOf (folders.shoot);
        program.emplace (std::vector<juce::String> {
            LD_CONFORM_PROGRAM, folders.shoot.getFullPathName(), "--out", folders.out.getFullPathName() });
        isCaught = becomesTrue ([this] { return program->hasOpenBelow (folders.out) || ! program->isRunning(); });
    }

    const ConformFolders folders;
    const juce::File poly = folders.shoot.getChildFile ("T1.wav"),
                     combined = folders.out.getChildFile ("COMBINED_T1.wav");
    std::map<juce::String, size_t> sources;    // before the run
    std::optional<ChildProgram> program;
    bool isCaught = false;
};

#if JUCE_LINUX

// Runs the conform with a small disk of its own in the place of the output folder; tells what lies on it in the end.
ProgramRun conformOntoDisk (const ConformFolders& folders, const juce::String& options)
{
    folders.out.createDirectory();
    return run ({ "unshare",
                  "-rm",
                  "sh",
                  "-c",
                  "mount -t tmpfs -o " + options
                      + " tmpfs \"$2\" || exit 77; \"$1\" \"$3\" --out \"$2\"; status=$?; ls -A \"$2\"; exit $status",
                  "sh",
                  LD_CONFORM_PROGRAM,
                  folders.out.getFullPathName(),
                  folders.shoot.getFullPathName() });
}

TEST (Fault, ADiskThatIsFullOrLockedIsToldAndHoldsNothingHalfWritten)
{
    constexpr auto notAllowed = 77;
    const ConformFolders folders;
    folders.addPoly ("day1/T1.wav", 30000);
    folders.addPoly ("day2/T2.wav", 600000);
    const auto sources = snapshotOf (folders.shoot);
    const auto full = conformOntoDisk (folders, "size=1m");

    if (full.status == notAllowed)
        GTEST_SKIP() << "the system lets nobody mount a disk: " << full.err;

    // The first take fits, the second does not.
    EXPECT_EQ (full.status, 1);
    EXPECT_THAT (full.out.toStdString(), HasSubstr ("T1.wav  ->  COMBINED_T1.wav\n"));
    EXPECT_THAT (full.out.toStdString(), HasSubstr ("T2.wav  ->  not written: "));
    EXPECT_THAT (full.out.toStdString(), testing::EndsWith ("could not be read or written.\nCOMBINED_T1.wav\n"));

    const auto locked = conformOntoDisk (folders, "size=1m,ro");
    EXPECT_EQ (locked.status, 1);
    EXPECT_THAT (locked.out.toStdString(), HasSubstr ("T1.wav  ->  not written: Could not create output file."));
    EXPECT_THAT (locked.out.toStdString(), testing::EndsWith ("could not be read or written.\n"));
    EXPECT_EQ (snapshotOf (folders.shoot), sources);
}

#endif

TEST (Fault, AFileThatCannotGrowIsToldAndLeavesTheEarlierOne)
{
    const ConformFolders folders;
    const auto poly = folders.addPoly ("T1.wav");
    ASSERT_EQ (folders.conform().status, 0);
    folders.out.getChildFile ("COMBINED_T1.wav").replaceWithText ("of an earlier run");
    const auto before = snapshotOf (folders.temp.folder);
    const auto result = folders.conform ({}, poly.getSize() / 2);
    EXPECT_EQ (result.status, 1);
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("T1.wav  ->  not written: Could not write COMBINED_T1.wav"));
    EXPECT_EQ (snapshotOf (folders.temp.folder), before);
}

TEST (Fault, EndedInTheMidstOfAWriteItLeavesNoFileOfATakesName)
{
    for (const auto signal : { SIGKILL, SIGINT, SIGTERM, SIGHUP })
    {
        CaughtInTheWrite caught;
        ASSERT_TRUE (caught.isCaught);
        caught.program->send (signal);
        EXPECT_EQ (caught.program->wait(), signal == SIGKILL ? -SIGKILL : 128 + signal);
        EXPECT_FALSE (caught.combined.exists());
        EXPECT_THAT (caught.folders.written(), IsEmpty()) << "what is not whole has no name yet";
        EXPECT_EQ (digestsOf (caught.folders.shoot), caught.sources);
    }
}

TEST (Fault, ATargetFolderThatIsRemovedDuringTheWriteIsTold)
{
    CaughtInTheWrite caught;
    ASSERT_TRUE (caught.isCaught);
    ASSERT_TRUE (caught.folders.out.deleteRecursively());
    EXPECT_EQ (caught.program->wait(), 1);
    EXPECT_THAT (caught.program->out().toStdString(), HasSubstr ("T1.wav  ->  not written: "));
    EXPECT_FALSE (caught.folders.out.exists());
    EXPECT_EQ (digestsOf (caught.folders.shoot), caught.sources);
}

// An open file stays whole for the one who has it open.
TEST (Fault, ASourceThatIsDeletedDuringTheWriteIsReadToItsEnd)
{
    CaughtInTheWrite caught;
    ASSERT_TRUE (caught.isCaught);
    ASSERT_TRUE (caught.poly.deleteFile());
    EXPECT_EQ (caught.program->wait(), 0) << caught.program->out();
    EXPECT_THAT (walkWave (caught.combined).complaints, IsEmpty());
}

TEST (Fault, ASourceThatIsCutShortDuringTheWriteLeavesAWholeFileOrNone)
{
    CaughtInTheWrite caught;
    ASSERT_TRUE (caught.isCaught);
    const auto frames = inspectAudioFile (caught.poly).format.numFrames;
    ASSERT_EQ (truncate (caught.poly.getFullPathName().toRawUTF8(), caught.poly.getSize() / 3), 0);
    const auto status = caught.program->wait();
    EXPECT_THAT (caught.folders.written(), testing::SizeIs (status == 0 ? 1 : 0));

    if (status == 0)
    {
        EXPECT_THAT (walkWave (caught.combined).complaints, IsEmpty());
        EXPECT_EQ (walkWave (caught.combined).numFrames, frames);
    }
    else
    {
        EXPECT_EQ (status, 1);
        EXPECT_THAT (caught.program->out().toStdString(), HasSubstr ("not written: "));
        EXPECT_FALSE (caught.combined.exists());
    }
}

TEST (Fault, AShootThatIsNotThereAnyMoreIsTold)
{
    const ConformFolders folders;
    folders.addTakeWithGuests();
    const auto session = folders.temp.file ("day.ldsession");
    ASSERT_EQ (folders.conform ({ "--save-session", session.getFullPathName() }).status, 0);
    ASSERT_TRUE (folders.out.deleteRecursively());

    // A drive that was pulled: its folder is a link to nowhere.
    const auto sources = digestsOf (folders.shoot);
    const auto elsewhere = folders.temp.file ("elsewhere");
    ASSERT_TRUE (folders.shoot.moveFileTo (elsewhere));
    ASSERT_TRUE (folders.temp.file ("nowhere").createSymbolicLink (folders.shoot, false));
    const auto result = run ({ LD_CONFORM_PROGRAM, session.getFullPathName(), "--out", folders.out.getFullPathName() });
    EXPECT_EQ (result.status, 1);
    EXPECT_THAT (result.out.toStdString(), HasSubstr ("T1.wav  ->  not written: Could not read T1.wav as a BWF/WAV."));
    EXPECT_THAT (folders.written(), IsEmpty());
    EXPECT_EQ (digestsOf (elsewhere), sources);
}

TEST (Fault, TwoRunsIntoOneFolderBothLeaveWholeFiles)
{
    const ConformFolders folders;
    folders.addTakeWithGuests();
    addHugePoly (folders.shoot.getChildFile ("T2.wav"));
    const auto sources = digestsOf (folders.shoot);
    const std::vector<juce::String> words {
        LD_CONFORM_PROGRAM, folders.shoot.getFullPathName(), "--out", folders.out.getFullPathName(), "--quiet"
    };
    ChildProgram one (words), other (words);
    EXPECT_EQ (one.wait(), 0) << one.err();
    EXPECT_EQ (other.wait(), 0) << other.err();
    EXPECT_THAT (folders.written(), ElementsAre ("COMBINED_T1.wav", "COMBINED_T2.wav"));

    for (const auto* name : { "COMBINED_T1.wav", "COMBINED_T2.wav" })
        EXPECT_THAT (walkWave (folders.out.getChildFile (name)).complaints, IsEmpty()) << name;

    EXPECT_EQ (digestsOf (folders.shoot), sources);
}

}    // namespace
}    // namespace ld::test

#endif
