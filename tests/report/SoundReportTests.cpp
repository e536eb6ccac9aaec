#include "report/ReportFiles.h"

#include "media/BextIxml.h"
#include "support/TempFolder.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#include <pugixml.hpp>

// The sound report as its readers get it: the page and the rows.

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr int rate = 48000;
constexpr juce::uint64 tenOClock = 36000ull * rate;

juce::MemoryBlock ixmlOf (const std::string& elements, juce::uint64 stamp)
{
    return bodyOf ("<?xml version=\"1.0\"?><BWFXML>" + elements
                   + "<SPEED><TIMECODE_RATE>30000/1001</TIMECODE_RATE><TIMECODE_FLAG>DF</TIMECODE_FLAG>"
                     "<TIMESTAMP_SAMPLE_RATE>48000</TIMESTAMP_SAMPLE_RATE>"
                     "<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>"
                   + std::to_string (stamp >> 32)
                   + "</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>"
                     "<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>"
                   + std::to_string (stamp & 0xFFFFFFFF) + "</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO></SPEED></BWFXML>");
}

// A day of two polys of 60 s, their guests, and files of no take; its texts are what a hostile recorder would write.
struct Day
{
    Day()
    {
        outcome.takes.resize (2);
        auto& take = outcome.takes[0];
        take.poly =
            add ("T1.wav",
                 3,
                 60,
                 ixmlOf ("<SCENE>12&lt;b&gt;</SCENE><TAKE>3</TAKE><CIRCLED>TRUE</CIRCLED>"
                         "<NOTE>=cmd(\"x\"), &lt;script&gt;</NOTE><TRACK_LIST><TRACK><CHANNEL_INDEX>1</CHANNEL_INDEX>"
                         "<INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>Boom &amp; co</NAME></TRACK></TRACK_LIST>",
                         tenOClock));
        take.output = temp.file ("COMBINED_T1.wav");
        take.written = true;

        // By its stamp at 2 s, by its sound at 1.5 s: its timecode is half a second late.
        auto& placed = addGuest (0, add ("pack_1.wav", 1, 20, ixmlOf ("", tenOClock + 2 * rate)));
        placed.alignment = { 3 * rate / 2, Alignment::Method::timecodeRefined, 0.98f, false, 0.0, "locked" };
        placed.alignment.evidence = "on one line";
        placed.trackNames = { "Lav <1>" };
        addGuest (0, add ("cam.wav", 1, 20, {})).alignment = { 0,     Alignment::Method::timecode,
                                                               0.35f, false,
                                                               0.0,   "timecode" };
        auto& out = addGuest (0, add ("lost.wav", 1, 20, ixmlOf ("", tenOClock + 30 * rate)));
        out.rejected = true;
        out.alignment.detail = "Contradicts \"all\"";

        outcome.takes[1].poly = add ("T2.wav", 3, 60, {});
        outcome.takes[1].error = "No room.";
        outcome.unmatched = { add ("stray.wav", 1, 10, ixmlOf ("", tenOClock + 50 * rate)) };
        outcome.unreadable = { temp.file ("<broken>.wav") };
        outcome.recorders = { { "pack_#", -15.4e-6, 1e-7, { { 36001.0, 36020.0, -0.5, 0.0, 1 } }, 1 } };
    }

    juce::File add (const juce::String& name, int channels, int seconds, const juce::MemoryBlock& ixml) const
    {
        WaveBuilder wave;
        wave.chunk ("fmt ", fmtBody ({ .channels = channels, .bits = 16 }));

        if (! ixml.isEmpty())
            wave.chunk ("iXML", ixml);

        return wave.chunk ("data", seconds * rate * channels * 2).writeTo (temp.file (name));
    }

    GuestOutcome& addGuest (size_t take, const juce::File& file)
    {
        auto& guest = outcome.takes[take].guests.emplace_back();
        copyIdentity (inspectAudioFile (file), guest.pieces.emplace_back());
        return guest;
    }

    [[nodiscard]] std::pair<juce::String, juce::String> written() const
    {
        const auto page = temp.file ("report.html");
        EXPECT_TRUE (writeSoundReport (describeDay (outcome, "Day & night"), page).wasOk());
        return { page.loadFileAsString(), temp.file ("report.csv").loadFileAsString() };
    }

    TempFolder temp;
    ConformOutcome outcome;
};

std::vector<std::string> hintsOf (const pugi::xml_document& page, const std::string& cssClass)
{
    std::vector<std::string> hints;

    for (const auto& node : page.select_nodes (("//rect[@class='" + cssClass + "']/title").c_str()))
        hints.emplace_back (node.node().text().get());

    return hints;
}

}    // namespace

TEST (SoundReport, RowsFollowTheOrderOfLocationRecordersAndNoTextIsAFormula)
{
    const auto rows = juce::StringArray::fromLines (Day().written().second);
    EXPECT_EQ (rows[0].fromFirstOccurrenceOf ("Scene", true, false),
               "Scene,Take,Timecode in,Timecode out,Length,Track 1,Track 2,Track 3,Notes,Circled,File,Guests,Left out,"
               "Combined file,Fault");

    // Ten hours of 107,892 frames each begin at 10:00:00;00, and the stamp lies in the frame behind that; a minute of
    // 1800 labels is 1798 frames later not yet over.
    EXPECT_EQ (rows[1],
               "\"12<b>\",\"3\",\"10:00:00;01\",\"10:00:59;29\",\"00:01:00\",\"\",\"Boom & co\",\"\","
               "\"'=cmd(\"\"x\"\"), <script>\",yes,\"T1.wav\","
               "\"pack_1.wav (Lav <1>; 98 %); cam.wav (35 %; doubtful)\",\"lost.wav: Contradicts \"\"all\"\"\","
               "\"COMBINED_T1.wav\",\"\"");
    EXPECT_EQ (rows[2], "\"\",\"\",\"\",\"\",\"00:01:00\",\"\",\"\",\"\",\"\",,\"T2.wav\",\"\",\"\",\"\",\"No room.\"");
}

