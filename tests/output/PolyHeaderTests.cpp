#include "output/PolyHeader.h"

#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

std::string asText (const juce::MemoryBlock& block)
{
    return { block.begin(), block.end() };
}

std::string bodyIn (const juce::File& file, const char* id)
{
    const auto walk = walkWave (file);
    const auto* chunk = walk.find (id);
    return chunk == nullptr ? "" : readBody (file, *chunk);
}

std::vector<std::string> idsIn (const WaveWalk& walk)
{
    std::vector<std::string> ids;

    for (const auto& chunk : walk.chunks)
        ids.push_back (chunk.id);

    return ids;
}

/** A folder with a poly of silence, and the request for its combined file. */
struct Request : ExportRequest
{
    explicit Request (const juce::File& poly)
    {
        host = readTake (poly);
        outputFile = temp.file ("COMBINED_poly.wav");
    }

    explicit Request (const WaveBuilder& poly)
    {
        host = readTake (poly.writeTo (temp.file ("poly.wav")));
        outputFile = temp.file ("COMBINED_poly.wav");
    }

    explicit Request (const WaveFormat& format, int frames = 11)
        : Request (WaveBuilder (format, Channels ((size_t) format.channels, std::vector<float> ((size_t) frames))))
    {
    }

    // The written file, without a complaint of the walker's.
    juce::File written()
    {
        const auto result = PolyExporter::write (*this);
        EXPECT_TRUE (result.wasOk()) << result.getErrorMessage();
        EXPECT_THAT (walkWave (outputFile).complaints, IsEmpty());
        return outputFile;
    }

    TempFolder temp;
};

WaveBuilder polyWith (const BextFields& bext, const IxmlFields& ixml)
{
    const WaveFormat format { .channels = 3, .bits = 24, .isExtensible = true };
    return WaveBuilder()
        .chunk ("fmt ", fmtBody (format))
        .chunk ("bext", bextBody (bext))
        .chunk ("iXML", ixmlBody (ixml))
        .chunk ("data", audioBody (format, Channels (3, std::vector<float> (5))));
}

pugi::xml_node ixmlOf (const juce::File& file, pugi::xml_document& document)
{
    EXPECT_TRUE (document.load_string (bodyIn (file, "iXML").c_str()));
    return document.child ("BWFXML");
}

GuestClip guestNamed (const juce::StringArray& names, const juce::String& notes)
{
    GuestClip guest;
    guest.format.channels = names.size();
    guest.channelAudio.resize ((size_t) names.size());
    guest.notes = notes;

    for (const auto& name : names)
        guest.tracks.emplace_back().name = name;

    return guest;
}

std::vector<juce::String> describe (const std::vector<TrackInfo>& tracks)
{
    std::vector<juce::String> lines;

    for (const auto& track : tracks)
    {
        EXPECT_EQ (track.channelIndex, track.interleaveIndex);
        lines.push_back (juce::String (track.channelIndex) + " " + track.name + " / " + track.function);
    }

    return lines;
}

constexpr juce::int64 largestRiffData = 0xFFFFFFF0;

}    // namespace

TEST (PolyHeader, TheFormatIsShortOnlyForIntegersOfOneOrTwoChannels)
{
    struct Case
    {
        WaveFormat host;
        bool withMix;
        WaveFormat expected;
    };

    const Case cases[] = {
        { { .channels = 2, .bits = 16 }, false, { .channels = 2, .bits = 16 } },
        { { .channels = 2, .bits = 16 }, true, { .channels = 3, .bits = 16, .isExtensible = true } },
        { { .channels = 3, .bits = 20 }, false, { .channels = 3, .bits = 24, .isExtensible = true, .validBits = 20 } },
        { { .channels = 1, .bits = 8 }, false, { .channels = 1, .bits = 16 } },
        { { .channels = 1, .sampleRate = 44100 }, true, { .channels = 2, .sampleRate = 44100 } },
        { { .channels = 1, .bits = 32 }, false, { .channels = 1, .bits = 32 } },
        { { .channels = 1, .bits = 32, .tag = 3 }, false, { .bits = 32, .tag = 3, .isExtensible = true } },
        { { .channels = 2, .sampleRate = 96000, .bits = 64, .tag = 3 },
          true,
          { .channels = 3, .sampleRate = 96000, .bits = 64, .tag = 3, .isExtensible = true } },
    };

    for (const auto& [host, withMix, expected] : cases)
    {
        Request request (host);
        request.includeMix = withMix;
        EXPECT_EQ (bodyIn (request.written(), "fmt "), asText (fmtBody (expected)))
            << host.bits << " bits, " << host.channels << " channels";
    }
}

