#pragma once

#include "session/Session.h"
#include "workspace/TimelineView.h"

#include <optional>

namespace ld
{

// The timeline's geometry, in its own coordinates. Every time on it is in host samples from the host's start.

/** What all lanes share. */
struct SpineFrame
{
    static constexpr float labelColumn = 292.0f;    // what the names are given where there is room

    juce::Rectangle<float> ruler;       // above the lanes, the handles' column included
    juce::Rectangle<float> timeline;    // below it, without that column
    juce::Rectangle<float> labels;      // left of both, from top to bottom
    juce::Rectangle<float> overview;    // below the timeline, where it does not show the whole take
    juce::Rectangle<float> laneBar;     // right of everything: which of the lanes are shown
};

[[nodiscard]] SpineFrame layOutSpine (juce::Rectangle<float> bounds, const TimelineView& = {});

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

/** A lane for each included host channel, then for each channel of each guest that is shown, from the first one that the
    view shows; the last ones may pass the bottom. */
[[nodiscard]] std::vector<SpineLane>
layOutLanes (const Session&, juce::Rectangle<float> bounds, const TimelineView& = {});

/** Which lanes are shown, as numbers of all. */
struct LaneWindow
{
    int total = 0, first = 0;    // first: as it is after lanes have gone
    int last = 0;                // the highest first at which no room is left below
    float height = 0.0f;         // of a lane, pixels
};

[[nodiscard]] LaneWindow laneWindow (const Session&, juce::Rectangle<float> bounds, const TimelineView&);

/** At least 1, so that a take without audio has a scale, too. */
[[nodiscard]] juce::int64 takeLength (const Session&) noexcept;

/** The gain that a height in a fader or a lane means: +12 dB at its top, -60 dB at its bottom. */
[[nodiscard]] float gainDbAtHeight (juce::Rectangle<float> area, float y) noexcept;

/** One stretch of a source file of a guest: up to where its clock jumped, or the whole file. */
struct SpineBlock
{
    juce::File file;
    SpineSpan span;
};

[[nodiscard]] std::vector<SpineBlock> blocksOf (const GuestClip&, int hostSampleRate);

/** Where a block is drawn in its lane; nothing where it lies outside what is visible. */
[[nodiscard]] juce::Rectangle<float>
blockBounds (juce::Rectangle<float> timeline, SpineSpan, SpineSpan visible) noexcept;

/** The number of the lane of a guest's channel or, with a null id, of the poly's, among layOutLanes of a view that begins
    with the first lane; none where there is none. It is the lane's mixerIndex too. */
[[nodiscard]] std::optional<int> laneNumber (const Session&, const juce::Uuid& guest, int channel);

/** Where the next recording begins or ends, or the one before; none where no edge lies beyond. */
[[nodiscard]] std::optional<juce::int64> edgeBeside (const Session&, juce::int64 sample, bool isForward);

/** From a guest's first sample to its last. */
[[nodiscard]] SpineSpan spanOf (const GuestClip&, int hostSampleRate);

/** The part of a gain line that is visible, with a point at each edge that the line crosses. */
[[nodiscard]] std::vector<MixAutomationPoint> visibleGainLine (const std::vector<MixAutomationPoint>&,
                                                               SpineSpan visible);

/** The stretches in which mute automation of two points or more mutes. */
[[nodiscard]] std::vector<SpineSpan> mutedSpans (const std::vector<MixMutePoint>&, juce::int64 length);

}    // namespace ld
