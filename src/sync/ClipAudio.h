#pragma once

#include "media/Records.h"

namespace ld
{

class SoundFile;

/** A recording at its place on a clip's timeline. */
struct PlacedAudio
{
    const std::vector<std::vector<float>>* channels = nullptr;
    juce::int64 start = 0;    // samples from the clip's first sample, 0 or more
};

/** Lays recordings on one timeline: gaps are silence, overlaps the mean of all recordings that cover them, each with
    equal weight up to 255 of them. A channel that a recording lacks is left alone by it.
    channelCount, length   of the result; what lies past the length is cut off
    Throws std::bad_alloc where the result would not fit the machine's memory. */
[[nodiscard]] std::vector<std::vector<float>>
layOutAudio (const std::vector<PlacedAudio>&, size_t channelCount, juce::int64 length);

/** A clip that holds nothing but a file's audio, at the host's rate, for a search. */
[[nodiscard]] GuestClip readForSearch (const SoundFile&, int hostRate);

/** Makes the guest's curves again from channelAudio: guestPeakBuckets buckets, each from at most 0 to at least 0. */
void rebuildGuestPeaks (GuestClip&);

/** Stretches the guest's audio by a clock drift, and makes its curves again. */
void stretchGuest (GuestClip&, double driftSlope);

}    // namespace ld
