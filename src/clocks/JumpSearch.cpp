#include "clocks/JumpSearch.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr double briefSeconds = 5.0, closeSeconds = 11.0,
                 nearSeconds = 32.0;       // how far from a place its sides reach
constexpr double alikeSeconds = 0.0002;    // lags that are one
constexpr double smallestJump = 0.0008;    // s; less may be another way of the sound, and does no harm
constexpr size_t mostJumps = 60;

struct Vote
{
    double difference, weight;
    double from = 0.0;    // the earlier lag
    size_t track = 0;
};

// How alike both sides of a place are, once one is moved.
struct Likeness
{
    double shift = 0.0, atShift = 0.0, asTheyAre = 0.0;
    int pairs = 0;    // of windows that agree on the shift
    int ways = 0;     // of the sound that are moved by it
};

class JumpFinder
{
public:
    JumpFinder (const std::vector<LagTrack>& tracksToUse, double slopeOfLag, int sampleRate)
        : rate (sampleRate), slope (slopeOfLag), isOneMicrophone (hearOneMicrophone (tracksToUse.front()))
    {
        for (size_t i = 0; i < tracksToUse.front().windows.size(); ++i)
        {
            Moment moment { tracksToUse.front().windows[i].x, {} };
            auto isHeard = false;

            for (const auto& track : tracksToUse)
            {
                auto& lags = moment.lags.emplace_back();

                for (const auto& peak : track.windows[i].peaks)
                    lags.push_back ({ peak.lag - slope * moment.x, weightOf (peak) });

                isHeard = isHeard || ! lags.empty();
            }

            if (isHeard)
                moments.push_back (std::move (moment));
        }
    }

    [[nodiscard]] std::vector<LagJump> find()
    {
        std::vector<LagJump> jumps;

        while (jumps.size() < mostJumps)
        {
            const auto found = surestJump();

            if (! found)
                break;

            jumps.push_back (*found);
            takeOff (*found);
        }

        return joined (std::move (jumps));
    }

private:
    struct Moment
    {
        double x;
        std::vector<std::vector<Vote>> lags;    // by track: each lag with its weight
    };

    void takeOff (const LagJump& jump)
    {
        for (auto& moment : moments)
            if (moment.x >= jump.x)
                for (auto& lags : moment.lags)
                    for (auto& lag : lags)
                        lag.difference -= jump.size;
    }

    // Two steps at one place are one.
    [[nodiscard]] std::vector<LagJump> joined (std::vector<LagJump> jumps) const
    {
        std::sort (jumps.begin(), jumps.end(), [] (auto& a, auto& b) { return a.x < b.x; });
        std::vector<LagJump> result;

        for (const auto& jump : jumps)
        {
            if (! result.empty() && result.back().x == jump.x)
                result.back().size += jump.size;
            else
                result.push_back (jump);
        }

        std::erase_if (result, [&] (const LagJump& jump) { return std::abs (jump.size) < smallestJump * rate; });
        return result;
    }

    [[nodiscard]] std::optional<LagJump> surestJump() const
    {
        std::optional<LagJump> best;
        auto most = 0.0;

        // Seen from near, another jump or a talker who walks does not blur it; seen from afar, more is heard.
        for (const auto seconds : { briefSeconds, closeSeconds, nearSeconds })
            for (size_t at = 1; at < moments.size(); ++at)
            {
                const auto likeness = compareSides (at, seconds);

                if (const auto gain = sureness (likeness, at, seconds); gain > most)
                {
                    most = gain;
                    best = LagJump { 0.5 * (moments[at - 1].x + moments[at].x), likeness.shift, isPlain (likeness) };
                }
            }

        return best;
    }

    [[nodiscard]] bool isPlain (const Likeness& likeness) const
    {
        constexpr double longestWaySeconds = 0.035;    // no two ways of a sound on a set differ by more: 12 m
        constexpr int manyWays = 8, manyPairs = 40;
        return isOneMicrophone || (likeness.ways >= manyWays && likeness.pairs >= manyPairs)
               || std::abs (likeness.shift) > longestWaySeconds * rate;
    }

