#pragma once

#include "batch/BatchMatcher.h"
#include "clocks/RecorderClocks.h"

namespace ld
{

/** The verdict on a pair: what comparing the two gave, and what is left of it once its sound was followed along the whole
    stretch and held against the clocks of the day. */
struct ProvedPair
{
    juce::File poly;
    ScanFile guest;           // with its final alignment
    bool accepted = false;    // the file stands among the poly's guests
    Alignment first;          // of the comparison alone
    bool firstAccepted = false;
};

/** A shooting day whose places were proved. */
struct ShootMatch
{
    std::vector<BatchMatch> matches;         // one for each poly, in the order of the scans
    std::vector<ProvedPair> comparisons;     // every pair, poly by poly
    std::vector<RecorderClock> recorders;    // that have files in a take, by key
};

/** Told on the workers' threads what is being done, and how much of it is done. */
using ShootProgress = std::function<void (const juce::String& what, int done, int total)>;

/** Compares every file with every poly (compareBatch) and proves what that gives: each place is a line that the lags of
    windows along the whole stretch lie on, with the slope of its recorder's clock and a stretch of its own behind each jump
    of that clock; files whose sound says nothing go where their recorder's clock says; what contradicts the clocks is refused;
    files that the clocks expect in a take are looked for there. Blocks until all is done. */
[[nodiscard]] ShootMatch matchShoot (const std::vector<ScanFile>&, const ShootProgress&, const MatchOptions& = {});

/** The second half of it, for places that were found by other means.
    pairs   with the alignment that is to be proved, and whether it counts as accepted so far
    polys   one match for each poly, whose guests are ignored */
[[nodiscard]] ShootMatch proveMatches (const std::vector<BatchMatch>& polys,
                                       const std::vector<PairVerdict>& pairs,
                                       const ShootProgress&,
                                       const MatchOptions& = {});

}    // namespace ld
