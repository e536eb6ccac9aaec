#pragma once

#include "session/Session.h"
#include "workspace/TimelineView.h"

namespace ld
{

/** A mark of the ruler; it stands where its sample is drawn in the lanes. */
struct RulerMark
{
    juce::int64 sample = 0;
    float x = 0.0f;
    juce::String text;
    juce::Rectangle<float> box;    // of the text
    juce::Justification justification = juce::Justification::centred;
};

/** The marks above a timeline. The whole take has five, at its quarters; closer, they stand at whole minutes, seconds, frames
    or samples of the host's timecode, as close as their texts allow.
    ruler      the band above the timeline; only its height counts
    timeline   that of the lanes */
[[nodiscard]] std::vector<RulerMark>
rulerMarks (const HostTake&, juce::Rectangle<float> ruler, juce::Rectangle<float> timeline, const TimelineView&);

}    // namespace ld
