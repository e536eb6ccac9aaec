#include "media/BextIxml.h"

#include "support/WaveBuilder.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

#include <numeric>

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

// Bytes of a payload, counted from 0 as EBU Tech 3285 lays them out.
std::string slice (const juce::MemoryBlock& block, size_t at, size_t count)
{
    return std::string (static_cast<const char*> (block.getData()), block.getSize()).substr (at, count);
}

BextChunk parsed (const juce::MemoryBlock& body)
{
    return parseBext (bytesOf (body));
}

BextChunk fullBext()
{
    BextChunk bext;
    bext.present = true;
    bext.description = "sSCENE=12";
    bext.originator = "Cart";
    bext.originatorReference = "REF1";
    bext.originationDate = "2024-01-31";
    bext.originationTime = "12:34:56";
    bext.timeReference = 0x0000000182736455;
    bext.version = 2;
    std::iota (bext.umid.begin(), bext.umid.end(), juce::uint8 { 1 });
    bext.loudnessValue = -2300;
    bext.loudnessRange = 700;
    bext.maxTruePeakLevel = -100;
    bext.maxMomentaryLoudness = -1500;
    bext.maxShortTermLoudness = 0x7FFF;
    bext.codingHistory = "A=PCM,F=48000\r\n";
    return bext;
}

TEST (Bext, IsWrittenAtTheStandardsOffsets)
{
    const auto body = serialiseBext (fullBext());

    ASSERT_EQ (body.getSize(), 602u + 15u);
    EXPECT_EQ (slice (body, 0, 256), "sSCENE=12" + std::string (247, '\0'));
    EXPECT_EQ (slice (body, 256, 32), "Cart" + std::string (28, '\0'));
    EXPECT_EQ (slice (body, 288, 32), "REF1" + std::string (28, '\0'));
    EXPECT_EQ (slice (body, 320, 18), "2024-01-3112:34:56");
    EXPECT_EQ (slice (body, 338, 8), std::string ("\x55\x64\x73\x82\x01\0\0\0", 8));
    EXPECT_EQ (slice (body, 346, 2), std::string ("\2\0", 2));
    EXPECT_EQ (slice (body, 348, 3), "\1\2\3");
    EXPECT_EQ (slice (body, 411, 1), "\x40");
    EXPECT_EQ (slice (body, 412, 10), std::string ("\x04\xF7\xBC\x02\x9C\xFF\x24\xFA\xFF\x7F", 10));
    EXPECT_EQ (slice (body, 422, 180), std::string (180, '\0'));
    EXPECT_EQ (slice (body, 602, 15), "A=PCM,F=48000\r\n");
}

TEST (Bext, ReadsBackWhatWasWritten)
{
    auto read = parsed (serialiseBext (fullBext()));
    read.sourceText.reset();
    EXPECT_EQ (read, fullBext());
}

TEST (Bext, GivesAFieldThatNobodyChangedBackByteForByte)
{
    const auto body =
        bextBody ({ .description = "sSCENE=12\r\nsTAKE=3\r\n", .originator = "Caf\xE9 ", .date = "2024" });
    auto bext = parsed (body);
    EXPECT_EQ (serialiseBext (bext), body);

    bext.originator = "Cart";
    EXPECT_EQ (slice (serialiseBext (bext), 256, 6), std::string ("Cart\0\0", 6));
}

TEST (Bext, CountsAsAbsentBelow602Bytes)
{
    const auto body = bextBody ({ .description = "A" });

    EXPECT_EQ (parseBext (bytesOf (body).substr (0, 601)), BextChunk());
    EXPECT_EQ (parseBext ({}), BextChunk());
    EXPECT_TRUE (parseBext (bytesOf (body)).present);
    EXPECT_TRUE (parseBext (bytesOf (body)).codingHistory.isEmpty());
}

