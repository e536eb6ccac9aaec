#pragma once

#include <juce_core/juce_core.h>

namespace ld
{

/** The real number that a text begins with, 0 where it begins with none; a point is a point in every language. As the
    framework reads it, but for an exponent of many digits, whose own range the framework does not look at: such a number
    is 0 or infinite. */
[[nodiscard]] double realNumberIn (const juce::String&);

}    // namespace ld
