#pragma once

#include "manifest/HashList.h"

#include <map>

namespace ld
{

/** The history of a folder's hashes: the lists that lie in its folder `ascmhl`, one for each generation, and their chain. */
struct HashHistory
{
    /** A generation that is as the chain says. */
    struct Generation
    {
        int number = 0;
        juce::String fileName;    // within the folder of the lists
        juce::String c4;          // of that file, as the chain has it
        HashList list;
    };

    std::vector<Generation> generations;
    juce::StringArray damaged, missing, unknown;    // lists that are not, or the chain itself: "ascmhl/<name>"
    bool exists = false;                            // there is a chain
};

/** Reads the history of a folder. */
[[nodiscard]] HashHistory readHistory (const juce::File& folder);

/** Every file that a history knows, by its path, as its latest generation has it. */
[[nodiscard]] std::map<juce::String, HashedFile> filesKnownTo (const HashHistory&);

/** Adds a generation, and to the chain what it says. A history with damaged lists gets none. */
[[nodiscard]] juce::Result addGeneration (const juce::File& folder, HashList);

/** The C4 identifier of bytes (SMPTE ST 2114): their SHA-512 in base 58, ninety letters. */
[[nodiscard]] juce::String c4Of (const juce::MemoryBlock&);

}    // namespace ld
