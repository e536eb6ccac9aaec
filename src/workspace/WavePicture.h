#pragma once

#include "media/Records.h"

#include <juce_graphics/juce_graphics.h>

namespace ld
{

/** One point of a lane's curve: its place, and how far the curve reaches there. */
struct WaveColumn
{
    float x = 0.0f, top = 0.0f, bottom = 0.0f;
};

/** The curve of a lane within an area, from left to right; empty where none of it is in sight. Buckets that share a pixel
    are one that holds the extremes of all.
    offset, length   of the lane's start and of the take, host samples */
[[nodiscard]] std::vector<WaveColumn>
waveColumns (juce::Rectangle<float> area, const PeakLane&, juce::int64 length, juce::int64 offset);

/** Fills the outline that runs forward along the tops and back along the bottoms. It is drawn column by column and not as
    a path, because a path's cost grows with every edge that a scan line meets, and a dense curve is nothing but edges. */
void fillWave (juce::Graphics&, const std::vector<WaveColumn>&, juce::Colour);

}    // namespace ld
