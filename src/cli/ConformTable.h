#pragma once

#include "conform/ConformReport.h"

namespace ld
{

/** The closing table: takes, guests, how each was placed, what was left out and why. Plain text, lines ended by "\n". */
[[nodiscard]] juce::String makeConformTable (const ConformOutcome&);

/** The same after a scan alone: what would be combined. */
[[nodiscard]] juce::String makeScanTable (const ConformOutcome&);

}    // namespace ld
