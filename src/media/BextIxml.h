#pragma once

#include "media/FileText.h"
#include "media/Records.h"
#include "media/Timecode.h"

#include <algorithm>
#include <functional>
#include <optional>

namespace pugi
{
class xml_node;
}

namespace ld
{

/** Reads a `bext` payload; fewer than 602 bytes count as no chunk. A field that is full and ends inside a character is
    read without it. */
[[nodiscard]] BextChunk parseBext (std::string_view);

/** The payload of a `bext` chunk, 602 bytes and the coding history, which is ended with CR LF. A text field that still
    says what it did in its source goes back byte for byte, line ends and other code pages included. Fields that are too
    long are cut at the field's size, or ahead of the character that crosses it. The length may be odd: padding is the
    writer's matter. */
[[nodiscard]] juce::MemoryBlock serialiseBext (const BextChunk&);

/** Reads the text of an `iXML` chunk; text that is no XML, or nested deeper than any metadata, gives a default record. */
[[nodiscard]] IxmlMetadata parseIxml (const juce::String& text);

/** The text of an `iXML` chunk: the kept source document with the record's fields replaced and TRACK_LIST rebuilt from
    the given tracks. Elements unknown here stay in place; a document whose root is not BWFXML is started anew. */
[[nodiscard]] juce::String serialiseIxml (const IxmlMetadata&, const std::vector<TrackInfo>&);

/** The text of an `iXML` chunk as edit leaves it, laid out as serialiseIxml lays it out.
    edit   is given the root; text that is no XML comes back as it was */
[[nodiscard]] juce::String editIxml (const juce::String& text, const std::function<void (pugi::xml_node)>& edit);

/** The first text of a child element, trimmed; empty if there is none. */
[[nodiscard]] juce::String childText (pugi::xml_node parent, const char* name);

/** Finds or appends the child element and makes this text its only content. */
void setChild (pugi::xml_node parent, const char* name, const juce::String& text);

// When did this file start? An iXML stamp wins, a stamp of midnight included; a `bext` stamp of 0 is none, as many
// recorders leave that field empty. Stamps are samples since midnight at the rate of sampleRateForTimestamp, Hz.
[[nodiscard]] juce::uint64 timestampFromIxmlOrBext (const IxmlMetadata&, const BextChunk&) noexcept;
[[nodiscard]] bool hasAudioTimestamp (const IxmlMetadata&, const BextChunk&) noexcept;
[[nodiscard]] double sampleRateForTimestamp (const IxmlMetadata&, const AudioFormatInfo&) noexcept;

/** Where the stamps of two recordings place the second on the first: samples at the first one's rate, negative where it
    starts earlier. None unless both are stamped.
    First, Second   records with a format, a bext and an ixml */
template <typename First, typename Second>
[[nodiscard]] std::optional<juce::int64> offsetByStamps (const First& first, const Second& second)
{
    if (! hasAudioTimestamp (first.ixml, first.bext) || ! hasAudioTimestamp (second.ixml, second.bext))
        return {};

    return timecodeOffsetSamples (timestampFromIxmlOrBext (first.ixml, first.bext),
                                  sampleRateForTimestamp (first.ixml, first.format),
                                  timestampFromIxmlOrBext (second.ixml, second.bext),
                                  sampleRateForTimestamp (second.ixml, second.format),
                                  std::max (first.format.sampleRate, 1));
}

/** The timecode of a place in a take, by its own clock: a stamp counts at a rate of its own, which differs from the audio's on
    pulled recordings. Ahead of midnight it is that of the evening before.
    sample   from the take's start; may be negative */
[[nodiscard]] juce::String timecodeAt (const HostTake&, juce::int64 sample);

}    // namespace ld