TEST (Bext, TrimsItsTextFieldsAndDropsNoMoreThanWhatIsIncomplete)
{
    const struct
    {
        std::string stored, read;
    } cases[] = {
        { "  two words  ", "two words" },
        { std::string ("name\0  \0 ", 9), "name" },
        { std::string ("name\0rest", 9), "name" },
        { std::string (40, 'x'), std::string (32, 'x') },
        { "\r\nname\t", "name" },
        { "Caf\xE9", "Caf\xC3\xA9" },
        { "CAF\xC9 LATTE", "CAF\xC3\x89 LATTE" },    // as if a character of two bytes began
        { "\xE9t\xE9", "\xC3\xA9t\xC3\xA9" },
        { "\xC0\xBC", "\xC3\x80\xC2\xBC" },                // "<", spelt too long
        { "\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80" },    // half a surrogate pair
        { "\xE9\x9F\xB3 \xF0\x9F\x8E\xA4", "\xE9\x9F\xB3 \xF0\x9F\x8E\xA4" },
        { "\xE9\x9F", "\xC3\xA9\xC2\x9F" },
        { std::string (30, 'x') + "\xE9\x9F\xB3", std::string (30, 'x') },    // cut at the field's end
        { std::string (30, 'x') + "\xC3", std::string (30, 'x') },            // cut, and ended by a NUL
        { "\xE9 " + std::string (29, 'x') + "\xC3", "\xC3\xA9 " + std::string (29, 'x') + "\xC3\x83" },    // Latin-1
        { "k\xC3\xB6 \xF0\x9F\x8E Caf\xC3\xA9", "k\xC3\xB6  Caf\xC3\xA9" },
    };

    for (const auto& c : cases)
        EXPECT_EQ (parsed (bextBody ({ .originator = c.stored })).originator.toStdString(), c.read);
}

TEST (Bext, CutsAFieldThatIsTooLongWithoutANul)
{
    auto bext = fullBext();
    bext.originationTime = "12:34:56.789";
    bext.description = juce::String::repeatedString (juce::String::fromUTF8 ("\xE9\x9F\xB3"), 86);    // 258 bytes
    bext.originator = juce::String::repeatedString ("o", 33);
    const auto body = serialiseBext (bext);

    EXPECT_EQ (slice (body, 330, 8), "12:34:56");
    EXPECT_EQ (slice (body, 338, 1), "\x55");
    EXPECT_EQ (slice (body, 256, 33), std::string (32, 'o') + "R");
    EXPECT_EQ (slice (body, 252, 4), std::string ("\xE9\x9F\xB3\0", 4)) << "85 whole characters";
}

TEST (Bext, HasLoudnessFromVersion2On)
{
    const std::vector<int> loudness { -2300, 700, -100, -1500, -1800 };

    for (const auto version : { 0, 1 })
    {
        const auto old = parsed (bextBody ({ .version = version, .loudness = loudness }));
        EXPECT_EQ (old.loudnessValue, 0x7FFF);
        EXPECT_EQ (old.maxShortTermLoudness, 0x7FFF);
        EXPECT_EQ (slice (serialiseBext (old), 412, 10), std::string (10, '\0'));
    }

    const auto recent = parsed (bextBody ({ .version = 2, .loudness = loudness }));
    EXPECT_THAT (std::vector<int> ({ recent.loudnessValue,
                                     recent.loudnessRange,
                                     recent.maxTruePeakLevel,
                                     recent.maxMomentaryLoudness,
                                     recent.maxShortTermLoudness }),
                 ElementsAre (-2300, 700, -100, -1500, -1800));
}

TEST (Bext, EndsItsCodingHistoryWithALineFeed)
{
    const std::pair<const char*, std::string> cases[] = {
        { "", "" }, { "A=PCM", "A=PCM\r\n" }, { "A=PCM\n", "A=PCM\n" }, { "A=PCM\r", "A=PCM\r\r\n" }
    };

    for (const auto& [history, written] : cases)
    {
        BextChunk bext;
        bext.codingHistory = history;
        EXPECT_EQ (slice (serialiseBext (bext), 602, 99), written);
    }

    EXPECT_EQ (parsed (bextBody ({ .history = std::string ("A=PCM\r\n\0\0rest", 13) })).codingHistory, "A=PCM\r\n");
}

