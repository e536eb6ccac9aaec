#pragma once

#include "conform/RunTable.h"

namespace ld
{

/** The closing table as a terminal shows it. Plain text, lines ended by "\n". */
[[nodiscard]] juce::String textOfTable (const RunTable&);

}    // namespace ld