    // 0 where it is no jump.
    [[nodiscard]] double sureness (const Likeness& likeness, size_t at, double seconds) const
    {
        constexpr double mostAsTheyAre = 0.35, mostAsTheyAreAfar = 0.4, leastAlike = 0.6;
        constexpr int fewestPairs = 12, fewestWays = 4;

        if (std::abs (likeness.shift) < smallestJump * rate || likeness.pairs < fewestPairs
            || likeness.asTheyAre > mostAsTheyAre * likeness.atShift)
            return 0.0;

        // A few ways alone may be another talker's.
        if (likeness.ways < fewestWays && ! isPlain (likeness))
            return 0.0;

        // The sides must be as alike as each is to itself.
        const auto before = likenessWithin (at, -1, seconds), after = likenessWithin (at, 1, seconds);

        if (likeness.atShift < leastAlike * std::sqrt (before * after))
            return 0.0;

        // Seen from farther, two talkers who take turns come back.
        const auto afar = compareSides (at, 3.0 * seconds, likeness.shift);

        if (afar.asTheyAre > (isOneMicrophone ? 0.5 : 1.0) * mostAsTheyAreAfar * afar.atShift)
            return 0.0;

        return (likeness.atShift - likeness.asTheyAre) / std::sqrt (before * after)
               * std::sqrt ((double) likeness.pairs);
    }

    [[nodiscard]] std::pair<size_t, size_t> sideOf (size_t at, int direction, double seconds) const
    {
        const auto limit = seconds * rate;

        if (direction < 0)
        {
            auto first = at;

            while (first > 0 && moments[at].x - moments[first - 1].x <= limit)
                --first;

            return { first, at };
        }

        auto last = at;

        while (last < moments.size() && moments[last].x - moments[at - 1].x <= limit)
            ++last;

        return { at, last };
    }

    // Differences of all lags of two moments, track by track.
    static void addVotes (const Moment& a, const Moment& b, std::vector<Vote>& votes)
    {
        for (size_t t = 0; t < a.lags.size(); ++t)
            for (const auto& from : a.lags[t])
                for (const auto& to : b.lags[t])
                    votes.push_back ({ to.difference - from.difference, from.weight * to.weight, from.difference, t });
    }

    [[nodiscard]] double alike (const std::vector<Vote>& votes, double shift) const
    {
        const auto tolerance = alikeSeconds * rate;
        auto sum = 0.0;

        for (const auto& vote : votes)
            sum += std::abs (vote.difference - shift) < tolerance ? vote.weight : 0.0;

        return sum;
    }

    // Windows of a side, from all of it, but not more than are needed.
    [[nodiscard]] std::vector<size_t> windowsOf (size_t at, int direction, double seconds) const
    {
        constexpr size_t enough = 12;
        const auto [first, last] = sideOf (at, direction, seconds);
        const auto count = last - first, taken = std::min (count, enough);
        std::vector<size_t> windows;

        for (size_t i = 0; i < taken; ++i)
            windows.push_back (first + i * count / taken);

        return windows;
    }

    [[nodiscard]] double likenessWithin (size_t at, int direction, double seconds) const
    {
        const auto side = windowsOf (at, direction, seconds);
        std::vector<Vote> votes;
        auto pairs = 0;

        for (size_t i = 0; i < side.size(); ++i)
            for (auto j = i + 1; j < side.size(); ++j, ++pairs)
                addVotes (moments[side[i]], moments[side[j]], votes);

        return pairs > 0 ? alike (votes, 0.0) / pairs : 1.0;
    }

    [[nodiscard]] Likeness compareSides (size_t at, double seconds, std::optional<double> known = {}) const
    {
        const auto before = windowsOf (at, -1, seconds), after = windowsOf (at, 1, seconds);
        std::vector<Vote> votes;
        std::vector<size_t> ends;    // of the votes of each pair of windows
        Likeness likeness;

        for (const auto i : before)
            for (const auto j : after)
            {
                addVotes (moments[i], moments[j], votes);
                ends.push_back (votes.size());
            }

        const auto windowPairs = (double) ends.size();
        likeness.shift = known ? *known : bestShift (votes);
        likeness.atShift = alike (votes, likeness.shift) / windowPairs;
        likeness.asTheyAre = alike (votes, 0.0) / windowPairs;
        likeness.ways = waysMoved (votes, likeness.shift);
        size_t first = 0;

        for (const auto end : ends)
        {
            const auto isShifted = [&] (const Vote& vote) {
                return std::abs (vote.difference - likeness.shift) < alikeSeconds * rate;
            };
            likeness.pairs +=
                std::any_of (votes.begin() + (std::ptrdiff_t) first, votes.begin() + (std::ptrdiff_t) end, isShifted)
                    ? 1
                    : 0;
            first = end;
        }

        return likeness;
    }

    // How many ways of the sound, in whatever channels, are moved by a shift.
    [[nodiscard]] int waysMoved (const std::vector<Vote>& votes, double shift) const
    {
        constexpr double otherWaySeconds = 0.0004, leastOfMost = 0.2;
        std::vector<Vote> ways;

        for (const auto& vote : votes)
        {
            if (std::abs (vote.difference - shift) >= alikeSeconds * rate)
                continue;

            const auto isSame = [&] (const Vote& way) {
                return way.track == vote.track && std::abs (way.from - vote.from) < otherWaySeconds * rate;
            };

            if (const auto at = std::find_if (ways.begin(), ways.end(), isSame); at != ways.end())
                at->weight += vote.weight;
            else
                ways.push_back (vote);
        }

        auto most = 0.0;

        for (const auto& way : ways)
            most = std::max (most, way.weight);

        return (int) std::count_if (
            ways.begin(), ways.end(), [&] (const Vote& way) { return way.weight >= leastOfMost * most; });
    }

