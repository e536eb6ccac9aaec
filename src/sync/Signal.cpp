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

// Index is wide enough for every input position; the narrow form is the one that fills the machine's vectors. The
// input's first sample is number origin of the signal, the output's first number firstOutput: positions are products from
// the signal's start, and taking a whole number off them is exact, so that a stretch gives what the whole gives.
template <typename Index>
inline void interpolate (const float* in,
                         std::int64_t inLength,
                         float* out,
                         std::int64_t outLength,
                         double ratio,
                         double firstOutput,
                         double origin)
{
    const auto last = (Index) (inLength - 1);
    const auto positionOf = [=] (std::int64_t i) { return ratio * (firstOutput + (double) i) - origin; };

    // Up to here both neighbours exist; the test of the last position itself makes the estimate safe.
    const auto estimate = ((double) last + origin) / ratio - firstOutput;
    auto inner = std::clamp<std::int64_t> ((std::int64_t) estimate + 1, 0, outLength);

    while (inner > 0 && (Index) positionOf (inner - 1) >= last)
        --inner;

    for (std::int64_t i = 0; i < inner; ++i)
    {
        const auto position = positionOf (i);
        const auto left = (Index) position;
        const auto fraction = (float) (position - (double) left);
        const auto a = in[left];
        out[i] = std::fma (fraction, in[left + 1] - a, a);
    }

    for (auto i = inner; i < outLength; ++i)
        out[i] = in[last];
}

LD_VECTOR_CLONES void interpolateShort (const float* in,
                                        std::int64_t inLength,
                                        float* out,
                                        std::int64_t outLength,
                                        double ratio,
                                        double firstOutput,
                                        double origin)
{
    interpolate<std::int32_t> (in, inLength, out, outLength, ratio, firstOutput, origin);
}

LD_VECTOR_CLONES void
interpolateLong (const float* in, std::int64_t inLength, float* out, std::int64_t outLength, double ratio)
{
    interpolate<std::int64_t> (in, inLength, out, outLength, ratio, 0.0, 0.0);
}

LD_VECTOR_CLONES void addScaled (float* out, const float* in, size_t count, float gain)
{
    for (size_t i = 0; i < count; ++i)
        out[i] = std::fma (in[i], gain, out[i]);
}

// By blocks that stay in the processor's cache for all channels.
void mixInto (std::span<float> mono, const std::vector<std::vector<float>>& channels, float gain)
{
    constexpr size_t blockSamples = 4096;

    for (size_t start = 0; start < mono.size(); start += blockSamples)
        for (const auto& channel : channels)
            if (start < channel.size())
                addScaled (
                    mono.data() + start, channel.data() + start, std::min (blockSamples, channel.size() - start), gain);
}

}    // namespace

bool isSameRate (double sourceRate, double targetRate)
{
    constexpr double smallestDifference = 1e-12;
    return ! (sourceRate > 0.0) || ! (targetRate > 0.0)
           || std::abs (sourceRate / targetRate - 1.0) < smallestDifference;
}

std::int64_t resampledLength (std::int64_t samples, double sourceRate, double targetRate)
{
    if (samples < 1 || isSameRate (sourceRate, targetRate))
        return samples;

    const auto exactLength = std::round ((double) samples / (sourceRate / targetRate));
    requireMemory (exactLength * sizeof (float));
    return exactLength < 2.0 ? 1 : (std::int64_t) exactLength;
}

void resampleStretch (std::span<const float> samples,
                      std::int64_t firstSample,
                      std::span<float> out,
                      std::int64_t firstOutput,
                      double ratio)
{
    interpolateShort (samples.data(),
                      (std::int64_t) samples.size(),
                      out.data(),
                      (std::int64_t) out.size(),
                      ratio,
                      (double) firstOutput,
                      (double) firstSample);
}

std::vector<float> resampleTo (std::span<const float> samples, double sourceRate, double targetRate)
{
    if (samples.empty() || isSameRate (sourceRate, targetRate))
        return copyOf (samples);

    const auto ratio = sourceRate / targetRate;
    const auto inLength = (std::int64_t) samples.size();
    const auto length = resampledLength (inLength, sourceRate, targetRate);
    auto out = makeZeros<float> ((size_t) length);

    if (inLength < std::numeric_limits<std::int32_t>::max())
        interpolateShort (samples.data(), inLength, out.data(), length, ratio, 0.0, 0.0);
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

    mixInto (mono, channels, gain);
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

LoudestWindow::LoudestWindow (std::int64_t samples) : windowSamples (std::max<std::int64_t> (samples, 0))
{
}

void LoudestWindow::push (std::span<const float> samples)
{
    const auto filling = std::min (windowSamples - (std::int64_t) window.size(), (std::int64_t) samples.size());

    for (const auto sample : samples.first ((size_t) filling))
        energy += (double) sample * sample;

    window.insert (window.end(), samples.begin(), samples.begin() + filling);

    if (filling > 0)
        bestEnergy = energy;

    if ((std::int64_t) window.size() == windowSamples && windowSamples > 0)
        slideOver (samples.subspan ((size_t) filling));
}

void LoudestWindow::slideOver (std::span<const float> samples)
{
    while (! samples.empty())
    {
        const auto count = std::min (samples.size(), window.size() - oldest);
        auto* leaving = window.data() + oldest;

        for (size_t i = 0; i < count; ++i)
        {
            energy += (double) samples[i] * samples[i];
            energy -= (double) leaving[i] * leaving[i];
            leaving[i] = samples[i];

            if (energy > bestEnergy)
            {
                bestEnergy = energy;
                bestStart = steps + (std::int64_t) i;
            }
        }

        steps += (std::int64_t) count;
        oldest = (oldest + count) % window.size();
        samples = samples.subspan (count);
    }
}

std::int64_t loudestWindowStart (std::span<const float> signal, std::int64_t windowSamples)
{
    LoudestWindow loudest (windowSamples);
    loudest.push (signal);
    return loudest.start();
}

}    // namespace ld
