#pragma once

#include "conform/TakePreparation.h"

#include <set>

namespace ld
{

/** Names the files of one run, so that two takes never share one: polys in different folders often have the same name.
    A file that an earlier run left is replaced. */
class OutputNames
{
public:
    explicit OutputNames (juce::File folder);

    /** COMBINED_<poly's stem>.wav, or with _2, _3 ... behind the stem where this run has used the name already. */
    [[nodiscard]] juce::File nameFor (const juce::File& poly);

private:
    juce::File folder;
    std::set<juce::String> taken;
};

/** Combines one take: prepares it and writes the file. A write that fails with guests is tried once more without them.
    Interchange files that cannot be written are an error of the take, whose file stays. */
[[nodiscard]] TakeOutcome
combineTake (const BatchMatch&, const TakeEdits&, const juce::File& output, const SyncProgress&);

/** How loud the MIX of a take would be, all done as combineTake does it, but nothing is written: the outcome has no output.
    Its error says why there is no level. */
[[nodiscard]] TakeOutcome measureTakeMix (const BatchMatch&, const TakeEdits&, const SyncProgress& progress);

/** What is known of takes from run to run. */
struct TakeMemory
{
    /** A take that an earlier run has written to this file, and that is still as it was; nothing of any other. */
    std::function<std::optional<TakeOutcome> (int index, const juce::File& output)> known =
        [] (int, const juce::File&) { return std::nullopt; };

    /** Told of each take that was gone through. */
    std::function<void (int index, const TakeOutcome&)> done = [] (int, const TakeOutcome&) {};
};

/** Combines takes one after another into a folder, under names of which no two are the same. One that is known already is
    not written again; where there are interchange files of a whole day to be made, it is read again for them. */
[[nodiscard]] std::vector<TakeOutcome> combineTakes (const std::vector<BatchMatch>&,
                                                     const TakeEdits&,
                                                     const juce::File& folder,
                                                     const CombineProgress&,
                                                     const TakeMemory& = {});

/** What a run came to, in one to three sentences.
    count      takes
    rejected   guests, over all takes */
[[nodiscard]] juce::String combineSummary (int written, int count, int rejected);

}    // namespace ld
