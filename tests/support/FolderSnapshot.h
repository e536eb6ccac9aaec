#pragma once

#include <juce_core/juce_core.h>

#include <map>
#include <string_view>
#include <vector>

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

/** The same as figures, for files that are too large to be held twice. */
[[nodiscard]] inline std::map<juce::String, size_t> digestsOf (const juce::File& folder)
{
    std::map<juce::String, size_t> digests;
    std::vector<char> block (1 << 20);

    for (const auto& file : folder.findChildFiles (juce::File::findFiles, true))
    {
        auto& digest = digests[file.getRelativePathFrom (folder)];
        juce::FileInputStream stream (file);

        for (int count = 0; (count = stream.read (block.data(), (int) block.size())) > 0;)
            digest = digest * 31 + std::hash<std::string_view>() ({ block.data(), (size_t) count });
    }

    return digests;
}

}    // namespace ld::test
