#include "clocks/PairWindows.h"
#include "sync/Fft.h"

#include <algorithm>
#include <cmath>

// The second half of a proof, once the slopes are known: jumps, closer looks, and the final line.

namespace ld
{
namespace
{

using juce::int64;

// How far from the line of a stretch a window may be heard: not as far as the places beside it.
double nearnessOf (const LineSearch& search, size_t stretch)
{
    auto largest = 0.0;

    if (stretch > 0)
        largest = std::abs (search.jumps[stretch - 1].size);

    if (stretch < search.jumps.size())
        largest = std::max (largest, std::abs (search.jumps[stretch].size));

    return std::clamp (0.4 * largest, 0.0005 * search.rate, 0.035 * search.rate);
}

// A stretch with hardly any windows on it does not count.
void dropUnheardJumps (const std::vector<LagWindow>& windows, LineSearch& search)
{
    constexpr int fewestWindows = 5;

    while (! search.jumps.empty())
    {
        const auto line = fitLagLine (windows, search);
        std::vector<int> heard (search.jumps.size() + 1);

        for (const auto& window : windows)
        {
            size_t stretch = 0;

            while (stretch < search.jumps.size() && search.jumps[stretch].x <= window.x)
                ++stretch;

            // People who walk are heard beside the line; still nearer to it than to the place beyond the jump.
            const auto near = nearnessOf (search, stretch);
            const auto isOn = [&] (const LagPeak& peak) {
                return line && std::abs (peak.lag - line->lagAt (window.x)) < near;
            };

            heard[stretch] += std::any_of (window.peaks.begin(), window.peaks.end(), isOn) ? 1 : 0;
        }

        const auto least = (size_t) (std::min_element (heard.begin(), heard.end()) - heard.begin());

        if (heard[least] >= fewestWindows)
            return;

        // What lies behind an unheard stretch stays where it was heard.
        const auto gone = std::min (least, search.jumps.size() - 1);

        if (least < search.jumps.size() && least > 0)
        {
            search.jumps[least].size += search.jumps[least - 1].size;
            search.jumps.erase (search.jumps.begin() + (std::ptrdiff_t) least - 1);
        }
        else
            search.jumps.erase (search.jumps.begin() + (std::ptrdiff_t) gone);
    }
}

// Finds the jumps of one proof and fits its line again.
void followJumps (PairProof& proof)
{
    auto search = proof.search;
    search.jumps = findJumps (proof.tracks, *search.slope, search.rate);
    dropUnheardJumps (proof.tracks.front().windows, search);
    auto line = fitLagLine (proof.tracks.front().windows, search);

    // A line that is surer without them has none.
    if (line && (search.jumps.empty() || isSureLine (*line)))
        proof.line = std::move (line);
}

std::optional<size_t> windowBefore (const PairProof& proof, double x)
{
    const auto& windows = proof.tracks.front().windows;
    std::optional<size_t> before;

    for (size_t i = 0; i < windows.size(); ++i)
        if (windows[i].x < x)
            before = i;

    return before;
}

// Between the windows beside each jump, and at the ends.
std::vector<int64> closerCentres (const PairProof& proof, bool isJumpy)
{
    constexpr int parts = 4;
    std::vector<int64> centres;
    const auto& known = proof.centres;

    const auto addBetween = [&] (size_t i) {
        for (int part = 1; i + 1 < known.size() && part < parts; ++part)
            centres.push_back (known[i] + (known[i + 1] - known[i]) * part / parts);
    };

    // A clock that jumps once will jump again.
    for (size_t i = 0; isJumpy && i + 1 < known.size(); ++i)
        addBetween (i);

    addBetween (0);

    if (known.size() > 2)
        addBetween (known.size() - 2);

    for (const auto& jump : proof.line->jumps)
        if (const auto before = windowBefore (proof, jump.x))
            for (auto i = *before > 0 ? *before - 1 : 0; i <= *before + 1; ++i)
                addBetween (i);

    std::sort (centres.begin(), centres.end());
    centres.erase (std::unique (centres.begin(), centres.end()), centres.end());
    return centres;
}

// Windows with sound in which nothing is heard near the line: a clock may have jumped farther than they see.
std::vector<int64> lostCentres (const PairProof& proof)
{
    constexpr double echoSeconds = 0.04;
    constexpr size_t mostLost = 24;
    std::vector<int64> lost;
    const auto& windows = proof.tracks.front().windows;

    for (size_t i = 0; i < windows.size(); ++i)
    {
        const auto expected = proof.line->lagAt (windows[i].x);
        const auto isNear = [&] (const LagPeak& peak) {
            return std::abs (peak.lag - expected) < echoSeconds * proof.search.rate;
        };

        if (windows[i].hasSound && std::none_of (windows[i].peaks.begin(), windows[i].peaks.end(), isNear))
            lost.push_back (proof.centres[i]);
    }

    std::vector<int64> some;
    const auto stride = std::max<size_t> (1, (lost.size() + mostLost - 1) / mostLost);

    for (size_t i = 0; i < lost.size(); i += stride)
        some.push_back (lost[i]);

    return some;
}

void lookCloser (const std::vector<LagSource>& sources,
                 const std::vector<KnownSlope>& known,
                 const ProofOptions& options)
{
    std::vector<LagQuery> queries;
    std::vector<std::pair<PairProof*, int64>> asked;

    for (const auto& [proof, slope, isJumpy] : known)
    {
        if (! proof->line)
            continue;

        const auto ask = [&, pair = proof] (int64 centre, int order) {
            queries.push_back (queryFor (*pair, std::min (order, RealFft::largestOrder), centre));
            askTracks (queries.back(), *pair);
            asked.emplace_back (pair, centre);
        };

        for (const auto centre : closerCentres (*proof, isJumpy))
            ask (centre, proof->order);

        for (const auto centre : lostCentres (*proof))
            ask (centre, proof->order + 2);
    }

    auto answers = measureLags (sources, queries, options.workers, options.progress, options.onRead);

    for (size_t i = 0; i < answers.size(); ++i)
        keepWindow (*asked[i].first, asked[i].second, std::move (answers[i]));
}

// Short windows around a jump.
struct CutLook
{
    PairProof* proof = nullptr;
    size_t jump = 0;
    double fromX = 0.0, toX = 0.0;
    std::vector<LagTrack> tracks {};
};

CutLook cutLookOf (PairProof& proof, size_t jump)
{
    // The windows beside it may have been taken for each other.
    constexpr double widestSeconds = 6.0;
    const auto& jumps = proof.line->jumps;
    const auto& windows = proof.tracks.front().windows;
    const auto x = jumps[jump].x, widest = widestSeconds * proof.search.rate;
    const auto atLeast = jump > 0 ? 0.5 * (jumps[jump - 1].x + x) : windows.front().x;
    const auto atMost = jump + 1 < jumps.size() ? 0.5 * (x + jumps[jump + 1].x) : windows.back().x;
    return {
        &proof, jump, std::min (std::max (x - widest, atLeast), x), std::max (std::min (x + widest, atMost), x), {}
    };
}

// Half way between the two places, and wide enough to see both.
std::vector<LagQuery> queriesFor (const CutLook& look)
{
    constexpr double hopSeconds = 0.25, echoSeconds = 0.045, windowSeconds = 1.37;
    const auto& proof = *look.proof;
    const auto& jump = proof.line->jumps[look.jump];
    const auto rate = proof.search.rate;
    auto order = lagWindowOrder (windowSeconds, rate);

    while (order < RealFft::largestOrder && (double) reachOf (order) < 0.5 * std::abs (jump.size) + echoSeconds * rate)
        ++order;

    std::vector<LagQuery> queries;

    for (auto x = look.fromX; x <= look.toX; x += hopSeconds * rate)
    {
        const auto before = proof.line->lagAt (jump.x) - jump.size + proof.line->slope * (x - jump.x);
        LagQuery query;
        query.host = proof.task.host;
        query.guest = proof.task.guest;
        query.order = order;
        query.reach = reachOf (order);
        query.roughLag = (int64) std::llround (before + 0.5 * jump.size);
        query.hostStart = (int64) std::llround (x) + query.roughLag - ((int64) 1 << order) / 2;
        askTracks (query, proof);
        queries.push_back (std::move (query));
    }

    return queries;
}

void keepClose (CutLook& look, LagAnswer answer)
{
    look.tracks.resize (look.proof->tracks.size());

    for (size_t t = 0; t < look.tracks.size(); ++t)
        for (const auto& reading : answer.readings)
            if (reading.hostChannel == look.proof->tracks[t].hostChannel)
                look.tracks[t].windows.push_back ({ (double) answer.guestCentre, reading.peaks, false });
}

void findCuts (const std::vector<LagSource>& sources, const std::vector<KnownSlope>& known, const ProofOptions& options)
{
    std::vector<CutLook> looks;
    std::vector<LagQuery> queries;
    std::vector<size_t> lookOf;

    for (const auto& entry : known)
        for (size_t jump = 0; entry.proof->line && jump < entry.proof->line->jumps.size(); ++jump)
        {
            looks.push_back (cutLookOf (*entry.proof, jump));

            for (auto& query : queriesFor (looks.back()))
            {
                queries.push_back (std::move (query));
                lookOf.push_back (looks.size() - 1);
            }
        }

    auto answers = measureLags (sources, queries, options.workers, options.progress, options.onRead);

    for (size_t i = 0; i < answers.size(); ++i)
        keepClose (looks[lookOf[i]], std::move (answers[i]));

    for (const auto& entry : known)
        entry.proof->cuts.clear();

    for (auto& look : looks)
    {
        auto& proof = *look.proof;
        proof.cuts.push_back (
            findCut ({ proof.tracks, look.tracks, *proof.line, look.jump, look.fromX, look.toX, proof.search.rate }));
    }

    // From now on the lag changes where the jumps are.
    for (auto& look : looks)
        look.proof->line->jumps[look.jump].x = look.proof->cuts[look.jump];
}

}    // namespace

void findProofJumps (const std::vector<KnownSlope>& known)
{
    for (const auto& entry : known)
    {
        entry.proof->search.slope = entry.slope;
        followJumps (*entry.proof);
    }
}

void finishProofs (const std::vector<LagSource>& sources,
                   const std::vector<KnownSlope>& known,
                   const ProofOptions& options)
{
    findProofJumps (known);
    lookCloser (sources, known, options);
    findProofJumps (known);

    findCuts (sources, known, options);
}

void forgetJumps (PairProof& proof)
{
    proof.cuts.clear();

    if (auto line = fitLagLine (proof.tracks.front().windows, proof.search))
        proof.line = std::move (line);
}

void freeSlopes (const std::vector<KnownSlope>& known)
{
    for (const auto& entry : known)
    {
        auto* const proof = entry.proof;
        auto search = proof->search;
        search.slope.reset();
        search.jumps = proof->line ? proof->line->jumps : std::vector<LagJump> {};

        if (auto line = fitLagLine (proof->tracks.front().windows, search); line && isSureLine (*line))
            proof->line = std::move (line);
    }
}

}    // namespace ld
