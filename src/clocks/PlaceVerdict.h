#pragma once

#include "clocks/ShootTable.h"

namespace ld
{

/** What is left of a pair's verdict: its final alignment, and whether the file stands among the poly's guests. */
struct PlaceVerdict
{
    Alignment alignment;
    bool accepted = false;
};

/** Words the verdict on a pair once all clocks are known. */
[[nodiscard]] PlaceVerdict judgePair (const DayTable&, const DayPair&);

/** The stretches of a file whose lags lie on a line: where a clock has dropped samples there is a gap, and what it has
    repeated is passed over.
    fileRate    Hz, of the file; the line's samples are the host's
    cuts        guest samples where the line's stretches end */
[[nodiscard]] std::vector<ClockStretch>
stretchesOf (const LagLine&, const std::vector<double>& cuts, double slope, double hostRate, double fileRate);

/** "on one line in 41 of 44 windows, -15.4 ppm, 2 drops". */
[[nodiscard]] juce::String describeLine (const LagLine&, double slope);

}    // namespace ld
