#include "demo/DemoShoot.h"

#include "media/BextIxml.h"
#include "media/BwfReader.h"
#include "support/WrittenShoot.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <map>

#if JUCE_LINUX || JUCE_MAC
#include <sys/wait.h>
#endif

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

/** Two takes of 12 seconds, enough for one of every kind; written once for all tests of this file. */
const WrittenShoot& shoot()
{
    static const WrittenShoot written (12, 2, 1);
    return written;
}

std::map<juce::String, juce::MemoryBlock> bytesOfFiles (const juce::File& folder)
{
    std::map<juce::String, juce::MemoryBlock> files;

    for (const auto& file : folder.findChildFiles (juce::File::findFiles, true))
        file.loadFileAsData (files[file.getRelativePathFrom (folder)]);

    return files;
}

BwfReader opened (const juce::File& file)
{
    BwfReader reader;
    EXPECT_TRUE (reader.open (file)) << file.getFullPathName();
    return reader;
}

double stampSeconds (const BwfReader& reader)
{
    return (double) timestampFromIxmlOrBext (reader.ixml, reader.bext)
           / sampleRateForTimestamp (reader.ixml, reader.format);
}

// How far a file's timecode is ahead of the moment that the truth states, in seconds.
double timecodeError (const BwfReader& poly, const TruePiece& piece)
{
    return stampSeconds (opened (piece.file)) - (stampSeconds (poly) + piece.startSamples / poly.format.sampleRate);
}

std::vector<juce::String> trackNames (const BwfReader& reader)
{
    std::vector<juce::String> names;

    for (const auto& track : reader.resolvedTracks())
        names.push_back (track.name);

    return names;
}

float peakOf (const BwfReader& reader)
{
    auto peak = 0.0f;

    for (const auto& channel : reader.readAllChannels())
        for (const auto sample : channel)
            peak = std::max (peak, std::abs (sample));

    return peak;
}

juce::String quoted (const juce::String& text)
{
    return "'" + text + "'";
}

int exitStatusOf (const juce::String& command)
{
    const auto status = std::system ((command + " > /dev/null 2>&1").toRawUTF8());
#if JUCE_LINUX || JUCE_MAC
    return WIFEXITED (status) ? WEXITSTATUS (status) : -1;
#else
    return status;
#endif
}

}    // namespace

TEST (DemoShoot, TheSameArgumentsGiveTheSameBytesAndAnotherSeedOthers)
{
    const WrittenShoot first (5, 1, 7), second (5, 1, 7), other (5, 1, 8);
    ASSERT_TRUE (first.result.wasOk() && second.result.wasOk() && other.result.wasOk());
    const auto files = bytesOfFiles (first.folder), others = bytesOfFiles (other.folder);
    EXPECT_EQ (files, bytesOfFiles (second.folder));
    ASSERT_EQ (files.size(), others.size());

    for (const auto& [path, bytes] : files)
        EXPECT_NE (bytes, others.at (path)) << path;
}

TEST (DemoShoot, TheTruthListsEveryFileWithItsFramesAndRate)
{
    ASSERT_TRUE (shoot().result.wasOk()) << shoot().result.getErrorMessage();
    const auto& truth = shoot().truth;
    auto paths = std::map<juce::String, int> {};
    ASSERT_EQ (truth.takes.size(), 2u);

    for (const auto& take : truth.takes)
    {
        ++paths[take.poly.getFullPathName()];
        EXPECT_EQ (opened (take.poly).framesInFile(), take.frames);
        EXPECT_EQ (take.frames / 48000, 12);

        for (const auto& guest : take.guests)
            for (const auto& piece : guest.pieces)
            {
                const auto reader = opened (piece.file);
                ++paths[piece.file.getFullPathName()];
                EXPECT_EQ (reader.framesInFile(), piece.frames);
                EXPECT_EQ (reader.format.numFrames, piece.frames);
                EXPECT_EQ (reader.format.sampleRate, piece.sampleRate);
            }
    }

    for (const auto& file : truth.unrelated)
        ++paths[opened (file).file.getFullPathName()];

    // 2 polys, 2 + 3 pack files, 2 of the recorder, 2 of the camera, and one that belongs to no take.
    EXPECT_EQ (paths.size(), 12u);
    EXPECT_EQ (countDemoShootFiles ({ shoot().folder, 12, 2, 1 }), 12);
    EXPECT_EQ (shoot().folder.getNumberOfChildFiles (juce::File::findFiles, "*"), 1);
    EXPECT_EQ (shoot().folder.findChildFiles (juce::File::findFiles, true).size(), 13);
}

