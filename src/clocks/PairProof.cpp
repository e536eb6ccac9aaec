#include "clocks/PairProof.h"

#include "clocks/JumpSearch.h"

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
constexpr int windowsPerPair = 30;
constexpr double closestHop = 2.0, widestHop = 8.0;    // s
constexpr int probesPerPair = 8;
constexpr int mostGuestChannels = 8;

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
    Grid (const LagSource& host, const Shared& shared)
    {
        const auto rate = (double) host.rate;
        const auto seconds = (double) shared.length / rate;
        const auto windowLength = std::clamp (seconds / 3.0, shortestWindowSeconds, windowSeconds);
        order = lagWindowOrder (windowLength, host.rate);
        const auto size = (int64) 1 << order;
        reach = size / 8;
        hop = (int64) (std::clamp ((double) host.length / rate / windowsPerPair, closestHop, widestHop) * rate);

        const auto shortestHop = std::max<int64> (size / 4, 1);

        while (hop / 2 >= shortestHop && shared.length / hop < windowsPerPair / 3)
            hop /= 2;

        const auto stretch = size - 2 * reach;
        independence = std::min (1.0, (double) hop / (double) stretch);

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
    double independence = 1.0;
    std::vector<int64> centres;    // host samples
};

std::vector<int> channelsOf (const LagSource& source, int most)
{
    std::vector<int> channels ((size_t) std::min (source.channels, most));
    std::iota (channels.begin(), channels.end(), 0);
    return channels;
}

// Everything about one pair while it is proved.
struct Work
{
    PairProof proof;
    std::optional<Grid> grid;
    std::vector<bool> isProbed;                     // of the grid's windows
    std::map<int64, LagAnswer> probes, measured;    // by the window's centre
};

bool sameChannels (const LagReading& reading, const PairProof& proof)
{
    return reading.hostChannel == proof.hostChannel && reading.guestChannel == proof.guestChannel;
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
        measureBestChannels();

        for (auto& work : works)
            fit (work);

        lookCloser();
        confirmJumps();
        std::vector<PairProof> proofs;

        for (auto& work : works)
        {
            placeCuts (work);
            proofs.push_back (std::move (work.proof));
        }

        return proofs;
    }