const char* const recorderText = R"(<?xml version="1.0" encoding="UTF-8"?>
<BWFXML>
  <IXML_VERSION>1.61</IXML_VERSION>
  <SCENE> 12A <!-- pickup --></SCENE>
  <MAKER><GAIN unit="dB">40</GAIN></MAKER>
  <TAKE>3</TAKE>
  <SPEED>
    <NOTE>kept</NOTE>
    <TIMECODE_RATE>30000/1001</TIMECODE_RATE>
    <TIMECODE_FLAG>DF</TIMECODE_FLAG>
    <FILE_SAMPLE_RATE>96000</FILE_SAMPLE_RATE>
    <AUDIO_BIT_DEPTH>16</AUDIO_BIT_DEPTH>
    <TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>1</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>
    <TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>4294967295</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>
    <TIMESTAMP_SAMPLE_RATE>47952.5</TIMESTAMP_SAMPLE_RATE>
  </SPEED>
  <TRACK_LIST>
    <TRACK_COUNT>9</TRACK_COUNT>
    <TRACK><CHANNEL_INDEX>5</CHANNEL_INDEX><INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>Boom &amp; co</NAME></TRACK>
    <TRACK><NAME>Lav</NAME><FUNCTION>MIX</FUNCTION><INTERLEAVE_INDEX>0</INTERLEAVE_INDEX></TRACK>
    <TRACK/>
  </TRACK_LIST>
  <FILE_SET><FAMILY_UID>F1</FAMILY_UID><FAMILY_NAME>Fam</FAMILY_NAME></FILE_SET>
  <FILE_UID>U1</FILE_UID>
</BWFXML>)";

TEST (Ixml, ReadsARecordersDocument)
{
    const auto ixml = parseIxml (recorderText);

    EXPECT_TRUE (ixml.present);
    EXPECT_EQ (ixml.rawXml, recorderText);
    EXPECT_EQ (ixml.scene, "12A");
    EXPECT_EQ (ixml.take, "3");
    EXPECT_EQ (ixml.project, "");
    EXPECT_EQ (ixml.fileUid, "U1");
    EXPECT_EQ (ixml.familyUid, "F1");
    EXPECT_EQ (ixml.familyName, "Fam");
    EXPECT_EQ (ixml.timecodeRate, "30000/1001");
    EXPECT_EQ (ixml.timecodeFlag, "DF");
    EXPECT_EQ (ixml.fileSampleRate, 96000.0);
    EXPECT_EQ (ixml.timestampSampleRate, 47952.5);
    EXPECT_EQ (ixml.timestampSamples, 0x1FFFFFFFFu);
    EXPECT_TRUE (ixml.hasTimestamp);
    EXPECT_EQ (ixml.audioBitDepth, 16);
    EXPECT_THAT (ixml.tracks,
                 ElementsAre (TrackInfo { 5, 2, "Boom & co", "OTHER", {}, true },
                              TrackInfo { 2, 2, "Lav", "MIX", {}, true },
                              TrackInfo { 3, 3, "", "OTHER", {}, true }));
}

TEST (Ixml, AMissingSpeedKeepsTheDefaultsAndAnEmptyOneDoesNot)
{
    const auto none = parseIxml ("<OTHER><SCENE>1</SCENE></OTHER>");
    const auto empty = parseIxml ("<BWFXML><SPEED/></BWFXML>");

    EXPECT_EQ (none.scene, "1") << "a root of another name is read";
    EXPECT_EQ (none.timecodeRate, "24/1");
    EXPECT_EQ (none.timestampSampleRate, 48000.0);
    EXPECT_EQ (empty.timecodeRate, "");
    EXPECT_EQ (empty.timestampSampleRate, 0.0);
    EXPECT_EQ (empty.audioBitDepth, 0);
    EXPECT_FALSE (empty.hasTimestamp);
}

