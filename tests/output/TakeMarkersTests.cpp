#include "output/TakeMarkers.h"

#include "media/BextIxml.h"
#include "output/EssenceIds.h"
#include "output/PolyHeader.h"

#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

// What a combined file tells of itself beyond the poly's own words: markers, its ids, what iXML repeats.

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

constexpr juce::int64 second = 48000;

// Pieces given by start and length in seconds of the guest, at 96 kHz: the poly's samples count half as many.
GuestClip guestAt (const char* name, double place, std::vector<std::pair<double, double>> pieces)
{
    GuestClip guest;
    guest.file = juce::File ("/media").getChildFile (juce::String (name) + ".wav");
    guest.format.channels = 1;
    guest.alignment.offsetSamples = (juce::int64) (place * second);

    for (const auto& [start, length] : pieces)
    {
        auto& piece = guest.pieces.emplace_back();
        piece.format = {
            .channels = 1, .sampleRate = 96000, .numFrames = (juce::int64) (length * 96000), .valid = true
        };
        piece.offsetSamples = (juce::int64) (start * second);
    }

    return guest;
}

ExportRequest takeOfAMinute (std::vector<GuestClip> guests)
{
    ExportRequest request;
    request.host.format = { .channels = 3, .sampleRate = 48000, .numFrames = 60 * second, .valid = true };
    request.guests = std::move (guests);
    return request;
}

TEST (Markers, StandWhereGuestsBeginStopGoOnAndEndInsideTheTake)
{
    const auto request = takeOfAMinute ({
        guestAt ("over", -5, { { 0, 90 } }),
        guestAt ("within", 10, { { 0, 20 } }),
        guestAt ("split", -5, { { 0, 10 }, { 10.05, 9.95 }, { 25, 10 }, { 34, 60 } }),
        guestAt ("elsewhere", 61, { { 0, 5 } }),
    });
    EXPECT_THAT (listMarkers (request),
                 ElementsAre (TakeMarker { 10 * second, "within begins" },
                              TakeMarker { 15 * second, "split stops, gap of 5.0 s" },
                              TakeMarker { 20 * second, "split goes on" },
                              TakeMarker { 30 * second, "within ends" }));

    auto cut = request;
    cut.guests[1].pieces[0].format.missingFrames = 96000 * 5;
    EXPECT_EQ (listMarkers (cut)[3], (TakeMarker { 25 * second, "within ends" })) << "it was cut short";

    cut.guests[1].channelAudio = { std::vector<float> ((size_t) (12 * second)) };
    EXPECT_EQ (listMarkers (cut)[3], (TakeMarker { 22 * second, "within ends" })) << "what was laid out tells better";

    cut.includeMarkers = false;
    EXPECT_THAT (listMarkers (cut), IsEmpty());
}

TEST (Markers, AreWrittenInTheFormatsBytes)
{
    const std::vector<TakeMarker> markers { { 0x01020304, "ab" }, { 5, "odd" }, { 0x100000000, "too far" } };
    using namespace std::string_literals;
    EXPECT_EQ (bytesOf (makeCueBody (markers)),
               "\2\0\0\0"s
               "\1\0\0\0\4\3\2\1data\0\0\0\0\0\0\0\0\4\3\2\1"s
               "\2\0\0\0\5\0\0\0data\0\0\0\0\0\0\0\0\5\0\0\0"s);
    EXPECT_EQ (bytesOf (makeLabelBody (markers)), "adtllabl\7\0\0\0\1\0\0\0ab\0\0labl\x08\0\0\0\2\0\0\0odd\0"s);
}

/** A poly with a maker's document, combined with one guest that begins inside the take. */
struct Combined
{
    explicit Combined (bool hasCue = false)
    {
        const WaveFormat format { .channels = 3, .isExtensible = true };
        const std::string text =
            "<BWFXML><FILE_UID>U1</FILE_UID><BEXT><BWF_UMID>00</BWF_UMID><BWF_CODING_HISTORY/></BEXT><TRACK_LIST>"
            "<TRACK><INTERLEAVE_INDEX>1</INTERLEAVE_INDEX><NAME>Boom</NAME></TRACK>"
            "<TRACK><INTERLEAVE_INDEX>3</INTERLEAVE_INDEX><NAME>Lav</NAME><DEFAULT_MIX><LEVEL>-6</LEVEL></DEFAULT_MIX>"
            "</TRACK><TRACK><INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>Mix</NAME></TRACK></TRACK_LIST></BWFXML>";
        auto poly = WaveBuilder()
                        .chunk ("fmt ", fmtBody (format))
                        .chunk ("bext", bextBody ({ .version = 0, .history = "A=ANALOGUE\r\n" }))
                        .chunk ("iXML", bodyOf (text))
                        .chunk ("data", audioBody (format, Channels (3, std::vector<float> (3000))));

        if (hasCue)
            poly.chunk ("cue ", bodyOf ("own"));

        request.host = readTake (poly.writeTo (temp.file ("poly.wav")));
        request.guests = { guestAt ("Pack", 0, {}) };
        request.guests[0].alignment.offsetSamples = 1000;
        request.guests[0].channelAudio = { std::vector<float> (2000) };
        request.outputFile = temp.file ("COMBINED_poly.wav");
    }

