#pragma once

#include "conform/ConformReport.h"

namespace ld
{

/** The closing table: takes, guests, how each was placed, what was left out and why. Plain text, lines ended by "\n". */
[[nodiscard]] juce::String makeConformTable (const ConformOutcome&);

/** One line that rewrites itself on a terminal: how far the run is, how fast, and the time left. Silent elsewhere. */
class ProgressLine
{
public:
    /** takeSeconds   the length of each take's poly */
    ProgressLine (bool isWanted, std::vector<double> takeSeconds);
    ~ProgressLine();

    /** take        0-based
        fraction    of this take, 0 to 1 */
    void show (int take, float fraction, const juce::String& phase);
    void clear();

private:
    bool isShown;
    std::vector<double> takeSeconds;
    juce::uint32 startedMs, lastShownMs = 0;
};

}    // namespace ld
