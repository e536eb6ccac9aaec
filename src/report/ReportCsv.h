#pragma once

#include "report/SoundReport.h"

namespace ld
{

/** The takes as comma-separated values (RFC 4180), a row for each: scene, take, timecode in and out, length, tracks, notes,
    circled, file, guests, left out. It begins with a byte-order mark, which spreadsheets want. A text that a spreadsheet
    would take for a formula has an apostrophe ahead of it. */
[[nodiscard]] juce::String makeReportCsv (const SoundReport&);

}    // namespace ld
