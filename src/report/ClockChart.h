#pragma once

#include "report/SoundReport.h"

namespace ld
{

/** A recorder's clock as a plot of its timecode's error over the day: what its files show, and the line through them for
    each setting of its clock. Of a recorder without timecode the drift alone, from its first file on. Empty where it is
    not known when its files ran. */
[[nodiscard]] juce::String drawClock (const ReportClock&);

/** The clock in a sentence: drift, settings, how many files prove it. */
[[nodiscard]] juce::String clockSentence (const RecorderClock&);

}    // namespace ld
