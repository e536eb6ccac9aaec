#include "media/BwfReader.h"

#include "support/TempFolder.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#include <array>
#include <limits>

#if ! JUCE_WINDOWS
#include <sys/stat.h>
#endif

// Damaged, forged and foreign files: none may hang, crash or cost memory that the file cannot account for.

namespace ld::test
{
namespace
{

constexpr auto placeholder = WaveBuilder::sizeInDs64;
const WaveFormat stereo16 { .channels = 2, .bits = 16 };

// Asks a reader for everything that the program asks for.
void exercise (const BwfReader& reader)
{
    const auto frames = reader.framesInFile();
    const auto channels = (size_t) reader.format.channels;
    std::array<float, 16> floats {};
    std::vector<juce::int32> whole (16 * std::max<size_t> (channels, 1));
    EXPECT_LE (frames, reader.file.getSize());

    for (const auto start : { juce::int64 { 0 }, frames - 1, std::numeric_limits<juce::int64>::max() - 20 })
    {
        const auto isPastTheEnd = start >= reader.format.numFrames;
        const auto canRead = reader.format.valid && start >= 0 && (isPastTheEnd || start <= frames - 16);
        EXPECT_TRUE (reader.readChannel (0, start, 16, floats.data(), 1) || ! canRead);
        EXPECT_TRUE (reader.readInterleavedInt32 (start, 16, whole.data()) || ! canRead);
    }

    EXPECT_EQ (reader.readAllChannels().size(), channels);
    EXPECT_EQ (reader.readOverview (0, 8).peaks.size(), channels);
    EXPECT_EQ (reader.extractPeaks (0, 8).minValues.size(), channels == 0 ? 0u : 8u);
    EXPECT_GE (reader.resolvedTracks().size(), channels);
    (void) reader.extraChunks();
}

bool opens (const juce::File& file)
{
    BwfReader reader;
    const auto isOpen = reader.open (file);
    EXPECT_EQ (isOpen, reader.format.valid);
    exercise (reader);
    return isOpen;
}

WaveBuilder withFmt (const juce::MemoryBlock& fmt)
{
    return WaveBuilder().chunk ("fmt ", fmt).chunk ("data", 4096);
}

WaveBuilder rf64 (juce::uint64 dataSize, juce::uint64 sampleCount)
{
    return WaveBuilder()
        .rf64 (dataSize, sampleCount)
        .chunk ("fmt ", fmtBody (stereo16))
        .chunk ("data", 4096, placeholder);
}

juce::MemoryBlock fmtCutTo (size_t size)
{
    auto fmt = fmtBody (stereo16);
    fmt.setSize (size, true);
    return fmt;
}

WaveBuilder manyEmptyChunks()
{
    WaveBuilder builder { stereo16, { { 0.0f }, { 0.0f } } };

    for (int i = 0; i < 200000; ++i)
        builder.chunk ("none", 0);

    return builder;
}

TEST (BrokenFile, OpensOrIsRefusedByWhatItsHeaderAllows)
{
    const auto fmt = fmtBody (stereo16);
    const struct
    {
        const char* what;
        WaveBuilder wave;
        bool opens;
    } cases[] = {
        { "no chunks", {}, false },
        { "no fmt", WaveBuilder().chunk ("data", 8), false },
        { "no data", WaveBuilder().chunk ("fmt ", fmt), false },
        { "empty data", WaveBuilder().chunk ("fmt ", fmt).chunk ("data", 0), true },
        { "empty fmt", withFmt (fmtCutTo (0)), false },
        { "fmt of 15 bytes", withFmt (fmtCutTo (15)), false },
        { "fmt past the end", WaveBuilder().chunk ("data", 8).chunk ("fmt ", fmt, 60), false },
        { "fmt of 4 GB", WaveBuilder().chunk ("data", 8).chunk ("fmt ", fmt, placeholder), false },
        { "no channels", withFmt (fmtBody ({ .channels = 0 })), false },
        { "no rate", withFmt (fmtBody ({ .sampleRate = 0 })), false },
        { "negative rate", withFmt (fmtBody ({ .sampleRate = -48000 })), false },
        { "65535 channels", withFmt (fmtBody ({ .channels = 65535, .bits = 16 })), true },
        { "65535 channels of 65535 bits", withFmt (fmtBody ({ .channels = 65535, .bits = 65535 })), true },
        { "highest rate", withFmt (fmtBody ({ .sampleRate = 0x7FFFFFFF })), true },
        { "data of nearly 4 GB", WaveBuilder().chunk ("fmt ", fmt).chunk ("data", 4096, placeholder - 1), true },
        { "placeholder without ds64", WaveBuilder().chunk ("fmt ", fmt).chunk ("data", 4096, placeholder), true },
        { "2^62 frames", rf64 (4096, juce::uint64 { 1 } << 62), true },
        { "2^63 - 1 frames", rf64 (4096, ~juce::uint64 { 0 } >> 1), true },
        { "negative frames", rf64 (4096, ~juce::uint64 { 0 }), false },
        { "2^62 bytes", rf64 (juce::uint64 { 1 } << 62, 0), true },
        { "negative bytes", rf64 (juce::uint64 { 1 } << 63, 0), false },
        { "ds64 of 3 bytes", WaveBuilder().chunk ("ds64", 3).chunk ("fmt ", fmt).chunk ("data", 8, placeholder), true },
        { "extra chunk of 4 GB", WaveBuilder (stereo16, { { 0 }, { 0 } }).chunk ("LIST", 8, placeholder), true },
        { "bext past the end", WaveBuilder (stereo16, { { 0 }, { 0 } }).chunk ("bext", 602, 70000), true },
        { "iXML of 2 GB", WaveBuilder (stereo16, { { 0 }, { 0 } }).chunk ("iXML", 8, 0x7FFFFFFF), true },
        { "200000 empty chunks", manyEmptyChunks(), true },
    };
    const TempFolder temp;

    for (const auto& c : cases)
    {
        SCOPED_TRACE (c.what);
        EXPECT_EQ (opens (c.wave.writeTo (temp.file ("broken.wav"))), c.opens);
    }
}

TEST (BrokenFile, ATakeCutAnywhereOpensOnceItsAudioHasBegun)
{
    const TempFolder temp;
    const auto whole = WaveBuilder()
                           .chunk ("bext", bextBody ({ .description = "A", .history = "odd" }))
                           .chunk ("iXML", ixmlBody ({ .trackNames = { "Boom", "Lav" }, .stamp = 1 }))
                           .chunk ("fmt ", fmtBody (stereo16))
                           .chunk ("data", 40)
                           .build();

    for (size_t size = 0; size <= whole.getSize(); ++size)
    {
        auto cut = whole;
        cut.setSize (size);
        BwfReader reader;
        const auto isOpen = reader.open (writeBytes (temp.file ("cut.wav"), cut));
        ASSERT_EQ (isOpen, size + 40 >= whole.getSize()) << size;
        exercise (reader);

        if (isOpen)
        {
            ASSERT_EQ (reader.format.numFrames, 10);
            ASSERT_EQ (reader.framesInFile(), (juce::int64) (size + 40 - whole.getSize()) / 4);
        }
    }
}

TEST (BrokenFile, EveryByteOfTheHeaderMayBeWrong)
{
    const TempFolder temp;
    const auto whole =
        WaveBuilder().rf64 (40, 10).chunk ("fmt ", fmtBody (stereo16)).chunk ("data", 40, placeholder).build();

    for (size_t at = 0; at + 40 < whole.getSize(); ++at)
        for (const auto value : { 0x00, 0x7F, 0x80, 0xFF })
        {
            auto damaged = whole;
            damaged[at] = (char) value;
            SCOPED_TRACE (testing::Message() << value << " at " << at);
            (void) opens (writeBytes (temp.file ("damaged.wav"), damaged));
        }
}

TEST (BrokenFile, WhatIsNoWaveFileIsRefused)
{
    const TempFolder temp;
    auto form = WaveBuilder (stereo16, { { 0.0f }, { 0.0f } }).build();
    temp.file ("folder.wav").createDirectory();

    EXPECT_FALSE (opens (temp.file ("folder.wav")));
    EXPECT_FALSE (opens (temp.file ("missing.wav")));
    EXPECT_FALSE (opens (writeBytes (temp.file ("empty.wav"), {})));
    form[8] = 'A';
    EXPECT_FALSE (opens (writeBytes (temp.file ("aave.wav"), form)));
    form[8] = 'W';
    form[3] = 'X';
    EXPECT_FALSE (opens (writeBytes (temp.file ("rifx.wav"), form)));
}

#if ! JUCE_WINDOWS
TEST (BrokenFile, ANamedPipeIsRefusedWithoutWaitingForItsWriter)
{
    const TempFolder temp;
    const auto pipe = temp.file ("pipe.wav");
    ASSERT_EQ (mkfifo (pipe.getFullPathName().toRawUTF8(), 0600), 0);

    EXPECT_FALSE (opens (pipe));
}
#endif

std::string nested (int depth)
{
    std::string open, close;

    for (int i = 0; i < depth; ++i)
    {
        open += "<a>";
        close += "</a>";
    }

    return "<BWFXML><SCENE>1</SCENE>" + open + close + "</BWFXML>";
}

std::string manyTracks (int count)
{
    std::string tracks;

    for (int i = 0; i < count; ++i)
        tracks += "<TRACK><NAME>x</NAME></TRACK>";

    return "<BWFXML><SCENE>1</SCENE><TRACK_LIST>" + tracks + "</TRACK_LIST></BWFXML>";
}

TEST (BrokenFile, DamagedMetadataCostsNoMoreThanItself)
{
    const auto scene = [] (const std::string& text) { return "<BWFXML><SCENE>" + text + "</SCENE></BWFXML>"; };
    const struct
    {
        const char* what;
        std::string text;
        bool present;
        juce::String scene;
    } cases[] = {
        { "empty", "", false, {} },
        { "no XML", "scene 1", false, {} },
        { "cut off", "<BWFXML><SCENE>1</SCENE>", false, {} },
        { "only a comment", "<!-- 1 -->", false, {} },
        { "200 levels", nested (200), true, "1" },
        { "100000 levels", nested (100000), false, {} },
        { "100000 tracks", manyTracks (100000), true, "1" },
        { "8 MB of text", scene (std::string (8 << 20, 'x')), true, juce::String::repeatedString ("x", 8 << 20) },
        { "Latin-1", scene ("Caf\xE9"), true, juce::CharPointer_UTF8 ("Caf\xC3\xA9") },
        { "UTF-8", scene ("Caf\xC3\xA9"), true, juce::CharPointer_UTF8 ("Caf\xC3\xA9") },
        { "UTF-8 with a stray byte", scene ("Caf\xC3\xA9 \xFC 2"), true, juce::CharPointer_UTF8 ("Caf\xC3\xA9  2") },
        { "NUL and rubbish behind it", scene ("1") + std::string ("\0</", 3), true, "1" },
        { "NUL inside", std::string ("<BWFXML>\0</BWFXML>", 18), false, {} },
        { "a reference to NUL", scene ("1&#0;2"), true, "1" },
    };
    const TempFolder temp;

    for (const auto& c : cases)
    {
        SCOPED_TRACE (c.what);
        BwfReader reader;
        const auto wave = WaveBuilder (stereo16, { { 0.5f }, { 0.5f } }).chunk ("iXML", bodyOf (c.text));
        ASSERT_TRUE (reader.open (wave.writeTo (temp.file ("text.wav"))));
        EXPECT_EQ (reader.ixml.present, c.present);
        EXPECT_EQ (reader.ixml.scene, c.scene);
        EXPECT_EQ (reader.ixml.rawXml.isNotEmpty(), c.present);
        exercise (reader);
    }
}

}    // namespace
}    // namespace ld::test
