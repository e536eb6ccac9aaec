#pragma once

#include "session/Session.h"

#include <juce_graphics/juce_graphics.h>

namespace ld
{

struct MixerPanelLayout
{
    juce::Rectangle<int> headline, hint, allOn, muteAll, viewport;
};

struct MixerRowLayout
{
    static constexpr int height = 42;

    juce::Rectangle<int> name, mute, solo, gain, pan;
    juce::Rectangle<float> meter;    // at full scale
};

[[nodiscard]] MixerPanelLayout layOutMixerPanel (juce::Rectangle<int> bounds);
[[nodiscard]] MixerRowLayout layOutMixerRow (juce::Rectangle<int> bounds);

/** The text of each row, one for each mixer channel in use. */
[[nodiscard]] std::vector<juce::String> mixerRowTexts (const Session&);

/** The name of the track in such a text. */
[[nodiscard]] juce::String mixerRowName (const juce::String& text);

/** "C", "25L", "100R" for -1 to 1. */
[[nodiscard]] juce::String panText (double pan);

/** How far a meter is filled, 0 to 1: linear in dB from -60 to full scale. */
[[nodiscard]] float meterLevel (float peak) noexcept;

}    // namespace ld
