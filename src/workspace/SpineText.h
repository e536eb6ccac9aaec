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

}    // namespace ld
