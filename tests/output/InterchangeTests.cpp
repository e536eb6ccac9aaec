#include "output/Interchange.h"

#include "support/FolderSnapshot.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::StartsWith;

const juce::File folderOfTexts = juce::File (LD_SOURCE_DIR).getChildFile ("tests/data/interchange");

// Ten seconds from ten o'clock on, with a picture and two guests.
InterchangeRequest request()
{
    InterchangeRequest made;
    auto& host = made.host;
    host.file = juce::File ("/media/day 1/12a-3.wav");
    host.format = { .channels = 6, .sampleRate = 48000, .numFrames = 480000, .valid = true };
    auto& ixml = host.ixml;
    ixml.present = ixml.hasTimestamp = true;
    ixml.timestampSamples = 36000u * 48000u;
    ixml.timecodeRate = "25/1";
    ixml.scene = "12A & B";
    ixml.take = "3";
    ixml.tape = "Roll-00042";
    made.video.file = juce::File ("/media/picture/A001C002.mov");
    made.video.loaded = true;

    for (const auto* name : { "TX_001.wav", "CAM \"B\".wav" })
        made.guests.emplace_back().file = juce::File ("/media/packs").getChildFile (name);

    made.combinedFile = made.baseFile = juce::File ("/media/day 1/COMBINED_12A-3.wav");
    return made;
}

juce::StringArray linesOf (const juce::String& text)
{
    return juce::StringArray::fromLines (text);
}

pugi::xml_document parsed (const juce::String& text)
{
    pugi::xml_document document;
    EXPECT_TRUE (document.load_string (text.toRawUTF8())) << text;
    return document;
}

std::string valueAt (const pugi::xml_document& document, const char* path)
{
    return document.select_node (path).node().text().get();
}

TEST (Interchange, WritesTheFourTextsThatAreKept)
{
    const TempFolder temp;
    auto made = request();
    made.baseFile = temp.file ("new/COMBINED_12A-3.wav");
    ASSERT_TRUE (writeInterchangePackage (made).wasOk());

    const auto written = snapshotOf (temp.file ("new")), kept = snapshotOf (folderOfTexts);
    ASSERT_EQ (kept.size(), 4u);

    for (const auto& [name, bytes] : kept)
        EXPECT_EQ (written.at (name).toString(), bytes.toString()) << name;

    EXPECT_EQ (written, kept);
}

TEST (Interchange, NamesAClipAndItsReel)
{
    auto made = request();
    EXPECT_EQ (clipName (made), "12A & BT3");
    EXPECT_EQ (reelName (made), "Roll-000");

    made.host.ixml.take = "";
    EXPECT_EQ (clipName (made), "12A & B");

    made.host.ixml = {};
    made.host.ixml.take = "3";
    made.host.file = juce::File ("/media/take_one_of.many.wav");
    EXPECT_EQ (clipName (made), "take_one_of.many");
    EXPECT_EQ (reelName (made), "TAKE_ONE");
    EXPECT_EQ (xmlEsc ("<a href=\"b\">&amp;'"), "&lt;a href=&quot;b&quot;&gt;&amp;amp;'");
}

TEST (Interchange, ListsAnEventForEachFile)
{
    auto made = request();
    made.host.ixml.tape = "A7";
    auto lines = linesOf (makeEdl (made));
    EXPECT_EQ (lines[0], "TITLE: 12A & BT3");

    // Number, reel, track, cut, source in and out, record in and out, in the columns of the format.
    const auto& event = lines[3];
    EXPECT_EQ (event.substring (0, 3), "001");
    EXPECT_EQ (event.substring (5, 13), "A7      ");
    EXPECT_EQ (event.substring (14, 16), "AA");
    EXPECT_EQ (event.substring (19, 20), "C");
    EXPECT_EQ (event.substring (28), "10:00:00:00 10:00:10:00 10:00:00:00 10:00:10:00");
    EXPECT_EQ (lines[7].substring (0, 16), "002  A7       V ");
    EXPECT_EQ (lines[15].substring (0, 3), "004");
    EXPECT_EQ (lines[16], "* FROM CLIP NAME: CAM \"B\".wav");
    EXPECT_EQ (lines.size(), 3 + 4 * 4 + 1);

    made.video.loaded = false;
    made.guests.clear();
    EXPECT_EQ (linesOf (makeEdl (made)).size(), 3 + 4 + 1);

    for (const auto& [flag, word] : { std::pair ("DF", "FCM: DROP FRAME"),
                                      { "df", "FCM: DROP FRAME" },
                                      { "NDF", "FCM: NON-DROP FRAME" },
                                      { "", "FCM: NON-DROP FRAME" } })
    {
        made.host.ixml.timecodeFlag = flag;
        EXPECT_EQ (linesOf (makeEdl (made))[1], word) << flag;
    }
}

