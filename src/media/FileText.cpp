#include "media/FileText.h"

#include <optional>
#include <string>

namespace ld
{
namespace
{

// How many bytes follow a first one, and what the first of them may be, so that no character is spelt longer than it must
// be and none lies among the surrogates or beyond the last (RFC 3629, section 4).
struct Utf8Lead
{
    size_t numFollowing = 0;
    juce::uint8 lowest = 0x80, highest = 0xBF;
};

std::optional<Utf8Lead> utf8Lead (juce::uint8 first) noexcept
{
    switch (first)
    {
        case 0xE0: return Utf8Lead { 2, 0xA0, 0xBF };
        case 0xED: return Utf8Lead { 2, 0x80, 0x9F };
        case 0xF0: return Utf8Lead { 3, 0x90, 0xBF };
        case 0xF4: return Utf8Lead { 3, 0x80, 0x8F };
        default: break;
    }

    if (first < 0x80)
        return Utf8Lead { 0 };

    if (first < 0xC2 || first > 0xF4)
        return {};

    return Utf8Lead { first < 0xE0 ? 1u : first < 0xF0 ? 2u : 3u };
}

// The bytes of the character that a text begins with; 0 where none does. The framework's own test does not look at the
// bytes that follow a first one, and takes much Latin-1 for UTF-8.
size_t lengthOfCharacter (std::string_view text) noexcept
{
    const auto lead = text.empty() ? std::nullopt : utf8Lead ((juce::uint8) text.front());

    if (! lead || lead->numFollowing >= text.size())
        return 0;

    for (size_t k = 1; k <= lead->numFollowing; ++k)
    {
        const auto next = (juce::uint8) text[k];
        const auto isFirst = k == 1;

        if (next < (isFirst ? lead->lowest : 0x80) || next > (isFirst ? lead->highest : 0xBF))
            return 0;
    }

    return 1 + lead->numFollowing;
}

// What a text is made of, read as UTF-8.
struct Utf8Content
{
    std::string characters;    // without the bytes that belong to none
    int numLong = 0;           // characters of several bytes
    int numFaults = 0;         // places where bytes were left out
};

// A byte that begins no character, and those behind it that only continue one.
size_t lengthOfFault (std::string_view text) noexcept
{
    size_t length = 1;

    while (length < text.size() && ((juce::uint8) text[length] & 0xC0) == 0x80)
        ++length;

    return length;
}

Utf8Content utf8Content (std::string_view text)
{
    Utf8Content content;

    while (! text.empty())
    {
        const auto length = lengthOfCharacter (text);
        content.characters += text.substr (0, length);
        content.numLong += length > 1 ? 1 : 0;
        content.numFaults += length == 0 ? 1 : 0;
        text.remove_prefix (length > 0 ? length : lengthOfFault (text));
    }

    return content;
}

}    // namespace

bool isUtf8 (std::string_view text)
{
    return utf8Content (text).numFaults == 0;
}

juce::String textFromBytes (std::string_view bytes)
{
    const auto text = bytes.substr (0, bytes.find ('\0'));
    const auto utf8 = utf8Content (text);

    // Latin-1 makes faults, and hardly ever a whole character of several bytes by chance.
    if (utf8.numFaults <= utf8.numLong)
        return juce::String::fromUTF8 (utf8.characters.data(), (int) utf8.characters.size());

    juce::MemoryOutputStream latin1;

    for (const auto byte : text)
        latin1 << juce::String::charToString ((juce::juce_wchar) (juce::uint8) byte);

    return latin1.toUTF8();
}

std::string_view withoutCutCharacter (std::string_view text)
{
    constexpr size_t longestCharacter = 4;

    for (size_t cut = 1; cut < longestCharacter && cut <= text.size(); ++cut)
    {
        const auto lead = utf8Lead ((juce::uint8) text[text.size() - cut]);

        if (lead && lead->numFollowing >= cut && isUtf8 (text.substr (0, text.size() - cut)))
            return text.substr (0, text.size() - cut);
    }

    return text;
}

}    // namespace ld
