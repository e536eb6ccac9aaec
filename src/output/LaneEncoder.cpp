#include "output/LaneEncoder.h"

#include "media/SampleCoding.h"

#include <array>
#include <cstring>

namespace ld
{

LaneEncoder::LaneEncoder (bool isFloat, int bits, int bytes, juce::int64 bytesOfFrame) noexcept
    : sampleBytes (bytes), frameBytes ((std::ptrdiff_t) bytesOfFrame)
{
    if (isFloat && bits > 24 && bits <= 32)
        target = Target::float32;
    else if (isFloat && bits == 64)
        target = Target::float64;
    else if (sampleBytes == 2)
        target = Target::int16;
    else
        target = sampleBytes == 3 ? Target::int24 : Target::wideInt;
}

template <typename Value, typename Source>
void LaneEncoder::storeValues (Source&& source, juce::int64 count, juce::uint8* first) const noexcept
{
    const auto step = frameBytes;

    for (std::ptrdiff_t i = 0; i < count; ++i)
    {
        const auto value = (Value) source (i);
        std::memcpy (first + i * step, &value, sizeof (value));
    }
}

template <typename Source>
void LaneEncoder::store24Bit (Source&& source, juce::int64 count, juce::uint8* first) const noexcept
{
    if (target == Target::int16)
    {
        storeValues<juce::int16> ([&source] (std::ptrdiff_t i) { return source (i) >> 8; }, count, first);
        return;
    }

    const auto step = frameBytes;
    const auto zeros = (size_t) sampleBytes - 3;

    for (std::ptrdiff_t i = 0; i < count; ++i)
    {
        const auto value = source (i);
        auto* at = first + i * step;

        for (size_t z = 0; z < zeros; ++z)
            *at++ = 0;

        at[0] = (juce::uint8) value;
        at[1] = (juce::uint8) (value >> 8);
        at[2] = (juce::uint8) (value >> 16);
    }
}

void LaneEncoder::encode24Bit (const juce::int32* values,
                               std::ptrdiff_t stride,
                               juce::int64 count,
                               juce::uint8* first) const noexcept
{
    const auto value = [=] (std::ptrdiff_t i) { return values[i * stride]; };
    const auto scaled = [=] (std::ptrdiff_t i) { return (float) values[i * stride] * 0x1p-23f; };

    switch (target)
    {
        case Target::float32: storeValues<float> (scaled, count, first); break;
        case Target::float64: storeValues<double> (scaled, count, first); break;
        default: store24Bit (value, count, first);
    }
}

void LaneEncoder::encodeFloats (std::span<const float> values, juce::uint8* first) const noexcept
{
    const auto count = (juce::int64) values.size();
    const auto value = [=] (std::ptrdiff_t i) { return values[(size_t) i]; };

    switch (target)
    {
        case Target::float32: storeValues<float> (value, count, first); break;
        case Target::float64: storeValues<double> (value, count, first); break;
        default: encodeRounded (values, first);
    }
}

void LaneEncoder::encodeRounded (std::span<const float> values, juce::uint8* first) const noexcept
{
    constexpr size_t stretch = 512;
    std::array<juce::int32, stretch> rounded;
    const auto value = [&rounded] (std::ptrdiff_t i) { return rounded[(size_t) i]; };

    for (size_t done = 0; done < values.size(); done += stretch)
    {
        const auto part = values.subspan (done, std::min (stretch, values.size() - done));
        floatsTo24Bit (part, std::span (rounded).first (part.size()));
        store24Bit (value, (juce::int64) part.size(), first + (std::ptrdiff_t) done * frameBytes);
    }
}

void LaneEncoder::encodeSilence (juce::int64 count, juce::uint8* first) const noexcept
{
    for (std::ptrdiff_t i = 0; i < count; ++i)
        std::memset (first + i * frameBytes, 0, (size_t) sampleBytes);
}

}    // namespace ld