TEST (Ixml, ADocumentFromNothingHasThisText)
{
    IxmlMetadata ixml;
    ixml.scene = "12 <A>";
    ixml.fileSampleRate = 47952.047952;
    ixml.timestampSamples = 0x1000002A0;

    EXPECT_EQ (serialiseIxml (ixml, { { 1, 1, "Boom", "", {}, true }, { 7, 2, "Lav", "", {}, false } }),
               R"(<?xml version="1.0" encoding="UTF-8"?>
<BWFXML>
  <IXML_VERSION>1.52</IXML_VERSION>
  <SCENE>12 &lt;A&gt;</SCENE>
  <SPEED>
    <TIMECODE_FLAG>NDF</TIMECODE_FLAG>
    <TIMECODE_RATE>24/1</TIMECODE_RATE>
    <FILE_SAMPLE_RATE>47952</FILE_SAMPLE_RATE>
    <AUDIO_BIT_DEPTH>24</AUDIO_BIT_DEPTH>
    <TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>1</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>
    <TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>672</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>
    <TIMESTAMP_SAMPLE_RATE>48000</TIMESTAMP_SAMPLE_RATE>
  </SPEED>
  <TRACK_LIST>
    <TRACK_COUNT>2</TRACK_COUNT>
    <TRACK>
      <CHANNEL_INDEX>1</CHANNEL_INDEX>
      <INTERLEAVE_INDEX>1</INTERLEAVE_INDEX>
      <NAME>Boom</NAME>
      <FUNCTION>OTHER</FUNCTION>
    </TRACK>
    <TRACK>
      <CHANNEL_INDEX>7</CHANNEL_INDEX>
      <INTERLEAVE_INDEX>2</INTERLEAVE_INDEX>
      <NAME>Lav</NAME>
      <FUNCTION>SINGLE</FUNCTION>
    </TRACK>
  </TRACK_LIST>
</BWFXML>
)");
}

TEST (Ixml, ARewriteKeepsWhatItDoesNotKnowInItsPlace)
{
    auto ixml = parseIxml (recorderText);
    ixml.scene = "13";
    ixml.project = "Film";
    const auto text = serialiseIxml (ixml, { { 1, 1, "Only", "OTHER", {}, true } });
    pugi::xml_document document;
    ASSERT_TRUE (document.load_string (text.toRawUTF8()));
    const auto root = document.child ("BWFXML");
    std::vector<std::string> names, speed;

    for (const auto child : root)
        names.emplace_back (child.name());

    for (const auto child : root.child ("SPEED"))
        speed.emplace_back (child.name());

    EXPECT_TRUE (text.startsWith ("<?xml version=\"1.0\"?>\n<BWFXML>\n  <IXML_VERSION>1.52<"));
    EXPECT_THAT (
        names,
        ElementsAre (
            "IXML_VERSION", "SCENE", "MAKER", "TAKE", "SPEED", "FILE_SET", "FILE_UID", "PROJECT", "TRACK_LIST"));
    EXPECT_EQ (speed.front(), "NOTE");
    EXPECT_EQ (speed.size(), 8u) << "no element of SPEED is doubled";
    EXPECT_STREQ (root.child ("SCENE").child_value(), "13");
    EXPECT_STREQ (root.child ("MAKER").child ("GAIN").attribute ("unit").value(), "dB");
    EXPECT_STREQ (root.child ("FILE_SET").child_value ("FAMILY_UID"), "F1");
    EXPECT_STREQ (root.child ("TRACK_LIST").child_value ("TRACK_COUNT"), "1");
    EXPECT_STREQ (root.child ("TRACK_LIST").child ("TRACK").child_value ("NAME"), "Only");
}

TEST (Ixml, AnEmptyFieldDoesNotEraseTheSourcesElement)
{
    auto ixml = parseIxml (recorderText);
    ixml.take.clear();

    EXPECT_EQ (parseIxml (serialiseIxml (ixml, {})).take, "3");
}

TEST (Ixml, AnotherRootIsStartedAnew)
{
    const auto text = serialiseIxml (parseIxml ("<OTHER><SCENE>1</SCENE><MAKER/></OTHER>"), {});

    EXPECT_EQ (parseIxml (text).scene, "1");
    EXPECT_FALSE (text.contains ("OTHER")) << "neither the root nor a track stands there";
    EXPECT_FALSE (text.contains ("MAKER"));
}

