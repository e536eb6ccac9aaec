#pragma once

#include "batch/FolderScan.h"
#include "batch/SourceAudio.h"

namespace ld
{

/** How a batch is compared; the verdicts do not depend on it. */
struct MatchOptions
{
    int workers = 0;              // 0: one fewer than the machine has processors
    double memoryBudget = 0.0;    // bytes for audio and what is made of it; 0: defaultMatchBudget
    OnAudioRead onRead;           // on the workers' threads

    // Clips are decoded into it, each once, however many steps of a scan share it.
    std::shared_ptr<ClipSounds> clips = std::make_shared<ClipSounds>();

    // Asked on the workers' threads; once it says no, the work ends early and what it gives is not to be used.
    std::function<bool()> isWanted = [] { return true; };
};

/** The verdict on one pair. */
struct PairVerdict
{
    juce::File poly;
    ScanFile guest;           // with its alignment
    bool accepted = false;    // the file stands among the poly's guests
};

struct MatchOutcome
{
    std::vector<BatchMatch> matches;         // one for each poly, in the order of the scans
    std::vector<PairVerdict> comparisons;    // every pair, poly by poly
};

/** Told on the workers' threads each time that a pair is finished; calls can arrive out of order. */
using MatchProgress = std::function<void (int done, int total)>;

/** A quarter of the machine's memory, at most 4 GiB. */
[[nodiscard]] double defaultMatchBudget();

/** Decides which files belong to which poly by comparing the sound of every pair that metadata allows. A file stays with
    every poly on which it scores within a fifth of its best, and, where it is anchored by timecode, with every poly on
    which it scores 5 or more. Confidences here are 20 times a correlation, the score of a search, or 0.35 for timecode
    alone. A file that cannot be read is a verdict, not an error. Blocks until all is done. */
[[nodiscard]] MatchOutcome
compareBatch (const std::vector<ScanFile>& scans, const MatchProgress&, const MatchOptions& = {});

/** The takes of compareBatch alone. No command reaches it: a scan's places are proved first (matchShoot). */
[[nodiscard]] std::vector<BatchMatch> matchBatchByWaveform (const std::vector<ScanFile>& scans, const MatchProgress&);

}    // namespace ld
