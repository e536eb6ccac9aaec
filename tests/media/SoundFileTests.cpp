#include "media/SoundFile.h"

#include "support/ClipCases.h"
#include "support/RunProgram.h"
#include "support/TempFolder.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

class Clips : public testing::Test
{
protected:
    void SetUp() override
    {
        if (! isInstalled ("ffmpeg"))
            GTEST_SKIP() << "needs ffmpeg to make clips";
    }

    const TempFolder temp;
};

TEST_F (Clips, LieWhereTheirWavesWould)
{
    for (const auto& clip : fewClipCases())
        EXPECT_EQ (faultOf (clip, makeClip (clip, temp.folder)), juce::String()) << clip.name();
}

TEST_F (Clips, HaveTheStampOfTheirTimecode)
{
    struct Case
    {
        const char *ending, *codec, *timecode, *rate;
        juce::uint64 samples;    // at 48 kHz
        const char* rateText;
    };
    // Frames by SMPTE ST 12-1: an hour of 29.97 has 107892 when numbers are dropped, 108000 when none is.
    const Case cases[] = {
        { "mov", "pcm_s16le", "10:00:00:05", "25", 1728009600, "25/1" },
        { "mov", "pcm_s24le", "01:00:00;02", "30000/1001", 172'803'030, "30000/1001" },
        { "mp4", "aac", "01:00:00:00", "30000/1001", 172'972'800, "30000/1001" },
        { "mov", "aac", "00:01:00:00", "24000/1001", 2'882'880, "24000/1001" },
        { "mxf", "pcm_s16le", "23:59:59:24", "25", 4'147'198'080, "25/1" },
        { "mxf", "pcm_s24le", "01:00:00;02", "30000/1001", 172'803'030, "30000/1001" },
        { "mov", "pcm_s16le", "02:00:00:49", "50", 345'647'040, "50/1" },
    };

    for (const auto& c : cases)
    {
        const ClipCase clip { .ending = c.ending, .codec = c.codec, .timecode = c.timecode, .pictureRate = c.rate };
        SoundFile sound;
        ASSERT_TRUE (sound.describe (makeClip (clip, temp.folder).file).wasOk()) << c.timecode;
        EXPECT_TRUE (sound.ixml.hasTimestamp) << c.timecode;
        EXPECT_EQ (sound.ixml.timestampSamples, c.samples) << c.timecode;
        EXPECT_EQ (sound.ixml.timecodeRate, juce::String (c.rateText)) << c.timecode;
    }

    SoundFile none;
    ASSERT_TRUE (none.describe (makeClip ({ .ending = "mov", .codec = "aac" }, temp.folder).file).wasOk());
    EXPECT_FALSE (none.ixml.hasTimestamp);
}

TEST_F (Clips, AreDecodedOnceAndReadAnywhere)
{
    const auto made = makeClip ({ .ending = "mp4", .codec = "aac", .tracks = { 2, 1 } }, temp.folder);
    const auto sounds = std::make_shared<ClipSounds>();
    SoundFile first, second;
    ASSERT_TRUE (first.open (made.file, sounds).wasOk());
    ASSERT_TRUE (second.open (made.file, sounds).wasOk());
    EXPECT_EQ (sounds->numDecoded(), 1);

    const auto whole = first.readAllChannels();
    std::vector<std::vector<float>> stretch;
    second.readChannels (30000, 5000, stretch);
    Signal one (5000);
    ASSERT_TRUE (second.readChannel (2, 30000, 5000, one.data()));
    ASSERT_EQ (stretch.size(), 3u);

    for (size_t c = 0; c < 3; ++c)
        EXPECT_EQ (stretch[c], Signal (whole[c].begin() + 30000, whole[c].begin() + 35000));

    EXPECT_EQ (one, stretch[2]);
}

TEST_F (Clips, ThatAreDamagedAreASentence)
{
    const auto made = makeClip ({ .ending = "mov", .codec = "aac" }, temp.folder);
    juce::MemoryBlock bytes;
    ASSERT_TRUE (made.file.loadFileAsData (bytes));
    const auto silent = temp.file ("silent.mov"), empty = temp.file ("empty.mov"), text = temp.file ("list.mov");
    ASSERT_EQ (run ({ "ffmpeg",
                      "-nostdin",
                      "-v",
                      "error",
                      "-i",
                      made.file.getFullPathName(),
                      "-an",
                      "-c",
                      "copy",
                      silent.getFullPathName() })
                   .status,
               0);
    empty.create();
    text.replaceWithText ("#EXTM3U\n#EXTINF:1,\n" + made.file.getFullPathName() + "\n");
    const auto cut = writeBytes (temp.file ("cut.mov"), { bytes.getData(), bytes.getSize() / 2 });

    for (const auto& file : { silent, empty, text, cut, temp.file ("none.mov"), temp.folder })
    {
        SoundFile sound;
        const auto opened = sound.open (file);
        EXPECT_TRUE (opened.failed()) << file.getFileName();
        EXPECT_THAT (opened.getErrorMessage().toStdString(), testing::HasSubstr (file.getFileName().toStdString()));
        EXPECT_FALSE (sound.isPlausible());
    }
}

}    // namespace
}    // namespace ld::test
