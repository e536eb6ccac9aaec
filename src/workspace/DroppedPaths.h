#pragma once

#include <juce_core/juce_core.h>

#include <vector>

namespace ld
{

/** What files or folders that the user dropped are, each kind in the order of the drop. */
struct DroppedPaths
{
    std::vector<juce::File> folders, audio, pictures, sessions;
};

/** Anything else is left out. */
[[nodiscard]] DroppedPaths sortDroppedPaths (const juce::StringArray& paths);

/** True if at least one of the paths is of a kind that is taken. */
[[nodiscard]] bool holdsAnythingToOpen (const juce::StringArray& paths);

}    // namespace ld
