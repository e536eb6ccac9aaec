#pragma once

#include "report/SoundReport.h"

namespace ld
{

/** A picture of a page's width. */
struct ReportPicture
{
    juce::String caption;
    juce::String svg;
};

/** The day as timelines: takes along the clock, a row for each recorder, its files as blocks. Time in which no take ran is
    shortened. A long day is cut into pictures that can be read; takes without timecode come last, one after another. */
[[nodiscard]] std::vector<ReportPicture> drawDay (const SoundReport&);

}    // namespace ld
