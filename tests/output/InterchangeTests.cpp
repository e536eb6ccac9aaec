#include "output/Interchange.h"

#include "output/TimecodeLabels.h"

#include "support/FolderSnapshot.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

#include <map>
#include <set>

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAreArray;

const juce::File folderOfTexts = juce::File (LD_SOURCE_DIR).getChildFile ("tests/data/interchange");

template <typename Media>
void stamp (Media& media, double seconds)
{
    media.ixml.present = media.ixml.hasTimestamp = true;
    media.ixml.timestampSamples = (juce::uint64) (seconds * 48000.0);
}

// Ten seconds from ten o'clock on, with a picture that began two seconds earlier. One pack was split: 4 s of it from 2 s
// before the take on, and 3 s from its fifth second. A camera without timecode is heard from the sixth second to the end.
InterchangeRequest request()
{
    InterchangeRequest made;
    auto& host = made.host;
    host.file = juce::File ("/media/day 1/12a-3.wav");
    host.format = { .channels = 2, .sampleRate = 48000, .numFrames = 480000, .valid = true };
    host.tracks.resize (2);
    stamp (host, 36000);
    host.ixml.timecodeRate = "25/1";
    host.ixml.scene = "12A & B";
    host.ixml.take = "3";
    host.ixml.tape = "Roll-00042";
    made.video.file = juce::File ("/media/picture/A001C002.mov");
    made.video.loaded = true;
    made.video.timestampSamples = (36000 - 2) * 48000;

    auto& pack = made.guests.emplace_back();
    pack.file = juce::File ("/media/packs/TX_001.wav");
    pack.tracks.emplace_back().name = "Ann";
    pack.alignment.offsetSamples = -2 * 48000;

    for (const auto& [number, start, seconds] : { std::tuple (1, 0, 4), { 2, 7, 3 } })
    {
        auto& piece = pack.pieces.emplace_back();
        piece.file = juce::File ("/media/packs/TX_00" + juce::String (number) + ".wav");
        piece.format = { .channels = 1, .sampleRate = 48000, .numFrames = seconds * 48000, .valid = true };
        piece.offsetSamples = start * 48000;
        stamp (piece, 35900 + start);    // its clock is off by more than a minute
    }

    auto& camera = made.guests.emplace_back();
    camera.file = juce::File ("/media/packs/CAM \"B\".wav");
    camera.format = { .channels = 1, .sampleRate = 44100, .numFrames = 44100 * 60, .valid = true };
    camera.alignment.offsetSamples = 6 * 48000;
    camera.alignment.needsManual = true;
    made.leftOut.push_back ({ juce::File ("/media/packs/stray.wav"), { .offsetSamples = -1, .detail = "No place" } });
    made.combinedFile = made.baseFile = juce::File ("/media/day 1/COMBINED_12A-3.wav");
    return made;
}

template <typename Make>
juce::String textOf (Make make, const InterchangeRequest& made)
{
    return make ({ &made, 1 });
}

pugi::xml_document xmlOf (const InterchangeRequest& made)
{
    pugi::xml_document document;
    EXPECT_TRUE (document.load_string (textOf (makeFcpXml, made).toRawUTF8()));
    return document;
}

std::string valueAt (const pugi::xml_document& document, const char* path)
{
    return document.select_node (path).node().text().get();
}

// Every event of a list, held against the columns of CMX 3600: number 1-3, reel 6-13, track 15-19, transition 21,
// times from 30 on. Gives what stands in them.
std::vector<std::string> eventsOf (const juce::String& edl)
{
    const auto line = testing::MatchesRegex ("[0-9]{3}  [A-Za-z0-9_-]{1,8} *");
    const auto times = testing::MatchesRegex ("(([0-9]{2}:[0-9]{2}:[0-9]{2}[:;][0-9]{2}) ?){4}");
    std::vector<std::string> events;

    for (const auto& text : juce::StringArray::fromLines (edl))
    {
        if (! juce::CharacterFunctions::isDigit (text[0]))
            continue;

        EXPECT_THAT (text.substring (0, 13).toStdString(), line) << text;
        EXPECT_EQ (text.substring (19, 29), " C        ") << text;
        EXPECT_THAT (text.substring (29).toStdString(), times) << text;
        auto words = juce::StringArray::fromTokens (text.substring (5), false);
        words.removeEmptyStrings();
        events.push_back (words.joinIntoString (" ").toStdString());
    }

    return events;
}

