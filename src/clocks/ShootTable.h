#pragma once

#include "batch/BatchMatcher.h"
#include "clocks/DayClock.h"
#include "clocks/PairProof.h"
#include "clocks/RecorderClocks.h"

namespace ld
{

/** A recording of the day, with its times by the polys' clock. */
struct DayFile
{
    ScanFile scan;
    std::optional<double> stampSeconds;    // of the day, by its own timecode
    double seconds = 0.0;                  // it lasts
    size_t recorder = 0;                   // index of its recorder's clock; of a poly, none
};

/** One poly and one file that may belong to it. */
struct DayPair
{
    size_t poly = 0, file = 0;    // indices of the table's polys and files
    size_t hostSource = 0, guestSource = 0;
    Alignment first;    // of the comparison alone
    bool firstAccepted = false;
    std::optional<PairProof> proof;     // the surest so far
    std::vector<juce::int64> looked;    // rough lags at which it was looked for
    juce::String refusal;               // why it cannot be, although its sound lies on a line

    [[nodiscard]] bool isProved() const noexcept { return proof && proof->isSure() && refusal.isEmpty(); }
};

/** All that is known of a day while its places are proved. */
struct DayTable
{
    std::vector<DayFile> polys, files;
    std::vector<DayPair> pairs;
    std::vector<LagSource> sources;
    std::vector<RecorderClock> recorders;
    DayClock day;

    [[nodiscard]] const LagSource& hostOf (const DayPair& pair) const { return sources[pair.hostSource]; }
    [[nodiscard]] double rateOf (const DayPair& pair) const { return hostOf (pair).rate; }

    /** How far the file begins behind its poly by both stamps, s; nothing where one has none. A day or a half more counts
        as nothing: no shoot lasts that long. */
    [[nodiscard]] std::optional<double> stampLag (const DayPair&) const;

    /** The time of day at which a lag at a guest sample lies; nothing where the poly has no stamp. */
    [[nodiscard]] std::optional<double> timeAt (const DayPair&, double guestSample, double lag) const;
};

[[nodiscard]] DayTable
makeDayTable (const std::vector<BatchMatch>& polys, const std::vector<PairVerdict>&, const MatchOptions&);

/** What a proof says about its recorder's clock. */
[[nodiscard]] ClockReading readClock (const DayTable&, const DayPair&);

/** Tells the recorders apart, with all that the proofs so far say of their clocks. */
void learnClocks (DayTable&);

/** The lag that the clocks expect for a pair in the middle of what the two share; nothing where they know nothing. */
struct ExpectedPlace
{
    double lag = 0.0;    // samples, in the middle of the shared stretch
    double sharedSeconds = 0.0;
    double doubtSeconds = 0.0;
    double ambiguousSeconds = 0.0;    // by which it may lie elsewhere, as the timecode was re-jammed about then
    bool isByFile = false;            // by the same file's place in another take, not by its recorder's timecode
};
[[nodiscard]] std::optional<ExpectedPlace> expectedPlace (const DayTable&, const DayPair&);

/** Where a file would begin on its poly if it were the next part, or the one before, of a recording that was split: its
    neighbour by the names of its recorder's files is proved there. For files without a stamp, which may be too short to be
    found by themselves. Host samples; nothing where no neighbour is proved, or the two would not meet the poly. */
[[nodiscard]] std::optional<double> continuedLag (const DayTable&, const DayPair&);

}    // namespace ld
