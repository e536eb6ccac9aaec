#include "workspace/TimelineView.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

using juce::int64;

constexpr float lowestLane = 24.0f, highestLane = 600.0f;
constexpr float flattestWave = 0.25f, highestWave = 64.0f;

double widthOf (juce::Rectangle<float> timeline) noexcept
{
    return std::max ((double) timeline.getWidth(), 1.0);
}

}    // namespace

SpineSpan TimelineView::visible() const noexcept
{
    const auto whole = std::max<int64> (takeLength, 1);
    const auto length =
        span.length <= 0 ? whole : std::clamp<int64> (span.length, std::min (closestSpan, whole), whole);
    return { std::clamp<int64> (span.start, 0, whole - length), length };
}

TimelineView zoomed (TimelineView view, double factor, double anchor)
{
    const auto from = view.visible();
    const auto whole = std::max<int64> (view.takeLength, 1);
    const auto length = (int64) std::clamp (
        std::round ((double) from.length / factor), (double) std::min (closestSpan, whole), (double) whole);
    view.span = { from.start + (int64) std::round (anchor * (double) (from.length - length)), length };
    view.span = length == whole ? SpineSpan {} : view.visible();
    return view;
}

TimelineView scrolledTo (TimelineView view, int64 firstSample)
{
    if (view.isZoomed())
    {
        view.span = { firstSample, view.visible().length };
        view.span = view.visible();
    }

    return view;
}

TimelineView showing (TimelineView view, SpineSpan span)
{
    constexpr int64 roomShare = 20;
    const auto room = std::max<int64> (span.length / roomShare, closestSpan / 4);
    const auto from = std::clamp<int64> (span.start - room, 0, view.takeLength);
    const auto to = std::clamp<int64> (span.end() + room, 0, view.takeLength);

    if (to > from)
    {
        view.span = { from, to - from };
        view.span = view.isZoomed() ? view.visible() : SpineSpan {};
    }

    return view;
}

TimelineView following (TimelineView view, int64 playhead)
{
    constexpr double pageEnd = 0.95, pageStart = 0.05;
    const auto span = view.visible();
    const auto share = (double) (playhead - span.start) / (double) span.length;
    return share >= 0.0 && share <= pageEnd
               ? view
               : scrolledTo (view, playhead - (int64) std::round (pageStart * (double) span.length));
}

TimelineView withLaneHeight (TimelineView view, float pixels)
{
    view.laneHeight = std::clamp (pixels, lowestLane, highestLane);
    return view;
}

TimelineView withWaveHeight (TimelineView view, float factor)
{
    view.waveHeight = std::clamp (factor, flattestWave, highestWave);
    return view;
}

float xOfSample (juce::Rectangle<float> timeline, int64 sample, SpineSpan visible) noexcept
{
    const auto share = (double) (sample - visible.start) / (double) std::max<int64> (visible.length, 1);
    return (float) ((double) timeline.getX() + share * (double) timeline.getWidth());
}

int64 sampleAt (juce::Rectangle<float> timeline, float x, SpineSpan visible) noexcept
{
    const auto share = std::clamp ((double) (x - timeline.getX()) / widthOf (timeline), 0.0, 1.0);
    return visible.start + (int64) std::round (share * (double) visible.length);
}

int64 samplesOfPixels (juce::Rectangle<float> timeline, float pixels, SpineSpan visible) noexcept
{
    return (int64) std::round ((double) pixels / widthOf (timeline) * (double) visible.length);
}

double samplesPerPixel (juce::Rectangle<float> timeline, SpineSpan visible) noexcept
{
    return (double) visible.length / widthOf (timeline);
}

}    // namespace ld
