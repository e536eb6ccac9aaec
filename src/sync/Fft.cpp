#include "sync/Fft.h"

#include "media/LargeBuffers.h"

#include <juce_dsp/juce_dsp.h>

#include <array>
#include <vector>

namespace ld
{
namespace
{

// No operation works with more buffers of one size than this.
constexpr size_t mostSpareBuffers = 2;

// What a thread keeps for the transforms of one size.
struct SizeResources
{
    std::unique_ptr<juce::dsp::FFT> plan;
    std::vector<std::unique_ptr<float[]>> spareBuffers;
};

SizeResources& resourcesOf (int order)
{
    thread_local std::array<SizeResources, RealFft::largestOrder + 1> resources;
    return resources[(size_t) order];
}

juce::dsp::FFT& planOf (int order)
{
    auto& plan = resourcesOf (order).plan;

    if (plan == nullptr)
        plan = std::make_unique<juce::dsp::FFT> (order);

    return *plan;
}

}    // namespace

int RealFft::orderFor (double samples) noexcept
{
    auto order = 1;

    while (order < largestOrder && (double) (1 << order) < samples)
        ++order;

    return order;
}

RealFft::Buffer::Buffer (int order) : log2Size (order)
{
    auto& spare = resourcesOf (order).spareBuffers;

    if (spare.empty())
    {
        data = std::make_unique_for_overwrite<float[]> ((size_t) 2 << order);
        adviseLargePages (data.get(), ((size_t) 2 << order) * sizeof (float));
        return;
    }

    data = std::move (spare.back());
    spare.pop_back();
}

RealFft::Buffer::~Buffer()
{
    auto& spare = resourcesOf (log2Size).spareBuffers;

    if (spare.size() < mostSpareBuffers)
        spare.push_back (std::move (data));
}

void RealFft::Buffer::load (std::span<const float> signal) noexcept
{
    const auto used = std::min (signal.size(), (size_t) size());
    std::copy_n (signal.begin(), used, data.get());
    std::fill (data.get() + used, data.get() + size(), 0.0f);
}

void RealFft::Buffer::forward() noexcept
{
    planOf (log2Size).performRealOnlyForwardTransform (data.get(), true);
}

void RealFft::Buffer::inverse() noexcept
{
    planOf (log2Size).performRealOnlyInverseTransform (data.get());
}

}    // namespace ld
