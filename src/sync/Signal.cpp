#include "sync/Signal.h"

#include "media/LargeBuffers.h"
#include "media/MemoryBudget.h"
#include "media/VectorClones.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace ld
{
namespace
{

constexpr double mostDrift = 0.005;

// What output sample lies where on the input. The input's first sample is number origin of the signal, the output's first
// number firstOutput: positions are products from the signal's start, and taking a whole number off them is exact, so that
// a stretch gives what the whole gives.
struct Grid
{
    double ratio = 1.0;    // input samples from one output sample to the next
    double firstOutput = 0.0, origin = 0.0;
};

// Index is wide enough for every input position; the narrow form is the one that fills the machine's vectors.
template <typename Index>
inline void interpolate (std::span<const float> input, std::span<float> output, const Grid& grid)
{
    const auto* const in = input.data();
    auto* const out = output.data();
    const auto outLength = (std::int64_t) output.size();
    const auto [ratio, firstOutput, origin] = grid;
    const auto last = (Index) (input.size() - 1);
    const auto positionOf = [r = ratio, f = firstOutput, o = origin] (std::int64_t i) {
        return r * (f + (double) i) - o;
    };

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

LD_VECTOR_CLONES void interpolateShort (std::span<const float> in, std::span<float> out, const Grid& grid)
{
    interpolate<std::int32_t> (in, out, grid);
}

LD_VECTOR_CLONES void interpolateLong (std::span<const float> in, std::span<float> out, const Grid& grid)
{
    interpolate<std::int64_t> (in, out, grid);
}

// As far as the input reaches.
LD_VECTOR_CLONES void addScaled (std::span<float> out, std::span<const float> in, float gain)
{
    for (size_t i = 0; i < in.size(); ++i)
        out[i] = std::fma (in[i], gain, out[i]);
}

// Eight sums, so that they fill the machine's vectors in a fixed order.
LD_VECTOR_CLONES double energyOf (std::span<const float> samples)
{
    std::array<double, 8> sums {};

    for (size_t i = 0; i < LoudestWindow::blockSamples; i += sums.size())
        for (size_t k = 0; k < sums.size(); ++k)
            sums[k] += (double) samples[i + k] * samples[i + k];

    return ((sums[0] + sums[1]) + (sums[2] + sums[3])) + ((sums[4] + sums[5]) + (sums[6] + sums[7]));
}

// By blocks that stay in the processor's cache for all channels.
void mixInto (std::span<float> mono, const std::vector<std::vector<float>>& channels)
{
    const auto gain = 1.0f / std::sqrt ((float) channels.size());
    constexpr size_t blockSamples = 4096;

    for (size_t start = 0; start < mono.size(); start += blockSamples)
        for (const auto& channel : channels)
            if (start < channel.size())
                addScaled (mono.subspan (start),
                           std::span (channel).subspan (start, std::min (blockSamples, channel.size() - start)),
                           gain);
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
    interpolateShort (samples, out, { ratio, (double) firstOutput, (double) firstSample });
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
        interpolateShort (samples, out, { .ratio = ratio });
    else
        interpolateLong (samples, out, { .ratio = ratio });

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
    mixInto (mono, channels);
    return mono;
}

void mixdownBlock (const std::vector<std::vector<float>>& channels, std::vector<float>& mono)
{
    if (channels.size() == 1)
    {
        mono = channels.front();
        return;
    }

    mono.assign (channels.empty() ? 0 : channels.front().size(), 0.0f);
    mixInto (mono, channels);
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

LoudestWindow::LoudestWindow (std::int64_t samples) : windowSamples ((size_t) std::max<std::int64_t> (samples, 0))
{
}

void LoudestWindow::push (std::span<const float> samples)
{
    const auto filling = samples.first (std::min (windowSamples - window.size(), samples.size()));
    window.insert (window.end(), filling.begin(), filling.end());
    samples = samples.subspan (filling.size());

    for (const auto sample : filling)
        energy += (double) sample * sample;

    bestEnergy = std::max (bestEnergy, filling.empty() ? 0.0 : energy);

    // Blocks are counted from the start of the signal: the result must not depend on how it is delivered.
    while (waiting.size() + samples.size() >= blockSamples && windowSamples > 0)
    {
        if (waiting.empty())
        {
            slideOver (samples.first (blockSamples));
            samples = samples.subspan (blockSamples);
            continue;
        }

        const auto missing = blockSamples - waiting.size();
        waiting.insert (waiting.end(), samples.begin(), samples.begin() + (std::ptrdiff_t) missing);
        samples = samples.subspan (missing);
        slideOver (waiting);
        waiting.clear();
    }

    waiting.insert (waiting.end(), samples.begin(), samples.end());
}

std::int64_t LoudestWindow::finish()
{
    if (windowSamples > 0)
        slideOver (waiting);

    waiting.clear();
    return bestStart;
}

void LoudestWindow::slideOver (std::span<const float> samples)
{
    const auto oldest = (size_t) steps % windowSamples;
    const auto leaving = std::span (window).subspan (oldest, std::min (samples.size(), windowSamples - oldest));

    if (leaving.size() == blockSamples)
    {
        // Energy that leaves can only lower the sum: where all that comes does not reach the best, no step does.
        if (const auto coming = energyOf (samples); energy + coming <= bestEnergy)
        {
            energy += coming - energyOf (leaving);
            steps += (std::int64_t) blockSamples;
            std::copy (samples.begin(), samples.end(), leaving.begin());
            return;
        }
    }

    for (const auto sample : samples)
        slideOneStep (sample);
}

void LoudestWindow::slideOneStep (float sample)
{
    auto& leaving = window[(size_t) steps % windowSamples];
    energy += (double) sample * sample;
    energy -= (double) leaving * leaving;
    leaving = sample;

    if (energy > bestEnergy)
    {
        bestEnergy = energy;
        bestStart = steps;
    }

    ++steps;
}

std::int64_t loudestWindowStart (std::span<const float> signal, std::int64_t windowSamples)
{
    LoudestWindow loudest (windowSamples);
    loudest.push (signal);
    return loudest.finish();
}

}    // namespace ld
