#include "batch/MatchPlan.h"

#include "media/BextIxml.h"
#include "sync/MfccSearch.h"

#include <algorithm>
#include <map>
#include <set>
#include <span>

namespace ld
{
namespace
{

using juce::int64;

constexpr int64 shortestSignal = 32;    // samples

int rateOf (const ScanFile& poly)
{
    return std::max (poly.format.sampleRate, 1);
}

// Hands out one source for each file and rate.
class SourceIndex
{
public:
    explicit SourceIndex (std::vector<MatchSource>& all) : sources (all) {}

    size_t indexOf (const juce::File& file, int rate)
    {
        const auto key = file.getFullPathName() + "|" + juce::String (rate);
        const auto [at, isNew] = indices.emplace (key, sources.size());

        if (isNew)
        {
            MatchSource source;
            source.file = file;
            source.rate = rate;
            sources.push_back (source);
        }

        return at->second;
    }

private:
    std::vector<MatchSource>& sources;
    std::map<juce::String, size_t> indices;
};

double audioBytes (const MatchSource& source)
{
    return (double) source.length * sizeof (float);
}

double coefficientBytes (const MatchSource& source, int64 samples)
{
    const auto signals = source.hasChannels ? 1 + source.channels : 1;
    return signals * MfccSignal::bytesFor ((double) samples * mfccSampleRate / std::max (source.rate, 100));
}

// What a worker needs beside the residents: transforms, and a shared stretch of both files with its coefficients.
double transientBytes (const MatchTables& tables, int64 longestStretch)
{
    constexpr double transformBytes = 48e6;
    constexpr double stretchesOfAPair = 2.0;
    auto coefficients = 0.0;

    for (const auto& pair : tables.pairs)
        if (pair.route == MatchRoute::timecode)
            coefficients = std::max (coefficients, coefficientBytes (tables.sources[pair.hostSource], pair.length));

    return transformBytes + stretchesOfAPair * (double) longestStretch * sizeof (float) + coefficients;
}

// The pairs that need audio, by poly and in it by the guest's source.
std::vector<size_t> pairsWithAudio (const MatchTables& tables)
{
    std::vector<size_t> indices;

    for (size_t i = 0; i < tables.pairs.size(); ++i)
        if (tables.pairs[i].route != MatchRoute::settled)
            indices.push_back (i);

    return indices;
}

bool coversWhole (const MatchPair& pair, const MatchSource& host)
{
    return pair.route == MatchRoute::timecode && pair.hostStart == 0 && pair.length == host.length;
}

// What each source needs where memory is no matter: everything is read once.
std::vector<ResidentNeeds> fullNeeds (const MatchTables& tables)
{
    std::vector<ResidentNeeds> needs (tables.sources.size());

    for (const auto& pair : tables.pairs)
    {
        if (pair.route == MatchRoute::settled)
            continue;

        auto& host = needs[pair.hostSource];
        auto& guest = needs[pair.guestSource];
        const auto isWhole = pair.route == MatchRoute::whole;
        host.mono = guest.mono = true;
        host.channels = host.channels || ! isWhole;
        host.coefficients = host.coefficients || isWhole || coversWhole (pair, tables.sources[pair.hostSource]);
        guest.coefficients = guest.coefficients || isWhole;
    }

    return needs;
}

// The channels of a poly are read again where a stretch of them is wanted; so is the audio of a source that would take
// a large part of the budget, or of which little is wanted.
std::vector<ResidentNeeds> leanNeeds (const MatchTables& tables, double residentBytes)
{
    constexpr double largestShare = 0.25;
    constexpr double leastUse = 0.5;
    auto needs = fullNeeds (tables);
    std::vector<double> wanted (needs.size());

    for (const auto& pair : tables.pairs)
    {
        const auto isWhole = pair.route == MatchRoute::whole;
        wanted[pair.hostSource] += (double) (isWhole ? tables.sources[pair.hostSource].length : pair.length);
        wanted[pair.guestSource] += (double) (isWhole ? tables.sources[pair.guestSource].length : pair.length);
    }

    for (size_t i = 0; i < needs.size(); ++i)
    {
        const auto& source = tables.sources[i];
        needs[i].channels = false;
        needs[i].mono = needs[i].mono && audioBytes (source) <= largestShare * residentBytes
                        && wanted[i] >= leastUse * (double) source.length;
    }

    return needs;
}

// Packs the polys, and the files that are compared with them, into groups that fit together.
class RoundPacker
{
public:
    RoundPacker (const MatchTables& tablesToUse, const std::vector<ResidentNeeds>& needsToUse)
        : tables (tablesToUse), needs (needsToUse)
    {
    }

    [[nodiscard]] std::vector<MatchRound> pack (double budget) const
    {
        std::vector<MatchRound> rounds;
        const auto all = pairsWithAudio (tables);

        for (auto rest = std::span<const size_t> (all); ! rest.empty();)
        {
            const auto ofPolys = takeWhileFits (rest, &MatchPair::hostSource, budget / 2);
            auto byGuest = std::vector (ofPolys.begin(), ofPolys.end());
            const auto guestOf = [&] (size_t pair) { return tables.pairs[pair].guestSource; };
            std::stable_sort (
                byGuest.begin(), byGuest.end(), [&] (auto a, auto b) { return guestOf (a) < guestOf (b); });
            const auto left = budget - bytesOf (ofPolys, &MatchPair::hostSource);

            for (auto ofGuests = std::span<const size_t> (byGuest); ! ofGuests.empty();)
                rounds.push_back (roundOf (takeWhileFits (ofGuests, &MatchPair::guestSource, left)));
        }

        return rounds;
    }

private:
    using SourceOf = size_t MatchPair::*;

