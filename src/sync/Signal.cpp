#include "sync/Signal.h"

#include "media/LargeBuffers.h"
#include "media/MemoryBudget.h"
#include "media/VectorClones.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace ld
{
namespace
{

constexpr double mostDrift = 0.005;

// Index is wide enough for every input position; the narrow form is the one that fills the machine's vectors.
template <typename Index>
inline void interpolate (const float* in, std::int64_t inLength, float* out, std::int64_t outLength, double ratio)
{
    const auto last = (Index) (inLength - 1);

    // Up to here both neighbours exist; the test of the last position itself makes the estimate safe.
    auto inner = std::clamp<std::int64_t> ((std::int64_t) ((double) last / ratio) + 1, 0, outLength);

    while (inner > 0 && (Index) (ratio * (double) (inner - 1)) >= last)
        --inner;

    for (std::int64_t i = 0; i < inner; ++i)
    {
        const auto position = ratio * (double) i;
        const auto left = (Index) position;
        const auto fraction = (float) (position - (double) left);
        const auto a = in[left];
        out[i] = std::fma (fraction, in[left + 1] - a, a);
    }

    for (auto i = inner; i < outLength; ++i)
        out[i] = in[last];
}

LD_VECTOR_CLONES void
interpolateShort (const float* in, std::int64_t inLength, float* out, std::int64_t outLength, double ratio)
{
    interpolate<std::int32_t> (in, inLength, out, outLength, ratio);
}

LD_VECTOR_CLONES void
interpolateLong (const float* in, std::int64_t inLength, float* out, std::int64_t outLength, double ratio)
{
    interpolate<std::int64_t> (in, inLength, out, outLength, ratio);
}

// Rates that make no sense count as equal: the signal is left as it is.
bool isSameRate (double sourceRate, double targetRate)
{
    constexpr double smallestDifference = 1e-12;
    return ! (sourceRate > 0.0) || ! (targetRate > 0.0)
           || std::abs (sourceRate / targetRate - 1.0) < smallestDifference;
}

LD_VECTOR_CLONES void addScaled (float* out, const float* in, size_t count, float gain)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = std::fma (in[i], gain, out[i]);
}

}    // namespace

std::vector<float> resampleTo (std::span<const float> samples, double sourceRate, double targetRate)
{
    if (samples.empty() || isSameRate (sourceRate, targetRate))
        return copyOf (samples);

    const auto ratio = sourceRate / targetRate;
    const auto exactLength = std::round ((double) samples.size() / ratio);
    requireMemory (exactLength * sizeof (float));
    const auto length = exactLength < 2.0 ? 1 : (std::int64_t) exactLength;
    const auto inLength = (std::int64_t) samples.size();
    auto out = makeZeros<float> ((size_t) length);

    if (inLength < std::numeric_limits<std::int32_t>::max())
        interpolateShort (samples.data(), inLength, out.data(), length, ratio);
    else
        interpolateLong (samples.data(), inLength, out.data(), length, ratio);

    return out;
}

std::vector<float> resampleTo (std::vector<float>&& samples, double sourceRate, double targetRate)
{
    if (isSameRate (sourceRate, targetRate))
        return std::move (samples);

    return resampleTo (std::span<const float> (samples), sourceRate, targetRate);
}

std::vector<float> mixdown (const std::vector<std::vector<float>>& channels)
{
    if (channels.empty())
        return {};

    if (channels.size() == 1)
        return copyOf (channels.front());

    const auto longer = [] (const auto& a, const auto& b) { return a.size() < b.size(); };
    auto mono = makeZeros<float> (std::max_element (channels.begin(), channels.end(), longer)->size());
    const auto gain = 1.0f / std::sqrt ((float) channels.size());

    for (const auto& channel : channels)
        addScaled (mono.data(), channel.data(), channel.size(), gain);

    return mono;
}

std::vector<float> applyClockDrift (const std::vector<float>& samples, double driftSlope)
{
    if (std::abs (driftSlope) < smallestDrift)
        return copyOf (samples);

    return resampleTo (samples, 1.0, std::clamp (1.0 + driftSlope, 1.0 - mostDrift, 1.0 + mostDrift));
}

float stdDev (const std::vector<float>& samples)
{
    if (samples.size() < 2)
        return 0.0f;

    const auto count = (double) samples.size();
    auto sum = 0.0;

    for (const auto sample : samples)
        sum += sample;

    const auto mean = sum / count;
    auto squares = 0.0;

    for (const auto sample : samples)
        squares += (sample - mean) * (sample - mean);

    return (float) std::sqrt (squares / count);
}

std::int64_t loudestWindowStart (std::span<const float> signal, std::int64_t windowSamples)
{
    const auto length = (std::int64_t) signal.size();
    const auto squareAt = [signal] (std::int64_t i) {
        const auto sample = (double) signal[(size_t) i];
        return sample * sample;
    };
    auto energy = 0.0;

    for (std::int64_t i = 0; i < std::min (windowSamples, length); ++i)
        energy += squareAt (i);

    auto bestEnergy = energy;
    std::int64_t bestStart = 0;

    for (std::int64_t i = 0; i < length - windowSamples; ++i)
    {
        energy += squareAt (i + windowSamples);
        energy -= squareAt (i);

        if (energy > bestEnergy)
        {
            bestEnergy = energy;
            bestStart = i;
        }
    }

    return bestStart;
}

}    // namespace ld
