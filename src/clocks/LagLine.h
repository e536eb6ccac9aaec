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

/** A place where a clock dropped or repeated samples: from guest sample x on the lag is larger by size. */
struct LagJump
{
    double x = 0.0, size = 0.0;    // samples; above 0 the guest lacks samples
    bool isPlain = false;          // nothing but a clock makes such a one

    bool operator== (const LagJump&) const = default;
};

/** The line on which the lags of a pair lie: guest sample x lies on host sample x + lagAt (x). */
struct LagLine
{
    double lagAtZero = 0.0, slope = 0.0;
    double slopeError = 0.0;             // one standard error
    std::vector<LagJump> jumps;          // in order
    double firstX = 0.0, lastX = 0.0;    // middles of the first and the last window on the line
    int windowsOnLine = 0, windowsWithSound = 0;
    int windowsNearLine = 0;          // on it, or as far off as another way of the sound can be
    double residual = 0.0;            // samples, RMS of the windows on the line
    double height = 0.0;              // mean of the peaks on the line
    double rival = 0.0;               // how well another line fits that no echo explains, against this one
    double log10FalseAlarms = 0.0;    // of how many such lines chance makes in one pair

    [[nodiscard]] double lagAt (double x) const noexcept;
};

struct LineSearch
{
    int rate = 48000;               // Hz, of the samples
    double reach = 33000.0;         // samples, to either side, in which peaks were looked for
    double independence = 1.0;      // the share of a window that it does not share with the next
    std::optional<double> slope;    // where it is known; otherwise it is searched
    double steepest = 1.5e-3;       // 1500 ppm
    std::vector<LagJump> jumps;     // that are known
};

/** The line that most windows agree on, however many of them disagree: lines through two peaks are tried, and the
    best by a bounded loss is refined by least squares with Tukey's biweight (Beaton and Tukey, 1974).
    Its certainty is the number of false alarms of Desolneux, Moisan and Morel (2000), with Hoeffding's bound.
    Nothing where no window has a peak. */
[[nodiscard]] std::optional<LagLine> fitLagLine (const std::vector<LagWindow>&, const LineSearch&);

/** A line that chance does not make, and of which there is but one. */
[[nodiscard]] bool isSureLine (const LagLine&) noexcept;

/** True where both recordings come from one microphone: no two microphones hear so much alike. */
[[nodiscard]] bool isOneMicrophone (const LagLine&) noexcept;

/** How much a peak counts: one that hardly stands out counts for less than one that cannot be chance. */
[[nodiscard]] double weightOf (const LagPeak&) noexcept;

}    // namespace ld
