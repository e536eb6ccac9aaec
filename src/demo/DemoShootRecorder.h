#pragma once

#include "demo/DemoShootPlan.h"

namespace ld
{

/** Plays a scene once and writes what every machine in it records. */
[[nodiscard]] juce::Result recordScene (const juce::File& shootFolder, const PlannedScene&);

}    // namespace ld
