#include "sync/PlaceLadder.h"

namespace ld
{

Alignment placedByTimecode (juce::int64 offsetSamples)
{
    Alignment alignment;
    alignment.offsetSamples = offsetSamples;
    alignment.method = Alignment::Method::timecode;
    alignment.confidence = timecodeOnlyConfidence;
    alignment.detail = "Timecode only / no waveform lock";
    return alignment;
}

Alignment climb (const PlaceLadder& ladder)
{
    if (auto locked = ladder.inOverlap())
        return std::move (*locked);

    auto found = ladder.byContent();

    if (! found.isSure)
        if (const auto offset = ladder.byTimecode())
            return placedByTimecode (*offset);

    return std::move (found.alignment);
}

}    // namespace ld
