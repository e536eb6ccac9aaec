#pragma once

#include "work/WorkHistory.h"

namespace ld
{

/** Every file of the work that is not there today, polys and picture included, each once. */
[[nodiscard]] std::vector<juce::File> missingFilesOf (const SessionDocument&);

/** Where missing files were found. */
struct FoundFiles
{
    std::vector<std::pair<juce::File, juce::File>> moved;    // from the path in the work to the new one
    int ambiguous = 0;    // missing files for which two or more of equal right were found; they stay missing
};

/** Looks in a folder and everything below it for the files that are missing: of the same name, and of the length, rate,
    channels and stamp that the work has noted, where it has. Reads headers; may take long. */
[[nodiscard]] FoundFiles findMissingFiles (const SessionDocument&, const juce::File& folder);

/** The work with files where they are now: places, names, notes and levels are kept. */
[[nodiscard]] WorkEdit relocateFiles (const SessionDocument&, const FoundFiles&);

}    // namespace ld
