#pragma once

#include "media/Records.h"

#include <juce_graphics/juce_graphics.h>

#include <optional>

namespace ld
{

/** The clock on which the inspector shows and moves a guest: the host's. */
struct GuestClock
{
    int sampleRate = 48000;
    juce::String timecodeRate = "24/1", timecodeFlag = "NDF";
};

/** One line on a guest's place. */
[[nodiscard]] juce::String inspectorSummary (const GuestClip&, const GuestClock&);

/** One frame of timecode, samples. */
[[nodiscard]] juce::int64 samplesPerTimecodeFrame (const GuestClock&);

/** How far a typed nudge goes, samples: "12 ms", "-3 f" (timecode frames), "0.5 s", "480" (samples). None where it is no
    number of these, or more than a day. */
[[nodiscard]] std::optional<juce::int64> nudgeOf (const juce::String& text, const GuestClock&);

/** What the inspector shows of one lane, as text. */
struct InspectorFields
{
    juce::String name, channel, note;

    bool operator== (const InspectorFields&) const = default;
};

/** Empty for a lane that has no track. */
[[nodiscard]] InspectorFields fieldsOf (const GuestClip&, int lane);

struct InspectorLayout
{
    juce::Rectangle<int> title, summary, nameLabel, channelLabel, notesLabel, name, channel, notes, frameBack,
        frameForward, sampleBack, sampleForward, remove, applyToMatching, search, nudgeBy, copyPlace;
};

[[nodiscard]] InspectorLayout layOutInspector (juce::Rectangle<int> bounds);

}    // namespace ld
