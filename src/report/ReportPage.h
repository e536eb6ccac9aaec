#pragma once

#include "report/SoundReport.h"

namespace ld
{

/** The sound report as one HTML page that needs nothing beside it: no script, no font, no picture from elsewhere. Printed, it
    makes A4 pages, on which no take is torn apart. All text that comes from files is escaped. */
[[nodiscard]] juce::String makeReportPage (const SoundReport&);

/** HH:MM:SS of a length. */
[[nodiscard]] juce::String lengthText (double seconds);

}    // namespace ld
