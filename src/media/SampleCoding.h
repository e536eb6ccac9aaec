#pragma once

#include "media/Records.h"

namespace ld
{

/** How the bytes of one sample are to be read. Any width that is not listed decodes as silence. */
enum class SampleCoding
{
    silence,
    int16,
    int24,
    int32,
    float32,
    float64
};

[[nodiscard]] SampleCoding sampleCodingOf (const AudioFormatInfo&) noexcept;

/** Decodes one channel of interleaved frames to floats at full scale 1.0; integers are scaled by a power of two.
    frames       the first byte of the first frame; whole frames, little-endian
    step         frames from one decoded sample to the next, 1 or more
    destination  count floats */
void decodeChannel (SampleCoding,
                    const juce::uint8* frames,
                    int channels,
                    int bytesPerSample,
                    int channel,
                    juce::int64 step,
                    juce::int64 count,
                    float* destination) noexcept;

/** Decodes count consecutive samples (all channels of whole frames) to the signed 24-bit scale: wider integers lose
    their lowest 8 bits, floats are rounded half away from zero and clamped. The clamp sees the low 32 bits of the
    rounded value, so that a float of magnitude 256 or more wraps first. */
void decodeTo24Bit (SampleCoding, const juce::uint8* samples, juce::int64 count, juce::int32* destination) noexcept;

/** Rounds floats at full scale 1.0 to the 24-bit scale, half away from zero, clamped to the 24-bit range; what is not a
    number becomes 0. */
void floatsTo24Bit (const float* values, juce::int64 count, juce::int32* destination) noexcept;
[[nodiscard]] juce::int32 floatTo24Bit (float value) noexcept;

/** The lowest and highest sample of each channel over stretches of interleaved frames. */
class ExtremesFinder
{
public:
    ExtremesFinder (SampleCoding, int channels, int bytesPerSample);

    /** Starts anew: lows at full scale and highs at minus full scale, which out-of-range floats do not move. */
    void reset() noexcept;
    void add (const juce::uint8* frames, juce::int64 numFrames) noexcept;
    [[nodiscard]] bool isEmpty() const noexcept { return framesAdded == 0; }

    /** The range of a channel since reset, {0, 0} if no frame was added; low above high if none of them was a number. */
    [[nodiscard]] PeakRange rangeOf (int channel) const noexcept;

private:
    template <typename Value>
    struct Lanes
    {
        std::vector<Value> row, low, high;
    };

    template <typename Value>
    void addRows (Lanes<Value>&, const juce::uint8* frames, juce::int64 numFrames) noexcept;

    SampleCoding coding;
    int channels, bytesPerSample;
    juce::int64 framesPerRow;    // several frames side by side, so that mono too fills the machine's vectors
    juce::int64 framesAdded = 0;
    Lanes<juce::int32> whole;
    Lanes<float> real;
};

}    // namespace ld
