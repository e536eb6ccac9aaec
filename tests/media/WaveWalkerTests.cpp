#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const WaveFormat stereo16 { .channels = 2, .bits = 16 };
constexpr auto placeholder = WaveBuilder::sizeInDs64;

WaveBuilder soundWave()
{
    return WaveBuilder()
        .chunk ("fmt ", fmtBody (stereo16))
        .chunk ("bext", 603)
        .chunk ("iXML", ixmlBody ({ .trackNames = { "Boom", "Lav" } }))
        .chunk ("data", 12);
}

WaveBuilder rf64Wave (juce::uint64 dataSize, juce::uint64 sampleCount)
{
    return WaveBuilder()
        .rf64 (dataSize, sampleCount)
        .chunk ("fmt ", fmtBody (stereo16))
        .chunk ("data", 12, placeholder);
}

std::string bytesOf (const WaveBuilder& builder)
{
    const auto bytes = builder.build();
    return { static_cast<const char*> (bytes.getData()), bytes.getSize() };
}

std::string withByte (const WaveBuilder& builder, size_t at, char value)
{
    auto bytes = bytesOf (builder);
    bytes.at (at) = value;
    return bytes;
}

std::string ixmlWith (const std::string& count, const std::vector<std::string>& interleave)
{
    auto text = "<BWFXML><TRACK_LIST><TRACK_COUNT>" + count + "</TRACK_COUNT>";

    for (const auto& index : interleave)
        text += "<TRACK><INTERLEAVE_INDEX>" + index + "</INTERLEAVE_INDEX></TRACK>";

    return text + "</TRACK_LIST></BWFXML>";
}

std::string waveWithIxml (const std::string& text)
{
    return bytesOf (WaveBuilder().chunk ("fmt ", fmtBody (stereo16)).chunk ("iXML", bodyOf (text)).chunk ("data", 12));
}

TEST (WaveWalk, ListsASoundFileWithoutComplaint)
{
    const TempFolder temp;
    const auto riff = walkWave (soundWave().writeTo (temp.file ("a.wav")));
    const auto rf64 = walkWave (rf64Wave (12, 3).writeTo (temp.file ("b.wav")));
    std::vector<std::string> ids;

    for (const auto& chunk : riff.chunks)
        ids.push_back (chunk.id);

    EXPECT_THAT (riff.complaints, IsEmpty());
    EXPECT_THAT (rf64.complaints, IsEmpty());
    EXPECT_THAT (ids, ElementsAre ("fmt ", "bext", "iXML", "data"));
    EXPECT_EQ (riff.chunks[1].bodyAt, 12 + 8 + 16 + 8);
    EXPECT_EQ (riff.channels, 2);
    EXPECT_EQ (rf64.numFrames, 3);
}

TEST (WaveWalk, ComplainsOfEveryFault)
{
    const struct
    {
        std::string bytes, complaint;
    } cases[] = {
        { "RIFF", "no RIFF" },
        { withByte (soundWave(), 8, 'A'), "no RIFF" },
        { withByte (soundWave(), 4, 0), "RIFF size" },
        { bytesOf (soundWave()) + "LIST", "bytes behind" },
        { bytesOf (WaveBuilder().chunk ("fmt ", fmtBody (stereo16)).chunk ("data", 12, 16)), "data runs past" },
        { withByte (soundWave(), 12 + 24 + 8 + 603, 1), "pad byte behind bext" },
        { bytesOf (soundWave().chunk ("bext", 604)), "bext stands twice" },
        { bytesOf (soundWave().chunk ("iXML", 2)), "iXML stands twice" },
        { bytesOf (soundWave().chunk ("ds64", 28)), "ds64 in a RIFF" },
        { bytesOf (WaveBuilder().chunk ("data", 12)), "no fmt" },
        { bytesOf (WaveBuilder().chunk ("fmt ", fmtBody (stereo16))), "no data" },
        { bytesOf (WaveBuilder().chunk ("fmt ", fmtBody (stereo16)).chunk ("data", 14)), "inside a frame" },
        { withByte (soundWave(), 12 + 8 + 12, 3), "block align" },
        { withByte (soundWave(), 12 + 8 + 8, 1), "byte rate" },
        { bytesOf (rf64Wave (8, 2)), "bytes behind" },
        { bytesOf (rf64Wave (12, 4)), "sample count" },
        { withByte (rf64Wave (12, 3), 20, 0), "RIFF size" },
        { withByte (rf64Wave (12, 3), 4, 0), "placeholder for the RIFF" },
        { withByte (rf64Wave (12, 3), 12 + 36 + 24 + 4, 12), "placeholder for the data" },
        { bytesOf (soundWave()).replace (0, 4, "RF64"), "without ds64" },
        { bytesOf (WaveBuilder()
                       .rf64 (12, 3)
                       .chunk ("odd ", 3)
                       .chunk ("fmt ", fmtBody (stereo16))
                       .chunk ("data", 12, placeholder)),
          "odd-sized ahead" },
        { waveWithIxml (ixmlWith ("1", { "1", "2" })), "TRACK_COUNT" },
        { waveWithIxml (ixmlWith ("3", { "1", "2", "3" })), "one for each channel" },
        { waveWithIxml (ixmlWith ("2", { "1", "1" })), "INTERLEAVE_INDEX" },
        { waveWithIxml (ixmlWith ("2", { "0", "1" })), "INTERLEAVE_INDEX" },
        { waveWithIxml ("<BWFXML><TRACK_LIST>"), "well-formed" },
    };
    const TempFolder temp;

    for (const auto& c : cases)
        EXPECT_THAT (walkWave (writeBytes (temp.file ("a.wav"), bodyOf (c.bytes))).complaints,
                     Contains (HasSubstr (c.complaint)));
}

}    // namespace
}    // namespace ld::test
