#pragma once

#include <juce_core/juce_core.h>

#include <filesystem>

namespace ld
{

/** False for a folder, for nothing, and for a pipe or a device that is only named like a recording: opening one of those
    could block for ever. */
[[nodiscard]] inline bool isRegularFile (const juce::File& file)
{
    std::error_code ignored;
    const auto* path = reinterpret_cast<const char8_t*> (file.getFullPathName().toRawUTF8());
    return std::filesystem::is_regular_file (path, ignored);
}

}    // namespace ld
