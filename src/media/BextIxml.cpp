#include "media/BextIxml.h"

#include "media/NumberText.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <sstream>

namespace ld
{
namespace
{

// Layout of the payload: EBU Tech 3285, version 2. Integers are little-endian.
constexpr size_t descriptionAt = 0, descriptionBytes = 256;
constexpr size_t originatorAt = 256, originatorBytes = 32;
constexpr size_t referenceAt = 288, referenceBytes = 32;
constexpr size_t dateAt = 320, dateBytes = 10;
constexpr size_t timeAt = 330, timeBytes = 8;
constexpr size_t timeReferenceAt = 338;
constexpr size_t versionAt = 346;
constexpr size_t umidAt = 348;
constexpr size_t loudnessAt = 412;
constexpr size_t historyAt = 602;

// Below this version the loudness fields are reserved bytes.
constexpr int firstVersionWithLoudness = 2;

// No metadata nests like this. Removing a subtree recurses once a level, so that the depth must be bounded.
constexpr int deepestXml = 256;

template <typename Chunk>
auto loudnessFields (Chunk& chunk)
{
    return std::array { &chunk.loudnessValue,
                        &chunk.loudnessRange,
                        &chunk.maxTruePeakLevel,
                        &chunk.maxMomentaryLoudness,
                        &chunk.maxShortTermLoudness };
}

juce::String textField (std::string_view field)
{
    // Some writers end even a full field with a NUL.
    const auto fullSize = field.size() - 1;
    const auto end = field.find_last_not_of (std::string_view ("\0 ", 2));
    const auto text = field.substr (0, end == std::string_view::npos ? 0 : end + 1);
    return textFromBytes (text.size() >= fullSize ? withoutCutCharacter (text) : text).trim();
}

// source   the field's bytes in the file that the text was read from; empty where there was none
void writeField (char* at, size_t size, const juce::String& text, std::string_view source)
{
    if (source.size() == size && textField (source) == text)
    {
        std::ranges::copy (source, at);
        return;
    }

    const auto* const bytes = text.toRawUTF8();
    auto count = std::min (size, text.getNumBytesAsUTF8());

    // A character is not cut apart: the next reader would take the whole field for Latin-1.
    while (count > 0 && (bytes[count] & 0xC0) == 0x80)
        --count;

    std::memcpy (at, bytes, count);
}

bool isTooDeep (const pugi::xml_document& document)
{
    auto depth = 0;

    for (auto node = document.first_child(); node;)
    {
        if (node.first_child())
        {
            if (++depth > deepestXml)
                return true;

            node = node.first_child();
            continue;
        }

        while (node && ! node.next_sibling())
        {
            node = node.parent();
            --depth;
        }

        node = node.next_sibling();
    }

    return false;
}

// False where the text is no well-formed document; what stands ahead of the fault is kept.
bool parseDocument (pugi::xml_document& document, const juce::String& text, unsigned options = pugi::parse_default)
{
    const auto parsed = document.load_buffer (text.toRawUTF8(), text.getNumBytesAsUTF8(), options, pugi::encoding_utf8);

    if (! isTooDeep (document))
        return parsed;

    document.reset();
    return false;
}

void readSpeed (pugi::xml_node speed, IxmlMetadata& ixml)
{
    ixml.timecodeFlag = childText (speed, "TIMECODE_FLAG");
    ixml.timecodeRate = childText (speed, "TIMECODE_RATE");
    ixml.fileSampleRate = realNumberIn (childText (speed, "FILE_SAMPLE_RATE"));
    ixml.timestampSampleRate = realNumberIn (childText (speed, "TIMESTAMP_SAMPLE_RATE"));
    ixml.audioBitDepth = childText (speed, "AUDIO_BIT_DEPTH").getIntValue();
    ixml.hasTimestamp =
        speed.child ("TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI") || speed.child ("TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO");

    const auto high = (juce::uint64) childText (speed, "TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI").getLargeIntValue();
    const auto low = (juce::uint64) childText (speed, "TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO").getLargeIntValue();
    ixml.timestampSamples = low | high << 32;
}

TrackInfo readTrack (pugi::xml_node node, int number)
{
    TrackInfo track;
    const auto numberOr = [number] (int stated) { return stated < 1 ? number : stated; };
    track.channelIndex = numberOr (childText (node, "CHANNEL_INDEX").getIntValue());
    track.interleaveIndex = numberOr (childText (node, "INTERLEAVE_INDEX").getIntValue());
    track.name = childText (node, "NAME");

    if (const auto function = childText (node, "FUNCTION"); function.isNotEmpty())
        track.function = function;

    return track;
}

juce::String orElse (const juce::String& text, const char* fallback)
{
    return text.isEmpty() ? juce::String (fallback) : text;
}

void writeSpeed (pugi::xml_node root, const IxmlMetadata& ixml)
{
    auto speed = root.child ("SPEED");

    if (! speed)
        speed = root.append_child ("SPEED");

    setChild (speed, "TIMECODE_FLAG", orElse (ixml.timecodeFlag, "NDF"));
    setChild (speed, "TIMECODE_RATE", orElse (ixml.timecodeRate, "24/1"));
    setChild (speed, "FILE_SAMPLE_RATE", juce::String (ixml.fileSampleRate));
    setChild (speed, "AUDIO_BIT_DEPTH", juce::String (ixml.audioBitDepth));
    setChild (speed, "TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI", juce::String (ixml.timestampSamples >> 32));
    setChild (speed, "TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO", juce::String (ixml.timestampSamples & 0xFFFFFFFFu));
    setChild (speed, "TIMESTAMP_SAMPLE_RATE", juce::String (ixml.timestampSampleRate));
}

void writeTrackList (pugi::xml_node root, const std::vector<TrackInfo>& tracks)
{
    while (root.remove_child ("TRACK_LIST"))
    {
    }

    auto list = root.append_child ("TRACK_LIST");
    setChild (list, "TRACK_COUNT", juce::String ((int) tracks.size()));

    for (const auto& track : tracks)
    {
        auto node = list.append_child ("TRACK");
        setChild (node, "CHANNEL_INDEX", juce::String (track.channelIndex));
        setChild (node, "INTERLEAVE_INDEX", juce::String (track.interleaveIndex));
        setChild (node, "NAME", track.name);
        setChild (node, "FUNCTION", orElse (track.function, track.isHost ? "OTHER" : "SINGLE"));
    }
}

// A reference to what is no character comes out of the parser as broken UTF-8, for which the next reader would take the
// whole text for Latin-1.
juce::String withoutBrokenCharacters (const std::string& text)
{
    constexpr juce::juce_wchar replacement = 0xFFFD;

    if (isUtf8 (text))
        return juce::String::fromUTF8 (text.c_str());

    juce::MemoryOutputStream repaired;

    for (juce::CharPointer_UTF8 at (text.c_str()); ! at.isEmpty();)
    {
        const auto character = at.getAndAdvance();
        const auto isSurrogate = character >= 0xD800 && character <= 0xDFFF;
        repaired << juce::String::charToString (isSurrogate || character > 0x10FFFF ? replacement : character);
    }

    return repaired.toUTF8();
}

juce::String textOf (const pugi::xml_document& document)
{
    std::ostringstream out;
    document.save (out, "  ", pugi::format_default, pugi::encoding_utf8);
    return withoutBrokenCharacters (out.str());
}

bool hasIxmlStamp (const IxmlMetadata& ixml) noexcept
{
    return ixml.present && (ixml.hasTimestamp || ixml.timestampSamples != 0);
}

}    // namespace

BextChunk parseBext (std::string_view bytes)
{
    BextChunk bext;

    if (bytes.size() < historyAt)
        return bext;

    const auto* const at = bytes.data();
    bext.present = true;
    bext.description = textField (bytes.substr (descriptionAt, descriptionBytes));
    bext.originator = textField (bytes.substr (originatorAt, originatorBytes));
    bext.originatorReference = textField (bytes.substr (referenceAt, referenceBytes));
    bext.originationDate = textField (bytes.substr (dateAt, dateBytes));
    bext.originationTime = textField (bytes.substr (timeAt, timeBytes));
    bext.timeReference = juce::ByteOrder::littleEndianInt64 (at + timeReferenceAt);
    bext.version = juce::ByteOrder::littleEndianShort (at + versionAt);
    std::memcpy (bext.umid.data(), at + umidAt, bext.umid.size());
    bext.sourceText.append (at, timeReferenceAt);

    if (bext.version >= firstVersionWithLoudness)
    {
        auto offset = loudnessAt;

        for (auto* field : loudnessFields (bext))
        {
            *field = (juce::int16) juce::ByteOrder::littleEndianShort (at + offset);
            offset += sizeof (juce::int16);
        }
    }

    bext.codingHistory = textFromBytes (bytes.substr (historyAt));
    return bext;
}

juce::MemoryBlock serialiseBext (const BextChunk& bext)
{
    auto history = bext.codingHistory;

    if (history.isNotEmpty() && ! history.endsWithChar ('\n'))
        history += "\r\n";

    juce::MemoryBlock block (historyAt + history.getNumBytesAsUTF8(), true);
    auto* at = static_cast<char*> (block.getData());
    const auto store = [at] (size_t offset, auto value) {
        const auto littleEndian = juce::ByteOrder::swapIfBigEndian (value);
        std::memcpy (at + offset, &littleEndian, sizeof (value));
    };

    const auto source = bytesOf (bext.sourceText);
    const auto storeText = [&] (size_t offset, size_t size, const juce::String& text) {
        writeField (at + offset, size, text, source.empty() ? source : source.substr (offset, size));
    };

    storeText (descriptionAt, descriptionBytes, bext.description);
    storeText (originatorAt, originatorBytes, bext.originator);
    storeText (referenceAt, referenceBytes, bext.originatorReference);
    storeText (dateAt, dateBytes, bext.originationDate);
    storeText (timeAt, timeBytes, bext.originationTime);
    store (timeReferenceAt, bext.timeReference);
    store (versionAt, bext.version);
    std::memcpy (at + umidAt, bext.umid.data(), bext.umid.size());

    if (bext.version >= firstVersionWithLoudness)
    {
        auto offset = loudnessAt;

        for (const auto* field : loudnessFields (bext))
        {
            store (offset, (juce::uint16) *field);
            offset += sizeof (juce::uint16);
        }
    }

    std::memcpy (at + historyAt, history.toRawUTF8(), history.getNumBytesAsUTF8());
    return block;
}

juce::String childText (pugi::xml_node parent, const char* name)
{
    // A character reference can name what is no character: the parser's text is not always valid UTF-8.
    return textFromBytes (parent.child (name).child_value()).trim();
}

void setChild (pugi::xml_node parent, const char* name, const juce::String& text)
{
    auto child = parent.child (name);

    if (! child)
        child = parent.append_child (name);

    child.remove_children();
    child.append_child (pugi::node_pcdata).set_value (text.toRawUTF8());
}

IxmlMetadata parseIxml (const juce::String& text)
{
    IxmlMetadata ixml;
    pugi::xml_document document;

    if (text.isEmpty() || ! parseDocument (document, text))
        return ixml;

    const auto bwfxml = document.child ("BWFXML");
    const auto root = bwfxml ? bwfxml : document.document_element();

    if (! root)
        return ixml;

    ixml.present = true;
    ixml.rawXml = text;
    ixml.project = childText (root, "PROJECT");
    ixml.scene = childText (root, "SCENE");
    ixml.take = childText (root, "TAKE");
    ixml.tape = childText (root, "TAPE");
    ixml.note = childText (root, "NOTE");
    ixml.fileUid = childText (root, "FILE_UID");
    ixml.originalFilename = childText (root, "ORIGINAL_FILENAME");

    if (const auto speed = root.child ("SPEED"))
        readSpeed (speed, ixml);

    if (const auto fileSet = root.child ("FILE_SET"))
    {
        ixml.familyUid = childText (fileSet, "FAMILY_UID");
        ixml.familyName = childText (fileSet, "FAMILY_NAME");
    }

    for (const auto node : root.child ("TRACK_LIST").children ("TRACK"))
        ixml.tracks.push_back (readTrack (node, (int) ixml.tracks.size() + 1));

    return ixml;
}

juce::String serialiseIxml (const IxmlMetadata& ixml, const std::vector<TrackInfo>& tracks)
{
    pugi::xml_document document;

    if (ixml.rawXml.isNotEmpty())
        parseDocument (document, ixml.rawXml);

    auto root = document.child ("BWFXML");

    if (! root)
    {
        document.reset();
        auto declaration = document.append_child (pugi::node_declaration);
        declaration.append_attribute ("version") = "1.0";
        declaration.append_attribute ("encoding") = "UTF-8";
        root = document.append_child ("BWFXML");
    }

    setChild (root, "IXML_VERSION", "1.52");

    const std::pair<const char*, const juce::String&> optionalFields[] = {
        { "PROJECT", ixml.project },
        { "SCENE", ixml.scene },
        { "TAKE", ixml.take },
        { "TAPE", ixml.tape },
        { "NOTE", ixml.note },
        { "FILE_UID", ixml.fileUid },
        { "ORIGINAL_FILENAME", ixml.originalFilename },
    };

    for (const auto& [name, text] : optionalFields)
        if (text.isNotEmpty())
            setChild (root, name, text);

    writeSpeed (root, ixml);
    writeTrackList (root, tracks);

    return textOf (document);
}

juce::String editIxml (const juce::String& text, const std::function<void (pugi::xml_node)>& edit)
{
    pugi::xml_document document;

    if (! parseDocument (document, text, pugi::parse_default | pugi::parse_declaration))
        return text;

    edit (document.document_element());
    return textOf (document);
}

juce::uint64 timestampFromIxmlOrBext (const IxmlMetadata& ixml, const BextChunk& bext) noexcept
{
    if (hasIxmlStamp (ixml))
        return ixml.timestampSamples;

    return bext.present ? bext.timeReference : 0;
}

bool hasAudioTimestamp (const IxmlMetadata& ixml, const BextChunk& bext) noexcept
{
    return hasIxmlStamp (ixml) || (bext.present && bext.timeReference != 0);
}

double sampleRateForTimestamp (const IxmlMetadata& ixml, const AudioFormatInfo& format) noexcept
{
    // The comparison with a bound also passes over a stated rate of infinity.
    if (ixml.present && ixml.timestampSampleRate > 0.0 && std::isfinite (ixml.timestampSampleRate))
        return ixml.timestampSampleRate;

    return format.sampleRate >= 1 ? (double) format.sampleRate : 48000.0;
}

juce::String timecodeAt (const HostTake& host, juce::int64 sample)
{
    constexpr double secondsOfDay = 86400.0;
    const auto stampRate = sampleRateForTimestamp (host.ixml, host.format);
    const auto behind = std::llround (stampRate * (double) sample / std::max (host.format.sampleRate, 1));
    auto at = (juce::int64) timestampFromIxmlOrBext (host.ixml, host.bext) + behind;

    if (at < 0)
        at = std::max<juce::int64> (at + std::llround (secondsOfDay * stampRate), 0);

    return formatTimecode ((juce::uint64) at, stampRate, host.ixml.timecodeRate, host.ixml.timecodeFlag);
}

}    // namespace ld
