#pragma once

#include "clocks/ShootMatch.h"
#include "conform/CombineRun.h"

namespace ld
{

/** What a whole run came to. */
struct ConformOutcome
{
    std::vector<TakeOutcome> takes;
    std::vector<ProvedPair> comparisons {};     // every pair that was judged, poly by poly
    std::vector<RecorderClock> recorders {};    // whose clocks are known
    std::vector<juce::File> unreadable;         // media files that could not be opened, by the scan or by a take
    std::vector<juce::File> unmatched;          // files that found a place in no take

    /** Full paths of the polys and of every file that is in a combined file. */
    [[nodiscard]] std::set<juce::String> placedFiles() const;

    [[nodiscard]] int written() const;
    [[nodiscard]] int rejected() const;       // the takes' rejected guests together; unreadable files do not count
    [[nodiscard]] bool isComplete() const;    // everything was read, matched to a poly and written
};

/** A take as a scan left it: matched, and nothing written. */
[[nodiscard]] TakeOutcome outcomeOfScan (const BatchMatch&);

/** A whole batch as a scan left it. */
[[nodiscard]] ConformOutcome outcomeOfScan (const std::vector<BatchMatch>&);

/** A batch as the user's work has it.
    combined   by the full path of the poly: where takes were last combined to; only what is still there counts */
[[nodiscard]] ConformOutcome outcomeOfWork (const SessionDocument&, const std::map<juce::String, juce::File>& combined);

/** The files of a batch's takes, each once: the scans of a run that starts from a session. */
[[nodiscard]] std::vector<ScanFile> filesOfTakes (const std::vector<BatchMatch>&);

/** Fills unreadable and unmatched from the scans that the run began with. */
void accountForFiles (ConformOutcome&, const std::vector<ScanFile>& scans);

/** The report as JSON; people archive it, so its keys are stable. */
[[nodiscard]] juce::String makeConformReport (const ConformOutcome&);

/** Writes the report; false where that fails, and an earlier file is then as it was. */
[[nodiscard]] bool writeConformReport (const ConformOutcome&, const juce::File&);

}    // namespace ld
