#pragma once

#include <juce_core/juce_core.h>

namespace ld::test
{

/** What this process has in memory, in megabytes (10^6 bytes); 0 where the system does not tell as Linux does. */
[[nodiscard]] inline double residentMegabytes()
{
    constexpr double bytesOfPage = 4096.0;
    const auto pages = juce::StringArray::fromTokens (juce::File ("/proc/self/statm").loadFileAsString(), " ", {})[1];
    return pages.getDoubleValue() * bytesOfPage / 1e6;
}

}    // namespace ld::test
