#pragma once

#include "media/Records.h"

namespace ld
{

/** A stretch of a take's timeline on which one file of a guest is heard without a break and without a jump of its clock. */
struct GuestSpan
{
    GuestPiece piece;               // the file, and what it says of itself
    juce::int64 start = 0;          // poly samples from the take's start, 0 or more
    juce::int64 length = 0;         // poly samples, 1 or more
    juce::int64 sourceStart = 0;    // the first frame of the file that is heard, at the file's rate

    [[nodiscard]] juce::int64 end() const noexcept { return start + length; }
};

/** Where in a take a guest is heard: its stretches in the order of time, cut at the take's start and end. None overlaps
    the next; where files do, the later one counts. Every text and marker that says where a guest lies goes by this. */
[[nodiscard]] std::vector<GuestSpan> guestSpans (const HostTake&, const GuestClip&);

/** The name of a guest as the user knows it: of its first track, or its file. */
[[nodiscard]] juce::String guestName (const GuestClip&);

}    // namespace ld
