#pragma once

#include "conform/ConformReport.h"
#include "manifest/FolderCheck.h"

namespace ld
{

/** Writes the hash lists of a run that made hashes: of its sources into SOURCES_<folder>.mhl in the output folder, and of all
    files that lie in the output folder as a new generation of the history there. What a hash is known of is not read again.
    roots   folders that the sources lie in; those that lie in none get the folder that they share */
[[nodiscard]] juce::Result
writeManifests (const ConformOutcome&, const std::vector<juce::File>& roots, const juce::File& outputFolder);

/** The hashes of the files of a run's takes, by full path; empty where a file's was not made. */
[[nodiscard]] std::map<juce::String, juce::String> sourceHashes (const ConformOutcome&);

}    // namespace ld
