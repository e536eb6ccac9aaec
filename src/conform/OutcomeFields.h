#pragma once

#include "conform/ConformReport.h"

namespace ld
{

// What a run keeps of its verdicts for a later one that goes on: all that reports and tables are made of.

[[nodiscard]] juce::var describeOutcome (const TakeOutcome&);
[[nodiscard]] TakeOutcome readOutcome (const juce::var&);

[[nodiscard]] juce::var describePair (const ProvedPair&);
[[nodiscard]] ProvedPair readPair (const juce::var&);

}    // namespace ld
