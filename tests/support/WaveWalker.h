#pragma once

#include <juce_core/juce_core.h>

#include <optional>
#include <string>
#include <vector>

namespace ld::test
{

/** What stands in a written wave file, and everything that is wrong with it. */
struct WaveWalk
{
    struct Chunk
    {
        std::string id;
        juce::int64 bodyAt = 0, size = 0;    // the true size, by `ds64` where the header refers to it
    };

    std::vector<Chunk> chunks;              // in file order
    std::vector<std::string> complaints;    // one sentence for each fault; empty for a sound file
    juce::int64 numFrames = 0;
    int channels = 0;

    [[nodiscard]] const Chunk* find (const std::string& id) const;
};

/** Walks a wave file with no help from the code under test, and only by headers, so that files beyond 4 GB are cheap.
    It holds a file to what a writer owes, and is stricter than any reader: true sizes, zero pad bytes, `ds64` first in
    RF64 with the true sizes and nothing odd ahead of `data`, whole frames, an iXML track list that fits the channels. */
[[nodiscard]] WaveWalk walkWave (const juce::File&);

/** The body of a chunk of a walked file. */
[[nodiscard]] std::string readBody (const juce::File&, const WaveWalk::Chunk&);

}    // namespace ld::test
