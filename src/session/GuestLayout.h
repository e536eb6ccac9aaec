#pragma once

#include "media/Records.h"

namespace ld
{

/** Reads the files of a guest and lays each out at its own place (the alignment of its piece), stretch by stretch: on the
    host's clock, gaps silent, what a clock repeated heard once, joins without a click. Where files follow one another all
    but without a gap, the later one is moved by these few samples, so that no click lies between them.
    Replaces channelAudio, monoAudio, peaks, pieces (in order of their places, those that cannot be read left out) and the
    clip's identity; nothing changes where no file can be read.
    Returns the place of the clip's first sample on the host.
    Throws std::bad_alloc where the clip would not fit the machine's memory. */
juce::int64 layOutGuest (const HostTake&, GuestClip&);

}    // namespace ld