TEST (Interchange, WritesTheTextsThatAreKept)
{
    const TempFolder temp;
    auto made = request();
    made.baseFile = temp.file ("new/COMBINED_12A-3.wav");
    ASSERT_TRUE (writeInterchangePackage (made).wasOk());

    const auto written = snapshotOf (temp.file ("new")), kept = snapshotOf (folderOfTexts);
    ASSERT_EQ (kept.size(), 5u);

    for (const auto& [name, bytes] : kept)
        EXPECT_EQ (written.at (name).toString(), bytes.toString()) << name;
}

TEST (Interchange, NamesAClipAndItsReelInTheLettersOfTheFormat)
{
    auto made = request();
    EXPECT_EQ (clipName (made), "12A & BT3");
    EXPECT_EQ (reelName (made), "Roll-000");

    made.host.ixml.take = "";
    made.host.ixml.tape = " Roll 1 \xC3\xA4";
    EXPECT_EQ (clipName (made), "12A & B");
    EXPECT_THAT (reelName (made).toStdString(), StartsWith ("Roll_1_"));

    made.host.ixml = {};
    made.host.ixml.take = "3";
    made.host.file = juce::File ("/media/take_one_of.many.wav");
    EXPECT_EQ (clipName (made), "take_one_of.many");
    EXPECT_EQ (reelName (made), "TAKE_ONE");
    EXPECT_EQ (xmlEsc ("<a href=\"b\">&amp;'"), "&lt;a href=&quot;b&quot;&gt;&amp;amp;'");
}

TEST (TimecodeLabels, KeepToTheClockWhereFramesAreDroppedAndBeginAnewAtMidnight)
{
    const std::tuple<const char*, const char*, juce::int64, const char*> cases[] = {
        { "25/1", "NDF", 86410 * 25 + 24, "00:00:10:24" },
        { "25/1", "DF", 1500, "00:01:00:00" },
        { "30000/1001", "NDF", 1800, "00:01:00:00" },
        { "30000/1001", "DF", 1799, "00:00:59;29" },
        { "29.97", "df", 1800, "00:01:00;02" },
        { "30000/1001", "DF", 17982, "00:10:00;00" },
        { "60000/1001", "DF", 3600, "00:01:00;04" },
        { "30000/1001", "DF", 2589408, "00:00:00;00" },
        { "30/1", "DF", 1800, "00:01:00:00" },
        { "24000/1001", "DF", 24, "00:00:01:00" },
        { "-25", "NDF", 24, "00:00:01:00" },
    };

    for (const auto& [rate, flag, frame, label] : cases)
        EXPECT_EQ (frameLabel (frame, timecodeRateOf (rate, flag)), label) << rate << flag << frame;

    // Ten o'clock is 1,078,921.08 frames after midnight, and the clock's label the one behind 1,078,920.
    const auto dropping = timecodeRateOf ("30000/1001", "DF");
    EXPECT_EQ (frameLabel (frameAt (36000ull * 48000, 48000.0, dropping), dropping), "10:00:00;01");
}

TEST (Interchange, ListsEachStretchOfEachFileWhereItLiesByItsOwnTimecode)
{
    auto made = request();
    EXPECT_THAT (eventsOf (textOf (makeEdl, made)),
                 ElementsAre ("Roll-000 AA C 10:00:00:00 10:00:10:00 10:00:00:00 10:00:10:00",
                              "A001C002 V C 10:00:00:00 10:00:10:00 10:00:00:00 10:00:10:00",
                              "TX_001 A3 C 09:58:22:00 09:58:24:00 10:00:00:00 10:00:02:00",
                              "TX_002 A3 C 09:58:27:00 09:58:30:00 10:00:05:00 10:00:08:00",
                              "CAM__B_ A4 C 00:00:00:00 00:00:04:00 10:00:06:00 10:00:10:00"));
    EXPECT_THAT (textOf (makeEdl, made).toStdString(), HasSubstr ("\n* FROM CLIP NAME: TX_002.wav\n"));

    // Two takes follow one another in one list; the frame count is told anew where it changes.
    auto late = made;
    late.host.ixml.timecodeRate = "30000/1001";
    late.host.ixml.timecodeFlag = "DF";
    late.guests.clear();
    late.video.loaded = false;
    stamp (late.host, 86395);
    const InterchangeRequest both[] = { made, late };
    const auto text = makeEdl (both);
    EXPECT_THAT (eventsOf (text).back(), HasSubstr ("23:59:55;02 00:00:05;02"));
    EXPECT_THAT (text.toStdString(), HasSubstr ("FCM: NON-DROP FRAME\n\n001"));
    EXPECT_THAT (text.toStdString(), HasSubstr ("FCM: DROP FRAME\n\n006"));
}