TEST (SoundReport, ThePageIsWholeWithoutAnythingBesideItAndEscapesAllText)
{
    const auto page = Day().written().first;
    pugi::xml_document document;
    const auto parsed = document.load_string (page.fromFirstOccurrenceOf ("<html", true, false).toRawUTF8());
    ASSERT_TRUE (parsed) << parsed.description();
    EXPECT_STREQ (document.select_node ("//h1").node().text().get(), "Sound report: Day & night");

    for (const auto* word : { "<script", "http", "<link", "<img", "@import", "url(", "<broken>" })
        EXPECT_THAT (page.toStdString(), Not (HasSubstr (word)));

    EXPECT_STREQ (document.select_node ("//span[@class='ring']").node().text().get(), "3");
    EXPECT_THAT (page.toStdString(), HasSubstr ("12&lt;b&gt;"));
    EXPECT_THAT (page.toStdString(), HasSubstr ("1 circled; 1 recording placed; 1 doubtful; 1 left out."));
    EXPECT_THAT (page.toStdString(), HasSubstr ("No room."));
    EXPECT_THAT (page.toStdString(), HasSubstr ("Runs 15.4 ppm fast; 1 file proves it."));
}

TEST (SoundReport, PicturesShowEveryFileWhereItLiesAndDoubtInRed)
{
    pugi::xml_document page;
    const auto text = Day().written().first;
    ASSERT_TRUE (page.load_string (text.fromFirstOccurrenceOf ("<html", true, false).toRawUTF8()));
    EXPECT_THAT (hintsOf (page, "poly"), ElementsAre ("T1.wav", "T2.wav")) << "with and without timecode";
    EXPECT_THAT (hintsOf (page, "placed"), ElementsAre ("pack_1.wav"));
    EXPECT_THAT (hintsOf (page, "doubtful"), ElementsAre ("cam.wav"));
    EXPECT_THAT (hintsOf (page, "out"), testing::UnorderedElementsAre ("lost.wav", "stray.wav"));

    const auto xOf = [&] (const char* name) {
        const auto path = "//rect[title='" + std::string (name) + "']";
        return page.select_node (path.c_str()).node().attribute ("x").as_double();
    };
    const auto start = xOf ("T1.wav"), second = (xOf ("lost.wav") - start) / 30.0;
    EXPECT_NEAR (xOf ("pack_1.wav"), start + 1.5 * second, 0.2) << "by its sound, not by its stamp";
    EXPECT_NEAR (xOf ("stray.wav"), start + 50.0 * second, 0.2);

    // The file's dot lies on the line of its clock, half a second below 0.
    const auto dot = page.select_node ("//circle").node(), line = page.select_node ("//line[@class='clock']").node();
    EXPECT_NEAR (dot.attribute ("cy").as_double(), line.attribute ("y1").as_double(), 0.2);
}

TEST (SoundReport, ALongDayIsCutIntoPicturesInWhichNoNameTouchesAnother)
{
    SoundReport report;

    for (int i = 0; i < 100; ++i)
    {
        auto& take = report.takes.emplace_back();
        take.scene = "Scene with a long name " + juce::String (i);
        take.startSeconds = 86000.0 + i * 25.0;    // through midnight
        take.seconds = i % 10 == 0 ? 600.0 : 20.0;
    }

    const TempFolder temp;
    ASSERT_TRUE (writeSoundReport (report, temp.file ("day.html")).wasOk());
    pugi::xml_document page;
    const auto text = temp.file ("day.html").loadFileAsString();
    ASSERT_TRUE (page.load_string (text.fromFirstOccurrenceOf ("<html", true, false).toRawUTF8()));
    EXPECT_EQ (page.select_nodes ("//rect[@class='poly']").size(), 100u);
    EXPECT_GE (page.select_nodes ("//svg").size(), 4u);

    for (const auto& picture : page.select_nodes ("//svg"))
    {
        std::map<double, double> ends;    // of the last name in each line

        for (const auto& name : picture.node().select_nodes ("text[@class='name']"))
        {
            const auto x = name.node().attribute ("x").as_double(), y = name.node().attribute ("y").as_double();
            const auto length = (double) juce::String::fromUTF8 (name.node().text().get()).length();
            EXPECT_TRUE (! ends.contains (y) || x > ends[y]) << name.node().text().get();
            ends[y] = x + length * 5.0;    // DejaVu Sans at 9 units: 5.0 a letter on average
            EXPECT_LE (ends[y], 1040.0);
        }
    }
}

TEST (SoundReport, ThatCannotBeWrittenIsToldAndLeavesTheEarlierOne)
{
    const TempFolder temp;
    const auto page = temp.file ("day.html");
    ASSERT_TRUE (page.replaceWithText ("another") && writeSoundReport ({}, page).wasOk());
    const auto earlier = page.loadFileAsString();
    EXPECT_THAT (earlier.toStdString(), HasSubstr ("0 takes, 00:00:00"));
    const auto below = writeSoundReport ({}, page.getChildFile ("below.html"));
    EXPECT_EQ (below.getErrorMessage(), "Could not write " + page.getChildFile ("below.html").getFullPathName());
    EXPECT_EQ (page.loadFileAsString(), earlier);
}

}    // namespace ld::test
