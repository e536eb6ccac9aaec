#pragma once

#include "batch/FolderScan.h"
#include "media/ClipSounds.h"

namespace ld
{

/** A file whose audio is compared, at a rate. */
struct MatchSource
{
    juce::File file;
    int rate = 1;                            // Hz, of the polys that want it
    int channels = 0;                        // 0 if the file could not be opened
    juce::int64 length = 0;                  // samples at that rate
    bool hasChannels = false;                // it is a poly: its channels are compared one by one, too
    std::shared_ptr<ClipSounds> clips {};    // where the decoded sound of clips is kept

    [[nodiscard]] bool isUsable() const noexcept;
};

/** How a pair is compared. */
enum class MatchRoute
{
    settled,     // by what the headers say: no audio is needed
    timecode,    // within the stretch that both share by their timestamps
    whole        // all of the one with all of the other
};

/** One poly and one file that may belong to it. */
struct MatchPair
{
    size_t poly = 0, guest = 0;                // indices of the match and of its guest
    size_t hostSource = 0, guestSource = 0;    // indices of the sources
    MatchRoute route = MatchRoute::settled;
    TcOverlap overlap;

    // The shared stretch: samples at the poly's rate. Only for the route by timecode.
    juce::int64 hostStart = 0, guestStart = 0, length = 0;
};

struct MatchTables
{
    std::vector<BatchMatch> matches;     // as metadata alone gives them
    std::vector<MatchSource> sources;    // each file once for each rate
    std::vector<MatchPair> pairs;        // poly by poly, in the order of its guests
};

/** Lists pairs and sources. Opens no file: the sources' sizes and the pairs' routes are not known yet. */
[[nodiscard]] MatchTables listPairs (std::vector<BatchMatch> matches);

/** True where the timestamps of a pair's files say that they were recorded at other hours. */
[[nodiscard]] bool isDifferentTimeOfDay (const MatchTables&, const MatchPair&);

/** Chooses a pair's route once the sizes of its sources are known. */
void chooseRoute (const MatchTables&, MatchPair&);

/** What stays in memory of a source while pairs with it are compared. */
struct ResidentNeeds
{
    bool mono = false, channels = false;    // audio at the source's rate
    bool coefficients = false;              // of the mixdown and, of a poly, of each channel

    /** Bytes, with all that is made of it while pairs are compared. */
    [[nodiscard]] double bytesFor (const MatchSource&) const;
};

/** Sources that lie in memory together, and the pairs that are compared then. */
struct MatchRound
{
    std::vector<size_t> sources;    // indices, ascending
    std::vector<size_t> pairs;      // indices, ascending
};

struct MatchPlan
{
    std::vector<ResidentNeeds> needs;    // for each source
    std::vector<MatchRound> rounds;      // every pair that needs audio stands in one
    juce::int64 longestStretch = 0;      // samples: a shorter stretch of a file may be read into memory whole
};

/** Divides the work so that what lies in memory at one time stays within a budget; the results do not depend on it.
    Below what the largest single pair needs it is exceeded.
    budgetBytes   for audio and all that is computed from it
    workers       pairs that are compared at a time */
[[nodiscard]] MatchPlan planRounds (const MatchTables&, double budgetBytes, int workers);

}    // namespace ld
