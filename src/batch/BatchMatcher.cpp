#include "batch/BatchMatcher.h"

#include "batch/GlobalDecision.h"
#include "batch/PairComparison.h"
#include "batch/Workers.h"
#include "sync/PlaceLadder.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <optional>

namespace ld
{
namespace
{

Alignment undecided (const char* detail)
{
    Alignment alignment;
    alignment.needsManual = true;
    alignment.detail = detail;
    return alignment;
}

Alignment timecodeOr (const MatchPair& pair, int rate, const char* detail)
{
    const auto offset = offsetByTimecode (pair.overlap, rate);
    return offset ? placedByTimecode (*offset) : undecided (detail);
}

// Runs the plan: loads what a round needs, compares its pairs, and frees what the next does not need.
class BatchRun
{
public:
    BatchRun (std::vector<BatchMatch> matches, const MatchProgress& progressToTell, const MatchOptions& optionsToUse)
        : tables (listPairs (std::move (matches))), verdicts (tables.pairs.size()), progress (progressToTell),
          options (optionsToUse), residents (tables.sources.size())
    {
        options.workers = options.workers > 0 ? options.workers : defaultWorkers();

        for (auto& source : tables.sources)
            source.clips = options.clips;
    }

    MatchOutcome run()
    {
        measureSources();
        settleByHeaders();
        plan = planRounds (tables, budget(), options.workers);

        for (const auto& round : plan.rounds)
            runRound (round);

        residents.clear();
        return collect();
    }

private:
    [[nodiscard]] double budget() const
    {
        return options.memoryBudget > 0.0 ? options.memoryBudget : defaultMatchBudget();
    }

    void measureSources()
    {
        std::vector<char> wanted (tables.sources.size());

        for (const auto& pair : tables.pairs)
            if (! isDifferentTimeOfDay (tables, pair))
                wanted[pair.hostSource] = wanted[pair.guestSource] = 1;

        const auto measure = [&] (int index) {
            if (wanted[(size_t) index] != 0 && options.isWanted())
                measureSource (tables.sources[(size_t) index]);
        };
        runWorkers ((int) tables.sources.size(), measure, options.workers);
    }

    static void measureSource (MatchSource& source)
    try
    {
        if (const SourceAudio audio (source.file, source.rate, {}, source.clips); audio.isOpen())
        {
            source.channels = audio.numChannels();
            source.length = audio.length();
        }
    }
    catch (const std::bad_alloc&)
    {
        source.channels = 0;    // a rate out of all reason
    }

    void settleByHeaders()
    {
        for (size_t i = 0; i < tables.pairs.size(); ++i)
        {
            auto& pair = tables.pairs[i];
            chooseRoute (tables, pair);
            verdicts[i].path = guestOf (pair).file.getFullPathName();
            verdicts[i].usedTimecode = pair.route == MatchRoute::timecode;

            if (pair.route == MatchRoute::settled)
                settle (i, settledVerdict (pair));
        }
    }

    [[nodiscard]] Alignment settledVerdict (const MatchPair& pair) const
    {
        if (isDifferentTimeOfDay (tables, pair))
            return undecided ("Different time of day than this take");

        return unreadableVerdict (pair, tables.sources[pair.hostSource].isUsable());
    }

    [[nodiscard]] Alignment unreadableVerdict (const MatchPair& pair, bool hostIsReadable) const
    {
        const auto rate = tables.sources[pair.hostSource].rate;
        return timecodeOr (pair, rate, hostIsReadable ? "Could not read ISO waveform" : "Could not read poly waveform");
    }

    void settle (size_t pair, Alignment alignment)
    {
        verdicts[pair].alignment = std::move (alignment);
        const auto done = ++numDone;

        if (progress)
            progress (done, (int) tables.pairs.size());
    }