TEST (DemoShoot, APolySaysWhoIsOnItsChannelsAndKeepsAnOddChunk)
{
    const auto poly = opened (shoot().truth.takes[0].poly);
    EXPECT_THAT (trackNames (poly), ElementsAre ("Mix L", "Mix R", "Boom", "Lav 1", "Lav 2"));
    EXPECT_EQ (poly.ixml.scene, "101");
    EXPECT_EQ (poly.ixml.take, "1");
    EXPECT_THAT (poly.ixml.familyUid, Not (juce::String()));
    EXPECT_TRUE (poly.ixml.timecodeRate == "24/1" || poly.ixml.timecodeRate == "25/1");
    EXPECT_EQ (poly.ixml.timestampSamples, poly.bext.timeReference);
    EXPECT_THAT (poly.bext.description, Not (juce::String()));
    EXPECT_EQ (poly.format.bitsPerSample, 24);

    // 40 bytes of format: an extensible one.
    ASSERT_NE (poly.findChunk ("fmt "), nullptr);
    EXPECT_EQ (poly.findChunk ("fmt ")->size, 40);

    const auto extra = poly.extraChunks();
    ASSERT_EQ (extra.size(), 2u);
    EXPECT_EQ (extra[0].id, "LIST");
    EXPECT_EQ (extra[1].id, "demo");
    EXPECT_EQ (extra[1].data.getSize() % 2, 1u);

    const auto second = opened (shoot().truth.takes[1].poly);
    EXPECT_EQ (second.format.channels, 6);
    EXPECT_EQ (second.ixml.take, "2");
    EXPECT_NE (second.ixml.familyUid, poly.ixml.familyUid);
    EXPECT_GT (stampSeconds (second) - stampSeconds (poly), 60.0);
}

TEST (DemoShoot, EachMachineIsAsWrongAboutTheTimeAsItsKindIs)
{
    for (const auto& take : shoot().truth.takes)
    {
        const auto poly = opened (take.poly);

        for (const auto* source : { "Pack A", "Pack B" })
            for (const auto& piece : take.find (source)->pieces)
            {
                const auto error = std::abs (timecodeError (poly, piece));
                EXPECT_GT (error, 0.002) << source;
                EXPECT_LT (error, 0.1) << source;
            }

        const auto cameraError = std::abs (timecodeError (poly, take.find ("Camera")->pieces[0]));
        EXPECT_GT (cameraError, 0.1);
        EXPECT_LT (cameraError, 1.0);

        const auto recorder = opened (take.find ("Recorder")->pieces[0].file);
        EXPECT_FALSE (hasAudioTimestamp (recorder.ixml, recorder.bext));
    }

    const auto lone = opened (shoot().truth.unrelated.at (0));
    EXPECT_GT (stampSeconds (opened (shoot().truth.takes[0].poly)) - stampSeconds (lone), 3600.0);
}

TEST (DemoShoot, TheFilesOfASplitRecordingFollowEachOtherWithoutAGap)
{
    const auto& pieces = shoot().truth.takes[0].find ("Pack B")->pieces;
    ASSERT_EQ (pieces.size(), 2u);
    EXPECT_EQ (shoot().truth.takes[1].find ("Pack B")->pieces.size(), 1u);
    const auto first = opened (pieces[0].file), second = opened (pieces[1].file);
    EXPECT_EQ (second.bext.timeReference - first.bext.timeReference, (juce::uint64) pieces[0].frames);
    EXPECT_EQ (second.ixml.timestampSamples, second.bext.timeReference);

    const auto endOfFirst = pieces[0].startSamples + (double) pieces[0].frames * pieces[0].hostSamplesPerFrame;
    EXPECT_NEAR (pieces[1].startSamples, endOfFirst, 1.0e-3);
    EXPECT_GT (pieces[1].startSamples, 0.3 * (double) shoot().truth.takes[0].frames);
    EXPECT_LT (pieces[1].startSamples, 0.7 * (double) shoot().truth.takes[0].frames);

    const auto number = [] (const TruePiece& piece) {
        return piece.file.getFileNameWithoutExtension().getTrailingIntValue();
    };
    EXPECT_EQ (number (pieces[1]), number (pieces[0]) + 1);
}