TEST (PolyHeader, MetadataStandsAheadOfTheAudioAndForeignChunksBehindItByteForByte)
{
    const std::string odd ("odd\0\xFF", 5), latin ("K\xF6pf", 4);
    Request request (polyWith ({ .history = "x" }, {})
                         .chunk ("LIST", bodyOf (odd))
                         .chunk ("JUNK", 10)
                         .chunk (latin, bodyOf ("even"))
                         .chunk ("cue ", bodyOf ("1")));
    const auto file = request.written();
    const auto walk = walkWave (file);
    EXPECT_THAT (idsIn (walk), ElementsAre ("fmt ", "bext", "iXML", "data", "LIST", latin, "cue "));
    EXPECT_EQ (bodyIn (file, "LIST"), odd);
    EXPECT_EQ (bodyIn (file, latin.c_str()), "even");
    EXPECT_EQ (bodyIn (file, "cue "), "1");

    // 5 frames of 4 channels at 3 bytes.
    EXPECT_EQ (walk.find ("data")->size, 60);
}

TEST (PolyHeader, ATakeOfNoFramesStillHasAllItsChunks)
{
    Request request (WaveBuilder ({ .channels = 3 }, Channels (3)).chunk ("LIST", 3));
    const auto walk = walkWave (request.written());
    EXPECT_THAT (idsIn (walk), ElementsAre ("fmt ", "bext", "iXML", "data", "LIST"));
    EXPECT_EQ (walk.find ("data")->size, 0);
}