TEST (Interchange, TellsFinalCutWhatEachFileHoldsAndWhereItStarts)
{
    auto made = request();
    made.combinedFile = juce::File ("/media/Tom & #1.wav");
    auto document = xmlOf (made);
    EXPECT_EQ (valueAt (document, "/xmeml/sequence/name"), "12A & BT3");
    EXPECT_EQ (valueAt (document, "/xmeml/sequence/timecode/frame"), "900000");
    EXPECT_EQ (valueAt (document, "//audio//file/name"), "Tom & #1.wav");
    EXPECT_EQ (valueAt (document, "//audio//file/pathurl"), "file:///media/Tom%20%26%20%231.wav");
    EXPECT_EQ (valueAt (document, "//audio//file/duration"), "250");
    EXPECT_EQ (valueAt (document, "//audio//file/timecode/string"), "10:00:00:00");
    EXPECT_EQ (valueAt (document, "//audio//file//channelcount"), "5") << "MIX, two of the poly, two guests";
    EXPECT_EQ (document.select_nodes ("//audio/track/clipitem/file[@id='combined-1']").size(), 5u);
    EXPECT_EQ (valueAt (document, "//audio/track[5]//trackindex"), "5");
    EXPECT_EQ (valueAt (document, "//audio/track[4]//description"), "Ann");

    // The picture ran two seconds ahead; then it starts one second into the take and is three seconds long.
    const auto picture = [&] {
        std::string text;

        for (const auto* name : { "start", "end", "in", "out" })
            text += valueAt (document, ("//video/track/clipitem/" + std::string (name)).c_str()) + " ";

        return text;
    };
    EXPECT_EQ (picture(), "0 250 50 300 ");
    made.video.timestampSamples = 36001 * 48000;
    made.video.durationSeconds = 3.0;
    document = xmlOf (made);
    EXPECT_EQ (picture(), "25 100 0 75 ");
    made.video.timestampSamples = 37000 * 48000;
    EXPECT_TRUE (xmlOf (made).select_node ("//video").node().empty()) << "it is of another time";

    for (const auto& [rate, flag, timebase, ntsc, display, frames] :
         { std::tuple ("30000/1001", "DF", "30", "TRUE", "DF", "300"),
           { "60000/1001", "NDF", "60", "TRUE", "NDF", "599" },
           { "24000/1001", "", "24", "TRUE", "NDF", "240" },
           { "25/1", "DF", "25", "FALSE", "NDF", "250" },
           { "", "NDF", "24", "FALSE", "NDF", "240" } })
    {
        made.host.ixml.timecodeRate = rate;
        made.host.ixml.timecodeFlag = flag;
        document = xmlOf (made);
        EXPECT_EQ (valueAt (document, "/xmeml/sequence/rate/timebase"), timebase) << rate;
        EXPECT_EQ (valueAt (document, "//timecode/rate/ntsc"), ntsc) << rate;
        EXPECT_EQ (valueAt (document, "//displayformat"), display) << rate;
        EXPECT_EQ (valueAt (document, "//clipitem/duration"), frames) << rate;
    }

    made.host.format = {};
    made.host.format.sampleRate = 0;
    EXPECT_EQ (valueAt (xmlOf (made), "//clipitem/duration"), "0");
}

