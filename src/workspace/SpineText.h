#pragma once

#include "session/Session.h"

namespace ld
{

/** The lettering of one lane. */
struct LaneText
{
    juce::String name, detail;
};

[[nodiscard]] LaneText hostLaneText (const HostTake&, int channel);
[[nodiscard]] LaneText guestLaneText (const GuestClip&, int channel);

/** The same in full, with a guest's file and what is known of its place. */
[[nodiscard]] juce::String hostLaneTip (const HostTake&, int channel);
[[nodiscard]] juce::String guestLaneTip (const GuestClip&, int channel);

}    // namespace ld