    void runRound (const MatchRound& round)
    {
        for (size_t i = 0; i < residents.size(); ++i)
            if (! std::binary_search (round.sources.begin(), round.sources.end(), i))
                residents[i].reset();

        const auto load = [&] (int index) { loadSource (round, round.sources[(size_t) index]); };
        runWorkers ((int) round.sources.size(), load, options.workers);

        const auto compare = [&] (int index) { comparePairAt (round.pairs[(size_t) index]); };
        runWorkers ((int) round.pairs.size(), compare, options.workers);
    }

    void loadSource (const MatchRound& round, size_t index)
    try
    {
        if (residents[index] != nullptr || ! options.isWanted())
            return;

        const auto isCompared = [&] (size_t i) {
            const auto& pair = tables.pairs[i];
            return pair.route == MatchRoute::whole && (pair.hostSource == index || pair.guestSource == index);
        };
        const auto atOnce = std::any_of (round.pairs.begin(), round.pairs.end(), isCompared);
        residents[index] =
            std::make_unique<ResidentSource> (tables.sources[index], plan.needs[index], atOnce, options.onRead);
    }
    catch (const std::bad_alloc&)
    {
        residents[index].reset();
    }

    void comparePairAt (size_t index)
    {
        const auto& pair = tables.pairs[index];
        const auto* host = residents[pair.hostSource].get();
        const auto* guest = residents[pair.guestSource].get();

        if (! options.isWanted())
            return;

        try
        {
            if (host == nullptr || guest == nullptr)
                throw std::bad_alloc();

            if (! host->canBeRead() || ! guest->canBeRead())
                settle (index, unreadableVerdict (pair, host->canBeRead()));
            else
                settle (index, comparePair (pair, *host, *guest, plan.longestStretch));
        }
        catch (const std::bad_alloc&)
        {
            settle (index, timecodeOr (pair, tables.sources[pair.hostSource].rate, "Not enough memory to compare it"));
        }
    }

    [[nodiscard]] const ScanFile& guestOf (const MatchPair& pair) const
    {
        return tables.matches[pair.poly].guests[pair.guest];
    }

    [[nodiscard]] MatchOutcome collect() const
    {
        const auto accepted = acceptedOf (verdicts);
        MatchOutcome outcome;

        for (const auto& match : tables.matches)
        {
            outcome.matches.emplace_back();
            outcome.matches.back().host = match.host;
        }

        for (size_t i = 0; i < verdicts.size(); ++i)
        {
            const auto& pair = tables.pairs[i];
            auto& match = outcome.matches[pair.poly];
            outcome.comparisons.push_back ({ match.host.file, guestOf (pair), accepted[i] });
            auto& guest = outcome.comparisons.back().guest;
            guest.alignment = verdicts[i].alignment;

            if (! accepted[i])
                continue;

            match.guests.push_back (guest);
            match.score = std::max (match.score, guest.alignment.confidence);
            match.reason = "global waveform comparison";
        }

        return outcome;
    }

    MatchTables tables;
    std::vector<Verdict> verdicts;    // one for each pair
    const MatchProgress& progress;
    MatchOptions options;
    MatchPlan plan;
    std::vector<std::unique_ptr<ResidentSource>> residents;    // one for each source
    std::atomic<int> numDone { 0 };
};

}    // namespace

double defaultMatchBudget()
{
    constexpr double largest = 4.0 * 1024 * 1024 * 1024;
    constexpr double share = 0.25;
    return std::min (share * 1024 * 1024 * juce::SystemStats::getMemorySizeInMegabytes(), largest);
}

MatchOutcome
compareBatch (const std::vector<ScanFile>& scans, const MatchProgress& progress, const MatchOptions& options)
{
    auto matches = matchBatch (scans);

    if (matches.empty())
        return {};

    return BatchRun (std::move (matches), progress, options).run();
}

std::vector<BatchMatch> matchBatchByWaveform (const std::vector<ScanFile>& scans, const MatchProgress& progress)
{
    return compareBatch (scans, progress).matches;
}

}    // namespace ld
