#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/SpineLayout.h"

namespace ld
{

/** Fills the clip with a colour where no lane's ground will cover it: filling all of it first would take a fifth of the
    time that the timeline takes.
    lanesArea   where lanes are painted */
void fillAroundLanes (juce::Graphics&, juce::Colour, const std::vector<SpineLane>&, juce::Rectangle<int> lanesArea);

/** What lies below a lane's words and waves, all of it opaque.
    isDrawing   of fader lines */
void fillLaneGround (juce::Graphics&, const Palette&, const SpineLane&, bool isDrawing);

}    // namespace ld