TEST (Ixml, ReadsBackWhatWasWritten)
{
    IxmlMetadata ixml;
    ixml.present = ixml.hasTimestamp = true;
    ixml.project = "P & Q";
    ixml.scene = juce::CharPointer_UTF8 ("Caf\xC3\xA9 \xF0\x9F\x8E\xAC");
    ixml.take = "1";
    ixml.tape = "T";
    ixml.note = "a \"note\"\nof two lines";
    ixml.fileUid = "U";
    ixml.originalFilename = "A.WAV";
    ixml.timecodeRate = "25/1";
    ixml.timecodeFlag = "DF";
    ixml.fileSampleRate = ixml.timestampSampleRate = 192000.0;
    ixml.audioBitDepth = 32;
    ixml.tracks = { { 1, 2, "Lav", "SINGLE", {}, true }, { 2, 1, "", "MIX", {}, true } };

    for (const juce::uint64 stamp : { 0ull, 0xFFFFFFFFull, 0x100000000ull, 0xFFFFFFFFFFull })
    {
        ixml.timestampSamples = stamp;
        auto read = parseIxml (serialiseIxml (ixml, ixml.tracks));
        read.rawXml.clear();
        EXPECT_EQ (read, ixml);
    }
}

TEST (Ixml, AReferenceToNoCharacterLeavesValidText)
{
    const auto source = "<BWFXML><SCENE>&#xD800;</SCENE><MAKER>&#xDFFF;&#x110000;&#xFFFFFFF;</MAKER><TAPE>"
                        + juce::String (juce::CharPointer_UTF8 ("Caf\xC3\xA9")) + "</TAPE></BWFXML>";
    const auto ixml = parseIxml (source);
    const auto isValid = [] (const juce::String& text) {
        return juce::CharPointer_UTF8::isValidString (text.toRawUTF8(), (int) text.getNumBytesAsUTF8());
    };
    const auto text = serialiseIxml (ixml, {});

    EXPECT_TRUE (isValid (ixml.scene));
    EXPECT_TRUE (isValid (text)) << "otherwise the next reader takes the whole text for Latin-1";
    EXPECT_EQ (parseIxml (textFromBytes (text.toRawUTF8())).tape, ixml.tape);
}

TEST (StartOfFile, IsTheIxmlStampElseThatOfBext)
{
    const struct
    {
        const char* what;
        bool ixml, stamped;
        juce::uint64 ixmlSamples;
        bool bext;
        juce::uint64 bextSamples;
        bool isStamped;
        juce::uint64 samples;
    } cases[] = {
        { "nothing", false, false, 0, false, 0, false, 0 },
        { "iXML wins", true, true, 5, true, 7, true, 5 },
        { "midnight in iXML wins", true, true, 0, true, 7, true, 0 },
        { "iXML without a stamp", true, false, 0, true, 7, true, 7 },
        { "a number without its element", true, false, 5, true, 7, true, 5 },
        { "absent iXML", false, true, 5, true, 7, true, 7 },
        { "0 in bext is no stamp", false, false, 0, true, 0, false, 0 },
        { "absent bext", false, false, 0, false, 7, false, 0 },
    };

    for (const auto& c : cases)
    {
        IxmlMetadata ixml;
        ixml.present = c.ixml;
        ixml.hasTimestamp = c.stamped;
        ixml.timestampSamples = c.ixmlSamples;
        BextChunk bext;
        bext.present = c.bext;
        bext.timeReference = c.bextSamples;
        EXPECT_EQ (hasAudioTimestamp (ixml, bext), c.isStamped) << c.what;
        EXPECT_EQ (timestampFromIxmlOrBext (ixml, bext), c.samples) << c.what;
    }
}

TEST (StartOfFile, CountsAtTheIxmlRateElseTheFilesOwn)
{
    const auto rateOf = [] (bool present, double ixmlRate, int fileRate) {
        IxmlMetadata ixml;
        ixml.present = present;
        ixml.timestampSampleRate = ixmlRate;
        AudioFormatInfo format;
        format.sampleRate = fileRate;
        return sampleRateForTimestamp (ixml, format);
    };

    EXPECT_EQ (rateOf (true, 47952.5, 44100), 47952.5);
    EXPECT_EQ (rateOf (true, 0.0, 44100), 44100.0);
    EXPECT_EQ (rateOf (true, -1.0, 44100), 44100.0);
    EXPECT_EQ (rateOf (false, 96000.0, 44100), 44100.0);
    EXPECT_EQ (rateOf (false, 96000.0, 0), 48000.0);
}

}    // namespace
}    // namespace ld::test