    pugi::xml_node write()
    {
        EXPECT_TRUE (PolyExporter::write (request).wasOk());
        EXPECT_THAT (walkWave (request.outputFile).complaints, IsEmpty());
        EXPECT_TRUE (document.load_string (body ("iXML").c_str()));
        return document.child ("BWFXML");
    }

    [[nodiscard]] std::string body (const char* id) const
    {
        const auto walk = walkWave (request.outputFile);
        const auto* const chunk = walk.find (id);
        return chunk == nullptr ? "" : readBody (request.outputFile, *chunk);
    }

    const TempFolder temp;
    ExportRequest request;
    pugi::xml_document document;
};

TEST (CombinedIxml, RepeatsBextAndKeepsTheRecordersFadersAndTellsTheMarkers)
{
    Combined combined;
    const auto root = combined.write();
    EXPECT_STREQ (root.child ("BEXT").child_value ("BWF_CODING_HISTORY"),
                  "A=ANALOGUE\nA=PCM,F=48000,W=24,M=poly,T=Lodestrand");
    EXPECT_STREQ (root.last_child().name(), "TRACK_LIST");

    std::vector<std::string> levels;

    for (const auto track : root.child ("TRACK_LIST").children ("TRACK"))
        levels.push_back (std::string (track.child_value ("NAME")) + track.child ("DEFAULT_MIX").child_value ("LEVEL"));

    EXPECT_THAT (levels, ElementsAre ("MIX", "Boom", "OLDMIX", "Lav-6", "Pack"));

    const auto point = root.child ("SYNC_POINT_LIST").child ("SYNC_POINT");
    EXPECT_STREQ (point.child_value ("SYNC_POINT_COMMENT"), "Pack begins");
    EXPECT_STREQ (point.child_value ("SYNC_POINT_LOW"), "1000");
    EXPECT_EQ (numberAt (combined.body ("cue "), 0, 4), 1u);

    Combined withOwn (true);
    withOwn.write();
    EXPECT_EQ (withOwn.body ("cue "), "own") << "a poly's own markers go along byte for byte";
    EXPECT_EQ (withOwn.body ("LIST"), "");
}

TEST (EssenceIds, AreThePolysOrNewOnesThatSourcesAndPlacesDecide)
{
    Combined combined;
    const auto kept = combined.write();
    EXPECT_STREQ (kept.child_value ("FILE_UID"), "U1");
    EXPECT_FALSE (kept.child ("HISTORY"));

    combined.request.hasNewIds = true;
    const auto root = combined.write();
    const auto ids = makeEssenceIds (combined.request);
    const auto umid = combined.body ("bext").substr (348, 64);
    EXPECT_EQ (umid.substr (0, 16), std::string ("\x06\x0A\x2B\x34\1\1\1\5\1\1\x09\x20\x13\0\0\0", 16));
    EXPECT_EQ (umid.substr (32), std::string (32, '\0'));
    EXPECT_EQ (numberAt (combined.body ("bext"), 346, 2), 1u) << "the first version that has a UMID";
    EXPECT_EQ (root.child_value ("FILE_UID"), ids.fileUid.toStdString());
    EXPECT_STREQ (root.child ("HISTORY").child_value ("PARENT_UID"), "U1");
    EXPECT_STREQ (root.child ("HISTORY").child_value ("ORIGINAL_FILENAME"), "poly.wav");

    const auto changed = [&] (auto change) {
        auto other = combined.request;
        change (other);
        return makeEssenceIds (other).umid != ids.umid;
    };
    EXPECT_FALSE (changed ([] (auto& other) { other.outputFile = juce::File ("/elsewhere/x.wav"); }));
    EXPECT_TRUE (changed ([] (auto& other) { ++other.guests[0].alignment.offsetSamples; }));
    EXPECT_TRUE (changed ([] (auto& other) { other.host.omittedChannels = { 1 }; }));
    EXPECT_TRUE (changed ([] (auto& other) {
        other.mixerCount = 4;
        other.mixer[3].gainDb = -1.0f;
    }));
}

}    // namespace
}    // namespace ld::test
