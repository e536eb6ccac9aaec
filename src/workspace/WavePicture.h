#pragma once

#include "media/Records.h"
#include "workspace/TimelineView.h"

#include <span>

namespace ld
{

/** What a wave's curve covers at one x: from its highest sample to its lowest. */
struct WaveColumn
{
    float x = 0.0f, top = 0.0f, bottom = 0.0f;
};

/** What a lane's wave is drawn from. Positions within a lane are samples from its own start. */
struct WaveSource
{
    const PeakLane& peaks;
    juce::int64 offset = 0;               // host sample of the lane's first
    std::span<const float> samples {};    // those that are available; drawn where the curves are too coarse
    juce::int64 firstSample = 0;          // of these
    const PeakLevel* curve = nullptr;     // of these too, in closeBucket samples; may be absent
};

/** A wave as it is to be drawn: columns, or, where samples lie six pixels apart and more, the samples themselves. */
struct WaveShape
{
    std::vector<WaveColumn> columns {};
    std::vector<juce::Point<float>> points {};    // each is marked
};

/** The wave of a lane in an area, for the stretch of the host that the area's width stands for; within the area, however loud
    it is. Columns cover what lies in their pixel, or what the described buckets hold where these are finer; they reach 2 pixels
    beyond the area's sides.
    reach   of full scale, as a share of the area's height on either side of its middle */
[[nodiscard]] WaveShape waveShape (juce::Rectangle<float> area, const WaveSource&, SpineSpan visible, float reach);

/** Fills the outline through the columns, a column of pixels after the other: much faster than a path, and every pixel
    column is covered as far as the curve covers it. */
void fillWave (juce::Graphics&, const std::vector<WaveColumn>&, juce::Colour);

/** Either. */
void drawWave (juce::Graphics&, const WaveShape&, juce::Colour);

constexpr juce::int64 closeBucket = 16;    // samples
constexpr float waveReach = 0.42f;

/** True where the curves of a lane are too coarse and its samples are wanted. */
[[nodiscard]] bool wantsSamples (const PeakLane&, double samplesPerPixel) noexcept;

}    // namespace ld
