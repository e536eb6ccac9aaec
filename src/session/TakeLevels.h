#pragma once

#include "output/SessionDocument.h"

#include <span>

namespace ld
{

// Levels belong to the take in which they were set. What stands still - gain without a curve, pan, mute, solo - also goes
// along, by source, to takes in which nothing was set yet.

/** What one channel of a take's bank is known by. */
struct LaneKeys
{
    juce::String lane;    // within its take: "H|" and the poly's channel, or "G|", the lane and the guest's first file
    juce::String source;    // across takes, as mixerSourceKey has it
};

/** In the order of the bank; at most mixerChannelLimit. */
[[nodiscard]] std::vector<LaneKeys> laneKeys (const HostTake&, const std::vector<GuestClip>&);

/** The lane part of a key whose guest's first file is this one. */
[[nodiscard]] juce::String guestLaneKey (const juce::File& firstFile, int lane);

/** The bank of a take: what was set in it; where nothing was, what goes along; else the default, with the recorder's own
    mix muted. */
[[nodiscard]] MixerBank
bankOf (const HostTake&, const std::vector<GuestClip>&, const TakeLevels&, const MixerTemplate&);

/** Takes over a bank as what was set in a take: all its lanes from now on, so that no other take changes it any more, and
    for other takes what has changed of its fixed settings. Lanes of guests that are not there now keep theirs.
    Returns false where the bank is as it was. */
bool rememberLevels (
    TakeLevels&, MixerTemplate&, const HostTake&, const std::vector<GuestClip>&, std::span<const MixerChannel> bank);

}    // namespace ld
