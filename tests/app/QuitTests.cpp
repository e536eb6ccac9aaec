#include "media/BwfReader.h"

#include "support/FolderSnapshot.h"
#include "support/RunProgram.h"
#include "support/TempFolder.h"
#include "support/WrittenShoot.h"

#include <gmock/gmock.h>

#if defined(__linux__)

namespace ld::test
{
namespace
{

using testing::IsEmpty;

// Only a broken program comes near it; the figure itself stands in the test's report.
constexpr juce::int64 longestEndMs = 10000;

/** Whole combined files, and nothing else: no file that was being written, hidden or not. */
void expectOnlyWholeFiles (const juce::File& folder)
{
    for (const auto& file : folder.findChildFiles (juce::File::findFilesAndDirectories, true))
    {
        BwfReader reader;
        EXPECT_TRUE (file.getFileName().startsWith ("COMBINED_") && file.hasFileExtension ("wav"))
            << file.getFileName();
        ASSERT_TRUE (reader.open (file)) << file.getFileName();
        EXPECT_GT (reader.format.numFrames, 0);
        EXPECT_EQ (reader.framesInFile(), reader.format.numFrames) << file.getFileName();
    }
}

TEST (Quitting, EndsWellInTheMidstOfAnyWorkAndLeavesNothingHalfWritten)
{
    const WrittenShoot shoot (8, 3, 11);
    ASSERT_TRUE (shoot.result.wasOk());
    const auto sources = snapshotOf (shoot.folder);
    juce::int64 longest = 0;
    auto timesBusy = 0;

    for (const auto* work : { "scan", "files", "folder", "combine" })
        for (const auto* delay : { "0", "15", "60", "200" })
        {
            const TempFolder out;
            ChildProgram program (
                { LD_QUITTING_PROGRAM, shoot.folder.getFullPathName(), out.folder.getFullPathName(), work, delay });
            EXPECT_EQ (program.wait(), 0) << work << " " << delay << "\n" << program.err();
            const auto end = juce::Time::currentTimeMillis();
            const auto words = juce::StringArray::fromTokens (program.out().trim(), " ", {});
            ASSERT_EQ (words.size(), 2) << work << " " << delay;
            longest = std::max (longest, end - words[0].getLargeIntValue());
            timesBusy += words[1] == "busy" ? 1 : 0;
            expectOnlyWholeFiles (out.folder);
        }

    EXPECT_GE (timesBusy, 4) << "it was not closed in the midst of work";
    EXPECT_LT (longest, longestEndMs);
    RecordProperty ("longestEndMs", std::to_string (longest));
    EXPECT_EQ (snapshotOf (shoot.folder), sources) << "the sources have changed";
}

}    // namespace
}    // namespace ld::test

#endif
