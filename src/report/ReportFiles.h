#pragma once

#include "report/SoundReport.h"

namespace ld
{

/** Writes the page, and beside it the rows with the extension ".csv"; made by the same name. The first that fails ends it;
    an earlier file is then as it was. */
[[nodiscard]] juce::Result writeSoundReport (const SoundReport&, const juce::File& page);

}    // namespace ld
