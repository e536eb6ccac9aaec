#pragma once

#include <juce_core/juce_core.h>

#include <map>

namespace ld::test
{

/** The bytes of every file below a folder, hidden ones included, by their paths from it. */
[[nodiscard]] inline std::map<juce::String, juce::MemoryBlock> snapshotOf (const juce::File& folder)
{
    std::map<juce::String, juce::MemoryBlock> files;

    for (const auto& file : folder.findChildFiles (juce::File::findFiles, true))
        file.loadFileAsData (files[file.getRelativePathFrom (folder)]);

    return files;
}

}    // namespace ld::test
