#include "sync/Fft.h"

#include <juce_dsp/juce_dsp.h>

#include <array>

namespace ld
{
namespace
{

juce::dsp::FFT& planOf (int order)
{
    thread_local std::array<std::unique_ptr<juce::dsp::FFT>, RealFft::largestOrder + 1> plans;
    auto& plan = plans[(size_t) order];

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

RealFft::Buffer::Buffer (int order)
    : log2Size (order), data (std::make_unique_for_overwrite<float[]> ((size_t) 2 << order))
{
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
