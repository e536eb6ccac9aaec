#include "media/BwfReader.h"

#include "support/TempFolder.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numeric>

namespace ld::test
{
namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr auto placeholder = WaveBuilder::sizeInDs64;
const WaveFormat mono16 { .bits = 16 };
const WaveFormat stereo16 { .channels = 2, .bits = 16 };

class Reader : public testing::Test
{
protected:
    BwfReader opened (const WaveBuilder& builder)
    {
        BwfReader reader;
        EXPECT_TRUE (reader.open (builder.writeTo (temp.file ("take.wav"))));
        return reader;
    }

    const TempFolder temp;
};

// Sample i of a ramp is i, exact at 16 bits.
WaveBuilder ramp (int numFrames)
{
    std::vector<double> samples ((size_t) numFrames);
    std::iota (samples.begin(), samples.end(), 0.0);
    return WaveBuilder().chunk ("fmt ", fmtBody (mono16)).chunk ("data", audioBody (mono16, samples));
}

std::vector<float> rampValues (std::vector<int> indices)
{
    std::vector<float> values;

    for (const auto index : indices)
        values.push_back ((float) index / 32768.0f);

    return values;
}

// Marked with a value that no silence has, so that what is not written shows.
std::vector<float> untouched (size_t size)
{
    return std::vector<float> (size, 99.0f);
}

TEST_F (Reader, FindsChunksBehindOddAndEmptyOnes)
{
    const auto reader = opened (WaveBuilder()
                                    .chunk ("iXML", 3)
                                    .chunk ("junk", 0)
                                    .chunk ("fmt ", fmtBody (stereo16))
                                    .chunk ("LIST", 1)
                                    .chunk ("data", 9));
    std::vector<juce::int64> offsets;

    for (const auto& chunk : reader.chunks)
        offsets.push_back (chunk.dataOffset);

    EXPECT_THAT (offsets, ElementsAre (20, 32, 40, 64, 74));
    EXPECT_EQ (reader.dataOffset, 74);
    EXPECT_EQ (reader.format.dataBytes, 9);
    EXPECT_EQ (reader.format.numFrames, 2) << "the partial third frame does not count";
    EXPECT_EQ (reader.findChunk ("LIST")->headerOffset, 56);
    EXPECT_EQ (reader.findChunk ("none"), nullptr);
}

TEST_F (Reader, TakesTheFirstOfTwoChunksWithOneId)
{
    const auto reader = opened (WaveBuilder()
                                    .chunk ("fmt ", fmtBody (stereo16))
                                    .chunk ("data", 8)
                                    .chunk ("fmt ", fmtBody (mono16))
                                    .chunk ("data", 16));

    EXPECT_EQ (reader.format.channels, 2);
    EXPECT_EQ (reader.format.numFrames, 2);
}

TEST_F (Reader, TakesTheSizeOfRf64AudioFromDs64)
{
    const struct
    {
        const char* what;
        juce::uint64 dataSize, sampleCount;
        juce::uint32 claimed;
        juce::int64 dataBytes, numFrames;
    } cases[] = {
        { "no sample count", 24, 0, placeholder, 24, 6 },
        { "a sample count wins over the size", 24, 5, placeholder, 24, 5 },
        { "a true size in the header wins over ds64's", 999, 0, 24, 24, 6 },
        { "beyond 4 GB", 0x500000000, 0, placeholder, 0x500000000, 0x140000000 },
    };

    for (const auto& c : cases)
    {
        const auto reader = opened (WaveBuilder()
                                        .rf64 (c.dataSize, c.sampleCount)
                                        .chunk ("fmt ", fmtBody (stereo16))
                                        .chunk ("data", 24, c.claimed));
        EXPECT_TRUE (reader.format.isRf64) << c.what;
        EXPECT_EQ (reader.format.dataBytes, c.dataBytes) << c.what;
        EXPECT_EQ (reader.format.numFrames, c.numFrames) << c.what;
        EXPECT_EQ (reader.framesInFile(), std::min<juce::int64> (c.numFrames, 6)) << c.what;
    }

    const auto withoutPower = opened (WaveBuilder().chunk ("fmt ", fmtBody (stereo16)).chunk ("data", 26, placeholder));
    EXPECT_EQ (withoutPower.format.numFrames, 6) << "without ds64 the audio ends with the file";
    EXPECT_EQ (withoutPower.format.missingFrames, 0);
}

TEST_F (Reader, SeesNothingBehindAudioOfPlaceholderSize)
{
    const auto reader = opened (WaveBuilder()
                                    .rf64 (8, 2)
                                    .chunk ("fmt ", fmtBody (stereo16))
                                    .chunk ("data", 8, placeholder)
                                    .chunk ("bext", bextBody ({ .description = "late" })));

    EXPECT_EQ (reader.chunks.size(), 3u);
    EXPECT_FALSE (reader.bext.present);
}

TEST_F (Reader, DecodesEveryWidth)
{
    const auto lsb = std::ldexp (1.0, -23);
    const struct
    {
        const char* what;
        WaveFormat stated, stored;
        std::vector<double> samples;
        std::vector<double> asFloats;
        std::vector<int> as24Bit;
    } cases[] = {
        { "16",
          { .bits = 16 },
          { .bits = 16 },
          { -32768, 16384, 1 },
          { -1, 0.5, 256 * lsb },
          { -8388608, 4194304, 256 } },
        { "12 in 16", { .bits = 12 }, { .bits = 16 }, { -32768, 1 }, { -1, 256 * lsb }, { -8388608, 256 } },
        { "24", {}, {}, { -8388608, 4194304, -1 }, { -1, 0.5, -lsb }, { -8388608, 4194304, -1 } },
        { "20 in 24", { .bits = 20 }, {}, { 8388607, 1 }, { 1 - lsb, lsb }, { 8388607, 1 } },
        { "no width", { .bits = 0 }, {}, { 4194304 }, { 0.5 }, { 4194304 } },
        { "24 as float", { .tag = 3 }, {}, { 4194304 }, { 0.5 }, { 4194304 } },
        { "32",
          { .bits = 32 },
          { .bits = 32 },
          { -2147483648.0, 511, -1 },
          { -1, 511 * lsb / 256, -lsb / 256 },
          { -8388608, 1, -1 } },
        { "extensible 32", { .bits = 32, .isExtensible = true }, { .bits = 32 }, { 1 << 30 }, { 0.5 }, { 4194304 } },
        { "unknown tag", { .bits = 16, .tag = 85 }, { .bits = 16 }, { 16384 }, { 0.5 }, { 4194304 } },
        { "float 32",
          { .bits = 32, .tag = 3 },
          { .bits = 32, .tag = 3 },
          { 0.25, 1.5, -1.5, lsb / 2, -lsb / 2, lsb * 0.49, 256, 512 },
          { 0.25, 1.5, -1.5, lsb / 2, -lsb / 2, lsb * 0.49, 256, 512 },
          { 2097152, 8388607, -8388608, 1, -1, 0, -8388608, 0 } },
        { "extensible float 32",
          { .bits = 32, .tag = 3, .isExtensible = true },
          { .bits = 32, .tag = 3 },
          { 0.25 },
          { 0.25 },
          { 2097152 } },
        { "float 64",
          { .bits = 64, .tag = 3 },
          { .bits = 64, .tag = 3 },
          { 0.25, -2, lsb / 2 },
          { 0.25, -2, lsb / 2 },
          { 2097152, -8388608, 1 } },
        { "8 is silent", { .bits = 8 }, { .bits = 8 }, { -128, 127 }, { 0, 0 }, { 0, 0 } },
        { "64 is silent", { .bits = 64 }, { .bits = 64 }, { 1e15 }, { 0 }, { 0 } },
        { "40 is silent", { .bits = 40 }, { .bits = 40 }, { 1e9 }, { 0 }, { 0 } },
    };

    for (const auto& c : cases)
    {
        const auto reader =
            opened (WaveBuilder().chunk ("fmt ", fmtBody (c.stated)).chunk ("data", audioBody (c.stored, c.samples)));
        const auto numFrames = (juce::int64) c.samples.size();
        auto floats = untouched (c.samples.size());
        std::vector<int> whole (c.samples.size(), 99);

        EXPECT_EQ (reader.format.numFrames, numFrames) << c.what;
        EXPECT_EQ (reader.format.isFloat, c.stated.tag == 3) << c.what;
        EXPECT_EQ (reader.format.formatTag, c.stated.tag) << c.what;
        EXPECT_TRUE (reader.readChannel (0, 0, numFrames, floats.data(), 1)) << c.what;
        EXPECT_TRUE (reader.readInterleavedInt32 (0, numFrames, whole.data())) << c.what;
        EXPECT_THAT (floats, ElementsAreArray (std::vector<float> (c.asFloats.begin(), c.asFloats.end()))) << c.what;
        EXPECT_THAT (whole, ElementsAreArray (c.as24Bit)) << c.what;
    }
}

TEST_F (Reader, CountsAnExtensibleFormatOfUnder40BytesAsInteger)
{
    auto fmt = fmtBody ({ .bits = 32, .tag = 3, .isExtensible = true });
    fmt.setSize (38);
    const auto reader = opened (WaveBuilder().chunk ("fmt ", fmt).chunk ("data", 8));

    EXPECT_EQ (reader.format.formatTag, 0xFFFE);
    EXPECT_FALSE (reader.format.isFloat);
}

TEST_F (Reader, KeepsChannelsApart)
{
    const WaveFormat format { .channels = 3 };
    const auto reader = opened ({ format, { { 0.125f, -0.25f }, { 0.375f, 0.0f }, { 0.5f, 0.75f } } });
    std::vector<float> third (2);
    std::vector<int> all (6);

    EXPECT_TRUE (reader.readChannel (2, 0, 2, third.data(), 1));
    EXPECT_THAT (third, ElementsAre (0.5f, 0.75f));
    EXPECT_TRUE (reader.readInterleavedInt32 (0, 2, all.data()));
    EXPECT_THAT (all, ElementsAre (1048576, 3145728, 4194304, -2097152, 0, 6291456));
}

TEST_F (Reader, GivesSilencePastTheEnd)
{
    const auto reader = opened (ramp (4));
    auto across = untouched (4), beyond = untouched (3);
    std::vector<int> whole (4, 99);

    EXPECT_TRUE (reader.readChannel (0, 2, 4, across.data(), 1));
    EXPECT_THAT (across, ElementsAreArray (rampValues ({ 2, 3, 0, 0 })));
    EXPECT_TRUE (reader.readChannel (0, 1000, 3, beyond.data(), 1));
    EXPECT_THAT (beyond, Each (0.0f));
    EXPECT_TRUE (reader.readInterleavedInt32 (2, 4, whole.data()));
    EXPECT_THAT (whole, ElementsAre (512, 768, 0, 0));
    EXPECT_TRUE (reader.readInterleavedInt32 (4, 4, whole.data()));
    EXPECT_THAT (whole, Each (0));
}

TEST_F (Reader, RefusesWhatCannotBeRead)
{
    const auto reader = opened (ramp (4));
    const BwfReader closed;
    float value = 0.0f;
    int whole = 0;

    EXPECT_FALSE (reader.readChannel (-1, 0, 1, &value, 1));
    EXPECT_FALSE (reader.readChannel (1, 0, 1, &value, 1));
    EXPECT_FALSE (reader.readChannel (0, 0, 1, nullptr, 1));
    EXPECT_FALSE (reader.readInterleavedInt32 (0, 1, nullptr));
    EXPECT_FALSE (reader.readExact (0, &value, -1));
    EXPECT_FALSE (reader.readExact (0, nullptr, 1));
    EXPECT_FALSE (reader.readExact (reader.file.getSize() - 3, &value, 4));
    EXPECT_TRUE (reader.readExact (reader.file.getSize() - 4, &value, 4));
    EXPECT_FALSE (closed.readChannel (0, 0, 1, &value, 1));
    EXPECT_FALSE (closed.readInterleavedInt32 (0, 1, &whole));
    EXPECT_FALSE (closed.readExact (0, &value, 1));
    EXPECT_THAT (closed.extractPeaks (0, 4).minValues, IsEmpty());
    EXPECT_THAT (reader.extractPeaks (1, 4).minValues, IsEmpty());
    EXPECT_EQ (reader.extractPeaks (0, 0), (PeakLane { {}, {}, 4 }));
}

TEST_F (Reader, TakesEveryFrameOfAStride)
{
    const auto reader = opened (ramp (10000));
    const struct
    {
        int start, numFrames, stride;
    } cases[] = { { 0, 10, 0 }, { 3, 10, 1 }, { 0, 10, 3 }, { 5, 9990, 7 }, { 1, 9999, 4097 }, { 0, 10000, 20000 } };

    for (const auto& c : cases)
    {
        auto read = untouched ((size_t) c.numFrames);
        std::vector<int> expected;

        for (int i = c.start; i < c.start + c.numFrames; i += std::max (c.stride, 1))
            expected.push_back (i);

        expected.resize ((size_t) c.numFrames, 0);    // silence behind them
        EXPECT_TRUE (reader.readChannel (0, c.start, c.numFrames, read.data(), c.stride));
        EXPECT_EQ (read, rampValues (expected)) << c.stride;
    }
}

TEST_F (Reader, OpensATakeThatWasCutOffAndFailsOnlyForWhatIsMissing)
{
    auto bytes = ramp (3 * 4096).build();
    bytes.setSize (44 + 2 * (2 * 4096 + 100));
    BwfReader reader;
    ASSERT_TRUE (reader.open (writeBytes (temp.file ("cut.wav"), bytes)));
    auto whole = untouched (3 * 4096), tail = untouched (100);
    std::vector<int> integers (200, 99);

    EXPECT_EQ (reader.format.numFrames, 3 * 4096);
    EXPECT_EQ (reader.framesInFile(), 2 * 4096 + 100);
    EXPECT_FALSE (reader.readChannel (0, 0, 3 * 4096, whole.data(), 1));
    EXPECT_EQ (whole[8191], 8191 / 32768.0f);
    EXPECT_THAT (std::vector<float> (whole.begin() + 8192, whole.end()), Each (0.0f));
    EXPECT_TRUE (reader.readChannel (0, 8192, 100, tail.data(), 1));
    EXPECT_EQ (tail[99], 8291 / 32768.0f);
    EXPECT_TRUE (reader.readInterleavedInt32 (8192, 100, integers.data()));
    EXPECT_FALSE (reader.readInterleavedInt32 (8192, 101, integers.data()));
}

TEST_F (Reader, CarriesAlongWhatItDoesNotUnderstand)
{
    auto builder = WaveBuilder().chunk ("fmt ", fmtBody (mono16)).chunk ("LIST", bodyOf ("odd"));

    for (const auto* id : { "bext", "iXML", "fact", "JUNK", "junk", "PAD ", "pad " })
        builder.chunk (id, 4);

    builder.chunk ("none", 0).chunk ("data", 4).chunk ("cue ", bodyOf ("cues")).chunk ("last", 4, 5);
    const auto extras = opened (builder).extraChunks();

    EXPECT_THAT (extras,
                 ElementsAre (PreservedChunk { "LIST", bodyOf ("odd") }, PreservedChunk { "cue ", bodyOf ("cues") }));
}

TEST_F (Reader, GivesEveryChannelATrack)
{
    using Named = std::vector<std::pair<int, const char*>>;    // interleave index and name
    const struct
    {
        int channels;
        Named inFile, resolved;
    } cases[] = {
        { 2, {}, { { 1, "Ch 1" }, { 2, "Ch 2" } } },
        { 2, { { 2, "Lav" }, { 1, "Boom" } }, { { 1, "Boom" }, { 2, "Lav" } } },
        { 3, { { 3, "Lav" } }, { { 1, "Ch 1" }, { 2, "Ch 2" }, { 3, "Lav" } } },
        { 2, { { 1, "A" }, { 1, "B" }, { 9, "C" } }, { { 1, "B" }, { 2, "Ch 2" } } },
        { 2, { { 7, "A" }, { 7, "B" } }, { { 7, "A" }, { 7, "B" } } },
    };

    for (const auto& c : cases)
    {
        auto reader = opened (WaveBuilder().chunk ("fmt ", fmtBody ({ .channels = c.channels })).chunk ("data", 0));

        for (const auto& [index, name] : c.inFile)
            reader.ixml.tracks.push_back ({ index, index, name, "OTHER", {}, true });

        Named resolved;
        const auto tracks = reader.resolvedTracks();

        for (const auto& track : tracks)
            resolved.emplace_back (track.interleaveIndex, track.name.toRawUTF8());

        ASSERT_EQ (resolved.size(), c.resolved.size());

        for (size_t i = 0; i < resolved.size(); ++i)
        {
            EXPECT_EQ (resolved[i].first, c.resolved[i].first);
            EXPECT_STREQ (resolved[i].second, c.resolved[i].second);
            EXPECT_EQ (tracks[i].function, "OTHER");
            EXPECT_TRUE (tracks[i].isHost);
        }
    }
}

TEST_F (Reader, ForgetsTheLastFileWhenItOpensAnother)
{
    auto reader = opened (WaveBuilder (stereo16, { { 0.5f }, { 0.5f } })
                              .chunk ("bext", bextBody ({ .description = "first" }))
                              .chunk ("iXML", ixmlBody ({ .trackNames = { "Boom", "Lav" } })));
    EXPECT_EQ (reader.bext.description, "first");
    EXPECT_EQ (reader.ixml.tracks.size(), 2u);

    ASSERT_TRUE (reader.open (ramp (3).writeTo (temp.file ("second.wav"))));
    EXPECT_EQ (reader.format.channels, 1);
    EXPECT_EQ (reader.chunks.size(), 2u);
    EXPECT_FALSE (reader.bext.present || reader.ixml.present);

    EXPECT_FALSE (reader.open (temp.file ("missing.wav")));
    EXPECT_EQ (reader.format, AudioFormatInfo());
    EXPECT_THAT (reader.chunks, IsEmpty());
}

}    // namespace
}    // namespace ld::test
