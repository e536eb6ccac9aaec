#pragma once

#include "cli/ConformJob.h"
#include "conform/DayState.h"

namespace ld
{

/** What makes this run's day: its input files as they are now, and the options that its outputs depend on. */
[[nodiscard]] DayKey dayKeyOf (const ConformOptions&, const std::vector<juce::File>& inputs);

/** The files that a run is to write beside its takes. */
[[nodiscard]] std::vector<juce::File> askedFilesOf (const ConformOptions&);

/** What lets a run go on where an earlier one was ended.
    failed   told the sentence of a take that could not be noted */
[[nodiscard]] TakeMemory
memoryOf (const DayState&, const ConformOptions&, std::function<void (const juce::String&)> failed);

/** Whether a user has something to decide: a recording was left out in doubt, or belongs to no take. */
[[nodiscard]] bool needsLook (const ConformOutcome&);

/** Whether a file could not be read, or a take not be written whole. */
[[nodiscard]] bool hasFailed (const ConformOutcome&);

}    // namespace ld
