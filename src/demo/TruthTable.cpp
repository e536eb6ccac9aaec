#include "demo/TruthTable.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ld
{
namespace
{

juce::String shareOf (int part, int whole)
{
    const auto text = juce::String (part) + " of " + juce::String (whole);
    return whole == 0 ? text : text + " (" + juce::String (100.0 * part / whole, 1) + " %)";
}

juce::String rounded (double value)
{
    return juce::String (value, 1);
}

/** All that is counted, over any number of shoots. */
struct Totals
{
    int lanes = 0, silentLanes = 0, placed = 0, silentPlaced = 0, right = 0, silentRight = 0;
    int rightWherePossible = 0;
    std::vector<double> points, clockErrors;
    int found = 0, missed = 0, invented = 0, unprovable = 0;
    int wrongPairs = 0, unrelatedPlaced = 0, unrelatedPairs = 0, unknownClocks = 0;
    int music = 0, musicPlaced = 0, musicRight = 0;
    std::vector<JudgedPlace> judged, compared;
    double seconds = 0.0;
};

void addLane (const LaneScore& lane, bool isMusic, Totals& totals)
{
    ++(lane.isSilent ? totals.silentLanes : totals.lanes);
    totals.music += isMusic ? 1 : 0;

    if (! lane.isPlaced)
        return;

    ++(lane.isSilent ? totals.silentPlaced : totals.placed);
    (lane.isSilent ? totals.silentRight : totals.right) += lane.isRight() ? 1 : 0;
    totals.musicPlaced += isMusic ? 1 : 0;
    totals.musicRight += isMusic && lane.isRight() ? 1 : 0;
    totals.invented += (int) lane.invented.size();

    if (lane.isSilent)
        return;

    totals.rightWherePossible += lane.isRightWherePossible() ? 1 : 0;
    totals.found += (int) lane.found.size();
    totals.missed += (int) lane.missed.size();
    totals.unprovable += (int) lane.unprovable.size();
    totals.points.insert (totals.points.end(), lane.pointErrors.begin(), lane.pointErrors.end());
}

Totals totalsOf (const std::vector<TimedScore>& scores)
{
    Totals totals;

    for (const auto& [score, seconds] : scores)
    {
        for (const auto& lane : score.lanes)
            addLane (lane, score.kind == "music", totals);

        for (const auto& clock : score.clocks)
            if (clock.toldPpm)
                totals.clockErrors.push_back (std::abs (*clock.toldPpm - clock.truePpm));
            else
                ++totals.unknownClocks;

        for (const auto& pair : score.wrongPairs)
            totals.unrelatedPlaced += pair.isUnrelated ? 1 : 0;

        totals.wrongPairs += (int) score.wrongPairs.size();
        totals.unrelatedPairs += score.unrelatedPairs;
        totals.judged.insert (totals.judged.end(), score.placed.begin(), score.placed.end());
        totals.compared.insert (totals.compared.end(), score.compared.begin(), score.compared.end());
        totals.seconds += seconds;
    }

    return totals;
}

int countWithin (const std::vector<double>& errors, double samples)
{
    return (int) std::count_if (errors.begin(), errors.end(), [samples] (double e) { return std::abs (e) <= samples; });
}

double worstOf (const std::vector<double>& errors)
{
    return std::accumulate (
        errors.begin(), errors.end(), 0.0, [] (double worst, double e) { return std::max (worst, std::abs (e)); });
}

double medianOf (std::vector<double> values)
{
    const auto middle = values.begin() + (std::ptrdiff_t) (values.size() / 2);
    std::nth_element (values.begin(), middle, values.end());
    return *middle;
}

// Deciles of a share from 0 to 1; what lies above is a score of another kind.
juce::String describeCalibration (const std::vector<JudgedPlace>& placed, const std::vector<JudgedPlace>& compared)
{
    constexpr auto deciles = 10;
    const auto decileOf = [] (const JudgedPlace& place) {
        return place.confidence > 1.0 ? deciles : std::clamp ((int) (place.confidence * deciles), 0, deciles - 1);
    };
    const auto countIn = [&] (const std::vector<JudgedPlace>& places, int decile) {
        auto all = 0, right = 0;

        for (const auto& place : places)
            if (decileOf (place) == decile)
            {
                ++all;
                right += place.isRight ? 1 : 0;
            }

        return all == 0 ? juce::String ("none") : shareOf (right, all) + " right";
    };
    juce::String text;

    for (int decile = 0; decile <= deciles; ++decile)
    {
        const auto inTakes = countIn (placed, decile), judged = countIn (compared, decile);
        const auto range = decile == deciles ? juce::String ("above 1")
                                             : rounded (0.1 * decile) + " to " + rounded (0.1 * (decile + 1));

        if (inTakes != "none" || judged != "none")
            text << "| confidence " << range << ": in takes; compared | " << inTakes << "; " << judged << " |\n";
    }

    return text;
}

juce::String fixedWidth (const juce::String& text, int width)
{
    return text.paddedRight (' ', width);
}

juce::String pairNames (const juce::File& poly, const juce::File& file)
{
    return fixedWidth (poly.getFileName(), 14) + " " + fixedWidth (file.getFileName(), 16);
}

juce::String describeJump (const JumpMoment& jump)
{
    return rounded (jump.seconds) + " s " + juce::String (jump.ms, 2) + " ms";
}

juce::String listJumps (const char* what, const std::vector<JumpMoment>& jumps)
{
    juce::String text;

    for (const auto& jump : jumps)
        text << "; " << what << " jump at " << describeJump (jump);

    return text;
}

bool isWorthALine (const LaneScore& lane)
{
    return ! lane.isRight() || worstOf (lane.pointErrors) > rightWithinSamples || ! lane.missed.empty()
           || ! lane.invented.empty();
}

juce::String listLane (const LaneScore& lane, double truePpm)
{
    juce::String text;
    const auto verdict = ! lane.isPlaced  ? (lane.isSilent ? "silent, left out" : "REFUSED")
                         : lane.isRight() ? "points off"
                                          : "WRONG PLACE";
    text << fixedWidth (verdict, 17) << pairNames (lane.poly, lane.file) << " " << fixedWidth (lane.source, 12)
         << (lane.isSilent && lane.isPlaced ? " (silent)" : "");

    if (lane.isPlaced)
        text << " start " << rounded (lane.startError) << ", middle " << rounded (lane.middleError) << ", end "
             << rounded (lane.endError) << " samples; ppm " << juce::String (truePpm, 2) << " true, "
             << juce::String (lane.toldPpm, 2) << " told; confidence " << juce::String (lane.confidence, 3)
             << listJumps ("missed", lane.missed) << listJumps ("invented", lane.invented)
             << listJumps ("unprovable", lane.unprovable);

    return text + "; " + lane.detail + "\n";
}

}    // namespace

juce::String describeScores (const juce::String& title, const std::vector<TimedScore>& scores)
{
    const auto totals = totalsOf (scores);
    const auto numPoints = (int) totals.points.size();
    juce::String text;
    const auto row = [&text] (const juce::String& name, const juce::String& value) {
        text << "| " << name << " | " << value << " |\n";
    };
    text << "### " << title << "\n\n| measure | value |\n|---|---|\n";
    row ("lanes within 48 samples of a sound path at start, middle and end, of those placed",
         shareOf (totals.right, totals.placed));
    row ("the same, of all with sound", shareOf (totals.right, totals.lanes));
    row ("the same, ends taken inside of jumps within 5 s of them", shareOf (totals.rightWherePossible, totals.lanes));
    row ("points every 10 s within 48 samples", shareOf (countWithin (totals.points, rightWithinSamples), numPoints));
    row ("points within 12 samples", shareOf (countWithin (totals.points, closeWithinSamples), numPoints));
    row ("worst point", rounded (worstOf (totals.points)) + " samples");
    row ("error of a recorder's clock",
         totals.clockErrors.empty() ? juce::String ("none told")
                                    : "median " + juce::String (medianOf (totals.clockErrors), 2) + " ppm, worst "
                                          + juce::String (worstOf (totals.clockErrors), 2) + " ppm, "
                                          + juce::String (totals.clockErrors.size()) + " clocks; not told "
                                          + juce::String (totals.unknownClocks));
    row ("jumps found",
         shareOf (totals.found, totals.found + totals.missed) + ", " + juce::String (totals.unprovable)
             + " more near an end");
    row ("jumps invented", juce::String (totals.invented));
    row ("wrong pairs accepted", juce::String (totals.wrongPairs));
    row ("right pairs refused", shareOf (totals.lanes - totals.placed, totals.lanes));
    row ("silent pairs placed",
         shareOf (totals.silentPlaced, totals.silentLanes) + ", right " + juce::String (totals.silentRight));

    if (totals.music > 0)
        row ("music pairs accepted",
             shareOf (totals.musicPlaced, totals.music) + ", at the right playing " + juce::String (totals.musicRight));

    row ("unrelated pairs accepted", shareOf (totals.unrelatedPlaced, totals.unrelatedPairs));
    text << describeCalibration (totals.judged, totals.compared);

    if (totals.seconds > 0.0)
        row ("run time of the scan", rounded (totals.seconds) + " s");

    return text + "\n";
}

juce::String listMistakes (const TruthScore& score)
{
    juce::String text;

    for (const auto& lane : score.lanes)
    {
        const auto clock = std::find_if (
            score.clocks.begin(), score.clocks.end(), [&lane] (const auto& c) { return c.source == lane.source; });

        if (isWorthALine (lane))
            text << listLane (lane, clock != score.clocks.end() ? clock->truePpm : 0.0);
    }

    for (const auto& pair : score.wrongPairs)
        text << fixedWidth (pair.isUnrelated ? "UNRELATED" : "WRONG TAKE", 17) << pairNames (pair.poly, pair.file)
             << " confidence " << juce::String (pair.confidence, 3) << "; " << pair.detail << "\n";

    for (const auto& clock : score.clocks)
        text << fixedWidth ("clock", 17) << fixedWidth (clock.source, 16) << " " << juce::String (clock.truePpm, 2)
             << " ppm true, " << (clock.toldPpm ? juce::String (*clock.toldPpm, 2) : juce::String ("nothing"))
             << " told\n";

    return text;
}

}    // namespace ld
