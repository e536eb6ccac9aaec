#pragma once

#include "media/BwfReader.h"
#include "output/BwfWriter.h"

#include <span>

namespace ld
{

/** How much of an export is read, mixed and written at a time. */
constexpr juce::int64 blockFrames = 2048;

/** A guest's channels at the poly's rate: those of the request, or, where it has none, read from its one file. */
struct GuestLanes
{
    using Channels = std::vector<std::vector<float>>;

    const GuestClip* clip = nullptr;
    const Channels* channels = nullptr;
    Channels loaded;
    juce::int64 offset = 0;    // samples of the poly
};

/** The part of a block in which a guest channel sounds, in frames from the block's start. */
struct SoundingPart
{
    juce::int64 begin, end;
};

/** local   the guest's sample at the start of the block; may be negative
    count   frames of the block */
[[nodiscard]] SoundingPart soundingPart (const std::vector<float>& channel, juce::int64 local, juce::int64 count);

/** What an export reads, open: the poly, and its guests in the order of the request. */
struct ExportSources
{
    BwfReader host;
    std::vector<GuestLanes> guests;

    /** Failed: the sentence why an incomplete export is refused. The request must stay. */
    [[nodiscard]] juce::Result open (const ExportRequest&);

    /** Interleaved, on the 24-bit scale. What the header promises past the end of the file is silence; false for a read
        that fails within it. */
    [[nodiscard]] bool readHost (juce::int64 start, juce::int64 count, std::span<juce::int32> block) const;
};

}    // namespace ld
