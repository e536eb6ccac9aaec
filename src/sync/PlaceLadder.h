#pragma once

#include "media/Records.h"

#include <functional>
#include <optional>

namespace ld
{

constexpr float timecodeOnlyConfidence = 0.35f;    // of a place for which nothing but the stamps speaks

/** The place that the stamps alone give. */
[[nodiscard]] Alignment placedByTimecode (juce::int64 offsetSamples);

/** A place found by the sound of the whole recordings. */
struct ContentPlace
{
    Alignment alignment;    // what is known even where the search was not sure
    bool isSure = false;    // no timecode stands against it
};

/** The steps of every search for a place, in their order. Each works on the signals that its owner has. */
struct PlaceLadder
{
    std::function<std::optional<Alignment>()> inOverlap;       // by the waveform around where the stamps put it
    std::function<ContentPlace()> byContent;                   // by the sound of the whole
    std::function<std::optional<juce::int64>()> byTimecode;    // where the stamps put it
};

/** The first place that counts: the waveform's around the timecode; a sure one by content; the timecode's alone; the doubtful
    one by content. */
[[nodiscard]] Alignment climb (const PlaceLadder&);

}    // namespace ld