private:
    struct Asked
    {
        Work* work;
        int64 centre;
    };

    [[nodiscard]] const LagSource& hostOf (const Work& work) const { return sources[work.proof.task.host]; }
    [[nodiscard]] const LagSource& guestOf (const Work& work) const { return sources[work.proof.task.guest]; }

    [[nodiscard]] static int64 lagFor (const Work& work, int64 centre)
    {
        const auto& line = work.proof.line;
        const auto rough = work.proof.task.roughLag;
        return line ? (int64) std::llround (line->lagAt ((double) (centre - rough))) : rough;
    }

    template <typename Store>
    void ask (const std::vector<LagQuery>& queries, const std::vector<Asked>& asked, Store&& store)
    {
        auto answers = measureLags (sources, queries, options.workers, options.progress, options.onRead);

        for (size_t i = 0; i < answers.size(); ++i)
            store (*asked[i].work, asked[i].centre, std::move (answers[i]));
    }

    // Where a place is doubtful: long windows of the mixdowns, which see far.
    void locateCoarsely()
    {
        constexpr int coarseWindows = 7;
        constexpr double longestSeconds = 21.8;
        std::vector<LagQuery> queries;
        std::vector<Asked> asked;

        for (auto& work : works)
        {
            const auto& host = hostOf (work);
            const auto& task = work.proof.task;
            const auto fineReach = windowSeconds / 8.0;

            if (task.doubtSeconds <= fineReach)
                continue;

            const auto doubt = (int64) (task.doubtSeconds * host.rate);
            auto shared = sharedStretch (host, guestOf (work), task.roughLag);
            shared.start = std::max<int64> (shared.start - doubt, 0);
            shared.length = std::min (shared.length + 2 * doubt, host.length - shared.start);
            const auto order = lagWindowOrder (longestSeconds, host.rate);
            const auto size = (int64) 1 << order;
            const auto reach = std::min (doubt, size * 3 / 8);

            for (int i = 0; i < coarseWindows; ++i)
            {
                const auto centre = shared.start + (int64) ((i + 0.5) / coarseWindows * (double) shared.length);
                queries.push_back ({ task.host,
                                     task.guest,
                                     centre - size / 2,
                                     order,
                                     reach,
                                     task.roughLag,
                                     { mixdownChannel },
                                     { mixdownChannel } });
                asked.push_back ({ &work, centre });
            }
        }

        ask (queries, asked, [] (Work& work, int64 centre, LagAnswer answer) {
            work.measured[centre] = std::move (answer);
        });

        for (auto& work : works)
            takeCoarsePlace (work);
    }

    void takeCoarsePlace (Work& work) const
    {
        if (work.measured.empty())
            return;

        std::vector<LagWindow> windows;

        for (auto& [centre, answer] : work.measured)
            windows.push_back ({ (double) answer.guestCentre, std::move (answer.readings.front().peaks), false });

        work.measured.clear();
        LineSearch search;
        search.rate = hostOf (work).rate;
        search.reach = work.proof.task.doubtSeconds * search.rate;

        if (const auto line = fitLagLine (windows, search); line && line->windowsOnLine >= 2)
            work.proof.task.roughLag = (int64) std::llround (line->lagAt ((double) windows[windows.size() / 2].x));
    }

    void probeChannels()
    {
        std::vector<LagQuery> queries;
        std::vector<Asked> asked;

        for (auto& work : works)
        {
            const auto& host = hostOf (work);
            const auto& guest = guestOf (work);
            const auto shared = sharedStretch (host, guest, work.proof.task.roughLag);
            work.proof.sharedSeconds = (double) shared.length / host.rate;

            if (work.proof.sharedSeconds < shortestShare || host.channels < 1 || guest.channels < 1)
                continue;

            work.grid.emplace (host, shared);
            const auto& centres = work.grid->centres;
            const auto count = std::min ((int) centres.size(), probesPerPair);

            for (int i = 0; i < count; ++i)
            {
                const auto centre = centres[(size_t) ((i + 0.5) / count * (double) centres.size())];
                queries.push_back (queryOf (work, centre));
                queries.back().hostChannels = channelsOf (host, host.channels);
                queries.back().guestChannels = channelsOf (guest, mostGuestChannels);
                asked.push_back ({ &work, centre });
            }
        }

        ask (queries, asked, [] (Work& work, int64 centre, LagAnswer answer) {
            work.probes[centre] = std::move (answer);
        });

        for (auto& work : works)
            if (work.grid)
                chooseChannels (work);
    }

    [[nodiscard]] LagQuery queryOf (const Work& work, int64 centre) const
    {
        const auto& grid = *work.grid;
        return { work.proof.task.host,
                 work.proof.task.guest,
                 centre - ((int64) 1 << grid.order) / 2,
                 grid.order,
                 grid.reach,
                 lagFor (work, centre),
                 { work.proof.hostChannel },
                 { work.proof.guestChannel } };
    }

    // The two channels whose probes agree best. Two recordings of one microphone stand out by their height.
    void chooseChannels (Work& work) const
    {
        auto& proof = work.proof;
        auto best = -1.0;
        std::optional<LagLine> bestLine;

        if (work.probes.empty())
            return;

        const auto& pattern = work.probes.begin()->second.readings;

        for (size_t r = 0; r < pattern.size(); ++r)
        {
            std::vector<LagWindow> windows;
            auto overRms = 0.0;

            for (const auto& [centre, answer] : work.probes)
            {
                windows.push_back ({ (double) answer.guestCentre, answer.readings[r].peaks, false });
                overRms += answer.readings[r].peaks.empty() ? 0.0 : (double) answer.readings[r].peaks.front().overRms;
            }

            auto line = fitLagLine (windows, searchOf (work));
            const auto isLine = line && line->windowsOnLine >= 2;
            const auto score = isLine ? 1.0 + line->windowsOnLine * line->height : overRms * 1e-6;

            if (score > best)
            {
                best = score;
                proof.hostChannel = pattern[r].hostChannel;
                proof.guestChannel = pattern[r].guestChannel;
                bestLine = isLine && line->windowsOnLine >= 3 ? line : std::nullopt;
            }
        }

        proof.line = bestLine;
    }

    [[nodiscard]] LineSearch searchOf (const Work& work) const
    {
        LineSearch search;
        search.rate = hostOf (work).rate;
        search.reach = (double) work.grid->reach;
        search.independence = work.grid->independence;
        return search;
    }

    void measureBestChannels()
    {
        std::vector<LagQuery> queries;
        std::vector<Asked> asked;

        for (auto& work : works)
        {
            if (! work.grid)
                continue;

            for (const auto centre : work.grid->centres)
            {
                if (keepProbe (work, centre))
                    continue;

                queries.push_back (queryOf (work, centre));
                asked.push_back ({ &work, centre });
            }
        }

        ask (queries, asked, [] (Work& work, int64 centre, LagAnswer answer) {
            work.measured[centre] = std::move (answer);
        });
    }

    // A window that was probed is not measured again.
    static bool keepProbe (Work& work, int64 centre)
    {
        const auto at = work.probes.find (centre);

        if (at == work.probes.end())
            return false;

        const auto& probe = at->second;
        LagAnswer kept;
        kept.guestCentre = probe.guestCentre;

        for (size_t r = 0; r < probe.readings.size(); ++r)
            if (sameChannels (probe.readings[r], work.proof))
            {
                const auto numGuests = probe.guestLevels.size();
                kept.readings = { probe.readings[r] };
                kept.hostLevels = { probe.hostLevels[r / numGuests] };
                kept.guestLevels = { probe.guestLevels[r % numGuests] };
            }

        work.measured[centre] = std::move (kept);
        return true;
    }

    // A recording's own quiet: most of its windows are louder where anything is said.
    static float quietOf (std::vector<float> levels)
    {
        constexpr double share = 0.15;
        const auto at = levels.begin() + (std::ptrdiff_t) (share * (double) levels.size());
        std::nth_element (levels.begin(), at, levels.end());
        return *at;
    }

    static bool isSound (float level, float quiet)
    {
        constexpr float overQuiet = 1.8f, alwaysSound = 0.0056f;    // 5 dB; -45 dB below full scale
        return level > overQuiet * quiet || level > alwaysSound;
    }

    void fit (Work& work) const
    {
        auto& proof = work.proof;
        proof.windows.clear();
        proof.line.reset();
        proof.windowsWithSound = 0;

        if (! work.grid || work.measured.empty())
            return;

        std::vector<float> hostLevels, guestLevels;

        for (const auto& [centre, answer] : work.measured)
        {
            hostLevels.push_back (answer.hostLevels.front());
            guestLevels.push_back (answer.guestLevels.front());
        }

        const auto hostQuiet = quietOf (hostLevels), guestQuiet = quietOf (guestLevels);

        for (const auto& [centre, answer] : work.measured)
        {
            const auto hasSound =
                isSound (answer.hostLevels.front(), hostQuiet) && isSound (answer.guestLevels.front(), guestQuiet);
            proof.windows.push_back ({ (double) answer.guestCentre, answer.readings.front().peaks, hasSound });
            proof.windowsWithSound += hasSound ? 1 : 0;
        }

        proof.search = searchOf (work);
        proof.line = fitLagLine (proof.windows, proof.search);
    }

    // More windows at the ends and where the line jumps or is lost, so that no stretch is too short to be seen.
    void lookCloser()
    {
        std::vector<LagQuery> queries;
        std::vector<Asked> asked;

        for (auto& work : works)
        {
            if (! work.grid || ! work.proof.isSure() || work.grid->hop <= (int64) (closestHop * hostOf (work).rate))
                continue;

            for (const auto centre : closerCentres (work))
            {
                queries.push_back (queryOf (work, centre));
                asked.push_back ({ &work, centre });
            }
        }

        std::map<Work*, bool> changed;
        ask (queries, asked, [&] (Work& work, int64 centre, LagAnswer answer) {
            work.measured[centre] = std::move (answer);
            changed[&work] = true;
        });

        for (auto& [work, isChanged] : changed)
            fit (*work);
    }

    [[nodiscard]] std::vector<int64> closerCentres (const Work& work) const
    {
        std::vector<int64> centres, known;
        std::vector<bool> onLine;
        const auto& line = *work.proof.line;
        size_t index = 0;

        for (const auto& [centre, answer] : work.measured)
        {
            const auto& window = work.proof.windows[index++];
            const auto expected = line.lagAt (window.x);
            const auto isNear = [&] (const LagPeak& peak) {
                return std::abs (peak.lag - expected) < 0.0005 * work.proof.search.rate;
            };
            known.push_back (centre);
            onLine.push_back (std::any_of (window.peaks.begin(), window.peaks.end(), isNear));
        }

        const auto jumpsBetween = [&] (double from, double to) {
            return &line.stretchAt (from) != &line.stretchAt (to);
        };

        for (size_t i = 0; i + 1 < known.size(); ++i)
        {
            const auto isAtEnd = i == 0 || i + 2 == known.size();
            const auto isJump = jumpsBetween (work.proof.windows[i].x, work.proof.windows[i + 1].x);
            const auto isLost = work.proof.windows[i].hasSound && ! onLine[i];

            if (isAtEnd || isJump || isLost || (work.proof.windows[i + 1].hasSound && ! onLine[i + 1]))
                for (int part = 1; part < 4; ++part)
                    centres.push_back (known[i] + (known[i + 1] - known[i]) * part / 4);
        }

        return centres;
    }

    // What looks like a jump may be another talker, whose sound takes other ways: a clock that jumps does so in every
    // channel alike.
    void confirmJumps()
    {
        std::vector<LagQuery> queries;
        std::vector<Asked> asked;
        std::map<Work*, std::vector<JumpWitness>> witnesses;

        for (auto& work : works)
        {
            if (! work.proof.isSure() || work.proof.line->stretches.size() < 2)
                continue;

            for (const auto& [centre, answer] : work.measured)
                if (isNearJump (work.proof, answer))
                {
                    queries.push_back (queryOf (work, centre));
                    queries.back().hostChannels = channelsOf (hostOf (work), hostOf (work).channels);
                    asked.push_back ({ &work, centre });
                }
        }

        ask (queries, asked, [&] (Work& work, int64, LagAnswer answer) {
            for (auto& reading : answer.readings)
                witnesses[&work].push_back (
                    { reading.hostChannel, { (double) answer.guestCentre, std::move (reading.peaks), true } });
        });

        for (auto& [work, heard] : witnesses)
            if (dropUnconfirmedJumps (work->proof, heard))
                refitWithoutJumps (*work);
    }

    static bool isNearJump (const PairProof& proof, const LagAnswer& answer)
    {
        constexpr double nearSeconds = 30.0;
        const auto& stretches = proof.line->stretches;

        for (size_t i = 0; i + 1 < stretches.size(); ++i)
        {
            const auto at = 0.5 * (stretches[i].toX + stretches[i + 1].fromX);

            if (std::abs ((double) answer.guestCentre - at) < nearSeconds * proof.search.rate)
                return true;
        }

        return false;
    }

    static void refitWithoutJumps (Work& work)
    {
        auto& line = *work.proof.line;
        line.windowsOnLine = 0;

        for (const auto& stretch : line.stretches)
            line.windowsOnLine += stretch.windows;
    }

    void placeCuts (Work& work) const
    {
        auto& proof = work.proof;

        if (! proof.line)
            return;

        const auto& stretches = proof.line->stretches;

        for (size_t i = 0; i + 1 < stretches.size(); ++i)
            proof.cuts.push_back (proof.isSure() ? findCut (sources, proof, i)
                                                 : 0.5 * (stretches[i].toX + stretches[i + 1].fromX));
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

void refitLine (PairProof& proof, double slope)
{
    if (! proof.line)
        return;

    const auto jumps = proof.line->stretches.size();
    auto search = proof.search;
    search.slope = slope;
    auto line = fitLagLine (proof.windows, search);

    // A slope that is known better moves the stretches, but neither finds nor forgets a jump.
    if (line && line->stretches.size() == jumps)
        proof.line = std::move (line);
}

}    // namespace ld
