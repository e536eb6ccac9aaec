#pragma once

#include "clocks/LagLine.h"

namespace ld
{

/** A pair whose place is to be proved on its sound. */
struct PairTask
{
    size_t host = 0, guest = 0;    // indices of sources; the guest's source has the host's rate
    juce::int64 roughLag = 0;
    double doubtSeconds = 0.5;    // how far off that may be
};

/** What the sound says along the whole stretch that a pair shares. */
struct PairProof
{
    PairTask task;
    int hostChannel = 0, guestChannel = 0;    // the pair of channels that agrees best
    std::vector<LagWindow> windows;           // of these two, in order of time
    LineSearch search;                        // with which the line was fitted
    std::optional<LagLine> line;              // the best there is, sure or not
    std::vector<double> cuts;                 // guest samples where the line's stretches end; one fewer than these
    int windowsWithSound = 0;                 // in both recordings
    double sharedSeconds = 0.0;               // by the rough place

    [[nodiscard]] bool isSure() const noexcept { return line && isSureLine (*line); }
};

/** Told how many of the windows of a step are measured. */
using ProofProgress = std::function<void (int done, int total)>;

/** How pairs are proved. */
struct ProofOptions
{
    int workers = 1;
    ProofProgress progress;
    OnAudioRead onRead;
};

/** Measures lags in windows along the stretch that each pair has in common, first coarsely where the rough place is
    doubtful, then with all channels in a few windows, then with the best two channels everywhere, and closer where the
    line jumps. Memory does not grow with the recordings. Throws std::bad_alloc. */
[[nodiscard]] std::vector<PairProof>
provePairs (const std::vector<LagSource>&, const std::vector<PairTask>&, const ProofOptions&);

/** Fits the line anew where the slope is known better than the pair alone tells. */
void refitLine (PairProof&, double slope);

}    // namespace ld