TEST (Interchange, TellsFinalCutWhereTheFilesAre)
{
    auto made = request();
    made.host.ixml.scene = "<12> \"A\" & B";
    made.combinedFile = juce::File ("/media/Tom & Jerry.wav");
    auto document = parsed (makeFcpXml (made));
    EXPECT_EQ (valueAt (document, "/xmeml/sequence/name"), "<12> \"A\" & BT3");
    EXPECT_EQ (valueAt (document, "//audio/track/clipitem/name"), "Tom & Jerry.wav");
    EXPECT_EQ (valueAt (document, "//audio//samplecharacteristics/depth"), "24");
    EXPECT_THAT (valueAt (document, "//audio//pathurl"), StartsWith ("file:///media/Tom"));
    EXPECT_EQ (valueAt (document, "//video/track/clipitem/file/pathurl"), "file:///media/picture/A001C002.mov");
    EXPECT_EQ (valueAt (document, "//video/track/clipitem/end"), "250");

    made.video.loaded = false;
    EXPECT_TRUE (parsed (makeFcpXml (made)).select_node ("//video").node().empty());

    // "DF" stands in "NDF", too.
    for (const auto& [flag, word] : { std::pair ("DF", "DF"), { "NDF", "DF" }, { "", "NDF" } })
    {
        made.host.ixml.timecodeFlag = flag;
        EXPECT_EQ (valueAt (parsed (makeFcpXml (made)), "//displayformat"), word) << flag;
    }

    for (const auto& [rate, timebase, ntsc, frames] : { std::tuple ("30000/1001", "30", "TRUE", "300"),
                                                        { "24000/1001", "24", "TRUE", "240" },
                                                        { "25/1", "25", "FALSE", "250" },
                                                        { "30/1", "30", "FALSE", "300" },
                                                        { "", "24", "FALSE", "240" } })
    {
        made.host.ixml.timecodeRate = rate;
        document = parsed (makeFcpXml (made));
        EXPECT_EQ (valueAt (document, "/xmeml/sequence/rate/timebase"), timebase) << rate;
        EXPECT_EQ (valueAt (document, "//timecode/rate/ntsc"), ntsc) << rate;
        EXPECT_EQ (valueAt (document, "//clipitem/duration"), frames) << rate;
    }

    made.host.format = {};
    made.host.format.sampleRate = 0;
    EXPECT_EQ (valueAt (parsed (makeFcpXml (made)), "//clipitem/duration"), "0");
}

TEST (Interchange, FillsTheColumnsOfTheLog)
{
    const auto lines = linesOf (makeAle (request()));
    const auto fieldsOf = [] (const juce::String& line) { return juce::StringArray::fromTokens (line, "\t", {}); };
    const auto columns = fieldsOf (lines[7]), row = fieldsOf (lines[10]);
    ASSERT_EQ (columns.size(), 8);
    ASSERT_EQ (row.size(), 8);
    const auto field = [&] (const char* name) { return row[columns.indexOf (juce::String (name))]; };
    EXPECT_EQ (field ("Name"), "12A & BT3");
    EXPECT_EQ (field ("Tape"), "Roll-000");
    EXPECT_EQ (field ("End"), "10:00:10:00");
    EXPECT_EQ (field ("Tracks"), "A6");
    EXPECT_EQ (field ("Notes"), "Lodestrand COMBINED_12A-3.wav");
}

TEST (Interchange, DescribesTheComposition)
{
    const auto document = parsed (makeAafXml (request()));
    const auto slots = document.select_nodes ("//TimelineMobSlot");
    ASSERT_EQ (slots.size(), 2u);
    EXPECT_STREQ (document.select_node ("//CompositionMob").node().attribute ("Name").value(), "12A & BT3");

    const auto sound = slots[0].node().child ("Sequence").child ("SourceClip");
    EXPECT_STREQ (sound.attribute ("EndTimecode").value(), "10:00:10:00");
    EXPECT_STREQ (sound.attribute ("Channels").value(), "6");
    EXPECT_TRUE (slots[1].node().child ("Sequence").child ("SourceClip").attribute ("Channels").empty());
}

TEST (Interchange, EndsAtTheFirstFileThatCannotBeWritten)
{
    const TempFolder temp;
    auto made = request();
    made.baseFile = temp.file ("COMBINED.wav");
    temp.file ("COMBINED.xml/full").createDirectory();
    const auto result = writeInterchangePackage (made);
    EXPECT_EQ (result.getErrorMessage(), "Could not write COMBINED.xml");
    EXPECT_TRUE (temp.file ("COMBINED.edl").existsAsFile());
    EXPECT_FALSE (temp.file ("COMBINED.ale").exists());
    EXPECT_EQ (temp.folder.getNumberOfChildFiles (juce::File::findFiles), 1);
}

}    // namespace
}    // namespace ld::test
