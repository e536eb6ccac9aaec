#pragma once

#include "session/Session.h"

#include <juce_graphics/juce_graphics.h>

namespace ld
{

// The timeline's geometry, in its own coordinates. Every time on it is in host samples from the host's start; the full
// length of the host always fills the width.

/** What all lanes share. */
struct SpineFrame
{
    static constexpr float labelColumn = 292.0f;    // what the names are given where there is room

    juce::Rectangle<float> ruler;       // above the lanes, the handles' column included
    juce::Rectangle<float> timeline;    // below it, without that column
    juce::Rectangle<float> labels;      // left of both, from top to bottom
};

[[nodiscard]] SpineFrame layOutSpine (juce::Rectangle<float> bounds);

/** One lane's geometry and identity. */
struct SpineLane
{
    bool isGuest = false;
    juce::Uuid guestId = juce::Uuid::null();
    int hostChannel = 0;    // 0-based; 0 on a guest's lane
    int mixerIndex = 0;
    int channel = 0;          // of the host, or within the guest
    bool hasMixer = false;    // it has a fader and a mute button
    juce::Rectangle<float> timeline {}, label {}, muteButton {}, fader {}, removeButton {};
};

/** A lane for each included host channel, then for each channel of each guest that is shown. Lanes may pass the bottom:
    there is no scrolling. */
[[nodiscard]] std::vector<SpineLane> layOutLanes (const Session&, juce::Rectangle<float> bounds);

/** At least 1, so that a take without audio has a scale, too. */
[[nodiscard]] juce::int64 takeLength (const Session&) noexcept;

[[nodiscard]] float xOfSample (juce::Rectangle<float> timeline, juce::int64 sample, juce::int64 length) noexcept;

/** Where x lies in the timeline, 0 to 1. */
[[nodiscard]] double shareAt (juce::Rectangle<float> timeline, float x) noexcept;

/** The gain that a height in a fader or a lane means: +12 dB at its top, -60 dB at its bottom. */
[[nodiscard]] float gainDbAtHeight (juce::Rectangle<float> area, float y) noexcept;

/** A stretch of the timeline, host samples; length is not negative. */
struct SpineSpan
{
    juce::int64 start = 0, length = 0;

    bool operator== (const SpineSpan&) const = default;
};

/** One stretch of a source file of a guest: up to where its clock jumped, or the whole file. */
struct SpineBlock
{
    juce::File file;
    SpineSpan span;
};

[[nodiscard]] std::vector<SpineBlock> blocksOf (const GuestClip&, int hostSampleRate);

/** Where a block is drawn in its lane; nothing where it lies outside the take. */
[[nodiscard]] juce::Rectangle<float>
blockBounds (juce::Rectangle<float> timeline, SpineSpan, juce::int64 length) noexcept;

/** The stretches in which mute automation of two points or more mutes. */
[[nodiscard]] std::vector<SpineSpan> mutedSpans (const std::vector<MixMutePoint>&, juce::int64 length);

}    // namespace ld
