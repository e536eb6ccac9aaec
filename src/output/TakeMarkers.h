#pragma once

#include "output/BwfWriter.h"

#include <span>

namespace ld
{

/** A place in a combined file that whoever edits it should know of. */
struct TakeMarker
{
    juce::int64 position = 0;    // samples from the take's start
    juce::String text;

    bool operator== (const TakeMarker&) const = default;
};

/** Where guests begin, stop, go on and end inside the take, in the order of time; empty where the request wants none.
    A guest that is there from the first sample on, or to the last, needs no marker for it. */
[[nodiscard]] std::vector<TakeMarker> listMarkers (const ExportRequest&);

/** The bodies of a `cue ` chunk with these markers, numbered from 1, and of the `LIST` chunk `adtl` with their names.
    A place beyond the 32 bits of the format is left out of both. */
[[nodiscard]] juce::MemoryBlock makeCueBody (std::span<const TakeMarker>);
[[nodiscard]] juce::MemoryBlock makeLabelBody (std::span<const TakeMarker>);

/** Whether a poly brings markers of its own. A file holds one `cue ` chunk; the poly's goes along unchanged. */
[[nodiscard]] bool hasOwnMarkers (const HostTake&);

}    // namespace ld
