#include "clocks/LagLine.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr double toleranceSeconds = 0.0005;    // where the biweight ends
constexpr double onLineSeconds = 0.00035;
constexpr double echoSeconds = 0.04;    // beyond it no way of one sound explains a second line
constexpr size_t mostTrials = 1500;

double biweight (double residual, double tolerance) noexcept
{
    const auto u = residual / tolerance;
    const auto v = 1.0 - u * u;
    return v > 0.0 ? v * v : 0.0;
}

// A peak with the jumps ahead of it taken off its lag.
struct Point
{
    size_t window;
    double x, lag, weight, height;
};

class LineFit
{
public:
    LineFit (const std::vector<LagWindow>& allWindows, const LineSearch& searchToDo)
        : windows (allWindows), search (searchToDo), tolerance (toleranceSeconds * searchToDo.rate)
    {
        firstPoints.push_back (0);

        for (size_t i = 0; i < windows.size(); ++i)
        {
            auto jumped = 0.0;

            for (const auto& jump : search.jumps)
                jumped += jump.x <= windows[i].x ? jump.size : 0.0;

            // The straight way of a sound is the loudest; echoes and other talkers follow.
            for (const auto& peak : windows[i].peaks)
                points.push_back (
                    { i,
                      windows[i].x,
                      peak.lag - jumped,
                      weightOf (peak) * std::abs ((double) (peak.height / windows[i].peaks.front().height)),
                      std::abs ((double) peak.height) });

            firstPoints.push_back (points.size());
        }
    }

    [[nodiscard]] std::optional<LagLine> find()
    {
        if (points.empty())
            return {};

        if (search.slope)
        {
            slope = *search.slope;
            lagAtZero = bestLevel();
        }
        else
            findBestTrial();

        refine();
        return describe();
    }

private:
    // The nearest point of a window to the line, if any lies within; by its support, the best.
    [[nodiscard]] const Point* pointOn (size_t window, double slopeToTry, double level, double within) const
    {
        const Point* nearest = nullptr;
        auto least = within;

        for (auto p = firstPoints[window]; p < firstPoints[window + 1]; ++p)
            if (const auto distance = std::abs (points[p].lag - level - slopeToTry * points[p].x); distance < least)
            {
                least = distance;
                nearest = &points[p];
            }

        return nearest;
    }

    [[nodiscard]] double scoreOf (double slopeToTry, double level) const
    {
        auto score = 0.0;

        for (size_t i = 0; i < windows.size(); ++i)
        {
            auto best = 0.0;

            for (auto p = firstPoints[i]; p < firstPoints[i + 1]; ++p)
                best = std::max (
                    best, points[p].weight * biweight (points[p].lag - level - slopeToTry * points[p].x, tolerance));

            score += best;
        }

        return score;
    }

    // Lines through the two largest peaks of any two windows.
    void findBestTrial()
    {
        std::vector<const Point*> tops;
        std::vector<std::pair<size_t, size_t>> trials;

        for (size_t i = 0; i < windows.size(); ++i)
            for (auto p = firstPoints[i]; p < std::min (firstPoints[i] + 2, firstPoints[i + 1]); ++p)
                tops.push_back (&points[p]);

        for (size_t i = 0; i < tops.size(); ++i)
            for (auto j = i + 1; j < tops.size(); ++j)
                if (const auto dx = tops[j]->x - tops[i]->x;
                    dx > 0.0 && std::abs (tops[j]->lag - tops[i]->lag) <= search.steepest * dx + 1.0)
                    trials.emplace_back (i, j);

        auto bestScore = -1.0;
        lagAtZero = tops.front()->lag;
        const auto stride = std::max<size_t> (1, trials.size() / mostTrials);

        for (size_t t = 0; t < trials.size(); t += stride)
        {
            const auto& a = *tops[trials[t].first];
            const auto& b = *tops[trials[t].second];
            const auto tried = (b.lag - a.lag) / (b.x - a.x);
            const auto level = a.lag - tried * a.x;

            if (const auto score = scoreOf (tried, level); score > bestScore)
            {
                bestScore = score;
                slope = tried;
                lagAtZero = level;
            }
        }
    }

    [[nodiscard]] double bestLevel() const
    {
        auto best = points.front().lag - slope * points.front().x, bestScore = -1.0;

        for (const auto& point : points)
            if (const auto level = point.lag - slope * point.x; scoreOf (slope, level) > bestScore)
            {
                bestScore = scoreOf (slope, level);
                best = level;
            }

        return best;
    }

