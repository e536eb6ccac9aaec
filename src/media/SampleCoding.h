#pragma once

#include "media/Records.h"

#include <span>

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

/** Whole interleaved frames as they lie in a file, little-endian. */
struct InterleavedFrames
{
    SampleCoding coding = SampleCoding::silence;
    int channels = 1, bytesPerSample = 1;
    std::span<const juce::uint8> bytes {};
};

/** Decodes one channel to floats at full scale 1.0; integers are scaled by a power of two.
    channel      0-based
    step         frames from one decoded sample to the next, 1 or more; the frames reach as far as the destination's last
    destination  is filled */
void decodeChannel (const InterleavedFrames&, int channel, juce::int64 step, std::span<float> destination) noexcept;

/** Decodes consecutive samples (all channels of whole frames) to the signed 24-bit scale: wider integers lose their lowest
    8 bits, floats are rounded half away from zero and clamped. The clamp sees the low 32 bits of the rounded value, so that
    a float of magnitude 256 or more wraps first.
    destination  is filled */
void decodeTo24Bit (SampleCoding, std::span<const juce::uint8> samples, std::span<juce::int32> destination) noexcept;

/** Rounds floats at full scale 1.0 to the 24-bit scale, half away from zero, clamped to the 24-bit range; what is not a
    number becomes 0.
    destination  as long as values */
void floatsTo24Bit (std::span<const float> values, std::span<juce::int32> destination) noexcept;
[[nodiscard]] juce::int32 floatTo24Bit (float value) noexcept;

/** The lowest and highest sample of each channel over stretches of interleaved frames. */
class ExtremesFinder
{
public:
    ExtremesFinder (SampleCoding, int channels, int bytesPerSample);

    /** Starts over: lows at full scale and highs at minus full scale, which out-of-range floats do not move. */
    void reset() noexcept;
    void add (std::span<const juce::uint8> frames) noexcept;
    [[nodiscard]] bool isEmpty() const noexcept { return ! hasFrames; }

    /** The range of a channel since reset, {0, 0} if no frame was added; low above high if none of them was a number. */
    [[nodiscard]] PeakRange rangeOf (int channel) const noexcept;

private:
    template <typename Value>
    struct Lanes
    {
        std::vector<Value> row, low, high;
    };

    template <typename Value>
    void addRows (Lanes<Value>&, std::span<const juce::uint8> frames) noexcept;

    SampleCoding coding;
    int channels, bytesPerSample;
    size_t bytesPerRow;    // several frames side by side, so that mono too fills the machine's vectors
    bool hasFrames = false;
    Lanes<juce::int32> whole;
    Lanes<float> real;
};

}    // namespace ld
