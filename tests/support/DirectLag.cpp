#include "support/DirectLag.h"

#include <algorithm>

namespace ld::test
{

std::vector<float> slopeOf (const std::vector<float>& signal)
{
    std::vector<float> slope (signal.size());

    for (size_t i = 1; i < signal.size(); ++i)
        slope[i] = signal[i] - signal[i - 1];

    return slope;
}

int bestLag (const std::vector<float>& host, juce::int64 start, const std::vector<float>& guest)
{
    std::vector<float> sums (2 * widestLag + 1);

    for (juce::int64 i = 0; i < (juce::int64) guest.size(); ++i)
    {
        const auto first = start + i - widestLag;

        if (first < 0 || first + (juce::int64) sums.size() > (juce::int64) host.size())
            continue;

        for (size_t lag = 0; lag < sums.size(); ++lag)
            sums[lag] += guest[(size_t) i] * host[(size_t) first + lag];
    }

    return (int) (std::max_element (sums.begin(), sums.end()) - sums.begin()) - widestLag;
}

}    // namespace ld::test
