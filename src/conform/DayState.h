#pragma once

#include "conform/ConformReport.h"
#include "conform/FileRecord.h"

namespace ld
{

/** What makes a day another day: its inputs, and what the outputs depend on besides. */
struct DayKey
{
    std::vector<FileRecord> inputs;    // without hashes
    juce::var options;                 // an object of what was asked for; program and version are added to it
};

/** A scan, as a run that goes on needs it. */
struct SavedScan
{
    SessionDocument document;
    std::vector<ProvedPair> comparisons;
};

/** A finished day. */
struct FinishedDay
{
    bool needsLook = false;
};

/** What a run into an output folder leaves for the next one: `conform.state` with the scan and each take that is whole, and
    last of all `conform.done.json`. Every file of it appears whole or not at all, so that a run can end at any moment. */
class DayState
{
public:
    DayState (const juce::File& outputFolder, DayKey);

    /** The day as it was finished, if it was, with the same inputs and options, and all its outputs are as they were left.
        asked   files that this run is to write besides: they must be there, too */
    [[nodiscard]] std::optional<FinishedDay> finished (const std::vector<juce::File>& asked) const;

    /** The scan of this day; nothing where there is none. */
    [[nodiscard]] std::optional<SavedScan> scan() const;

    /** Keeps a new scan; what was kept of another day goes. */
    [[nodiscard]] juce::Result keepScan (const SessionDocument&, const std::vector<ProvedPair>&) const;

    /** A take that was written whole and is still as it was left. */
    [[nodiscard]] std::optional<TakeOutcome> take (int index, const juce::File& output) const;

    /** files   all that was written of it */
    [[nodiscard]] juce::Result keepTake (int index, const TakeOutcome&, const std::vector<juce::File>& files) const;

    /** Says that the day is done. The last act of a run.
        hashes   of inputs, by full path, where they were made */
    [[nodiscard]] juce::Result finish (const ConformOutcome&,
                                       const std::map<juce::String, juce::String>& hashes,
                                       const std::vector<juce::File>& asked,
                                       bool needsLook) const;

private:
    [[nodiscard]] juce::File stateFile (const juce::String& name) const { return state.getChildFile (name); }
    [[nodiscard]] juce::File takeFile (int index) const;
    [[nodiscard]] std::vector<FileRecord> outputsOf (const ConformOutcome&) const;

    juce::File state, done;
    DayKey key;
};

}    // namespace ld
