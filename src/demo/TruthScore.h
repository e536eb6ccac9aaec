#pragma once

#include "demo/ConformReading.h"

#include <optional>

namespace ld
{

// Samples of the poly, 48 to a millisecond.
constexpr double rightWithinSamples = 48.0;
constexpr double closeWithinSamples = 12.0;

/** A loss or repeat of samples, as the places on both sides of it show. */
struct JumpMoment
{
    double seconds = 0.0;    // of the file
    double ms = 0.0;         // above 0: lost
};

/** What became of a file that belongs to a take. Errors are samples of the poly that the place lies later than the nearest path
    of the sound allows; below 0: earlier. */
struct LaneScore
{
    juce::File poly, file;
    juce::String source;
    bool isSilent = false;    // nothing could be heard of the take
    bool isPlaced = false;
    double seconds = 0.0;    // how long the file is
    double confidence = 0.0;
    double startError = 0.0, middleError = 0.0, endError = 0.0;    // of what it has in common with the poly
    std::vector<double> pointErrors;                               // every 10 s of that
    double toldPpm = 0.0;
    std::vector<JumpMoment> found, missed, invented;

    // Jumps within 5 s of the ends of what it has in common: too little sound to prove what lies beyond them.
    std::vector<JumpMoment> unprovable;
    double firstProvenError = 0.0, lastProvenError = 0.0;    // at the ends of what lies between those
    juce::String detail;

    [[nodiscard]] bool isRight() const noexcept;
    [[nodiscard]] bool isRightWherePossible() const noexcept;
};

/** A place in a take to which the file does not belong. */
struct WrongPair
{
    juce::File poly, file;
    bool isUnrelated = false;    // to any take
    double confidence = 0.0;
    juce::String detail;
};

/** What the places of a source's files say about its clock. */
struct ClockScore
{
    juce::String source;
    double truePpm = 0.0;
    std::optional<double> toldPpm;    // nothing of it was placed in its take
};

struct JudgedPlace
{
    double confidence = 0.0;
    bool isRight = false;
};

struct TruthScore
{
    juce::String kind;
    int seed = 0;
    std::vector<LaneScore> lanes;    // all pairs that belong together
    std::vector<WrongPair> wrongPairs;
    std::vector<ClockScore> clocks;       // of the sources that recorded any take
    std::vector<JudgedPlace> placed;      // every file in a take
    std::vector<JudgedPlace> compared;    // every pair that was judged
    int unrelatedPairs = 0;               // polys by files that belong to none
};

/** Compares a report with the truth; files are identified by their full paths. */
[[nodiscard]] TruthScore scoreReport (const ShootTruth&, const ToldShoot&);

/** By how much a lag lies outside the nearest path; below 0: it is too small. */
[[nodiscard]] double distanceFromPaths (double lag, const std::vector<LagRange>& paths) noexcept;

}    // namespace ld
