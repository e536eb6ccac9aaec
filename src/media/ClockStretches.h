#pragma once

#include "media/Records.h"

namespace ld
{

/** The same place, moved along the host. */
[[nodiscard]] Alignment movedBy (Alignment, juce::int64 deltaSamples);

/** The stretches of one file of a clip where they lie on the host now: its own place, moved along with the clip. A file
    whose place was never proved is one stretch.
    clip   place of the clip that the piece belongs to */
[[nodiscard]] std::vector<ClockStretch> stretchesOnHost (const Alignment& clip, const GuestPiece&);

/** The alignment of one file of a clip where it lies on the host now, as it is to be saved for the file alone. */
[[nodiscard]] Alignment placeOnHost (const Alignment& clip, const GuestPiece&);

/** A stretch with its length. */
struct StretchSpan
{
    juce::int64 fromSample = 0, numSamples = 0;    // of the file, at its own rate
    juce::int64 hostStart = 0, hostLength = 0;     // where it lies on the host
    double ratio = 1.0;                            // samples of the file per sample of the host
};

/** Where the stretches of a file lie on a host, each up to the next; those without a sample are left out.
    fileRate, hostRate   Hz */
[[nodiscard]] std::vector<StretchSpan>
spansOf (const std::vector<ClockStretch>&, juce::int64 numFrames, double fileRate, double hostRate);

}    // namespace ld
