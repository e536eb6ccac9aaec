#include "clocks/CommonSlope.h"

#include <gmock/gmock.h>

#include <random>

// Lines through lags that are written down by hand: no sound takes part.

namespace ld::test
{
namespace
{

using testing::IsEmpty;

constexpr int rate = 48000;

LagPeak peak (double lag, float height = 0.3f)
{
    return { lag, height, 9.0f };
}

/** Lags to fill windows with: the engine's own numbers are the same everywhere. */
struct Lags
{
    double between (double low, double high) { return low + (high - low) * (double) engine() / 4294967296.0; }

    std::mt19937 engine { 7 };
};

LagWindow windowAt (double seconds, const std::vector<double>& lags)
{
    LagWindow window { seconds * rate, {}, true };

    for (const auto lag : lags)
        window.peaks.push_back (peak (lag));

    return window;
}

/** Windows every two seconds; lagsOf tells what is heard at a second of the recording. */
template <typename LagsOf>
LagTrack trackOf (int windows, double slope, LagsOf&& lagsOf)
{
    LagTrack track;

    for (int i = 0; i < windows; ++i)
    {
        auto lags = lagsOf (2.0 * i);

        for (auto& lag : lags)
            lag += slope * 2.0 * i * rate;

        track.windows.push_back (windowAt (2.0 * i, lags));
    }

    return track;
}

std::vector<double> moved (std::vector<double> lags, double by)
{
    for (auto& lag : lags)
        lag += by;

    return lags;
}

}    // namespace

TEST (LagLine, IsFoundThroughWindowsOfWhichHalfTellSomethingElse)
{
    constexpr double slope = -42e-6, level = 1234.5, jumped = 1920.0;
    Lags lags;
    std::vector<LagWindow> windows;

    for (int i = 0; i < 30; ++i)
    {
        const auto x = 5.0 * i * rate;
        const auto wild = lags.between (-33000.0, 33000.0);
        const auto onLine = level + slope * x + (i >= 12 ? jumped : 0.0) + lags.between (-3.0, 3.0);
        windows.push_back (windowAt (5.0 * i, { i % 2 == 0 ? onLine : wild }));
    }

    LineSearch search;
    search.jumps = { { 57.0 * rate, jumped } };

    for (const auto& known : { std::optional<double> {}, std::optional (slope) })
    {
        search.slope = known;
        const auto line = fitLagLine (windows, search);
        ASSERT_TRUE (line);
        EXPECT_TRUE (isSureLine (*line)) << line->log10FalseAlarms << ", " << line->rival;
        EXPECT_NEAR (line->slope, slope, 1e-6);
        EXPECT_NEAR (line->lagAt (0.0), level, 2.0);
        EXPECT_NEAR (line->lagAt (140.0 * rate), level + slope * 140.0 * rate + jumped, 3.0);
        EXPECT_GE (line->windowsOnLine, 15);
        EXPECT_EQ (line->windowsWithSound, 30);
    }

    search.jumps.clear();
    search.slope = slope;
    EXPECT_LT (fitLagLine (windows, search)->windowsOnLine, 12) << "the jump is in the way";
    EXPECT_FALSE (fitLagLine ({}, {}));
    EXPECT_FALSE (fitLagLine ({ { 0.0, {}, true } }, {}));
}

TEST (LagLine, IsNeverSureThroughPeaksAtRandom)
{
    Lags lags;
    LineSearch level;
    level.slope = 0.0;

    for (int trial = 0; trial < 200; ++trial)
    {
        std::vector<LagWindow> windows;

        for (int i = 0; i < 12; ++i)
        {
            windows.push_back (windowAt (4.0 * i, {}));

            for (int p = 0; p < 4; ++p)
                windows.back().peaks.push_back (peak (lags.between (-33000.0, 33000.0), 0.4f - 0.1f * (float) p));
        }

        for (const auto& search : { LineSearch {}, level })
        {
            const auto line = fitLagLine (windows, search);
            ASSERT_TRUE (line);
            EXPECT_FALSE (isSureLine (*line)) << trial << ": " << line->log10FalseAlarms;
        }
    }
}

TEST (LagLine, IsNotSureAmongItsLikesButEchoesDoNotTakeItsCertainty)
{
    const std::pair<double, bool> cases[] = { { 0.25, false }, { 0.012, true } };    // s from peak to peak

    for (const auto& [period, isSure] : cases)
    {
        std::vector<LagWindow> windows;

        for (int i = 0; i < 20; ++i)
            windows.push_back (windowAt (4.0 * i, { 0.0, period * rate, -period * rate, 2.0 * period * rate }));

        const auto line = fitLagLine (windows, {});
        ASSERT_TRUE (line);
        EXPECT_LT (line->log10FalseAlarms, -20.0) << "each of the lines is no chance";
        EXPECT_EQ (isSureLine (*line), isSure) << line->rival;
    }
}

TEST (Jumps, AreFoundWhereEveryWayMovesByOneNumber)
{
    constexpr double slope = 15e-6, drop = 480.0;
    const auto hears = [] (std::vector<double> ways) {
        return trackOf (40, slope, [ways] (double s) { return s < 39.0 ? ways : moved (ways, drop); });
    };
    const auto jumps = findJumps ({ hears ({ 100.0, 260.0, 430.0 }), hears ({ -30.0, 190.0, 610.0 }) }, slope, rate);
    ASSERT_EQ (jumps.size(), 1u);
    EXPECT_NEAR (jumps[0].size, drop, 1.0);
    EXPECT_NEAR (jumps[0].x / rate, 39.0, 1.0);

    const auto one = findJumps ({ trackOf (
                                    40,
                                    0.0,
                                    [] (double s) {
        return moved ({ 100.0, 260.0, 430.0 }, s < 31.0 ? 0.0 : s < 61.0 ? 1920.0 : -480.0);
                                    }) },
                                0.0,
                                rate);
    ASSERT_EQ (one.size(), 2u) << "farther than people walk: three ways are enough";
    EXPECT_NEAR (one[0].size, 1920.0, 1.0);
    EXPECT_NEAR (one[1].size, -2400.0, 1.0);
}

TEST (Jumps, AreNotTalkersWhoTakeTurnsNorAWayThatChanges)
{
    const auto turns = trackOf (60, 0.0, [] (double s) {
        return (int) (s / 20.0) % 2 == 0 ? std::vector { 100.0, 260.0, 430.0 } : std::vector { 700.0, 1190.0, 1240.0 };
    });
    EXPECT_THAT (findJumps ({ turns }, 0.0, rate), IsEmpty());

    // Farther apart than a set is wide, but back again and again: seen from afar both sides are alike.
    const auto apart = trackOf (60, 0.0, [] (double s) {
        return moved ({ 100.0, 260.0, 430.0 }, (int) (s / 12.0) % 2 == 0 ? 0.0 : 2000.0);
    });
    EXPECT_THAT (findJumps ({ apart }, 0.0, rate), IsEmpty());

    const auto walk = trackOf (60, 0.0, [] (double s) { return std::vector { s < 60.0 ? 100.0 : 580.0 }; });
    EXPECT_THAT (findJumps ({ walk }, 0.0, rate), IsEmpty());
    EXPECT_THAT (findJumps ({ walk, walk }, 0.0, rate), IsEmpty());
    EXPECT_THAT (findJumps ({}, 0.0, rate), IsEmpty());
}

TEST (CommonSlope, IsTheClocksOverJumpsAndChangingWays)
{
    constexpr double slope = -23.4e-6;
    Lags lags;
    const auto file = [&] (double level, double jumpAt) {
        return std::vector { trackOf (200, slope, [&, level, jumpAt] (double s) {
            const auto way = (int) (s / 14.0) % 2 == 0 ? 0.0 : 311.0;
            return std::vector { level + way + (s < jumpAt ? 0.0 : 1920.0) + lags.between (-2.0, 2.0),
                                 lags.between (-20000.0, 20000.0) };
        }) };
    };
    const auto first = file (0.0, 97.0), second = file (5000.0, 250.0);
    const auto common = findCommonSlope ({ &first, &second }, 0.0, rate);
    ASSERT_TRUE (common);
    EXPECT_NEAR (common->slope, slope, 0.3e-6);
    EXPECT_LT (common->error, 0.5e-6);

    const std::vector<LagTrack> single { trackOf (1, 0.0, [] (double) { return std::vector { 3.0 }; }) };
    EXPECT_FALSE (findCommonSlope ({ &single }, 0.0, rate));
}

}    // namespace ld::test