TEST (PolyHeader, BextIsTheHostsWithOneLineOfHistoryForTheFirstGenerationOnly)
{
    const std::string line = "A=PCM,F=48000,W=24,M=poly,T=Lodestrand\r\n";
    const std::pair<std::string, std::string> histories[] = {
        { "", line },
        { "A=PCM,F=48000,T=mixer\r\n", "A=PCM,F=48000,T=mixer\r\n" + line },
        { "A=ANALOGUE", "A=ANALOGUE\r\n" + line },
        { "A=PCM\n", "A=PCM\n" + line },
        { "by Lodestrand", "by Lodestrand\r\n" },
    };

    for (const auto& [history, expected] : histories)
    {
        BextFields fields { "slate 12\r\n", "recorder", "ref-1", "2026-05-17", "09:30:00", 5'000'000'000, 2 };
        fields.loudness = { -2300, 700, -100, -2000, -2100 };
        fields.history = history;
        Request first (polyWith (fields, {}));
        const auto file = first.written();
        fields.history = expected;
        EXPECT_EQ (bodyIn (file, "bext"), asText (bextBody (fields))) << history;

        Request second (file);
        EXPECT_EQ (bodyIn (second.written(), "bext"), asText (bextBody (fields))) << history;
    }
}

TEST (PolyHeader, TheStampIsTheIxmlsWhereThereIsOneAndFillsAnEmptyBextOnly)
{
    struct Case
    {
        juce::uint64 bext;
        std::optional<juce::uint64> ixml;
        juce::uint64 expectedBext, expectedIxml;
    };

    const Case cases[] = { { 0, 7'000'000'000, 7'000'000'000, 7'000'000'000 },
                           { 500, 7'000'000'000, 500, 7'000'000'000 },
                           { 500, {}, 500, 500 },
                           { 500, 0, 500, 0 },
                           { 0, {}, 0, 0 } };

    for (const auto& [bext, ixml, expectedBext, expectedIxml] : cases)
    {
        Request request (polyWith ({ .timeReference = bext }, { .stamp = ixml, .stampRate = 48048.0 }));
        const auto file = request.written();
        EXPECT_EQ (numberAt (bodyIn (file, "bext"), 338, 8), expectedBext);

        pugi::xml_document document;
        const auto speed = ixmlOf (file, document).child ("SPEED");
        EXPECT_EQ (speed.child ("TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI").text().as_ullong() << 32
                       | speed.child ("TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO").text().as_ullong(),
                   expectedIxml);
        EXPECT_EQ (speed.child ("TIMESTAMP_SAMPLE_RATE").text().as_double(), 48048.0);
    }
}

TEST (PolyHeader, IxmlKeepsTheHostsDocumentAndSaysWhatTheNewFileIs)
{
    auto text = asText (ixmlBody ({ .trackNames = { "Mix L", "Boom", "Lav" }, .scene = "12A", .take = "3" }));
    text.insert (text.find ("<SCENE>"), "<MAKER>kept &amp; whole</MAKER>");
    const auto audio = Channels (3, std::vector<float> (5));
    Request request (WaveBuilder ({ .channels = 3, .bits = 8 }, audio).chunk ("iXML", bodyOf (text)));
    request.host.omittedChannels = { 0, 1 };
    request.guests = { guestNamed ({ "Mix-L", "Cam R" }, "camera"),
                       guestNamed ({ "Pack" }, ""),
                       guestNamed ({}, "wild") };
    request.guests[2].channelAudio.resize (1);

    pugi::xml_document document;
    const auto root = ixmlOf (request.written(), document);
    EXPECT_STREQ (root.child_value ("MAKER"), "kept & whole");
    EXPECT_STREQ (root.child_value ("SCENE"), "12A");
    EXPECT_STREQ (root.child_value ("TAKE"), "3");
    EXPECT_STREQ (root.child_value ("ORIGINAL_FILENAME"), "COMBINED_poly.wav");
    EXPECT_STREQ (root.child_value ("NOTE"), "camera | wild");
    EXPECT_EQ (root.child ("SPEED").child ("FILE_SAMPLE_RATE").text().as_double(), 48000.0);
    EXPECT_EQ (root.child ("SPEED").child ("AUDIO_BIT_DEPTH").text().as_int(), 16);

    std::vector<std::string> tracks;

    for (const auto track : root.child ("TRACK_LIST").children ("TRACK"))
        tracks.push_back (std::string (track.child_value ("NAME")) + " / " + track.child_value ("FUNCTION"));

    EXPECT_THAT (tracks,
                 ElementsAre ("MIX / MIX",
                              "OLDMIX L / OLDMIX",
                              "Lav / OTHER",
                              "Mix-L / OLDMIX",
                              "Cam R / SINGLE",
                              "Pack / SINGLE",
                              " / SINGLE"));

    request.host.ixml.note = "the mixer's own";
    EXPECT_STREQ (ixmlOf (request.written(), document).child_value ("NOTE"), "the mixer's own");
}

TEST (PolyHeader, TracksAreRenumberedOnlyBehindANewMix)
{
    HostTake host;
    host.omittedChannels = { 0, 1, 0 };
    const std::pair<const char*, const char*> names[] = { { " mix ", "OTHER" },    { "gone", "OTHER" },
                                                          { "MixR", "OTHER" },     { "Desk feed", "Mix" },
                                                          { "OldMix two", "MIX" }, { "", "MIX" },
                                                          { "Boom", "BOOM" } };

    for (const auto& [name, function] : names)
    {
        TrackInfo track;
        track.name = name;
        track.function = function;
        track.channelIndex = track.interleaveIndex = (int) host.tracks.size() + 1;
        host.tracks.push_back (track);
    }

    const std::vector<GuestClip> guests { guestNamed ({ "Pack" }, {}), guestNamed ({ "L", "R" }, {}) };
    EXPECT_THAT (describe (buildExportTracks (host, guests, true)),
                 ElementsAre ("1 MIX / MIX",
                              "2 OLDMIX / OLDMIX",
                              "3 OLDMIX R / OLDMIX",
                              "4 OLDMIX Desk feed / OLDMIX",
                              "5 OldMix two / OLDMIX",
                              "6 OLDMIX / OLDMIX",
                              "7 Boom / BOOM",
                              "8 Pack / SINGLE",
                              "9 L / SINGLE",
                              "10 R / SINGLE"));
    EXPECT_THAT (describe (buildExportTracks (host, guests, false)),
                 ElementsAre ("1  mix  / OTHER",
                              "3 MixR / OTHER",
                              "4 Desk feed / Mix",
                              "5 OldMix two / MIX",
                              "6  / MIX",
                              "7 Boom / BOOM",
                              "7 Pack / SINGLE",
                              "8 L / SINGLE",
                              "9 R / SINGLE"));
}

TEST (PolyHeader, TheAudiosSizeAloneDecidesBetweenRiffAndRf64)
{
    // 16 bits mono: two bytes a frame, so that the size can be met to the frame.
    Request request ({ .channels = 1, .bits = 16 });
    request.includeMix = false;

    for (const juce::int64 frames : { largestRiffData / 2, largestRiffData / 2 + 1, juce::int64 { 1 } << 40 })
    {
        request.host.format.numFrames = frames;
        const auto layout = layOutPoly (request);
        const auto header = asText (makePolyHeader (request, layout));
        const auto isRf64 = frames > largestRiffData / 2;
        EXPECT_EQ (layout.dataBytes, 2 * frames);
        EXPECT_EQ (layout.isRf64, isRf64);
        EXPECT_EQ (header.substr (0, 4), isRf64 ? "RF64" : "RIFF");
        EXPECT_EQ (numberAt (header, 4, 4), isRf64 ? 0xFFFFFFFFu : 0u);
        EXPECT_EQ (header.substr (12, 4), isRf64 ? "ds64" : "fmt ");
        EXPECT_EQ (header.substr (header.size() - 8, 4), "data");
        EXPECT_EQ (numberAt (header, header.size() - 4, 4), isRf64 ? 0xFFFFFFFFu : 0xFFFFFFF0u);

        if (! isRf64)
            continue;

        EXPECT_EQ (numberAt (header, 16, 4), 28u);
        EXPECT_EQ (numberAt (header, 20, 8), 0u);
        EXPECT_EQ (numberAt (header, 28, 8), (juce::uint64) (2 * frames));
        EXPECT_EQ (numberAt (header, 36, 8), (juce::uint64) frames);
        EXPECT_EQ (numberAt (header, 44, 4), 0u);
        EXPECT_EQ (header.substr (48, 4), "fmt ");
    }
}

TEST (PolyHeader, OnlyInRf64AreTheChunksAheadOfTheAudioBroughtToAnEvenSize)
{
    // A note one letter longer makes the other parity: of the two notes one gives an iXML chunk of odd size.
    for (const auto* note : { "n", "no" })
    {
        Request request (polyWith ({ .history = "odd" }, {}));
        request.host.ixml.note = note;
        auto layout = layOutPoly (request);
        const auto riff = asText (makePolyHeader (request, layout));
        layout.isRf64 = true;
        const auto rf64 = asText (makePolyHeader (request, layout));

        for (const auto* id : { "bext", "iXML" })
        {
            const auto inRiff = riff.find (id), inRf64 = rf64.find (id);
            const auto size = numberAt (riff, inRiff + 4, 4), evenSize = numberAt (rf64, inRf64 + 4, 4);
            EXPECT_EQ (evenSize, size + size % 2);
            EXPECT_EQ (rf64.substr (inRf64 + 8, size), riff.substr (inRiff + 8, size));
            EXPECT_EQ (rf64.substr (inRf64 + 8 + size, size % 2), std::string (size % 2, *id == 'b' ? '\0' : ' '));
        }
    }
}

}    // namespace ld::test
