#pragma once

#include "media/Records.h"

namespace pugi
{
class xml_node;
}

namespace ld
{

/** Text from a file's bytes, up to the first NUL: UTF-8 where it is valid UTF-8, otherwise Latin-1, so that a
    recorder's own code page never yields a broken string. */
[[nodiscard]] juce::String textFromBytes (const void* bytes, size_t size);

/** Reads a `bext` payload; a null pointer or fewer than 602 bytes counts as no chunk. */
[[nodiscard]] BextChunk parseBext (const void* bytes, size_t size);

/** The payload of a `bext` chunk, 602 bytes and the coding history, which is ended with CR LF. Fields that are too
    long are cut at the field's size, or ahead of the character that crosses it. The length may be odd: padding is the
    writer's matter. */
[[nodiscard]] juce::MemoryBlock serialiseBext (const BextChunk&);

/** Reads the text of an `iXML` chunk; text that is no XML, or nested deeper than any metadata, gives a default record. */
[[nodiscard]] IxmlMetadata parseIxml (const juce::String& text);

/** The text of an `iXML` chunk: the kept source document with the record's fields replaced and TRACK_LIST rebuilt from
    the given tracks. Elements unknown here stay in place; a document whose root is not BWFXML is started anew. */
[[nodiscard]] juce::String serialiseIxml (const IxmlMetadata&, const std::vector<TrackInfo>&);

/** The first text of a child element, trimmed; empty if there is none. */
[[nodiscard]] juce::String childText (pugi::xml_node parent, const char* name);

/** Finds or appends the child element and makes this text its only content. */
void setChild (pugi::xml_node parent, const char* name, const juce::String& text);

// When did this file start? An iXML stamp wins, a stamp of midnight included; a `bext` stamp of 0 is none, as many
// recorders leave that field empty. Stamps are samples since midnight at the rate of sampleRateForTimestamp, Hz.
[[nodiscard]] juce::uint64 timestampFromIxmlOrBext (const IxmlMetadata&, const BextChunk&) noexcept;
[[nodiscard]] bool hasAudioTimestamp (const IxmlMetadata&, const BextChunk&) noexcept;
[[nodiscard]] double sampleRateForTimestamp (const IxmlMetadata&, const AudioFormatInfo&) noexcept;

}    // namespace ld
