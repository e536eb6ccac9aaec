#pragma once

#include "manifest/HashList.h"

#include <functional>
#include <set>

namespace ld
{

/** Told the file that is read, and how much of the whole work is done, 0 to 1. */
using HashProgress = std::function<void (const juce::String& path, double fraction)>;

/** The files below a folder that lists tell of, sorted by path. */
[[nodiscard]] std::vector<juce::File> filesForList (const juce::File& folder);

/** What a folder's files are against what its hash lists say of them. Paths as a user knows them: from the folder, or, of sources
    that lie elsewhere, whole. */
struct FolderCheck
{
    juce::StringArray damaged, missing, added;
    juce::StringArray unchecked;    // without a hash of a kind that is known here
    int good = 0;
    bool hasLists = false;

    [[nodiscard]] bool isGood() const;
};

/** Reads every file of a folder and holds it against the folder's hash history, and the sources that its lists of sources
    name (SOURCES_*.mhl) against those. The lists themselves are checked by their chain. */
[[nodiscard]] FolderCheck checkFolder (const juce::File& folder, const HashProgress&);

}    // namespace ld
