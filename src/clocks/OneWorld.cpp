#include "clocks/OneWorld.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace ld
{
namespace
{

constexpr double sameTimeSeconds = 0.5;    // takes' own stamps may be off by some timecode frames
constexpr double slippedSeconds = 5.0;     // a stamp can be off by so much on one file alone

// The evidence for a place: windows that agree, less those with sound that do not. A song is heard alike in many takes,
// but what is said around it only in one.
double weightOf (const DayPair& pair)
{
    constexpr double contradiction = 0.7;
    const auto& line = *pair.proof->line;
    const auto against = std::max (line.windowsWithSound - line.windowsNearLine, 0);
    return line.windowsNearLine + line.height - contradiction * against;
}

juce::String nameOf (const DayFile& file)
{
    return file.scan.file.getFileName();
}

juce::String secondsText (double seconds)
{
    return juce::String (std::abs (seconds), std::abs (seconds) < 10.0 ? 2 : 1) + " s";
}

// Places of one file, by the time of day at which each says that it began.
struct Occurrence
{
    double start = 0.0;
    double weight = 0.0;
    std::vector<size_t> pairs;
};

double stampMismatch (const DayTable& table, const DayPair& pair)
{
    const auto reading = readClock (table, pair);
    const auto expected = stampErrorAt (table.recorders[table.files[pair.file].recorder], reading.atSeconds);
    return reading.stampError && expected ? *reading.stampError - expected->seconds : 0.0;
}

// A recorder numbers its files as it records them: the share of its other files, of those that are sure of their time, with
// which a start would not be in the order of their names.
double disorderOf (const DayTable& table, const DayPair& pair, double start, const std::map<size_t, double>& sureStarts)
{
    const auto& file = table.files[pair.file];
    auto compared = 0, disordered = 0;

    for (const auto& [other, otherStart] : sureStarts)
    {
        if (other == pair.file || table.files[other].recorder != file.recorder)
            continue;

        const auto isBehind = nameOf (file).compareNatural (nameOf (table.files[other])) > 0;
        ++compared;
        disordered += isBehind != (start > otherStart) ? 1 : 0;
    }

    return compared > 0 ? (double) disordered / compared : 0.0;
}

std::vector<Occurrence>
occurrencesOf (const DayTable& table, const std::vector<size_t>& pairs, const std::map<size_t, double>& sureStarts)
{
    constexpr double clockBonus = 1000.0, disorderCost = 100.0;
    std::vector<Occurrence> occurrences;

    for (const auto i : pairs)
    {
        const auto& pair = table.pairs[i];
        const auto start = table.timeAt (pair, 0.0, pair.proof->line->lagAt (0.0));

        if (! start)
            continue;

        const auto fits = [&] (const Occurrence& known) { return std::abs (known.start - *start) < sameTimeSeconds; };
        auto at = std::find_if (occurrences.begin(), occurrences.end(), fits);

        if (at == occurrences.end())
            at = occurrences.insert (occurrences.end(), { *start, 0.0, {} });

        // What the clock of the recorder says outweighs any sound: music sounds alike in many takes.
        const auto& clock = table.recorders[table.files[pair.file].recorder];
        const auto isByClock = clock.files >= 3 && std::abs (stampMismatch (table, pair)) < sameTimeSeconds
                               && ! clock.jams.empty() && table.stampLag (pair);
        at->weight += weightOf (pair) + (isByClock ? clockBonus : 0.0)
                      - disorderCost * disorderOf (table, pair, *start, sureStarts);
        at->pairs.push_back (i);
    }

    return occurrences;
}

void keepOneTime (DayTable& table, const std::vector<size_t>& pairs, const std::map<size_t, double>& sureStarts)
{
    auto occurrences = occurrencesOf (table, pairs, sureStarts);

    if (occurrences.size() < 2)
        return;

    const auto best = *std::max_element (
        occurrences.begin(), occurrences.end(), [] (auto& a, auto& b) { return a.weight < b.weight; });

    for (const auto& occurrence : occurrences)
        if (occurrence.start != best.start)
            for (const auto i : occurrence.pairs)
                table.pairs[i].refusal = "Its sound fits here, but the file ran at another time: "
                                         + nameOf (table.polys[table.pairs[best.pairs.front()].poly]) + " proves it "
                                         + secondsText (occurrence.start - best.start) + " from here";
}

// Of takes without stamps, two cannot have been recorded while one stretch of a file was.
void keepOneTakeAtATime (DayTable& table, std::vector<size_t> pairs)
{
    std::sort (pairs.begin(), pairs.end(), [&] (auto a, auto b) {
        return weightOf (table.pairs[a]) > weightOf (table.pairs[b]);
    });

    for (size_t i = 0; i < pairs.size(); ++i)
    {
        auto& pair = table.pairs[pairs[i]];
        const auto& line = *pair.proof->line;

        for (size_t j = 0; j < i && pair.refusal.isEmpty(); ++j)
        {
            const auto& better = table.pairs[pairs[j]];

            if (better.refusal.isNotEmpty()
                || (table.polys[pair.poly].stampSeconds && table.polys[better.poly].stampSeconds))
                continue;

            const auto from = std::max (line.firstX, better.proof->line->firstX);
            const auto to = std::min (line.lastX, better.proof->line->lastX);

            if (to - from > sameTimeSeconds * table.rateOf (pair))
                pair.refusal = "Its sound fits here, but the same seconds of the file belong to "
                               + nameOf (table.polys[better.poly]);
        }
    }
}

// A place by sound alone that the recorder's other files rule out.
void holdAgainstClock (DayTable& table, DayPair& pair)
{
    const auto& clock = table.recorders[table.files[pair.file].recorder];
    const auto mismatch = stampMismatch (table, pair);

    if (clock.files < 3 || std::abs (mismatch) <= slippedSeconds)
        return;

    pair.refusal = "Its sound fits here, but its recorder's clock, proved by " + juce::String (clock.files - 1)
                   + " other files, puts it " + secondsText (mismatch) + (mismatch > 0.0 ? " earlier" : " later");
}

double startOnHost (const DayPair& pair)
{
    return pair.proof->line->lagAt (0.0);
}

// Host samples between the end of a file and the beginning of the next; nothing where they are two recordings.
std::optional<double> gapBetween (const DayTable& table, const DayPair& a, const DayPair& b)
{
    constexpr double splitSeconds = 0.006;
    const auto length = (double) table.sources[a.guestSource].length;
    const auto gap = startOnHost (b) - (length + a.proof->line->lagAt (length));
    return std::abs (gap) < splitSeconds * table.rateOf (a) ? std::optional (gap) : std::nullopt;
}

// Moves every file of a recording that was split to the surest of them.
void joinRun (const DayTable& table, const std::vector<DayPair*>& run)
{
    const auto sureness = [] (const DayPair* pair) {
        return pair->proof->line->windowsOnLine * pair->proof->line->height;
    };
    const auto surest =
        (size_t) (std::max_element (
                      run.begin(), run.end(), [&] (auto* a, auto* b) { return sureness (a) < sureness (b); })
                  - run.begin());

    for (auto i = surest; i + 1 < run.size(); ++i)
        run[i + 1]->proof->line->lagAtZero -= gapBetween (table, *run[i], *run[i + 1]).value_or (0.0);

    for (auto i = surest; i > 0; --i)
        run[i - 1]->proof->line->lagAtZero += gapBetween (table, *run[i - 1], *run[i]).value_or (0.0);
}

}    // namespace

void refuseContradictions (DayTable& table)
{
    std::map<size_t, std::vector<size_t>> provedOf;

    for (size_t i = 0; i < table.pairs.size(); ++i)
        if (table.pairs[i].isProved())
            provedOf[table.pairs[i].file].push_back (i);

    // Files of which all places say the same.
    std::map<size_t, double> sureStarts;

    for (const auto& [file, pairs] : provedOf)
        if (const auto occurrences = occurrencesOf (table, pairs, {}); occurrences.size() == 1)
            sureStarts[file] = occurrences.front().start;

    for (const auto& [file, pairs] : provedOf)
    {
        keepOneTime (table, pairs, sureStarts);
        auto left = pairs;
        std::erase_if (left, [&] (auto i) { return table.pairs[i].refusal.isNotEmpty(); });
        keepOneTakeAtATime (table, left);

        for (const auto i : pairs)
            if (table.pairs[i].isProved())
                holdAgainstClock (table, table.pairs[i]);
    }
}

void joinContinuations (DayTable& table)
{
    std::map<std::pair<size_t, size_t>, std::vector<DayPair*>> recordings;

    for (auto& pair : table.pairs)
        if (pair.isProved())
            recordings[{ pair.poly, table.files[pair.file].recorder }].push_back (&pair);

    for (auto& [key, pairs] : recordings)
    {
        std::sort (pairs.begin(), pairs.end(), [&] (auto* a, auto* b) { return startOnHost (*a) < startOnHost (*b); });

        for (size_t first = 0; first < pairs.size();)
        {
            auto last = first;

            while (last + 1 < pairs.size() && gapBetween (table, *pairs[last], *pairs[last + 1]))
                ++last;

            joinRun (table, { pairs.begin() + (std::ptrdiff_t) first, pairs.begin() + (std::ptrdiff_t) last + 1 });
            first = last + 1;
        }
    }
}

void forgetLoneJumps (DayTable& table)
{
    constexpr int manyPairs = 4, fewOf = 8;

    struct Seen
    {
        int pairs = 0;
        std::vector<PairProof*> withJumps;
        bool hasPlain = false;
    };
    std::map<size_t, Seen> recorders;

    for (auto& pair : table.pairs)
    {
        if (! pair.isProved())
            continue;

        auto& seen = recorders[table.files[pair.file].recorder];
        ++seen.pairs;

        const auto& jumps = pair.proof->line->jumps;

        if (! jumps.empty())
            seen.withJumps.push_back (&*pair.proof);

        seen.hasPlain = seen.hasPlain
                        || std::any_of (jumps.begin(), jumps.end(), [] (const LagJump& jump) { return jump.isPlain; });
    }

    for (const auto& [recorder, seen] : recorders)
        if (seen.pairs >= manyPairs && ! seen.hasPlain
            && (int) seen.withJumps.size() <= std::max (1, seen.pairs / fewOf))
            for (auto* const proof : seen.withJumps)
                forgetJumps (*proof);
}

}    // namespace ld