TEST (Interchange, FillsTheColumnsOfTheLog)
{
    auto made = request();
    made.host.ixml.scene = "12\tA";
    made.host.ixml.timecodeRate = "24000/1001";
    const auto lines = juce::StringArray::fromLines (textOf (makeAle, made));
    const auto fieldsOf = [] (const juce::String& line) { return juce::StringArray::fromTokens (line, "\t", {}); };
    const auto columns = fieldsOf (lines[7]), row = fieldsOf (lines[10]);
    ASSERT_EQ (columns.size(), row.size());

    for (const auto& [name, value] : { std::pair ("Name", "12 AT3"),
                                       { "Tape", "Roll-000" },
                                       { "Start", "09:59:24:00" },
                                       { "End", "09:59:34:00" },
                                       { "Duration", "00:00:10:00" },
                                       { "Tracks", "A1A2A3A4A5" },
                                       { "Source File", "COMBINED_12A-3.wav" } })
        EXPECT_EQ (row[columns.indexOf (juce::String (name))], value) << name;

    EXPECT_EQ (lines[3], "AUDIO_FORMAT\t48khz");
    EXPECT_EQ (lines[4], "FPS\t23.976");
}

TEST (Interchange, SaysThatTheDescriptionIsNoAaf)
{
    const auto text = textOf (makeAafXml, request());
    pugi::xml_document document;
    ASSERT_TRUE (document.load_string (text.toRawUTF8()));
    EXPECT_THAT (juce::StringArray::fromLines (text)[1].toStdString(), HasSubstr ("not an AAF file"));
    EXPECT_STREQ (document.select_node ("//CompositionMob").node().attribute ("Name").value(), "12A & BT3");
    EXPECT_EQ (document.select_nodes ("//SourceClip[@EndTimecode='10:00:10:00']").size(), 2u);
}

// The fields that the schema's documents name for each of its objects.
void expectOtioFields (const juce::var& value)
{
    const std::set<std::string> item { "OTIO_SCHEMA", "metadata", "name",   "source_range",
                                       "effects",     "markers",  "enabled" };
    static const std::map<std::string, std::vector<std::string>> ofItems {
        { "Stack.1", { "children" } },
        { "Track.1", { "children", "kind" } },
        { "Gap.1", {} },
        { "Clip.2", { "media_references", "active_media_reference_key" } }
    };
    static const std::map<std::string, std::set<std::string>> ofOthers {
        { "Timeline.1", { "OTIO_SCHEMA", "metadata", "name", "global_start_time", "tracks" } },
        { "SerializableCollection.1", { "OTIO_SCHEMA", "metadata", "name", "children" } },
        { "ExternalReference.1",
          { "OTIO_SCHEMA", "metadata", "name", "available_range", "available_image_bounds", "target_url" } },
        { "Marker.2", { "OTIO_SCHEMA", "metadata", "name", "color", "marked_range", "comment" } },
        { "TimeRange.1", { "OTIO_SCHEMA", "start_time", "duration" } },
        { "RationalTime.1", { "OTIO_SCHEMA", "value", "rate" } },
    };

    for (int i = 0; i < value.size(); ++i)
        expectOtioFields (value[i]);

    const auto* const object = value.getDynamicObject();

    if (object == nullptr)
        return;

    std::vector<std::string> names;

    for (const auto& [name, child] : object->getProperties())
    {
        names.push_back (name.toString().toStdString());
        expectOtioFields (child);
    }

    if (const auto schema = value["OTIO_SCHEMA"].toString().toStdString(); ! schema.empty())
    {
        auto wanted = ofItems.contains (schema) ? item : ofOthers.at (schema);

        if (ofItems.contains (schema))
            wanted.insert (ofItems.at (schema).begin(), ofItems.at (schema).end());

        EXPECT_THAT (names, UnorderedElementsAreArray (wanted)) << schema;
    }
}

