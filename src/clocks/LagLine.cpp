#include "clocks/LagLine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace ld
{
namespace
{

constexpr double toleranceSeconds = 0.0005;    // where the biweight ends
constexpr double onLineSeconds = 0.00035;
constexpr size_t mostLevels = 48;
constexpr size_t mostTrials = 1500;
constexpr double surePeak = 0.3;    // a height that only one and the same microphone gives

double biweight (double residual, double tolerance) noexcept
{
    const auto u = residual / tolerance;
    const auto v = 1.0 - u * u;
    return v > 0.0 ? v * v : 0.0;
}

// A peak that hardly stands out counts for less than one that cannot be chance.
double weightOf (const LagPeak& peak) noexcept
{
    return std::clamp (((double) peak.overRms - 4.0) / 5.0, 0.2, 1.0);
}

struct Point
{
    size_t window;
    double x, lag, weight, height;
};

// A window's best support for a lag at its place.
double supportOf (const LagWindow& window, double lag, double tolerance) noexcept
{
    auto best = 0.0;

    for (const auto& peak : window.peaks)
        best = std::max (best, weightOf (peak) * biweight (peak.lag - lag, tolerance));

    return best;
}

class LineFit
{
public:
    LineFit (const std::vector<LagWindow>& allWindows, const LineSearch& searchToDo)
        : windows (allWindows), search (searchToDo), tolerance (toleranceSeconds * searchToDo.rate)
    {
        for (size_t i = 0; i < windows.size(); ++i)
            for (const auto& peak : windows[i].peaks)
                points.push_back ({ i, windows[i].x, peak.lag, weightOf (peak), std::abs ((double) peak.height) });
    }

    [[nodiscard]] std::optional<LagLine> find()
    {
        if (points.empty())
            return {};

        slope = search.slope ? *search.slope : bestSlope();

        for (int round = 0; round < 3; ++round)
        {
            findLevels();
            trackLevels();

            if (stretches.empty())
                return {};

            refine();
        }

        return describe();
    }

private:
    struct Level
    {
        double lag;
    };

    [[nodiscard]] double scoreOf (double slopeToTry, double lagAtZero) const
    {
        auto score = 0.0;

        for (const auto& window : windows)
            score += supportOf (window, lagAtZero + slopeToTry * window.x, tolerance);

        return score;
    }

    // Lines through the largest peaks of two windows, near ones and far ones.
    [[nodiscard]] double bestSlope() const
    {
        std::vector<std::pair<size_t, size_t>> trials;
        std::vector<const Point*> tops;

        for (size_t i = 0; i < points.size(); ++i)
            if (i == 0 || points[i].window != points[i - 1].window || i < 2 || points[i].window != points[i - 2].window)
                tops.push_back (&points[i]);

        for (size_t i = 0; i < tops.size(); ++i)
            for (auto j = i + 1; j < tops.size(); ++j)
                if (const auto dx = tops[j]->x - tops[i]->x;
                    dx > 0.0 && std::abs (tops[j]->lag - tops[i]->lag) <= search.steepest * dx + 1.0)
                    trials.emplace_back (i, j);

        auto bestScore = -1.0, best = 0.0;
        const auto stride = std::max<size_t> (1, trials.size() / mostTrials);

        for (size_t t = 0; t < trials.size(); t += stride)
        {
            const auto& a = *tops[trials[t].first];
            const auto& b = *tops[trials[t].second];
            const auto tried = (b.lag - a.lag) / (b.x - a.x);

            if (const auto score = scoreOf (tried, a.lag - tried * a.x); score > bestScore)
            {
                bestScore = score;
                best = tried;
            }
        }

        return best;
    }

    // The lags, with the slope taken off, at which peaks crowd.
    void findLevels()
    {
        std::vector<std::pair<double, double>> residuals;    // with the weight

        for (const auto& point : points)
            residuals.emplace_back (point.lag - slope * point.x, point.weight);

        std::sort (residuals.begin(), residuals.end());
        std::vector<std::pair<double, double>> crowds;    // support, lag
        size_t first = 0;

        for (size_t i = 0; i < residuals.size(); ++i)
        {
            while (residuals[first].first < residuals[i].first - tolerance)
                ++first;

            auto support = 0.0;

            for (auto j = first; j < residuals.size() && residuals[j].first < residuals[i].first + tolerance; ++j)
                support += residuals[j].second * biweight (residuals[j].first - residuals[i].first, tolerance);

            crowds.emplace_back (support, residuals[i].first);
        }

        std::sort (crowds.begin(), crowds.end(), [] (auto& a, auto& b) { return a.first > b.first; });
        levels.clear();

        for (const auto& [support, lag] : crowds)
        {
            const auto isNear = [&, at = lag] (const Level& level) {
                return std::abs (level.lag - at) < 0.6 * tolerance;
            };

            if (levels.size() < mostLevels && std::none_of (levels.begin(), levels.end(), isNear))
                levels.push_back ({ lag });
        }
    }

    [[nodiscard]] double supportAt (size_t window, double level) const
    {
        return supportOf (windows[window], level + slope * windows[window].x, tolerance);
    }

    // A talker who is nearer to one microphone than the last looks like a jump, unless the two recordings come from one
    // microphone: then fewer windows are enough.
    [[nodiscard]] double jumpPrice() const
    {
        std::vector<double> heights;

        for (size_t i = 0; i < points.size(); ++i)
            if (i == 0 || points[i].window != points[i - 1].window)
                heights.push_back (points[i].height);

        std::nth_element (heights.begin(), heights.begin() + (std::ptrdiff_t) heights.size() / 2, heights.end());
        return heights[heights.size() / 2] >= surePeak ? 1.4 : 3.0;
    }

    void trackLevels()
    {
        const auto price = jumpPrice();
        const auto n = windows.size(), count = levels.size();
        std::vector<double> score (count);
        std::vector<std::vector<size_t>> cameFrom (n, std::vector<size_t> (count));

        for (size_t i = 0; i < n; ++i)
        {
            const auto best = (size_t) (std::max_element (score.begin(), score.end()) - score.begin());
            const auto fromBest = score[best] - price;

            for (size_t s = 0; s < count; ++s)
            {
                cameFrom[i][s] = i > 0 && fromBest > score[s] ? best : s;
                score[s] = std::max (score[s], i > 0 ? fromBest : score[s]) + supportAt (i, levels[s].lag);
            }
        }

        auto at = (size_t) (std::max_element (score.begin(), score.end()) - score.begin());
        path.assign (n, 0);

        for (auto i = n; i-- > 0;)
        {
            path[i] = at;
            at = cameFrom[i][at];
        }

        cutIntoStretches();
        dropFalseJumps();
    }

    struct Run
    {
        size_t first, last;    // windows
        double lag;
    };

    void cutIntoStretches()
    {
        stretches.clear();

        for (size_t i = 0; i < path.size(); ++i)
        {
            if (stretches.empty() || levels[path[i]].lag != stretches.back().lag)
                stretches.push_back ({ i, i, levels[path[i]].lag });

            stretches.back().last = i;
        }
    }

    [[nodiscard]] double supportOfRun (const Run& run, double lag) const
    {
        auto sum = 0.0;

        for (auto i = run.first; i <= run.last; ++i)
            sum += supportAt (i, lag);

        return sum;
    }

    // A clock that has jumped does not come back: where the old place is heard again, it was another path of the sound.
    void dropFalseJumps()
    {
        constexpr double mostOfOld = 0.2;

        for (size_t i = 0; i + 1 < stretches.size();)
        {
            auto& a = stretches[i];
            const auto& b = stretches[i + 1];
            const auto ownA = supportOfRun (a, a.lag), ownB = supportOfRun (b, b.lag);
            const auto aInB = supportOfRun (b, a.lag), bInA = supportOfRun (a, b.lag);
            const auto isBack = i + 2 < stretches.size() && std::abs (stretches[i + 2].lag - a.lag) < tolerance;

            if (aInB <= mostOfOld * ownB && bInA <= mostOfOld * ownA && ! isBack)
            {
                ++i;
                continue;
            }

            a.lag = ownA + aInB >= ownB + bInA ? a.lag : b.lag;
            a.last = b.last;
            stretches.erase (stretches.begin() + (std::ptrdiff_t) i + 1);
            i = i > 0 ? i - 1 : 0;
        }
    }

    // The peak of a window that lies nearest to the line, if any does.
    [[nodiscard]] const LagPeak* peakOn (size_t window, double lag, double within) const
    {
        const LagPeak* nearest = nullptr;
        auto least = within;

        for (const auto& peak : windows[window].peaks)
            if (const auto distance = std::abs (peak.lag - lag - slope * windows[window].x); distance < least)
            {
                least = distance;
                nearest = &peak;
            }

        return nearest;
    }

    struct Moments
    {
        double weight = 0.0, x = 0.0, y = 0.0;
    };

    void refine()
    {
        constexpr int rounds = 6;

        for (int round = 0; round < rounds; ++round)
        {
            const auto width = tolerance * (round < 2 ? 1.0 : 0.5);
            auto sxx = 0.0, sxy = 0.0;
            std::vector<Moments> means;

            for (const auto& run : stretches)
                means.push_back (momentsOf (run, width, sxx, sxy));

            if (! search.slope && sxx > 1.0)
                slope += sxy / sxx;

            for (size_t s = 0; s < stretches.size(); ++s)
                if (means[s].weight > 0.0)
                    stretches[s].lag = means[s].y - (search.slope || sxx <= 1.0 ? 0.0 : sxy / sxx * means[s].x);

            slopeSpread = sxx;
        }
    }

    // Of the lags with the slope taken off.
    Moments momentsOf (const Run& run, double width, double& sxx, double& sxy) const
    {
        struct Term
        {
            double x, y, weight;
        };
        std::vector<Term> terms;
        Moments mean;

        for (auto i = run.first; i <= run.last; ++i)
            if (const auto* peak = peakOn (i, run.lag, width))
            {
                const auto y = peak->lag - slope * windows[i].x;
                const auto weight = weightOf (*peak) * biweight (y - run.lag, width);
                terms.push_back ({ windows[i].x, y, weight });
                mean.weight += weight;
                mean.x += weight * windows[i].x;
                mean.y += weight * y;
            }

        if (mean.weight <= 0.0)
            return {};

        mean.x /= mean.weight;
        mean.y /= mean.weight;

        for (const auto& term : terms)
        {
            sxx += term.weight * (term.x - mean.x) * (term.x - mean.x);
            sxy += term.weight * (term.x - mean.x) * (term.y - mean.y);
        }

        return mean;
    }

    [[nodiscard]] std::optional<LagLine> describe() const
    {
        LagLine line;
        line.slope = slope;
        auto squares = 0.0;

        for (const auto& run : stretches)
        {
            LineStretch stretch { windows[run.first].x, windows[run.last].x, run.lag, 0 };

            for (auto i = run.first; i <= run.last; ++i)
                if (const auto* peak = peakOn (i, run.lag, onLineSeconds * search.rate))
                {
                    ++stretch.windows;
                    const auto residual = peak->lag - slope * windows[i].x - run.lag;
                    squares += residual * residual;
                    line.height += std::abs ((double) peak->height);
                }

            line.windowsOnLine += stretch.windows;

            if (stretch.windows > 0)
                line.stretches.push_back (stretch);
        }

        if (line.windowsOnLine < 1)
            return {};

        for (const auto& window : windows)
            line.windowsWithSound += window.hasSound || ! window.peaks.empty() ? 1 : 0;

        line.residual = std::sqrt (squares / line.windowsOnLine);
        line.height /= line.windowsOnLine;
        line.slopeError = slopeSpread > 0.0 ? std::max (line.residual, 1.0) / std::sqrt (slopeSpread) : 1.0;
        line.log10FalseAlarms = falseAlarms (line);
        return line;
    }

    [[nodiscard]] double falseAlarms (const LagLine& line) const
    {
        auto withPeaks = 0;

        for (const auto& window : windows)
            withPeaks += window.peaks.empty() ? 0 : 1;

        const auto n = std::max (1.0, withPeaks * search.independence);
        const auto perWindow = (double) points.size() / std::max (withPeaks, 1);
        const auto p = std::min (0.5, perWindow * onLineSeconds * search.rate / search.reach);
        const auto share = std::min (1.0, (double) line.windowsOnLine / std::max (withPeaks, 1));
        const auto tests = 2.0 * std::log10 ((double) points.size() + 1.0)
                           + (double) (line.stretches.size() - 1) * std::log10 (n * (double) levels.size() + 1.0);

        if (share <= p)
            return tests;

        const auto divergence =
            share * std::log (share / p) + (share < 1.0 ? (1.0 - share) * std::log ((1.0 - share) / (1.0 - p)) : 0.0);
        return tests - n * divergence / std::log (10.0);
    }

    const std::vector<LagWindow>& windows;
    const LineSearch& search;
    const double tolerance;    // samples
    std::vector<Point> points;
    double slope = 0.0, slopeSpread = 0.0;
    std::vector<Level> levels;
    std::vector<size_t> path;    // the level of each window
    std::vector<Run> stretches;
};

}    // namespace

const LineStretch& LagLine::stretchAt (double x) const noexcept
{
    auto at = stretches.begin();

    while (std::next (at) != stretches.end() && x > 0.5 * (at->toX + std::next (at)->fromX))
        ++at;

    return *at;
}

double LagLine::lagAt (double x) const noexcept
{
    return stretchAt (x).lagAtZero + slope * x;
}

std::optional<LagLine> fitLagLine (const std::vector<LagWindow>& windows, const LineSearch& search)
{
    return LineFit (windows, search).find();
}

bool isSureLine (const LagLine& line) noexcept
{
    constexpr double mostFalseAlarms = -5.0;
    return line.log10FalseAlarms < mostFalseAlarms;
}

}    // namespace ld
