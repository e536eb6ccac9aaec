#include "media/NumberText.h"

#include <algorithm>
#include <string_view>

namespace ld
{
namespace
{

constexpr size_t mostExponentDigits = 5;    // many more than a real number can use

// How much of a text is left when the exponent of its first number is cut to that many digits, leading zeros aside.
size_t lengthWithShortExponent (std::string_view text)
{
    const auto mark = std::min (text.find_first_of ("eE"), text.size());
    const auto digits = text.find_first_not_of ("eE+-0", mark);

    if (digits == std::string_view::npos)
        return text.size();

    const auto end = std::min (text.find_first_not_of ("0123456789", digits), text.size());
    return end - digits > mostExponentDigits ? digits + mostExponentDigits : text.size();
}

}    // namespace

double realNumberIn (const juce::String& text)
{
    const auto* const bytes = text.toRawUTF8();
    const auto length = lengthWithShortExponent ({ bytes, text.getNumBytesAsUTF8() });
    return juce::String::fromUTF8 (bytes, (int) length).getDoubleValue();
}

}    // namespace ld
