#include "media/Timecode.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

TEST (FrameRate, IsARatioOrANumberElse24)
{
    const std::pair<const char*, double> cases[] = {
        { "24/1", 24.0 },   { "24", 24.0 },
        { " 25 ", 25.0 },   { "23.976", 23.976 },
        { "", 24.0 },       { "abc", 24.0 },
        { "0", 24.0 },      { "-25", 24.0 },
        { "25/0", 25.0 },   { "-25/0", 24.0 },
        { "0/1", 0.0 },     { "-30/1", -30.0 },
        { "60/2/5", 30.0 }, { "30000/1001", 29.97002997002997 },
    };

    for (const auto& [text, fps] : cases)
        EXPECT_DOUBLE_EQ (parseFrameRate (text), fps) << text;
}

TEST (Timecode, IsTheStampCountedInFrames)
{
    const struct
    {
        juce::uint64 samples;
        double sampleRate;
        const char *rate, *flag, *text;
    } cases[] = {
        { 0, 48000, "24/1", "NDF", "00:00:00:00" },
        { 48000, 48000, "24/1", "NDF", "00:00:01:00" },
        { 47999, 48000, "24/1", "NDF", "00:00:00:23" },
        { 2000, 48000, "24/1", "NDF", "00:00:00:01" },
        { 1999, 48000, "24/1", "NDF", "00:00:00:00" },
        { 48000 * 86399ull, 48000, "25/1", "NDF", "23:59:59:00" },
        { 48000 * 90000ull, 48000, "24/1", "NDF", "25:00:00:00" },
        { 48000 * 360000ull, 48000, "24/1", "NDF", "100:00:00:00" },
        { 48000 * 3600ull, 48000, "30000/1001", "NDF", "00:59:56:12" },
        { 48000 * 3600ull, 48000, "30000/1001", "DF", "00:59:56:12" },
        { 48000 * 1001ull, 48000, "24000/1001", "NDF", "00:16:40:00" },    // 24000 frames, exactly on a frame
        { 44100, 44100, "30/1", "NDF", "00:00:01:00" },
        { 48000, 0, "25/1", "NDF", "00:00:01:00" },
        { 48000, -1, "", "", "00:00:01:00" },
        { 96000,
          48000,
          "1/2",
          "NDF",
          "00:00:01:00" },                               // one frame in two seconds; a second counts one frame at least
        { ~0ull, 1, "60/1", "NDF", "9942:03:14:07" },    // 2^31 - 1 frames and no more
    };

    for (const auto& c : cases)
        EXPECT_EQ (formatTimecode (c.samples, c.sampleRate, c.rate, c.flag), c.text) << c.samples << " at " << c.rate;
}

TEST (Timecode, EveryFrameOfADayReadsBackAsItself)
{
    for (const auto* rate : { "24/1", "25/1", "30/1" })
        for (int frame = 0; frame < 86400 * 24; frame += 997)
        {
            const auto samples = (juce::uint64) (frame * 48000.0 / parseFrameRate (rate) + 0.5);
            const auto text = formatTimecode (samples, 48000, rate, "NDF");
            ASSERT_EQ (timecodeToSamples (text, parseFrameRate (rate), 48000), (juce::int64) samples) << text;
        }
}

TEST (Timecode, GivesSamplesSinceMidnight)
{
    const struct
    {
        const char* text;
        double fps, sampleRate;
        juce::int64 samples;
    } cases[] = {
        { "01:00:00;00", 24, 48000, 172800000 },
        { "00:00:00:12", 24, 48000, 24000 },
        { " 00;00;01;12 ", 25, 48000, 71040 },
        { "00:00:00:01", 30000.0 / 1001.0, 48000, 1602 },    // 1601.6
        { "10:00:00:00:99", 24, 44100, 1587600000 },
        { "00:00:01:00", 0, 0, 48000 },
        { "00:00:00:06", -1, 48000, 12000 },
        { "99999:00:00:00", 24, 48000, 17279827200000 },
        { "01:02:03", 24, 48000, 0 },
        { "", 24, 48000, 0 },
        { "a:b:c:d", 24, 48000, 0 },
    };

    for (const auto& c : cases)
        EXPECT_EQ (timecodeToSamples (c.text, c.fps, c.sampleRate), c.samples) << c.text;
}

TEST (Timecode, TellsHowFarTwoStampsLieApart)
{
    const struct
    {
        juce::uint64 first;
        double firstRate;
        juce::uint64 second;
        double secondRate, targetRate;
        juce::int64 samples;
    } cases[] = {
        { 1000, 48000, 1500, 48000, 48000, 500 },
        { 1500, 48000, 1000, 48000, 48000, -500 },
        { 48000, 48000, 88200, 44100, 48000, 48000 },
        { 48000, 48000, 96000, 96000, 44100, 0 },
        { 0, 0, 100, 0, 44100, 100 },
        { 0, 48000, 48000, 48000, -1, 48000 },
        { 0, 96000, 1, 96000, 48000, 1 },    // half a sample, away from zero
        { 1, 96000, 0, 96000, 48000, -1 },
        { 0x100000000, 48000, 0x100000001, 48000, 48000, 1 },
    };

    for (const auto& c : cases)
        EXPECT_EQ (timecodeOffsetSamples (c.first, c.firstRate, c.second, c.secondRate, c.targetRate), c.samples)
            << c.first << " to " << c.second;
}

TEST (Timecode, IsGuessedFromEightDigitsOfAFileName)
{
    const std::pair<const char*, const char*> cases[] = {
        { "A001_12345678.wav", "12:34:56:78" },
        { "SC12_T3_14;22;05;10.wav", "14:22:05:10" },
        { "20240131_123456.wav", "31:12:34:56" },
        { "T12.wav", "" },
        { "", "" },
        { "12:34:56:78", "12:34:56:78" },
        { "1234-5678.wav", "" },
        { "12345678_9.wav", "23:45:67:89" },
        { "12345678.12345.wav", "67:81:23:45" },
        { "/day/12345678/T1.wav", "" },
        { "/day/12345678", "12:34:56:78" },
        { "A.12345678", "" },
    };

    for (const auto& [name, timecode] : cases)
        EXPECT_EQ (guessTimecodeFromFilename (name), timecode) << name;
}

}    // namespace
}    // namespace ld::test
