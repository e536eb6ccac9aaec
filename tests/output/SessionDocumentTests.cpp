#include "output/ReplacingFile.h"
#include "output/SessionDocument.h"

#include "support/FolderSnapshot.h"
#include "support/TempFolder.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#if JUCE_LINUX || JUCE_MAC
#include <sys/resource.h>
#endif

namespace ld::test
{
namespace
{

using juce::int64;

SessionDocument fullDocument (const TempFolder& temp)
{
    const auto text = juce::String (juce::CharPointer_UTF8 ("W\xc3\xb6rld \"\\ \n\t \xf0\x9f\x8e\xa4"));
    SessionDocument doc;
    doc.batchIndex = 1;
    doc.referenceChannel = 3;
    doc.videoFile = temp.file ("picture.mov");
    doc.videoTimestampSamples = (int64) 1 << 40;
    doc.videoTimecodeRate = "30000/1001";
    doc.takes.resize (2);
    doc.takes[0].host.file = temp.file ("poly.wav");
    doc.takes[0].reason = text;
    doc.takes[0].score = 0.8f;
    doc.takes[0].omittedHost = { 4, 1 };
    auto& guest = doc.takes[0].guests.emplace_back();
    guest.file = temp.file ("iso.wav");
    guest.alignment = { -((int64) 1 << 35), Alignment::Method::manual, 26.25193f, true, 1.25e-5, "by hand" };
    doc.mixer["G|OTHER|B|0"] = { -6.1f, 0.25f, true, false, { { 256, -3.7f }, { 0, 1.0f } }, { { 512, true } } };
    doc.mixer["G|OTHER|A|0"] = {};
    doc.metadataOverrides["poly\niso"] = { "st:1:iso", { { 2, 3, text, "LAV", "note", true } }, text };
    doc.nameOverrides["st:1:iso"] = { "Anna", "" };
    return doc;
}

SessionDocument readText (const TempFolder& temp, const juce::String& json, const juce::String& sentence = {})
{
    SessionDocument doc;
    doc.batchIndex = 77;
    temp.file ("read.ldsession").replaceWithText (json, false, false);
    EXPECT_EQ (readSessionDocument (temp.file ("read.ldsession"), doc).getErrorMessage(), sentence)
        << json.substring (0, 200);
    return doc;
}

}    // namespace

TEST (SessionDocument, ComesBackAsItWasAndIsTheSameBytesEachTime)
{
    const TempFolder temp;
    WaveBuilder (WaveFormat {}, { { 0.0f } }).writeTo (temp.file ("iso.wav"));
    const auto doc = fullDocument (temp);
    const auto first = temp.file ("1.ldsession"), second = temp.file ("2.ldsession");
    ASSERT_TRUE (writeSessionDocument (first, doc).wasOk());

    SessionDocument back;
    ASSERT_TRUE (readSessionDocument (first, back).wasOk());
    ASSERT_TRUE (writeSessionDocument (second, back).wasOk());
    EXPECT_TRUE (first.hasIdenticalContentTo (second));
    EXPECT_FALSE (first.loadFileAsString().containsAnyOf ("\r\n"));

    EXPECT_EQ (back.videoFile, doc.videoFile);
    EXPECT_EQ (back.videoTimestampSamples, doc.videoTimestampSamples);
    ASSERT_EQ (back.takes.size(), 2u);
    EXPECT_EQ (back.takes[0].reason, doc.takes[0].reason);
    EXPECT_EQ (back.takes[0].score, 0.8f);
    EXPECT_EQ (back.takes[0].omittedHost, doc.takes[0].omittedHost);
    EXPECT_EQ (back.takes[0].guests[0].alignment, doc.takes[0].guests[0].alignment);
    EXPECT_TRUE (back.takes[0].guests[0].format.valid);
    EXPECT_FALSE (back.takes[0].host.format.valid) << "the poly has gone";
    EXPECT_EQ (back.mixer, doc.mixer);
    EXPECT_EQ (back.metadataOverrides, doc.metadataOverrides);
    EXPECT_EQ (back.nameOverrides, doc.nameOverrides);
}

// The text of the smallest document, put together by hand from the format's tables.
TEST (SessionDocument, HasItsKeysInOrderAndNoVideoWithoutOne)
{
    const TempFolder temp;
    SessionDocument doc;
    doc.takes.resize (1);
    ASSERT_TRUE (writeSessionDocument (temp.file ("a"), doc).wasOk());
    EXPECT_EQ (temp.file ("a").loadFileAsString(),
               "{\"version\": 3, \"batchIndex\": 0, \"referenceChannel\": 0, \"takes\": [{\"host\": \"\", \"reason\": "
               "\"\", \"score\": 0.0, \"guests\": [], \"omittedHost\": []}], \"mixer\": [], \"metadataOverrides\": [], "
               "\"nameOverrides\": [], \"recorders\": [], \"levels\": []}");
}

TEST (SessionDocument, WhatIsMissingOrOfAnotherTypeTakesItsDefault)
{
    const TempFolder temp;
    const auto bare =
        readText (temp, R"({"takes":[{}], "video":{}, "mixer":[{}], "metadataOverrides":[{"tracks":[1]}]})");
    EXPECT_EQ (bare.batchIndex, 0);
    EXPECT_EQ (bare.version, 1);
    EXPECT_EQ (bare.videoTimecodeRate, "24/1");
    EXPECT_FALSE (bare.takes[0].host.format.valid);
    EXPECT_EQ (bare.mixer.at ({}), MixerChannel {});
    EXPECT_EQ (bare.metadataOverrides.at ({}).tracks.front(), (TrackInfo { 1, 1, "", "OTHER", "", false }));

    const auto odd = readText (temp, R"({"batchIndex":"12", "version":null, "video":7, "mixer":5, "nameOverrides":[3,
        {"familyKey":"f","names":"x"}], "takes":[4, {"host":"a.wav","score":"2.5","guests":{},"omittedHost":["3",4.9]},
        {"guests":[{"method":"Waveform","offsetSamples":3000000000,"needsManual":"true"}, {"method":"manual"}]}]})");
    EXPECT_EQ (odd.batchIndex, 12);
    EXPECT_EQ (odd.takes.size(), 3u);
    EXPECT_EQ (odd.takes[1].host.file, juce::File()) << "not looked for in the folder that the program runs in";
    EXPECT_EQ (odd.takes[1].score, 2.5f);
    EXPECT_THAT (odd.takes[1].omittedHost, testing::ElementsAre (3, 4));
    EXPECT_EQ (odd.takes[2].guests[0].alignment.method, Alignment::Method::none);
    EXPECT_EQ (odd.takes[2].guests[0].alignment.offsetSamples, 3000000000);
    EXPECT_TRUE (odd.takes[2].guests[0].alignment.needsManual);
    EXPECT_EQ (odd.takes[2].guests[1].alignment.method, Alignment::Method::manual);
    EXPECT_TRUE (odd.nameOverrides.at ("f").empty());

    for (const auto* number : { "1e300",
                                "-1e300",
                                "99999999999999999999999",
                                "-99999999999999999999999",
                                "99999999999999999999999.25e-3",
                                "\"99999999999999999999999\"",
                                "\"nan\"",
                                "\"inf\"",
                                "1e999",
                                "[]",
                                "{}",
                                "true" })
        readText (temp,
                  juce::String (R"({"version":#,"batchIndex":#,"video":{"timestampSamples":#},"mixer":[{"gainDb":#,
                      "automation":[{"sample":#,"gainDb":#}]}],"takes":[{"score":#,"omittedHost":[#],"guests":[{
                      "offsetSamples":#,"confidence":#,"driftSlope":#,"needsManual":#}]}]})")
                      .replace ("#", number));

    const auto most = readText (temp, R"({"takes":[{"guests":[{"offsetSamples":99999999999999999999}]}]})");
    EXPECT_GT (most.takes[0].guests[0].alignment.offsetSamples, 9000000000000000000) << "at the limit of its field";

    const auto real = readText (temp, R"({"takes":[{"score":12345678901234567890123.5e-20}]})");
    EXPECT_FLOAT_EQ (real.takes[0].score, 123.456789f);
}

TEST (SessionDocument, RefusesWhatIsNoneWithASentence)
{
    const TempFolder temp;
    const auto deep = juce::String::repeatedString ("[", 100000);
    const juce::String notJson = "Session file is not valid JSON.", noTakes = "Session has no takes.";

    for (const auto& text : { juce::String(),
                              juce::String ("[]"),
                              juce::String ("7"),
                              juce::String ("{\"takes\":"),
                              deep,
                              "{\"takes\":" + deep,
                              juce::String (R"({"takes":["\ud800"]})") })
        EXPECT_EQ (readText (temp, text, notJson).batchIndex, 77) << "untouched";

    EXPECT_EQ (readText (temp, "{}", noTakes).batchIndex, 0);
    readText (temp, R"({"takes":[]})", noTakes);
    readText (temp, R"({"takes":[{"reason":"[[[[ \" [[['{"}]})");

    SessionDocument doc;
    EXPECT_EQ (readSessionDocument (temp.file ("none"), doc).getErrorMessage(), "Session file not found.");
    EXPECT_EQ (readSessionDocument (temp.folder, doc).getErrorMessage(), "Session file not found.");
    const std::string latin = "{\"takes\":[{\"reason\":\"\xff\xfe\x80\"}]}";
    temp.file ("latin").replaceWithData (latin.data(), latin.size());
    EXPECT_NE (readSessionDocument (temp.file ("latin"), doc).getErrorMessage(), "Session file not found.");
}

TEST (SessionDocument, AFailedSaveLeavesTheEarlierDocument)
{
    const TempFolder temp;
    const auto doc = fullDocument (temp);
    const auto file = temp.file ("a.ldsession");
    ASSERT_TRUE (writeSessionDocument (file, doc).wasOk());
    const auto before = snapshotOf (temp.folder);

#if JUCE_LINUX || JUCE_MAC
    rlimit usual {};
    getrlimit (RLIMIT_FSIZE, &usual);
    auto low = usual;
    low.rlim_cur = 100;
    reportFileSizeLimitAsError();
    setrlimit (RLIMIT_FSIZE, &low);
    const auto result = writeSessionDocument (file, doc);
    setrlimit (RLIMIT_FSIZE, &usual);
    EXPECT_EQ (result.getErrorMessage(), "Could not write session file.");
#endif

    EXPECT_EQ (writeSessionDocument (temp.file ("none/a.ldsession"), doc).getErrorMessage(),
               "Could not write session file.");
    EXPECT_EQ (snapshotOf (temp.folder), before);
}

}    // namespace ld::test
