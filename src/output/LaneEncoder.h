#pragma once

#include <juce_core/juce_core.h>

#include <span>

namespace ld
{

/** Writes one lane of an interleaved block in the output's sample format. Integers travel on the signed 24-bit scale;
    wider integer samples have zeros below it. No dither. */
class LaneEncoder
{
public:
    /** sampleBytes  2 or more
        frameBytes   from one sample of a lane to the next */
    LaneEncoder (bool isFloat, int bits, int sampleBytes, juce::int64 frameBytes) noexcept;

    /** first    the lane's place in the first frame
        stride   from one source value to the next */
    void encode24Bit (const juce::int32* values,
                      std::ptrdiff_t stride,
                      juce::int64 count,
                      juce::uint8* first) const noexcept;

    /** Floats at full scale 1.0: unclamped in a float file, rounded and clamped in an integer one. */
    void encodeFloats (std::span<const float> values, juce::uint8* first) const noexcept;
    void encodeSilence (juce::int64 count, juce::uint8* first) const noexcept;

private:
    enum class Target
    {
        int16,
        int24,
        wideInt,
        float32,
        float64
    };

    void encodeRounded (std::span<const float> values, juce::uint8* first) const noexcept;
    template <typename Source>
    void store24Bit (Source&&, juce::int64 count, juce::uint8* first) const noexcept;
    template <typename Value, typename Source>
    void storeValues (Source&&, juce::int64 count, juce::uint8* first) const noexcept;

    Target target;
    int sampleBytes;
    std::ptrdiff_t frameBytes;
};

}    // namespace ld
