#pragma once

#include <juce_core/juce_core.h>

#include <vector>

namespace ld
{

/** By how much a recorder's timecode is off from some moment on. */
struct JamError
{
    double fromSeconds = 0.0;     // time of day by the polys' clock at which it is first seen,
    double toSeconds = 0.0;       // and last
    double errorSeconds = 0.0;    // above 0: its files belong later than their stamps say
    double drift = 0.0;           // s per s, by which it changes from then on
    int files = 0;                // that show it

    bool operator== (const JamError&) const = default;
};

/** What is known of the clock of one recorder over a day. */
struct RecorderClock
{
    juce::String key;              // folder and name of its files, "#" for every number
    double slope = 0.0;            // of the lag per sample, against the polys' clock: -15.4e-6 runs 15.4 ppm fast
    double slopeError = 0.0;       // one standard error
    std::vector<JamError> jams;    // in order of time; more than one where it was re-jammed
    int files = 0;                 // that prove it by their sound

    bool operator== (const RecorderClock&) const = default;
};

}    // namespace ld
