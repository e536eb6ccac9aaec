#pragma once

#include <juce_core/juce_core.h>

namespace ld
{

/** How the readers of interchange texts count a film's frames. */
struct TimecodeRate
{
    double fps = 24.0;    // frames a second, 1000/1001 of the nominal number included
    int nominal = 24;
    bool isNtsc = false;         // 23.976, 29.97, 47.952, 59.94
    bool dropsFrames = false;    // labels are left out so that they keep to the clock (SMPTE ST 12-1)
};

/** The rate of a rate text and a flag. Frames are dropped at 29.97 and 59.94 alone, whatever a flag says of another rate;
    a rate outside 1 to 1000 counts as 24. */
[[nodiscard]] TimecodeRate timecodeRateOf (const juce::String& rateText, const juce::String& flag);

/** The frame that a position lies in, counted from 0.
    samples      0 or more
    sampleRate   Hz */
[[nodiscard]] juce::int64 frameAt (juce::uint64 samples, double sampleRate, const TimecodeRate&);

/** The nearest number of whole frames. */
[[nodiscard]] juce::int64 framesOf (juce::int64 samples, double sampleRate, const TimecodeRate&);

/** HH:MM:SS:FF of a frame since midnight, HH:MM:SS;FF where frames are dropped. Past midnight it starts again at 0. */
[[nodiscard]] juce::String frameLabel (juce::int64 frame, const TimecodeRate&);

}    // namespace ld
