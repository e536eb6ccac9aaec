#pragma once

#include "media/Records.h"

#include <juce_graphics/juce_graphics.h>

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

/** What the user types into the inspector. */
struct InspectorEdit
{
    juce::String name, channel, notes;

    bool operator== (const InspectorEdit&) const = default;
};

/** Gives every track of a guest the name and channel number; of a pair without a side in its name the second becomes the
    right one. A guest without tracks stays as it is. Returns whether anything was written. */
bool applyInspectorEdit (GuestClip&, const InspectorEdit&);

struct InspectorLayout
{
    juce::Rectangle<int> title, summary, nameLabel, channelLabel, notesLabel, name, channel, notes, frameBack,
        frameForward, sampleBack, sampleForward, remove, applyToMatching;
};

[[nodiscard]] InspectorLayout layOutInspector (juce::Rectangle<int> bounds);

}    // namespace ld
