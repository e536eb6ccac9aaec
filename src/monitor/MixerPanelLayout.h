#pragma once

#include "session/Session.h"

#include <juce_graphics/juce_graphics.h>

namespace ld
{

struct MixerPanelLayout
{
    juce::Rectangle<int> headline, hint, allOn, muteAll, fit, viewport;
    juce::Rectangle<int> mixName, mixPeak;
    juce::Rectangle<int> mixMeter;    // above those of the rows, with its clip light
};

struct MixerRowLayout
{
    static constexpr int width = 720, height = 42;

    juce::Rectangle<int> name, mute, solo, gain, pan;
    juce::Rectangle<int> meter;    // with its clip light
};

[[nodiscard]] MixerPanelLayout layOutMixerPanel (juce::Rectangle<int> bounds);
[[nodiscard]] MixerRowLayout layOutMixerRow (juce::Rectangle<int> bounds);

/** The text of each row, one for each mixer channel in use. */
[[nodiscard]] std::vector<juce::String> mixerRowTexts (const Session&);

/** The name of the track in such a text. */
[[nodiscard]] juce::String mixerRowName (const juce::String& text);

/** "C", "25L", "100R" for -1 to 1. */
[[nodiscard]] juce::String panText (double pan);

/** What a user types for a pan, -1 to 1: "25L", "l 25", "-25" and "-0.25" are left, "C" is the centre. What is no number is
    the centre too. */
[[nodiscard]] double panOf (const juce::String& text);

/** How far a meter is filled, 0 to 1: linear in dB from -60 to full scale. */
[[nodiscard]] float meterLevel (float peak) noexcept;

/** "-3.2 dB", "+2.8 dB", "silent". */
[[nodiscard]] juce::String peakText (float peak);

}    // namespace ld
