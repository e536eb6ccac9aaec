#pragma once

#include "conform/TakePreparation.h"

#include <map>

namespace ld
{

/** Where the interchange files of a take go, and the combined file that they name. */
struct InterchangeTarget
{
    juce::File combinedFile;    // need not be there yet
    juce::File baseFile;        // the files are named like it, each with an extension of its own
};

/** Keeps in a take's outcome what its interchange files are made of; writes nothing. */
void noteInterchange (const ExportRequest&, const ReferencePicture&, const InterchangeTarget&, TakeOutcome&);

/** Writes the interchange files of a take that is ready, and keeps in its outcome what they are made of. */
[[nodiscard]] juce::Result
writeInterchange (const ExportRequest&, const ReferencePicture&, const InterchangeTarget&, TakeOutcome&);

/** What is known of the takes of a run, for a package of them all; moved out of their outcomes. */
[[nodiscard]] std::vector<InterchangeRequest> takeInterchange (std::vector<TakeOutcome>&);

/** Interchange files alone, of takes that were combined before or will be. */
struct InterchangeRun
{
    std::vector<BatchMatch> takes;
    std::vector<InterchangeTarget> targets;    // one for each take
    TakeEdits edits;
    juce::File dayFolder;    // for the package of all takes; none: only that of each take
};

/** A run over all takes into a folder, with names as a combine run into it gives them. A take whose combined file is not
    there, but where it was last combined to, refers to that.
    combined   by the full path of the poly */
[[nodiscard]] InterchangeRun
planInterchange (const SessionDocument&, const juce::File& folder, const std::map<juce::String, juce::File>& combined);

/** Of that run one take, under the name that it has there, and no package of all. */
[[nodiscard]] InterchangeRun onlyTake (InterchangeRun, int index);

struct InterchangeOutcome
{
    int written = 0, count = 0;    // takes
    int absent = 0;                // takes written whose combined file is not there
    juce::String error;            // the first
};

/** Prepares each take as a combine run does, which reads all its recordings, and writes the same interchange files. No wave
    file is written. */
[[nodiscard]] InterchangeOutcome runInterchange (const InterchangeRun&, const CombineProgress&);

/** What it came to, in one to three sentences. */
[[nodiscard]] juce::String interchangeSummary (const InterchangeOutcome&, const juce::File& folder);

}    // namespace ld