    [[nodiscard]] double bytesOf (std::span<const size_t> pairs, SourceOf sourceOf) const
    {
        std::set<size_t> counted;
        auto bytes = 0.0;

        for (const auto pair : pairs)
            if (const auto source = tables.pairs[pair].*sourceOf; counted.insert (source).second)
                bytes += needs[source].bytesFor (tables.sources[source]);

        return bytes;
    }

    // Cuts off the first pairs whose sources fit, all pairs of a source together; those of the first fit in any case.
    [[nodiscard]] std::span<const size_t>
    takeWhileFits (std::span<const size_t>& pairs, SourceOf sourceOf, double budget) const
    {
        auto bytes = 0.0;
        size_t count = 0;

        while (count < pairs.size())
        {
            const auto source = tables.pairs[pairs[count]].*sourceOf;
            bytes += needs[source].bytesFor (tables.sources[source]);

            if (count > 0 && bytes > budget)
                break;

            while (count < pairs.size() && tables.pairs[pairs[count]].*sourceOf == source)
                ++count;
        }

        const auto taken = pairs.first (count);
        pairs = pairs.subspan (count);
        return taken;
    }

    [[nodiscard]] MatchRound roundOf (std::span<const size_t> pairs) const
    {
        MatchRound round;
        round.pairs.assign (pairs.begin(), pairs.end());
        std::sort (round.pairs.begin(), round.pairs.end());
        std::set<size_t> listed;

        for (const auto pair : round.pairs)
            for (const auto source : { tables.pairs[pair].hostSource, tables.pairs[pair].guestSource })
                listed.insert (source);

        round.sources.assign (listed.begin(), listed.end());
        return round;
    }

    const MatchTables& tables;
    const std::vector<ResidentNeeds>& needs;
};

}    // namespace

bool MatchSource::isUsable() const noexcept
{
    return channels > 0 && length >= shortestSignal;
}

MatchTables listPairs (std::vector<BatchMatch> matches)
{
    MatchTables tables;
    SourceIndex sources (tables.sources);

    for (size_t p = 0; p < matches.size(); ++p)
    {
        const auto& match = matches[p];
        const auto rate = rateOf (match.host);
        const auto host = sources.indexOf (match.host.file, rate);
        tables.sources[host].hasChannels = true;

        for (size_t g = 0; g < match.guests.size(); ++g)
        {
            MatchPair pair;
            pair.poly = p;
            pair.guest = g;
            pair.hostSource = host;
            pair.guestSource = sources.indexOf (match.guests[g].file, rate);
            pair.overlap = tcOverlap (match.host, match.guests[g]);
            tables.pairs.push_back (pair);
        }
    }

    tables.matches = std::move (matches);
    return tables;
}

bool isDifferentTimeOfDay (const MatchTables& tables, const MatchPair& pair)
{
    const auto& match = tables.matches[pair.poly];
    const auto isStamped = [] (const ScanFile& scan) { return hasAudioTimestamp (scan.ixml, scan.bext); };
    return isStamped (match.host) && isStamped (match.guests[pair.guest]) && ! pair.overlap.valid;
}

void chooseRoute (const MatchTables& tables, MatchPair& pair)
{
    const auto& host = tables.sources[pair.hostSource];
    const auto& guest = tables.sources[pair.guestSource];

    if (isDifferentTimeOfDay (tables, pair) || ! host.isUsable() || ! guest.isUsable())
        return;

    pair.route = MatchRoute::whole;
    const auto rate = (int64) host.rate;

    if (! pair.overlap.valid || pair.overlap.overlapSamples < rate)
        return;

    // Up to two seconds beyond the overlap, where both have them.
    const auto hostStart = std::max<int64> (pair.overlap.offsetSamples, 0);
    const auto guestStart = std::max<int64> (-pair.overlap.offsetSamples, 0);
    const auto hostLeft = std::max<int64> (host.length - hostStart - pair.overlap.overlapSamples, 0);
    const auto guestLeft = std::max<int64> (guest.length - guestStart - pair.overlap.overlapSamples, 0);
    const auto length = pair.overlap.overlapSamples + std::min ({ hostLeft, 2 * rate, guestLeft });

    // A header can promise more than its file holds.
    if (hostStart + length > host.length || guestStart + length > guest.length)
        return;

    pair.route = MatchRoute::timecode;
    pair.hostStart = hostStart;
    pair.guestStart = guestStart;
    pair.length = length;
}

double ResidentNeeds::bytesFor (const MatchSource& source) const
{
    return (mono ? audioBytes (source) : 0.0) + (channels ? source.channels * audioBytes (source) : 0.0)
           + (coefficients ? coefficientBytes (source, source.length) : 0.0);
}

MatchPlan planRounds (const MatchTables& tables, double budgetBytes, int workers)
{
    constexpr double stretchShare = 1.0 / 16.0;
    constexpr double leastResidents = 1.0 / 4.0;
    MatchPlan plan;
    plan.longestStretch = (int64) (budgetBytes * stretchShare / std::max (workers, 1) / sizeof (float));
    const auto forWorkers = std::max (workers, 1) * transientBytes (tables, plan.longestStretch);
    const auto residentBytes = std::max (budgetBytes - forWorkers, budgetBytes * leastResidents);

    plan.needs = fullNeeds (tables);
    plan.rounds = RoundPacker (tables, plan.needs).pack (residentBytes);

    if (plan.rounds.size() <= 1)
        return plan;

    plan.needs = leanNeeds (tables, residentBytes);
    plan.rounds = RoundPacker (tables, plan.needs).pack (residentBytes);
    return plan;
}

}    // namespace ld
