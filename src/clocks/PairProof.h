#pragma once

#include "clocks/JumpSearch.h"

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
    std::vector<LagTrack>
        tracks;    // the two channels that agree best first; then, where these are two microphones, more
    std::vector<juce::int64> centres;    // host samples in the middle of each window of a track
    int order = 17;                      // of the windows
    LineSearch search;
    std::optional<LagLine> line;    // the best there is, sure or not
    std::vector<double> cuts;       // guest samples at which its clock jumped; one for each jump of the line
    int windowsWithSound = 0;       // in both recordings
    double sharedSeconds = 0.0;     // by the rough place

    [[nodiscard]] bool isSure() const noexcept { return line && isSureLine (*line); }
};

/** How pairs are proved. */
struct ProofOptions
{
    int workers = 1;
    LagProgress progress;
    OnAudioRead onRead;
};

/** Measures lags in windows along the stretch that each pair has in common: first coarsely where the rough place is
    doubtful, then with all channels in a few windows, then with the best channels everywhere. Memory does not grow with
    the recordings. Throws std::bad_alloc. */
[[nodiscard]] std::vector<PairProof>
provePairs (const std::vector<LagSource>&, const std::vector<PairTask>&, const ProofOptions&);

/** A proof with the slope of its recorder's clock. */
struct KnownSlope
{
    PairProof* proof = nullptr;
    double slope = 0.0;
    bool isJumpy = false;    // another pair of the recorder has shown a jump
};

/** With the slope known, finds where the clocks jumped and fits the lines again. */
void findProofJumps (const std::vector<KnownSlope>&);

/** Fits a line without its jumps. */
void forgetJumps (PairProof&);

/** Fits the lines with their jumps, and with a slope of their own. */
void freeSlopes (const std::vector<KnownSlope>&);

/** With the slope known, finds where the clocks jumped, looks closer there and at the ends, and fits the lines again. */
void finishProofs (const std::vector<LagSource>&, const std::vector<KnownSlope>&, const ProofOptions&);

}    // namespace ld