TEST (Interchange, GivesATimelineTheWholeTakeToTheSample)
{
    const auto made = request();
    const auto timeline = juce::JSON::parse (textOf (makeOtio, made));
    expectOtioFields (timeline);
    EXPECT_EQ ((double) timeline["global_start_time"]["value"], 900000.0);
    EXPECT_EQ ((double) timeline["global_start_time"]["rate"], 25.0);

    // What stands on each track, with its length in the rate that stands behind it.
    std::vector<std::string> tracks;
    const auto& stack = timeline["tracks"];

    for (int t = 0; t < stack["children"].size(); ++t)
    {
        const auto& track = stack["children"][t];
        juce::String text = track["kind"].toString() + " " + track["name"].toString();

        for (int i = 0; i < track["children"].size(); ++i)
        {
            const auto& child = track["children"][i];
            const auto& length = child["source_range"]["duration"];
            text << " | " << child["OTIO_SCHEMA"].toString() << " " << (int) length["value"] << "/"
                 << (int) length["rate"];
        }

        tracks.push_back (text.toStdString());
    }

    EXPECT_THAT (tracks,
                 ElementsAre ("Video Picture | Clip.2 250/25",
                              "Audio COMBINED | Clip.2 480000/48000",
                              "Audio Ann | Clip.2 96000/48000 | Gap.1 144000/48000 | Clip.2 144000/48000",
                              "Audio CAM \"B\" | Gap.1 288000/48000 | Clip.2 192000/48000"));

    // The first stretch of the pack is heard from its third second on.
    const auto& ann = stack["children"][2]["children"][0];
    const auto& media = ann["media_references"]["DEFAULT_MEDIA"];
    EXPECT_EQ (media["target_url"].toString(), "file:///media/packs/TX_001.wav");
    EXPECT_EQ ((double) media["available_range"]["start_time"]["value"], 35900.0 * 48000);
    EXPECT_EQ ((double) ann["source_range"]["start_time"]["value"], 35902.0 * 48000);

    const auto& markers = stack["markers"];
    ASSERT_EQ (markers.size(), 2);
    EXPECT_EQ (markers[0]["name"].toString(), "Doubtful: CAM \"B\"");
    EXPECT_EQ ((double) markers[0]["marked_range"]["start_time"]["value"], 6.0 * 48000);
    EXPECT_EQ (markers[1]["comment"].toString(), "No place");
    EXPECT_EQ ((double) markers[1]["marked_range"]["start_time"]["value"], 0.0);
}

TEST (Interchange, KeepsTheTakesOfADayApartAndLogsOfOneRate)
{
    const TempFolder temp;
    const auto folder = temp.file ("Day 1");
    std::vector<InterchangeRequest> takes (3, request());
    takes[1].host.ixml.timecodeRate = "30000/1001";
    ASSERT_TRUE (writeDayPackage ({ takes.data(), 1 }, folder).wasOk());
    EXPECT_FALSE (folder.exists());
    ASSERT_TRUE (writeDayPackage (takes, folder).wasOk());

    auto files = snapshotOf (folder);
    EXPECT_EQ (files.size(), 4u);
    const auto collection = juce::JSON::parse (files["DAY_Day 1.otio"].toString());
    expectOtioFields (collection);
    EXPECT_EQ (collection["children"].size(), 3);
    EXPECT_EQ (pugi::xml_document().load_string (files["DAY_Day 1.xml"].toString().toRawUTF8()).status,
               pugi::status_ok);

    for (const auto& [name, rate, rows] :
         { std::tuple ("DAY_Day 1.ale", "FPS\t25", 2), { "DAY_Day 1_29.97.ale", "FPS\t29.97", 1 } })
    {
        const auto log = juce::StringArray::fromLines (files[name].toString());
        EXPECT_EQ (log[4], rate);
        EXPECT_EQ (log.size() - log.indexOf ("Data") - 2, rows);
    }
}

TEST (Interchange, EndsAtTheFirstFileThatCannotBeWritten)
{
    const TempFolder temp;
    auto made = request();
    made.baseFile = temp.file ("COMBINED.wav");
    temp.file ("COMBINED.xml/full").createDirectory();
    EXPECT_EQ (writeInterchangePackage (made).getErrorMessage(), "Could not write COMBINED.xml");
    EXPECT_TRUE (temp.file ("COMBINED.edl").existsAsFile());
    EXPECT_EQ (temp.folder.getNumberOfChildFiles (juce::File::findFiles), 1);
}

}    // namespace
}    // namespace ld::test