TEST (DemoShoot, NothingClipsAndNothingIsSilent)
{
    for (const auto& file : shoot().folder.findChildFiles (juce::File::findFiles, true, "*.wav"))
    {
        const auto peak = peakOf (opened (file));
        EXPECT_GT (peak, 0.05f) << file.getFileName();
        EXPECT_LT (peak, 0.7f) << file.getFileName();
    }
}

TEST (DemoShoot, ArgumentsOutOfRangeAreRefusedWithASentence)
{
    const auto folder = shoot().folder.getSiblingFile (shoot().folder.getFileName() + "_refused");
    const DemoShootRequest refused[] = { { folder, 4, 1, 1 },
                                         { folder, 3601, 1, 1 },
                                         { folder, 40, 0, 1 },
                                         { folder, 40, 100, 1 },
                                         { folder, 3600, 12, 1 } };

    for (const auto& request : refused)
    {
        EXPECT_THAT (writeDemoShoot (request).getErrorMessage(), testing::Not (juce::String()));
        EXPECT_TRUE (checkDemoShoot (request).failed());
    }

    EXPECT_FALSE (folder.exists());
    EXPECT_TRUE (checkDemoShoot ({ folder, 3600, 11, 1 }).wasOk());
    EXPECT_TRUE (checkDemoShoot ({ folder, 40, 99, -1 }).wasOk());
}

TEST (DemoShoot, AFolderThatCannotBeIsAFailure)
{
    const auto underneathAFile = shoot().truth.takes[0].poly.getChildFile ("deeper");
    EXPECT_TRUE (writeDemoShoot ({ underneathAFile, 5, 1, 1 }).failed());
}

#if JUCE_LINUX || JUCE_MAC

TEST (DemoShootProgram, TellsByItsExitStatusWhatHappened)
{
    const auto folder = juce::File::createTempFile ("shoot");
    const auto program = quoted (LD_DEMO_PROGRAM) + " ";
    EXPECT_EQ (exitStatusOf (program + quoted (folder.getFullPathName()) + " --seconds 5 --takes 1 --seed 3"), 0);
    EXPECT_EQ (bytesOfFiles (folder), bytesOfFiles (WrittenShoot (5, 1, 3).folder));
    EXPECT_EQ (exitStatusOf (program + "--help"), 0);

    for (const auto* wrong : { "", "--takes 0", "--seconds 4", "--seconds many", "--loud" })
        EXPECT_EQ (exitStatusOf (program + (*wrong != 0 ? quoted (folder.getFullPathName()) + " " : "") + wrong), 2)
            << wrong;

    folder.deleteRecursively();
}

TEST (DemoShootProgram, LeavesNothingHalfWrittenWhereAFileCannotGrow)
{
    const auto folder = juce::File::createTempFile ("shoot");
    folder.createDirectory();
    folder.getChildFile ("truth.json").replaceWithText ("of an earlier shoot");

    // 200 blocks of 512 bytes: a file that is to be larger fails half-way, as on a full disk.
    const auto limited = "trap '' XFSZ; ulimit -f 200; " + quoted (LD_DEMO_PROGRAM) + " "
                         + quoted (folder.getFullPathName()) + " --seconds 5 --takes 1";
    EXPECT_EQ (exitStatusOf (limited), 1);
    EXPECT_THAT (bytesOfFiles (folder), IsEmpty());
    folder.deleteRecursively();
}

#endif

}    // namespace ld::test
