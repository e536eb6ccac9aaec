#include "media/SampleCoding.h"

#include "media/VectorClones.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace ld
{
namespace
{

static_assert (std::endian::native == std::endian::little, "Samples are read as they lie in the file.");

constexpr juce::int32 highest24Bit = 8388607;
constexpr juce::int32 lowest24Bit = -8388608;
constexpr double scale24Bit = 8388608.0;

template <typename Value>
Value load (const juce::uint8* bytes) noexcept
{
    Value value;
    std::memcpy (&value, bytes, sizeof (Value));
    return value;
}

juce::int32 loadInt24 (const juce::uint8* bytes) noexcept
{
    const auto packed = (juce::uint32) bytes[0] << 8 | (juce::uint32) bytes[1] << 16 | (juce::uint32) bytes[2] << 24;
    return (juce::int32) packed >> 8;
}

// All but the last sample are read with one byte of the next, which falls off at the top.
void decodeInt24 (const juce::uint8* samples, std::span<juce::int32> destination) noexcept
{
    const auto count = (std::ptrdiff_t) destination.size();
    auto* const to = destination.data();

    for (std::ptrdiff_t i = 0; i + 1 < count; ++i)
        to[i] = (juce::int32) (load<juce::uint32> (samples + 3 * i) << 8) >> 8;

    if (count > 0)
        to[count - 1] = loadInt24 (samples + 3 * (count - 1));
}

juce::int32 wrapAndClampTo24Bit (double value) noexcept
{
    constexpr auto limit = (double) (juce::int64 { 1 } << 62);
    const auto scaled = value * scale24Bit;
    const auto rounded = std::isnan (scaled) ? 0 : std::llround (std::clamp (scaled, -limit, limit));
    return std::clamp ((juce::int32) (juce::uint32) (juce::uint64) rounded, lowest24Bit, highest24Bit);
}

// Calls visit with a function that reads one sample in the machine's own terms and the factor that brings it to
// full scale 1.0. Silence visits nothing.
template <typename Visitor>
void visitCoding (SampleCoding coding, Visitor&& visit)
{
    switch (coding)
    {
        case SampleCoding::silence: break;
        case SampleCoding::int16:
            visit ([] (const juce::uint8* at) noexcept { return (juce::int32) load<juce::int16> (at); }, 0x1p-15f);
            break;
        case SampleCoding::int24:
            visit ([] (const juce::uint8* at) noexcept { return loadInt24 (at); }, 0x1p-23f);
            break;
        case SampleCoding::int32:
            visit ([] (const juce::uint8* at) noexcept { return load<juce::int32> (at); }, 0x1p-31f);
            break;
        case SampleCoding::float32:
            visit ([] (const juce::uint8* at) noexcept { return load<float> (at); }, 1.0f);
            break;
        case SampleCoding::float64:
            visit ([] (const juce::uint8* at) noexcept { return (float) load<double> (at); }, 1.0f);
            break;
    }
}

float factorOf (SampleCoding coding)
{
    auto factor = 1.0f;
    visitCoding (coding, [&] (auto&&, float f) { factor = f; });
    return factor;
}

// Samples in their own terms, neither scaled nor converted: whole numbers of any width,
void decodeRow (SampleCoding coding, const juce::uint8* samples, std::span<juce::int32> row) noexcept
{
    switch (coding)
    {
        case SampleCoding::int16:
            for (size_t i = 0; i < row.size(); ++i)
                row[i] = load<juce::int16> (samples + 2 * i);
            break;
        case SampleCoding::int24: decodeInt24 (samples, row); break;
        default: std::memcpy (row.data(), samples, row.size_bytes());
    }
}

// and real ones.
void decodeRow (SampleCoding coding, const juce::uint8* samples, std::span<float> row) noexcept
{
    if (coding == SampleCoding::float32)
    {
        std::memcpy (row.data(), samples, row.size_bytes());
        return;
    }

    for (size_t i = 0; i < row.size(); ++i)
        row[i] = (float) load<double> (samples + 8 * i);
}

// The order of the operands leaves a bound as it stands where the sample is not a number.
template <typename Value>
inline void widen (std::span<const Value> row, Value* low, Value* high) noexcept
{
    for (size_t i = 0; i < row.size(); ++i)
    {
        low[i] = row[i] < low[i] ? row[i] : low[i];
        high[i] = row[i] > high[i] ? row[i] : high[i];
    }
}

LD_VECTOR_CLONES void widenRow (std::span<const juce::int32> row, juce::int32* low, juce::int32* high)
{
    widen (row, low, high);
}

LD_VECTOR_CLONES void widenRow (std::span<const float> row, float* low, float* high)
{
    widen (row, low, high);
}

}    // namespace

SampleCoding sampleCodingOf (const AudioFormatInfo& format) noexcept
{
    switch (format.bytesPerSample)
    {
        case 2: return SampleCoding::int16;
        case 3: return SampleCoding::int24;
        case 4: return format.isFloat ? SampleCoding::float32 : SampleCoding::int32;
        case 8: return format.isFloat ? SampleCoding::float64 : SampleCoding::silence;
        default: return SampleCoding::silence;
    }
}

void decodeChannel (const InterleavedFrames& frames,
                    int channel,
                    juce::int64 step,
                    std::span<float> destination) noexcept
{
    if (frames.coding == SampleCoding::silence)
        std::ranges::fill (destination, 0.0f);

    const auto* first = frames.bytes.data() + (std::ptrdiff_t) channel * frames.bytesPerSample;
    const auto stride = (std::ptrdiff_t) step * frames.channels * frames.bytesPerSample;
    const auto count = (std::ptrdiff_t) destination.size();
    auto* const to = destination.data();

    visitCoding (frames.coding, [=] (auto&& read, float factor) noexcept {
        for (std::ptrdiff_t i = 0; i < count; ++i)
            to[i] = (float) read (first + i * stride) * factor;
    });
}

LD_VECTOR_CLONES void floatsTo24Bit (std::span<const float> values, std::span<juce::int32> destination) noexcept
{
    // In double, where adding a half is exact. Two loops, as one with all three choices is not vectorised.
    for (size_t i = 0; i < values.size(); ++i)
    {
        const auto scaled = (double) values[i] * scale24Bit;
        const auto rounding = scaled + std::copysign (0.5, scaled);
        const auto notAbove = rounding > highest24Bit ? (double) highest24Bit : rounding;
        destination[i] = (juce::int32) (notAbove > lowest24Bit ? notAbove : (double) lowest24Bit);
    }

    for (size_t i = 0; i < values.size(); ++i)
        destination[i] = values[i] == values[i] ? destination[i] : 0;
}

juce::int32 floatTo24Bit (float value) noexcept
{
    juce::int32 rounded = 0;
    floatsTo24Bit ({ &value, 1 }, { &rounded, 1 });
    return rounded;
}

void decodeTo24Bit (SampleCoding coding,
                    std::span<const juce::uint8> samples,
                    std::span<juce::int32> destination) noexcept
{
    const auto* const from = samples.data();

    switch (coding)
    {
        case SampleCoding::silence: std::ranges::fill (destination, 0); break;
        case SampleCoding::int16:
            for (size_t i = 0; i < destination.size(); ++i)
                destination[i] = load<juce::int16> (from + 2 * i) * 256;
            break;
        case SampleCoding::int24: decodeInt24 (from, destination); break;
        case SampleCoding::int32:
            for (size_t i = 0; i < destination.size(); ++i)
                destination[i] = load<juce::int32> (from + 4 * i) >> 8;
            break;
        case SampleCoding::float32:
            for (size_t i = 0; i < destination.size(); ++i)
                destination[i] = wrapAndClampTo24Bit ((double) load<float> (from + 4 * i));
            break;
        case SampleCoding::float64:
            for (size_t i = 0; i < destination.size(); ++i)
                destination[i] = wrapAndClampTo24Bit (load<double> (from + 8 * i));
            break;
    }
}

ExtremesFinder::ExtremesFinder (SampleCoding codingToUse, int numChannels, int sampleBytes)
    : coding (codingToUse), channels (numChannels), bytesPerSample (sampleBytes)
{
    constexpr int wantedLanes = 256;
    const auto lanes = (size_t) (std::max (wantedLanes / channels, 1) * channels);
    bytesPerRow = lanes * (size_t) bytesPerSample;
    const auto isReal = coding == SampleCoding::float32 || coding == SampleCoding::float64;

    const auto size = [lanes] (auto& set) {
        for (auto* values : { &set.row, &set.low, &set.high })
            values->resize (lanes);
    };

    if (isReal)
        size (real);
    else
        size (whole);

    reset();
}

void ExtremesFinder::reset() noexcept
{
    hasFrames = false;
    std::fill (whole.low.begin(), whole.low.end(), std::numeric_limits<juce::int32>::max());
    std::fill (whole.high.begin(), whole.high.end(), std::numeric_limits<juce::int32>::min());
    std::fill (real.low.begin(), real.low.end(), 1.0f);
    std::fill (real.high.begin(), real.high.end(), -1.0f);
}

template <typename Value>
void ExtremesFinder::addRows (Lanes<Value>& lanes, std::span<const juce::uint8> frames) noexcept
{
    for (size_t done = 0; done < frames.size(); done += bytesPerRow)
    {
        const auto bytes = frames.subspan (done, std::min (bytesPerRow, frames.size() - done));
        const auto row = std::span (lanes.row).first (bytes.size() / (size_t) bytesPerSample);
        decodeRow (coding, bytes.data(), row);
        widenRow (row, lanes.low.data(), lanes.high.data());
    }
}

void ExtremesFinder::add (std::span<const juce::uint8> frames) noexcept
{
    hasFrames = hasFrames || ! frames.empty();

    if (coding == SampleCoding::silence)
        return;

    if (real.row.empty())
        addRows (whole, frames);
    else
        addRows (real, frames);
}

PeakRange ExtremesFinder::rangeOf (int channel) const noexcept
{
    if (! hasFrames || coding == SampleCoding::silence)
        return {};

    const auto over = [&] (const auto& lanes) {
        auto low = lanes.low[(size_t) channel];
        auto high = lanes.high[(size_t) channel];

        for (auto i = (size_t) channel; i < lanes.low.size(); i += (size_t) channels)
        {
            low = std::min (low, lanes.low[i]);
            high = std::max (high, lanes.high[i]);
        }

        return std::pair { (float) low, (float) high };
    };

    const auto factor = factorOf (coding);
    const auto [low, high] = real.row.empty() ? over (whole) : over (real);
    return { low * factor, high * factor };
}

}    // namespace ld
