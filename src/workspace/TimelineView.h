#pragma once

#include <juce_graphics/juce_graphics.h>

namespace ld
{

/** A stretch of the timeline, host samples; length is not negative. */
struct SpineSpan
{
    juce::int64 start = 0, length = 0;

    bool operator== (const SpineSpan&) const = default;
    [[nodiscard]] juce::int64 end() const noexcept { return start + length; }
};

/** What of a take the timeline shows. A default one shows the whole take, as many lanes as fit, at the described sizes. What the
    user sees is a pure function of it and of the session; it is not part of the work. */
struct TimelineView
{
    SpineSpan span {};             // what the user has chosen; length 0: the whole take
    int firstLane = 0;             // the topmost one that is shown
    float laneHeight = 0.0f;       // pixels; 0: as high as all lanes have room
    float waveHeight = 1.0f;       // a factor
    juce::int64 takeLength = 1;    // host samples, at least 1

    bool operator== (const TimelineView&) const = default;

    /** What is visible, host samples: never empty, and within the take. */
    [[nodiscard]] SpineSpan visible() const noexcept;
    [[nodiscard]] bool isZoomed() const noexcept { return visible().length < takeLength; }
};

constexpr juce::int64 closestSpan = 32;    // samples across the whole timeline

/** Shows less (factor above 1) or more of the take; the sample at anchor, a share of the width from 0 to 1, stays where it is. */
[[nodiscard]] TimelineView zoomed (TimelineView, double factor, double anchor);

/** Shows another stretch of the same length, within the take. */
[[nodiscard]] TimelineView scrolledTo (TimelineView, juce::int64 firstSample);

/** Shows a stretch with some room on both sides. */
[[nodiscard]] TimelineView showing (TimelineView, SpineSpan);

/** Turns the page where the playhead has left what is visible, or is about to. */
[[nodiscard]] TimelineView following (TimelineView, juce::int64 playhead);

/** Lanes and waves of another height. */
[[nodiscard]] TimelineView withLaneHeight (TimelineView, float pixels);
[[nodiscard]] TimelineView withWaveHeight (TimelineView, float factor);

[[nodiscard]] float xOfSample (juce::Rectangle<float> timeline, juce::int64 sample, SpineSpan visible) noexcept;

/** The sample that is drawn at x, or the nearest one that is visible; visible.end() at the right edge. */
[[nodiscard]] juce::int64 sampleAt (juce::Rectangle<float> timeline, float x, SpineSpan visible) noexcept;

/** How many samples a movement of so many pixels means. */
[[nodiscard]] juce::int64 samplesOfPixels (juce::Rectangle<float> timeline, float pixels, SpineSpan visible) noexcept;

[[nodiscard]] double samplesPerPixel (juce::Rectangle<float> timeline, SpineSpan visible) noexcept;

}    // namespace ld
