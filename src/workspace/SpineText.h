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

/** The time on the host's clock at a share of the take, 0 to 1. */
[[nodiscard]] juce::String rulerText (const HostTake&, double share);

}    // namespace ld
