#include "clocks/PairProof.h"

#include "clocks/PairWindows.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

namespace ld
{
namespace
{

using juce::int64;

constexpr double windowSeconds = 5.46, shortestWindowSeconds = 0.68;    // 2^18 and 2^15 samples at 48 kHz
constexpr double shortestShare = 0.5;                                   // s
constexpr int windowsPerPair = 60;
constexpr double closestHop = 2.0, widestHop = 4.0;    // s
constexpr int64 mostWindows = 4000;
constexpr int lowestRate = 4000;    // Hz; below it nothing of speech is left
constexpr int probesPerPair = 8;
constexpr int mostGuestChannels = 8;
constexpr size_t mostTracks = 3;

struct Shared
{
    int64 start = 0, length = 0;    // host samples
};

Shared sharedStretch (const LagSource& host, const LagSource& guest, int64 lag)
{
    const auto start = std::max<int64> (lag, 0);
    return { start, std::max<int64> (std::min (lag + guest.length, host.length) - start, 0) };
}

// The grid of windows of a pair. Windows of all guests of a host lie on one grid, so that the host's are transformed once.
struct Grid
{
    Grid (const LagSource& host, const Shared& shared, double secondsOfWindow)
    {
        const auto rate = (double) host.rate;
        order = lagWindowOrder (secondsOfWindow, host.rate);
        const auto size = (int64) 1 << order;
        reach = size / 8;
        hop = (int64) (std::clamp ((double) host.length / rate / windowsPerPair, closestHop, widestHop) * rate);

        const auto shortestHop = std::max<int64> (size / 8, 1);
        const auto fewestWindows = 12;

        while (hop / 2 >= shortestHop && shared.length / hop < fewestWindows)
            hop /= 2;

        hop = std::max (hop, shared.length / mostWindows);
        const auto stretch = size - 2 * reach;

        for (auto k = shared.start / hop;; ++k)
        {
            const auto centre = hop / 2 + k * hop;

            if (centre - stretch / 10 >= shared.start + shared.length)
                break;

            if (centre + stretch / 10 > shared.start)
                centres.push_back (centre);
        }
    }

    int order = 18;
    int64 reach = 0, hop = 1;
    std::vector<int64> centres;    // host samples
};

std::vector<int> channelsOf (const LagSource& source, int most)
{
    std::vector<int> channels ((size_t) std::min (source.channels, most));
    std::iota (channels.begin(), channels.end(), 0);
    return channels;
}

// A pair while it is proved.
struct Work
{
    PairProof proof;
    std::optional<Grid> grid;
    std::vector<std::pair<int64, LagAnswer>> answers;    // with the windows' centres
};

struct Asked
{
    size_t work;
    int64 centre;
};

// Which channels, and how well their probes agree.
struct Candidate
{
    int hostChannel = 0, guestChannel = 0;
    double score = 0.0;
    bool hasLine = false;
    LagLine line;
};

double independenceOf (int order, int64 hop)
{
    const auto stretch = ((int64) 1 << order) - 2 * reachOf (order);
    return std::min (1.0, (double) hop / (double) stretch);
}

// A recording's own quiet: most of its windows are louder where anything is said.
float quietOf (std::vector<float> levels)
{
    constexpr double share = 0.15;
    const auto at = levels.begin() + (std::ptrdiff_t) (share * (double) levels.size());
    std::nth_element (levels.begin(), at, levels.end());
    return *at;
}

bool isSound (float level, float quiet)
{
    constexpr float overQuiet = 1.8f, alwaysSound = 0.0056f;    // 5 dB; 45 dB below full scale
    return level > overQuiet * quiet || level > alwaysSound;
}

// Puts the windows that were measured into the tracks of a proof.
void storeAnswers (PairProof& proof, std::vector<std::pair<int64, LagAnswer>> answers)
{
    std::sort (answers.begin(), answers.end(), [] (auto& a, auto& b) { return a.first < b.first; });
    std::vector<float> hostLevels, guestLevels;

    for (const auto& [centre, answer] : answers)
    {
        hostLevels.push_back (answer.hostLevels.front());
        guestLevels.push_back (answer.guestLevels.front());
    }

    const auto hostQuiet = quietOf (hostLevels), guestQuiet = quietOf (guestLevels);
    proof.centres.clear();

    for (auto& track : proof.tracks)
        track.windows.clear();

    for (auto& [centre, answer] : answers)
    {
        const auto hasSound =
            isSound (answer.hostLevels.front(), hostQuiet) && isSound (answer.guestLevels.front(), guestQuiet);
        proof.centres.push_back (centre);

        for (auto& track : proof.tracks)
            for (auto& reading : answer.readings)
                if (reading.hostChannel == track.hostChannel && reading.guestChannel == track.guestChannel)
                    track.windows.push_back ({ (double) answer.guestCentre, std::move (reading.peaks), hasSound });
    }
}

void countSound (PairProof& proof)
{
    const auto& windows = proof.tracks.front().windows;
    proof.windowsWithSound =
        (int) std::count_if (windows.begin(), windows.end(), [] (const LagWindow& window) { return window.hasSound; });
}

class Prover
{
public:
    Prover (const std::vector<LagSource>& allSources,
            const std::vector<PairTask>& tasks,
            const ProofOptions& optionsToUse)
        : sources (allSources), options (optionsToUse), works (tasks.size())
    {
        for (size_t i = 0; i < tasks.size(); ++i)
            works[i].proof.task = tasks[i];
    }

