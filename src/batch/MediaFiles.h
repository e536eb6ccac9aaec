#pragma once

#include <juce_core/juce_core.h>

#include <vector>

namespace ld
{

/** The wave files and clips of a folder and the folders below it, links followed, sorted by full path; of a file just that file.
    A real file is listed once, however many links lead to it: by the path through the fewest folders; of several such
    by the shortest, and of equally long ones by the first in the alphabet. */
[[nodiscard]] std::vector<juce::File> collectMediaFiles (const juce::File& root);

/** The same of several roots, one behind the other; a real file that an earlier root has is not listed again. */
[[nodiscard]] std::vector<juce::File> collectMediaFiles (const std::vector<juce::File>& roots);

}    // namespace ld
