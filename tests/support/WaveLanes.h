#pragma once

#include "media/Records.h"

#include <string>
#include <vector>

namespace ld::test
{

/** The channels of a wave file, decoded by nothing but its `fmt ` chunk: integers on the format's own scale, floats as
    they stand. For 16, 24 and 32 bit integer and 32 and 64 bit float. */
[[nodiscard]] std::vector<std::vector<double>> readLanes (const juce::File&);

/** A take as the session takes it from its file, without peaks and reference audio. */
[[nodiscard]] HostTake readTake (const juce::File&);

/** White noise of a fixed seed. */
[[nodiscard]] std::vector<float> noise (juce::int64 length, int seed, float peak);

/** Little-endian, unsigned. */
[[nodiscard]] juce::uint64 numberAt (const std::string& bytes, size_t at, size_t count);

}    // namespace ld::test