    std::vector<PairProof> prove()
    {
        locateCoarsely();
        probeChannels();
        measureTracks();
        std::vector<PairProof> proofs;

        for (auto& work : works)
            proofs.push_back (std::move (work.proof));

        return proofs;
    }

private:
    [[nodiscard]] const LagSource& hostOf (const Work& work) const { return sources[work.proof.task.host]; }
    [[nodiscard]] const LagSource& guestOf (const Work& work) const { return sources[work.proof.task.guest]; }

    void ask (const std::vector<LagQuery>& queries, const std::vector<Asked>& asked)
    {
        auto answers = measureLags (sources, queries, options.workers, options.progress, options.onRead);

        for (auto& work : works)
            work.answers.clear();

        for (size_t i = 0; i < answers.size(); ++i)
            works[asked[i].work].answers.emplace_back (asked[i].centre, std::move (answers[i]));
    }

    // Where a place is doubtful: long windows of the mixdowns, which see far.
    void locateCoarsely()
    {
        constexpr int coarseWindows = 7;
        constexpr double longestSeconds = 21.8;
        std::vector<LagQuery> queries;
        std::vector<Asked> asked;

        for (size_t w = 0; w < works.size(); ++w)
        {
            const auto& host = hostOf (works[w]);
            const auto& task = works[w].proof.task;

            if (task.doubtSeconds <= windowSeconds / 8.0 || host.rate < lowestRate)
                continue;

            const auto doubt = (int64) (task.doubtSeconds * host.rate);
            auto shared = sharedStretch (host, guestOf (works[w]), task.roughLag);
            shared.start = std::max<int64> (shared.start - doubt, 0);
            shared.length = std::min (shared.length + 2 * doubt, host.length - shared.start);
            const auto order = lagWindowOrder (longestSeconds, host.rate);
            const auto size = (int64) 1 << order;

            for (int i = 0; i < coarseWindows; ++i)
            {
                const auto centre = shared.start + (int64) ((i + 0.5) / coarseWindows * (double) shared.length);
                queries.push_back ({ task.host,
                                     task.guest,
                                     centre - size / 2,
                                     order,
                                     std::min (doubt, size * 3 / 8),
                                     task.roughLag,
                                     { mixdownChannel },
                                     { mixdownChannel } });
                asked.push_back ({ w, centre });
            }
        }

        ask (queries, asked);

        for (auto& work : works)
            takeCoarsePlace (work);
    }

    void takeCoarsePlace (Work& work) const
    {
        std::vector<LagWindow> windows;

        for (auto& [centre, answer] : work.answers)
            windows.push_back ({ (double) answer.guestCentre, std::move (answer.readings.front().peaks), false });

        LineSearch search;
        search.rate = hostOf (work).rate;
        search.reach = work.proof.task.doubtSeconds * search.rate;

        if (const auto line = fitLagLine (windows, search); line && line->windowsOnLine >= 2)
            work.proof.task.roughLag = (int64) std::llround (line->lagAt (windows[windows.size() / 2].x));
    }

    void probeChannels()
    {
        for (auto& work : works)
        {
            const auto& host = hostOf (work);
            const auto shared = sharedStretch (host, guestOf (work), work.proof.task.roughLag);
            work.proof.sharedSeconds = (double) shared.length / std::max (host.rate, 1);

            if (work.proof.sharedSeconds >= shortestShare && host.channels > 0 && guestOf (work).channels > 0
                && host.rate >= lowestRate)
                work.grid.emplace (
                    host, shared, std::clamp (work.proof.sharedSeconds / 3.0, shortestWindowSeconds, windowSeconds));
        }

        // Of two channels that hear much alike the first one is enough; the others are tried where it says nothing.
        probe (true);
        probe (false);
    }

    void probe (bool isFirstChannel)
    {
        std::vector<LagQuery> queries;
        std::vector<Asked> asked;

        for (size_t w = 0; w < works.size(); ++w)
        {
            const auto& work = works[w];
            auto guestChannels = channelsOf (guestOf (work), mostGuestChannels);

            if (! work.grid || (! isFirstChannel && (work.proof.line || guestChannels.size() < 2)))
                continue;

            if (isFirstChannel)
                guestChannels.resize (1);

            const auto& centres = work.grid->centres;
            const auto count = std::min ((int) centres.size(), probesPerPair);

            for (int i = 0; i < count; ++i)
            {
                const auto centre = centres[(size_t) ((i + 0.5) / count * (double) centres.size())];
                queries.push_back (queryFor (work.proof, work.grid->order, centre));
                queries.back().hostChannels = channelsOf (hostOf (work), hostOf (work).channels);
                queries.back().guestChannels = guestChannels;
                asked.push_back ({ w, centre });
            }
        }

        ask (queries, asked);

        for (auto& work : works)
            if (work.grid && ! work.answers.empty())
                chooseTracks (work);
    }

