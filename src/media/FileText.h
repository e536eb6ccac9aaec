#pragma once

#include <juce_core/juce_core.h>

#include <string_view>

namespace ld
{

/** The bytes of a chunk's body or a part of it. */
[[nodiscard]] inline std::string_view bytesOf (const juce::MemoryBlock& block)
{
    return { static_cast<const char*> (block.getData()), block.getSize() };
}

/** Whether bytes are whole characters of UTF-8 from the first to the last. */
[[nodiscard]] bool isUtf8 (std::string_view);

/** Text from a file's bytes, up to the first NUL. It is UTF-8, without the bytes that belong to no whole character, if it
    has at least as many characters of several bytes as such faults; otherwise Latin-1, so that a recorder's own code page
    never yields a broken string. */
[[nodiscard]] juce::String textFromBytes (std::string_view);

/** A text without the character that its last bytes only begin, if all ahead of them is UTF-8: for a field of fixed size. */
[[nodiscard]] std::string_view withoutCutCharacter (std::string_view);

}    // namespace ld
