#pragma once

#include <juce_core/juce_core.h>

#include <vector>

namespace ld::bench
{

constexpr int sampleRate = 48000;

/** Seeded noise whose level moves as speech does, at full scale 1.0. */
[[nodiscard]] std::vector<float> makeSignal (size_t samples, juce::uint32 seed);

/** Writes a 24-bit PCM wave file of seeded noise. */
void writeWave (const juce::File&, int channels, int seconds, juce::uint32 seed);

/** A folder of this process, with a poly and guests in it; removed at exit. */
class BenchShoot
{
public:
    static constexpr int polyChannels = 8, guestCount = 4;

    /** The one shoot of this length in the process. */
    static const BenchShoot& ofSeconds (int seconds);

    explicit BenchShoot (int seconds);
    ~BenchShoot();

    juce::File folder, poly;
    std::vector<juce::File> guests;
};

}    // namespace ld::bench
