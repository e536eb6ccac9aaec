#pragma once

#include <juce_core/juce_core.h>

#include <functional>
#include <span>
#include <vector>

namespace ld
{

/** A signal that need not lie in memory: stretches of it are asked for as they are needed. */
struct SignalOnDemand
{
    /** start, count   a stretch within the signal
        scratch        memory that the answer may use; the answer is good until it changes */
    using Read =
        std::function<std::span<const float> (juce::int64 start, juce::int64 count, std::vector<float>& scratch)>;

    juce::int64 length = 0;
    Read read;

    /** A signal in memory, which must outlive this. */
    [[nodiscard]] static SignalOnDemand of (std::span<const float> samples)
    {
        return { (juce::int64) samples.size(), [samples] (juce::int64 start, juce::int64 count, std::vector<float>&) {
                    return samples.subspan ((size_t) start, (size_t) count);
                } };
    }

    /** Shows a stretch block by block.
        visit   gets the place of a block and its samples */
    template <typename Visit>
    void visitBlocks (juce::int64 start, juce::int64 count, Visit&& visit) const
    {
        constexpr juce::int64 blockSamples = 1 << 18;
        std::vector<float> scratch;

        for (auto at = start; at < start + count; at += blockSamples)
            visit (at, read (at, std::min (blockSamples, start + count - at), scratch));
    }
};

}    // namespace ld
