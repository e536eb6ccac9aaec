#include "output/PolyHeader.h"

#include "support/RunProgram.h"
#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>

#if JUCE_LINUX || JUCE_MAC

// What other programs make of a written file: each is skipped only where it is not installed.

namespace ld::test
{
namespace
{

constexpr int frames = 36000, sampleRate = 48000, channels = 6;    // 0.75 s

/** A combined file of each kind, RIFF and RF64, in a form that every program knows: 24 bits, five tracks and a mix. */
class WrittenPolys
{
public:
    WrittenPolys()
    {
        const WaveFormat format { .channels = 4, .sampleRate = sampleRate, .isExtensible = true };
        BextFields bext { .description = "slate", .timeReference = 172'800'000 };
        bext.history = "odd";
        ExportRequest request;
        request.host = readTake (WaveBuilder()
                                     .chunk ("fmt ", fmtBody (format))
                                     .chunk ("bext", bextBody (bext))
                                     .chunk ("iXML", ixmlBody ({ .trackNames = { "a", "b", "c", "d" } }))
                                     .chunk ("data", audioBody (format, Channels (4, noise (frames, 1, 0.5f))))
                                     .chunk ("LIST", bodyOf (std::string ("INFOISFT\4\0\0\0us\0\0", 16)))
                                     .writeTo (temp.file ("poly.wav")));
        auto& guest = request.guests.emplace_back();
        guest.format.channels = 1;
        guest.channelAudio = { noise (frames / 2, 2, 0.5f) };
        guest.alignment.offsetSamples = 1000;
        guest.tracks.emplace_back().name = "pack";
        request.outputFile = riff;
        EXPECT_TRUE (PolyExporter::write (request).wasOk());
        writeRf64 (request);

        for (const auto& file : files())
            EXPECT_THAT (walkWave (file).complaints, testing::IsEmpty()) << file.getFileName();
    }

    [[nodiscard]] std::vector<juce::File> files() const { return { riff, rf64 }; }

private:
    // The same audio behind the header that a take of more than 4 GiB gets.
    void writeRf64 (const ExportRequest& request) const
    {
        auto layout = layOutPoly (request);
        layout.isRf64 = true;
        const auto data = *walkWave (riff).find ("data");
        const auto audio = bodyOf (readBody (riff, data));
        auto file = makePolyHeader (request, layout);
        file.append (audio.getData(), audio.getSize());
        const auto trailer = makePolyTrailer (request);
        file.append (trailer.getData(), trailer.getSize());
        const auto size = juce::ByteOrder::swapIfBigEndian ((juce::uint64) file.getSize() - 8);
        file.copyFrom (&size, (int) rf64SizeAt, sizeof (size));
        writeBytes (rf64, file);
    }

    const TempFolder temp;
    const juce::File riff = temp.file ("COMBINED_riff.wav"), rf64 = temp.file ("COMBINED_rf64.wav");
};

// The number that follows a label, whatever stands between them but digits.
double numberBehind (const juce::String& text, const juce::String& label)
{
    EXPECT_TRUE (text.contains (label)) << label << " is not in:\n" << text;
    return text.fromFirstOccurrenceOf (label, false, false).trimCharactersAtStart (" \t:=").getDoubleValue();
}

juce::String read (const std::vector<juce::String>& words)
{
    const auto result = run (words);
    EXPECT_EQ (result.status, 0) << result.err;
    return result.out;
}

}    // namespace

TEST (SecondReader, SndfileInfoReadsChannelsRateAndFrames)
{
    if (! isInstalled ("sndfile-info"))
        GTEST_SKIP() << "sndfile-info is not installed";

    const WrittenPolys polys;

    for (const auto& file : polys.files())
    {
        const auto text = read ({ "sndfile-info", file.getFullPathName() });
        EXPECT_EQ (numberBehind (text, "Channels "), channels) << text;
        EXPECT_EQ (numberBehind (text, "Sample Rate"), sampleRate);
        EXPECT_EQ (numberBehind (text, "Frames "), frames);
        EXPECT_TRUE (text.contains ("labl : 1 : pack begins") || file.getFileName().contains ("rf64")) << text;
    }
}

TEST (SecondReader, FfprobeReadsTheSameWithoutAWordOfComplaint)
{
    if (! isInstalled ("ffprobe"))
        GTEST_SKIP() << "ffprobe is not installed";

    const WrittenPolys polys;

    for (const auto& file : polys.files())
    {
        const auto result = run ({ "ffprobe",
                                   "-v",
                                   "error",
                                   "-show_entries",
                                   "stream=channels,sample_rate,duration:chapter=start:chapter_tags=title",
                                   "-of",
                                   "default=noprint_wrappers=1",
                                   file.getFullPathName() });
        EXPECT_EQ (result.status, 0);
        EXPECT_EQ (result.err, juce::String());
        EXPECT_EQ (numberBehind (result.out, "channels"), channels);
        EXPECT_EQ (numberBehind (result.out, "sample_rate"), sampleRate);
        EXPECT_DOUBLE_EQ (numberBehind (result.out, "duration"), 0.75);
        EXPECT_EQ (numberBehind (result.out, "start"), 1000) << "the marker where the guest begins";
        EXPECT_TRUE (result.out.contains ("title=pack begins"));
    }
}

TEST (SecondReader, MediainfoReadsTheSame)
{
    if (! isInstalled ("mediainfo"))
        GTEST_SKIP() << "mediainfo is not installed";

    const WrittenPolys polys;

    for (const auto& file : polys.files())
    {
        const auto format = "--Output=Audio;channels=%Channels% rate=%SamplingRate% ms=%Duration%";
        const auto text = read ({ "mediainfo", format, file.getFullPathName() });
        EXPECT_EQ (numberBehind (text, "channels"), channels);
        EXPECT_EQ (numberBehind (text, "rate"), sampleRate);
        EXPECT_EQ (numberBehind (text, "ms"), 750.0);
    }
}

TEST (SecondReader, SoxReadsTheSameAndPlaysItToItsEnd)
{
    if (! isInstalled ("sox") || ! isInstalled ("soxi"))
        GTEST_SKIP() << "sox is not installed";

    const WrittenPolys polys;

    // It reads RIFF only.
    const auto path = polys.files().front().getFullPathName();
    EXPECT_EQ (read ({ "soxi", "-c", path }).getIntValue(), channels);
    EXPECT_EQ (read ({ "soxi", "-r", path }).getIntValue(), sampleRate);
    EXPECT_EQ (read ({ "soxi", "-s", path }).getIntValue(), frames);

    const auto played = run ({ "sox", path, "-n", "stat" });
    EXPECT_EQ (played.status, 0);
    EXPECT_EQ (numberBehind (played.err, "Samples read"), frames * channels);
    EXPECT_EQ (numberBehind (played.err, "Length (seconds)"), 0.75);
}

}    // namespace ld::test

#endif
