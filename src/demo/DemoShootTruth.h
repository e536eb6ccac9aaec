#pragma once

#include "demo/DemoShootPlan.h"

namespace ld
{

/** What truth.json says of a file; see DemoShoot.h.
    hostStart   the poly's first frame, in samples of the scene */
[[nodiscard]] juce::var describePiece (const Recording&, const PlannedFile&, double hostStart);

[[nodiscard]] juce::var describeGuest (const Recording&, const juce::Array<juce::var>& pieces, const LagSpan&);

[[nodiscard]] juce::var describeTake (const Recording& poly, const juce::Array<juce::var>& guests);

}    // namespace ld
