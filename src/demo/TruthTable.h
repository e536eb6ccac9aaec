#pragma once

#include "demo/TruthScore.h"

namespace ld
{

struct TimedScore
{
    TruthScore score;
    double seconds = 0.0;    // of the scan; 0: not known
};

/** The measures of some shoots together, as a table in Markdown. */
[[nodiscard]] juce::String describeScores (const juce::String& title, const std::vector<TimedScore>&);

/** A line for each lane and pair of a shoot that is not as it should be, and for each clock. */
[[nodiscard]] juce::String listMistakes (const TruthScore&);

}    // namespace ld
