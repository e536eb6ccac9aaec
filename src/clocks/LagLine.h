#pragma once

#include "clocks/LagMeter.h"

#include <optional>

namespace ld
{

/** What one window says about a pair. */
struct LagWindow
{
    double x = 0.0;    // guest sample in the middle of the window
    std::vector<LagPeak> peaks;
    bool hasSound = false;    // in both recordings: a window without a peak then speaks against a common line
};

/** A stretch of a guest along which its clock ran evenly: guest sample x lies on host sample x + lagAtZero + slope * x. */
struct LineStretch
{
    double fromX = 0.0, toX = 0.0;    // middles of the first and the last window that lie on it
    double lagAtZero = 0.0;
    int windows = 0;    // that lie on it
    bool operator== (const LineStretch&) const = default;
};

/** The line on which the lags of a pair lie; its stretches are parallel, and apart where a converter dropped or repeated
    samples. */
struct LagLine
{
    double slope = 0.0, slopeError = 0.0;    // of the lag, per guest sample; one standard error
    std::vector<LineStretch> stretches;      // in order, at least one
    int windowsOnLine = 0, windowsWithSound = 0;
    double residual = 0.0;            // samples, RMS of the windows on the line
    double height = 0.0;              // mean of the peaks on the line
    double log10FalseAlarms = 0.0;    // of how many such lines chance makes in one pair

    [[nodiscard]] double lagAt (double x) const noexcept;
    [[nodiscard]] const LineStretch& stretchAt (double x) const noexcept;
};

struct LineSearch
{
    int rate = 48000;               // Hz, of the samples
    double reach = 33000.0;         // samples, to either side, in which peaks were looked for
    double independence = 1.0;      // the share of a window that it does not share with the next
    std::optional<double> slope;    // where it is known; otherwise it is searched
    double steepest = 1.5e-3;       // 1500 ppm
};

/** The line that most windows agree on, however many of them tell something else: lines through two peaks are tried, the
    best by a bounded loss is refined by least squares with Tukey's biweight (Beaton and Tukey, 1974), and jumps along it
    are found by the best path through parallel levels at a price for each jump, as in robust change-point detection
    (Fearnhead and Rigaill, 2019).
    How surely it is one is told as the number of false alarms of Desolneux, Moisan and Morel (2000), with Hoeffding's bound.
    Nothing where no two windows agree. */
[[nodiscard]] std::optional<LagLine> fitLagLine (const std::vector<LagWindow>&, const LineSearch&);

/** How well windows lie on parallel levels of a slope: the best path's score. For the comparison of slopes. */
[[nodiscard]] bool isSureLine (const LagLine&) noexcept;

}    // namespace ld
