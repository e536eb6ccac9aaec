#include "output/BwfWriter.h"
#include "output/ReplacingFile.h"

#include "support/FolderSnapshot.h"
#include "support/RunProgram.h"
#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"

#include <gmock/gmock.h>

#include <functional>

#if JUCE_LINUX || JUCE_MAC
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace ld::test
{
namespace
{

const char* const couldNotCreate = "Could not create output file.";

/** A folder with a poly of 3000 frames and a pack, and a request that can be written from them. */
struct Shoot
{
    Shoot()
    {
        const WaveFormat mono;
        const WaveFormat poly { .channels = 3 };
        request.host = readTake (
            WaveBuilder (poly, Channels (3, noise (3000, 1, 0.5f))).chunk ("LIST", 5).writeTo (temp.file ("poly.wav")));
        auto& guest = request.guests.emplace_back();
        copyIdentity (readTake (WaveBuilder (mono, { noise (2000, 2, 0.5f) }).writeTo (temp.file ("pack.wav"))), guest);
        request.outputFile = temp.file ("COMBINED_poly.wav");
    }

    TempFolder temp;
    ExportRequest request;
};

using Change = std::function<void (Shoot&)>;

juce::String sentenceOf (const Shoot& shoot)
{
    return PolyExporter::write (shoot.request).getErrorMessage();
}

// The causes of a refusal, in the order in which they are told.
void forgetHost (Shoot& shoot)
{
    shoot.request.host.format.valid = false;
}

void aimAtHost (Shoot& shoot)
{
    shoot.request.outputFile = shoot.request.host.file;
}

void leaveNothing (Shoot& shoot)
{
    shoot.request.host.omittedChannels = { 1, 1, 1 };
    shoot.request.includeMix = false;
    shoot.request.guests.clear();
}

void addUnstitchedGuest (Shoot& shoot)
{
    auto& guest = *shoot.request.guests.insert (shoot.request.guests.begin(), GuestClip());
    guest.pieces.resize (2);
}

void addChannellessGuest (Shoot& shoot)
{
    auto& guest = shoot.request.guests.emplace_back();
    guest.format.channels = 2;
    guest.channelAudio.resize (1);
}

void removeHostFile (Shoot& shoot)
{
    EXPECT_TRUE (shoot.request.host.file.moveFileTo (shoot.temp.file ("elsewhere.wav")));
}

void putFileInPlaceOfFolder (Shoot& shoot)
{
    shoot.request.outputFile = shoot.temp.file ("pack.wav/COMBINED_poly.wav");
}

}    // namespace

TEST (WriteFailure, EveryCauseHasItsSentenceAndTheFirstOfSeveralIsTold)
{
    struct Case
    {
        std::vector<Change> changes;
        const char* sentence;
    };

    const char* const noAudio = "Could not prepare every ISO channel for export.";
    const Case cases[] = {
        { { forgetHost, aimAtHost, leaveNothing }, "No host take loaded." },
        { { aimAtHost, leaveNothing, removeHostFile }, "Refusing to overwrite the original poly file." },
        { { [] (Shoot& shoot) { shoot.request.outputFile = shoot.request.guests[0].file; } },
          "Refusing to overwrite the original poly file." },
        { { leaveNothing, removeHostFile, putFileInPlaceOfFolder }, "Nothing to write." },
        { { addUnstitchedGuest, addChannellessGuest, removeHostFile },
          "Stitched ISO audio was not prepared; refusing an incomplete export." },
        { { addChannellessGuest, removeHostFile, putFileInPlaceOfFolder }, noAudio },
        { { [] (Shoot& shoot) { shoot.request.guests[0].file.deleteFile(); } }, noAudio },
        { { [] (Shoot& shoot) { shoot.request.guests[0].format.channels = 2; } }, noAudio },
        { { removeHostFile, putFileInPlaceOfFolder }, "Could not reopen host file." },
        { { [] (Shoot& shoot) {
              WaveBuilder ({ .channels = 2 }, Channels (2, { 0.0f })).writeTo (shoot.request.host.file);
          } },
          "Could not reopen host file." },
        { { putFileInPlaceOfFolder }, couldNotCreate },
        { {}, "" },
    };

    for (const auto& [changes, sentence] : cases)
    {
        Shoot shoot;

        for (const auto& change : changes)
            change (shoot);

        const auto before = snapshotOf (shoot.temp.folder);
        EXPECT_EQ (sentenceOf (shoot), sentence);

        EXPECT_TRUE (*sentence == 0 || snapshotOf (shoot.temp.folder) == before) << sentence;
    }
}

TEST (WriteFailure, AFolderInPlaceOfTheTargetStaysAsItIs)
{
    for (const auto isEmpty : { true, false })
    {
        const Shoot shoot;
        ASSERT_TRUE (shoot.request.outputFile.createDirectory().wasOk());

        if (! isEmpty)
            shoot.request.outputFile.getChildFile ("notes.txt").replaceWithText ("kept");

        const auto before = snapshotOf (shoot.temp.folder);
        EXPECT_EQ (sentenceOf (shoot), "Could not replace the target file.") << isEmpty;
        EXPECT_TRUE (shoot.request.outputFile.isDirectory());
        EXPECT_EQ (snapshotOf (shoot.temp.folder), before);
    }
}

TEST (WriteFailure, AnEarlierTargetIsReplacedAndTheSourcesAreNotTouched)
{
    const Shoot shoot;
    auto expected = snapshotOf (shoot.temp.folder);
    ASSERT_EQ (sentenceOf (shoot), "");
    const auto first = snapshotOf (shoot.temp.folder);
    shoot.request.outputFile.replaceWithText ("of an earlier run");
    ASSERT_EQ (sentenceOf (shoot), "");
    EXPECT_EQ (snapshotOf (shoot.temp.folder), first);

    shoot.request.outputFile.deleteFile();
    EXPECT_EQ (snapshotOf (shoot.temp.folder), expected);
}

#if JUCE_LINUX || JUCE_MAC

namespace
{

// Does a piece of work in a process of its own, none of whose files may grow beyond the limit; true if it says so.
bool isTrueWithFileLimit (juce::int64 limitBytes, const std::function<bool()>& work)
{
    const auto pid = fork();

    if (pid == 0)
    {
        const rlimit limit { (rlim_t) limitBytes, (rlim_t) limitBytes };
        reportFileSizeLimitAsError();
        _exit (setrlimit (RLIMIT_FSIZE, &limit) == 0 && work() ? 0 : 1);
    }

    auto status = 0;
    waitpid (pid, &status, 0);
    return WIFEXITED (status) && WEXITSTATUS (status) == 0;
}

}    // namespace

TEST (WriteFailure, AFileThatCannotGrowIsAFailureWhereverItHappens)
{
    const Shoot shoot;
    ASSERT_EQ (sentenceOf (shoot), "");
    const auto size = shoot.request.outputFile.getSize();
    shoot.request.outputFile.replaceWithText ("of an earlier run");
    const auto before = snapshotOf (shoot.temp.folder);

    // In the header, in the audio, in the last buffer, in the last byte: where the stream flushes at the very end.
    for (const auto limit : { juce::int64 { 0 }, juce::int64 { 100 }, size / 2, size - 40, size - 1 })
    {
        EXPECT_TRUE (isTrueWithFileLimit (limit, [&] {
            return sentenceOf (shoot).startsWith ("Could not write COMBINED_poly.wav to its end.");
        })) << limit;
        EXPECT_EQ (snapshotOf (shoot.temp.folder), before) << limit;
    }

    EXPECT_TRUE (isTrueWithFileLimit (size, [&] { return sentenceOf (shoot).isEmpty(); }));
    EXPECT_EQ (shoot.request.outputFile.getSize(), size);
}

TEST (WriteFailure, ATextFileTakesTheSameRoad)
{
    const TempFolder temp;
    const auto file = temp.file ("report.json");
    ASSERT_TRUE (replaceTextFile (file, juce::String::fromUTF8 ("first\nsecond \xC3\xA4\n")));
    const auto before = snapshotOf (temp.folder);
    const std::string expected ("first\r\nsecond \xC3\xA4\r\n");
    EXPECT_EQ (before.at ("report.json"), bodyOf (expected));

    const auto longText = juce::String::repeatedString ("0123456789", 1000);
    EXPECT_TRUE (isTrueWithFileLimit (9999, [&] { return ! replaceTextFile (file, longText); }));
    EXPECT_EQ (snapshotOf (temp.folder), before);
    EXPECT_FALSE (replaceTextFile (file.getChildFile ("below.json"), "x"));
    EXPECT_TRUE (replaceTextFile (file, {}));
    EXPECT_EQ (file.getSize(), 0);
}

#endif

}    // namespace ld::test