    [[nodiscard]] LineSearch searchOf (const Work& work, int order) const
    {
        LineSearch search;
        search.rate = hostOf (work).rate;
        search.reach = (double) reachOf (order);
        search.independence = independenceOf (order, work.grid->hop);
        return search;
    }

    // Two recordings of one microphone stand out by their height; otherwise the more windows agree, the better.
    [[nodiscard]] std::vector<Candidate> candidatesOf (const Work& work) const
    {
        std::vector<Candidate> candidates;
        const auto& pattern = work.answers.front().second.readings;
        auto search = searchOf (work, work.grid->order);
        search.independence = 1.0;

        for (size_t r = 0; r < pattern.size(); ++r)
        {
            std::vector<LagWindow> windows;
            auto overRms = 0.0;

            for (const auto& [centre, answer] : work.answers)
            {
                windows.push_back ({ (double) answer.guestCentre, answer.readings[r].peaks, false });
                overRms += answer.readings[r].peaks.empty() ? 0.0 : (double) answer.readings[r].peaks.front().overRms;
            }

            auto line = fitLagLine (windows, search);

            const auto hasLine = line && line->windowsOnLine >= 2;
            candidates.push_back ({ pattern[r].hostChannel,
                                    pattern[r].guestChannel,
                                    hasLine ? 1.0 + line->windowsOnLine * line->height : overRms * 1e-6,
                                    hasLine,
                                    hasLine ? *line : LagLine {} });
        }

        // Of channels that agree about as well, the poly's first one counts.
        constexpr double aboutAsWell = 0.97;
        const auto better = [] (auto& a, auto& b) { return a.score < b.score; };
        const auto most = std::max_element (candidates.begin(), candidates.end(), better)->score;
        const auto best = std::find_if (candidates.begin(), candidates.end(), [&] (auto& candidate) {
            return candidate.score >= aboutAsWell * most;
        });
        std::rotate (candidates.begin(), best, std::next (best));
        std::stable_sort (
            std::next (candidates.begin()), candidates.end(), [] (auto& a, auto& b) { return a.score > b.score; });
        return candidates;
    }

    void chooseTracks (Work& work) const
    {
        constexpr double sameWay = 2.0;    // samples: a microphone that stands in the mix, too
        auto& proof = work.proof;
        const auto candidates = candidatesOf (work);
        const auto& best = candidates.front();
        std::vector<double> ways;
        proof.tracks.clear();

        for (const auto& candidate : candidates)
        {
            const auto lag = candidate.line.lagAt (candidate.line.firstX);
            const auto isKnown =
                std::any_of (ways.begin(), ways.end(), [&] (double way) { return std::abs (way - lag) < sameWay; });

            if (candidate.guestChannel != best.guestChannel || isKnown || proof.tracks.size() == mostTracks)
                continue;

            ways.push_back (lag);
            proof.tracks.push_back ({ candidate.hostChannel, candidate.guestChannel, {} });

            if (best.hasLine && isOneMicrophone (best.line)
                && 5 * best.line.windowsOnLine >= 4 * (int) work.answers.size())
                break;
        }

        if (best.hasLine && best.line.windowsOnLine >= 3)
            proof.line = best.line;
    }

    void measureTracks()
    {
        std::vector<LagQuery> queries;
        std::vector<Asked> asked;

        for (size_t w = 0; w < works.size(); ++w)
        {
            auto& proof = works[w].proof;

            if (proof.tracks.empty())
                continue;

            // With a line to follow, shorter windows see far enough, and there are more of them.
            const auto shared = sharedStretch (hostOf (works[w]), guestOf (works[w]), proof.task.roughLag);

            if (proof.line)
                works[w].grid.emplace (
                    hostOf (works[w]),
                    shared,
                    std::clamp (proof.sharedSeconds / 8.0, shortestWindowSeconds, 0.5 * windowSeconds));

            const auto& grid = *works[w].grid;
            proof.order = grid.order;

            for (const auto centre : grid.centres)
            {
                queries.push_back (queryFor (proof, proof.order, centre));
                askTracks (queries.back(), proof);
                asked.push_back ({ w, centre });
            }
        }

        ask (queries, asked);

        for (auto& work : works)
        {
            if (work.proof.tracks.empty())
                continue;

            storeAnswers (work.proof, std::move (work.answers));
            countSound (work.proof);
            work.proof.search = searchOf (work, work.proof.order);
            work.proof.line = fitLagLine (work.proof.tracks.front().windows, work.proof.search);
        }
    }

    const std::vector<LagSource>& sources;
    const ProofOptions& options;
    std::vector<Work> works;
};

}    // namespace

std::vector<PairProof>
provePairs (const std::vector<LagSource>& sources, const std::vector<PairTask>& tasks, const ProofOptions& options)
{
    return Prover (sources, tasks, options).prove();
}

}    // namespace ld
