#pragma once

#include <juce_core/juce_core.h>

#include <optional>
#include <vector>

namespace ld
{

/** One file of a hash list. */
struct HashedFile
{
    juce::String path;    // from the list's root, parts joined by "/"
    juce::int64 size = 0;
    juce::Time modified;
    juce::String xxh64;          // sixteen digits; empty where a list of another program has only others
    bool wasVerified = false;    // an earlier generation says the same; else it is seen for the first time like this
};

/** A list of the files of a folder with their hashes: a manifest as version 2.0 of the ASC's Media Hash List has it. */
struct HashList
{
    juce::Time made;
    juce::String rootPath;    // of a list that lies elsewhere: the folder that its paths count from; else empty
    std::vector<HashedFile> files;
    bool isOurs = true;    // made by this program
};

/** The list as XML (namespace urn:ASC:MHL:v2.0). Its root folder, where it has one, stands in its metadata. */
[[nodiscard]] juce::String makeHashList (const HashList&);

/** Reads a list, of this program or another; nothing where the text is none. Paths that leave the root are left out. */
[[nodiscard]] std::optional<HashList> parseHashList (const juce::String&);

/** What lists and checks pass over, by name: the lists' own folder, and what only helps this program or a system. */
[[nodiscard]] bool isIgnoredByLists (const juce::String& fileName);

/** Date and time as the lists write them, UTC: 2026-11-25T04:32:21+00:00. */
[[nodiscard]] juce::String listTime (juce::Time);

}    // namespace ld
