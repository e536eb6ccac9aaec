#include "output/TimecodeLabels.h"

#include "media/Rounding.h"
#include "media/Timecode.h"

namespace ld
{
namespace
{

using juce::int64;

double secondsOf (double samples, double sampleRate)
{
    return sampleRate > 0.0 ? samples / sampleRate : 0.0;
}

// Labels left out in each minute but every tenth.
int64 droppedLabels (const TimecodeRate& rate)
{
    return rate.dropsFrames ? rate.nominal / 15 : 0;
}

// The number that the label of a frame stands for, had none been left out.
int64 labelNumber (int64 frame, const TimecodeRate& rate)
{
    const auto dropped = droppedLabels (rate);
    const auto inMinute = (int64) rate.nominal * 60 - dropped;
    const auto inTenMinutes = inMinute * 10 + dropped;
    const auto tens = frame / inTenMinutes, rest = frame % inTenMinutes;
    const auto minutes = rest < inMinute + dropped ? 0 : (rest - dropped) / inMinute;
    return frame + dropped * (9 * tens + minutes);
}

}    // namespace

TimecodeRate timecodeRateOf (const juce::String& rateText, const juce::String& flag)
{
    constexpr double highestFps = 1000.0, tolerance = 0.005;
    const auto stated = parseFrameRate (rateText);
    TimecodeRate rate;

    if (! (stated >= 1.0 && stated <= highestFps))
        return rate;

    rate.nominal = (int) roundToSamples (stated);
    rate.fps = stated;

    if (const auto ntsc = rate.nominal * 1000.0 / 1001.0; std::abs (stated - ntsc) < tolerance)
    {
        rate.isNtsc = true;
        rate.fps = ntsc;
    }

    const auto wantsDrop = flag.containsIgnoreCase ("DF") && ! flag.containsIgnoreCase ("NDF");
    rate.dropsFrames = wantsDrop && rate.isNtsc && rate.nominal % 30 == 0;
    return rate;
}

int64 frameAt (juce::uint64 samples, double sampleRate, const TimecodeRate& rate)
{
    // A stamp that lies exactly on a frame must not fall one short by rounding.
    constexpr double frameEpsilon = 1e-6;
    constexpr double mostFrames = 1e15;
    const auto frames = std::floor (secondsOf ((double) samples, sampleRate) * rate.fps + frameEpsilon);
    return std::isnan (frames) ? 0 : (int64) juce::jlimit (0.0, mostFrames, frames);
}

int64 framesOf (int64 samples, double sampleRate, const TimecodeRate& rate)
{
    return roundToSamples (secondsOf ((double) samples, sampleRate) * rate.fps);
}

juce::String frameLabel (int64 frame, const TimecodeRate& rate)
{
    const auto perDay = (int64) rate.nominal * 86400 - droppedLabels (rate) * 9 * 144;
    const auto number = labelNumber ((frame % perDay + perDay) % perDay, rate);
    const auto field = [] (int64 value) { return juce::String (value).paddedLeft ('0', 2); };
    const auto seconds = number / rate.nominal;
    return field (seconds / 3600) + ":" + field (seconds / 60 % 60) + ":" + field (seconds % 60)
           + (rate.dropsFrames ? ";" : ":") + field (number % rate.nominal);
}

}    // namespace ld