    // Where the differences crowd: the heaviest stretch of them, then its mean.
    [[nodiscard]] double bestShift (std::vector<Vote> votes) const
    {
        if (votes.empty())
            return 0.0;

        std::sort (votes.begin(), votes.end(), [] (auto& a, auto& b) { return a.difference < b.difference; });
        const auto width = 2.0 * alikeSeconds * rate;
        auto weight = 0.0, moment = 0.0, most = 0.0, best = 0.0;
        size_t first = 0;

        for (const auto& vote : votes)
        {
            weight += vote.weight;
            moment += vote.weight * vote.difference;

            while (vote.difference - votes[first].difference > width)
            {
                weight -= votes[first].weight;
                moment -= votes[first].weight * votes[first].difference;
                ++first;
            }

            if (weight > most)
            {
                most = weight;
                best = moment / weight;
            }
        }

        return best;
    }

    // The median of the largest peaks.
    [[nodiscard]] static bool hearOneMicrophone (const LagTrack& track)
    {
        constexpr float leastHeight = 0.45f;    // surer than for a place: a jump needs a cut
        std::vector<float> heights;

        for (const auto& window : track.windows)
            if (! window.peaks.empty())
                heights.push_back (std::abs (window.peaks.front().height));

        if (heights.empty())
            return false;

        const auto middle = heights.begin() + (std::ptrdiff_t) heights.size() / 2;
        std::nth_element (heights.begin(), middle, heights.end());
        return *middle >= leastHeight;
    }

    const double rate, slope;
    const bool isOneMicrophone;
    std::vector<Moment> moments;    // windows in which anything is heard
};

// A way of the sound: its lag with slope and jumps taken off.
struct Way
{
    size_t track;
    double lag, weight;
};

// Of the windows around a jump.
std::vector<Way> waysAround (const std::vector<LagTrack>& tracks, const LagLine& line, double x, int rate)
{
    std::vector<Way> ways;

    for (size_t t = 0; t < tracks.size(); ++t)
        for (const auto& window : tracks[t].windows)
            if (std::abs (window.x - x) < nearSeconds * rate)
                for (const auto& peak : window.peaks)
                    ways.push_back ({ t, peak.lag - (line.lagAt (window.x) - line.lagAtZero), weightOf (peak) });

    return ways;
}

// How many of the known ways a window's peaks lie on, once a lag is taken off them.
double supportOf (const LagWindow& window, size_t track, const std::vector<Way>& ways, double taken, double tolerance)
{
    auto sum = 0.0;

    for (const auto& peak : window.peaks)
        for (const auto& way : ways)
            if (way.track == track && std::abs (peak.lag - taken - way.lag) < tolerance)
                sum += way.weight * weightOf (peak);

    return sum;
}

}    // namespace

std::vector<LagJump> findJumps (const std::vector<LagTrack>& tracks, double slope, int rate)
{
    return tracks.empty() ? std::vector<LagJump> {} : JumpFinder (tracks, slope, rate).find();
}

double findCut (const CutSearch& search)
{
    const auto& line = search.line;
    const auto& jump = line.jumps[search.jump];
    const auto ways = waysAround (search.tracks, line, jump.x, search.rate);
    const auto tolerance = alikeSeconds * search.rate;
    const auto& moments = search.closeTracks.front().windows;

    // The sum is of what the place ahead of the jump explains, less what the one behind it would; its top is the jump. Where
    // nobody speaks it has a flat top.
    auto sum = 0.0, most = 0.0, first = search.fromX, last = search.fromX;

    for (size_t i = 0; i < moments.size(); ++i)
    {
        const auto x = moments[i].x;
        const auto before = line.lagAt (jump.x) - line.lagAtZero - line.slope * jump.x - jump.size + line.slope * x;

        for (size_t t = 0; t < search.closeTracks.size(); ++t)
        {
            const auto& window = search.closeTracks[t].windows[i];
            sum += supportOf (window, t, ways, before, tolerance)
                   - supportOf (window, t, ways, before + jump.size, tolerance);
        }

        const auto next = i + 1 < moments.size() ? moments[i + 1].x : search.toX;

        if (sum > most + 1e-9)
        {
            most = sum;
            first = x;
            last = next;
        }
        else if (sum > most - 1e-9)
            last = next;
    }

    return 0.5 * (first + last);
}

}    // namespace ld
