#include "media/ClockStretches.h"

#include <algorithm>
#include <cmath>

namespace ld
{

using juce::int64;

Alignment movedBy (Alignment alignment, int64 deltaSamples)
{
    alignment.offsetSamples += deltaSamples;

    for (auto& stretch : alignment.stretches)
        stretch.hostSample += deltaSamples;

    return alignment;
}

Alignment placeOnHost (const Alignment& clip, const GuestPiece& piece)
{
    if (piece.alignment.stretches.empty())
        return clip;

    const auto start = clip.offsetSamples + piece.offsetSamples;

    auto place = movedBy (piece.alignment, start - piece.alignment.offsetSamples);
    const auto wasMoved = start != piece.alignment.offsetSamples;

    if (wasMoved || clip.method == Alignment::Method::manual)
    {
        place.method = clip.method;
        place.detail = clip.detail;
        place.evidence = clip.evidence;
    }

    place.needsManual = clip.needsManual;
    return place;
}

std::vector<ClockStretch> stretchesOnHost (const Alignment& clip, const GuestPiece& piece)
{
    const auto place = placeOnHost (clip, piece);

    if (! place.stretches.empty())
        return place.stretches;

    return { { 0, clip.offsetSamples + piece.offsetSamples, clip.driftSlope } };
}

std::vector<StretchSpan>
spansOf (const std::vector<ClockStretch>& stretches, int64 numFrames, double fileRate, double hostRate)
{
    constexpr double steepest = 0.005;
    constexpr auto farthest = (int64) 1 << 48;    // samples; what a document says is no reason to overflow
    std::vector<StretchSpan> spans;

    for (size_t i = 0; i < stretches.size(); ++i)
    {
        const auto& stretch = stretches[i];
        const auto from = std::clamp<int64> (stretch.fromSample, 0, numFrames);
        const auto to =
            i + 1 < stretches.size() ? std::clamp (stretches[i + 1].fromSample, from, numFrames) : numFrames;
        StretchSpan span;
        span.ratio = fileRate / (hostRate * (1.0 + std::clamp (stretch.slope, -steepest, steepest)));
        span.fromSample = from;
        span.numSamples = to - from;
        span.hostStart = std::clamp (stretch.hostSample, -farthest, farthest);
        span.hostLength = (int64) std::llround ((double) span.numSamples / span.ratio);

        // What the next stretch says itself is not said twice.
        if (i + 1 < stretches.size())
            span.hostLength = std::min (
                span.hostLength,
                std::max<int64> (std::clamp (stretches[i + 1].hostSample, -farthest, farthest) - span.hostStart, 0));

        if (span.hostLength > 0)
            spans.push_back (span);
    }

    return spans;
}

}    // namespace ld