    void refine()
    {
        constexpr int rounds = 7;

        for (int round = 0; round < rounds; ++round)
        {
            const auto width = tolerance * (round < 2 ? 1.0 : 0.5);
            auto weights = 0.0, meanX = 0.0, meanY = 0.0, sxx = 0.0, sxy = 0.0;
            std::vector<std::pair<const Point*, double>> terms;

            for (size_t i = 0; i < windows.size(); ++i)
                if (const auto* point = pointOn (i, slope, lagAtZero, width))
                {
                    const auto y = point->lag - slope * point->x;
                    const auto weight = point->weight * biweight (y - lagAtZero, width);
                    terms.emplace_back (point, weight);
                    weights += weight;
                    meanX += weight * point->x;
                    meanY += weight * y;
                }

            if (weights <= 0.0)
                return;

            meanX /= weights;
            meanY /= weights;

            for (const auto& [point, weight] : terms)
            {
                sxx += weight * (point->x - meanX) * (point->x - meanX);
                sxy += weight * (point->x - meanX) * (point->lag - slope * point->x - meanY);
            }

            const auto turn = search.slope || sxx <= 1.0 ? 0.0 : sxy / sxx;
            slope += turn;
            lagAtZero = meanY - turn * meanX;
            spread = sxx;
        }
    }

    [[nodiscard]] std::optional<LagLine> describe() const
    {
        LagLine line;
        line.slope = slope;
        line.lagAtZero = lagAtZero;
        line.jumps = search.jumps;
        auto squares = 0.0;

        for (size_t i = 0; i < windows.size(); ++i)
        {
            line.windowsWithSound += windows[i].hasSound || ! windows[i].peaks.empty() ? 1 : 0;

            line.windowsNearLine += pointOn (i, slope, lagAtZero, echoSeconds * search.rate) != nullptr ? 1 : 0;

            if (const auto* point = pointOn (i, slope, lagAtZero, onLineSeconds * search.rate))
            {
                line.firstX = line.windowsOnLine == 0 ? point->x : line.firstX;
                line.lastX = point->x;
                ++line.windowsOnLine;
                line.height += point->height;
                squares += std::pow (point->lag - slope * point->x - lagAtZero, 2.0);
            }
        }

        if (line.windowsOnLine < 1)
            return {};

        line.residual = std::sqrt (squares / line.windowsOnLine);
        line.rival = rivalOf (line.height);
        line.height /= line.windowsOnLine;
        line.slopeError = spread > 0.0 ? std::max (line.residual, 1.0) / std::sqrt (spread) : 1.0;
        line.log10FalseAlarms = falseAlarms (line);
        return line;
    }

    // The best line beside this one that is farther off than an echo: a click that is repeated, a loop.
    [[nodiscard]] double rivalOf (double heights) const
    {
        auto most = 0.0;

        for (const auto& candidate : points)
        {
            const auto level = candidate.lag - slope * candidate.x;

            if (std::abs (level - lagAtZero) < echoSeconds * search.rate
                || candidate.height < 0.5 * heights / (double) windows.size())
                continue;

            auto sum = 0.0;

            // In the same windows: behind a jump of the clock there is another line, too.
            for (size_t i = 0; i < windows.size(); ++i)
                if (const auto* point = pointOn (i, slope, level, onLineSeconds * search.rate);
                    point != nullptr && pointOn (i, slope, lagAtZero, onLineSeconds * search.rate) != nullptr)
                    sum += point->height;

            most = std::max (most, sum);
        }

        return heights > 0.0 ? most / heights : 1.0;
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
                           + (double) search.jumps.size() * std::log10 (n * (double) points.size() + 1.0);

        if (share <= p)
            return tests;

        const auto divergence =
            share * std::log (share / p) + (share < 1.0 ? (1.0 - share) * std::log ((1.0 - share) / (1.0 - p)) : 0.0);
        return tests - n * divergence / std::log (10.0);
    }

    const std::vector<LagWindow>& windows;
    const LineSearch& search;
    const double tolerance;             // samples
    std::vector<Point> points;          // window by window
    std::vector<size_t> firstPoints;    // of each window, and the end
    double slope = 0.0, lagAtZero = 0.0, spread = 0.0;
};

}    // namespace

double LagLine::lagAt (double x) const noexcept
{
    auto lag = lagAtZero + slope * x;

    for (const auto& jump : jumps)
        lag += jump.x <= x ? jump.size : 0.0;

    return lag;
}

double weightOf (const LagPeak& peak) noexcept
{
    return std::clamp (((double) peak.overRms - 4.0) / 5.0, 0.2, 1.0);
}

std::optional<LagLine> fitLagLine (const std::vector<LagWindow>& windows, const LineSearch& search)
{
    return LineFit (windows, search).find();
}

bool isSureLine (const LagLine& line) noexcept
{
    constexpr double mostFalseAlarms = -4.5, mostRival = 0.9;
    return line.log10FalseAlarms < mostFalseAlarms && line.rival < mostRival;
}

bool isOneMicrophone (const LagLine& line) noexcept
{
    constexpr double leastHeight = 0.3;
    return line.height >= leastHeight;
}

}    // namespace ld
