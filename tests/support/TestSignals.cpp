#include "support/TestSignals.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace ld::test
{
namespace
{

constexpr double pi = juce::MathConstants<double>::pi;

// The standard's own distributions differ from library to library.
class Dice
{
public:
    explicit Dice (unsigned seed) : engine (seed) {}

    double between (double low, double high) { return low + (high - low) * (double) engine() / 4294967296.0; }

private:
    std::mt19937 engine;
};

}    // namespace

Signal noise (juce::int64 length, unsigned seed)
{
    Dice dice (seed);
    Signal signal ((size_t) length);

    for (auto& sample : signal)
        sample = (float) dice.between (-0.5, 0.5);

    return signal;
}

Signal speech (juce::int64 length, int sampleRate, unsigned seed)
{
    constexpr double damping = 0.97;
    Dice dice (seed);
    Signal signal ((size_t) length);

    for (size_t at = 0; at < signal.size();)
    {
        const auto syllable = (size_t) (dice.between (0.08, 0.3) * sampleRate);
        const auto pause = (size_t) (dice.between (0.02, 0.25) * sampleRate);
        const auto loudness = dice.between (0.02, 0.12);
        const auto swing = 2.0 * damping * std::cos (2.0 * pi * dice.between (150.0, 3000.0) / sampleRate);
        auto last = 0.0, lastButOne = 0.0;

        for (size_t i = 0; i < syllable && at + i < signal.size(); ++i)
        {
            const auto value = dice.between (-1.0, 1.0) + swing * last - damping * damping * lastButOne;
            lastButOne = last;
            last = value;
            signal[at + i] = (float) (loudness * std::sin (pi * (double) i / (double) syllable) * value);
        }

        at += syllable + pause;
    }

    return signal;
}

Signal stretchOf (const Signal& signal, juce::int64 start, juce::int64 length)
{
    Signal stretch ((size_t) length);

    for (juce::int64 i = 0; i < length; ++i)
        if (start + i >= 0 && start + i < (juce::int64) signal.size())
            stretch[(size_t) i] = signal[(size_t) (start + i)];

    return stretch;
}

Signal resampledExactly (const Signal& signal, double start, double step, juce::int64 length)
{
    constexpr juce::int64 reach = 24;
    Signal result ((size_t) length);

    for (juce::int64 i = 0; i < length; ++i)
    {
        const auto position = start + (double) i * step;
        const auto left = (juce::int64) std::floor (position);
        const auto sine = std::sin (pi * (position - (double) left));    // its sign turns from sample to sample
        auto sum = 0.0;

        for (auto k = left - reach + 1; k <= left + reach; ++k)
        {
            if (k < 0 || k >= (juce::int64) signal.size())
                continue;

            const auto x = position - (double) k;
            const auto sinc = std::abs (x) < 1e-9 ? 1.0 : ((k - left) % 2 == 0 ? sine : -sine) / (pi * x);
            sum += signal[(size_t) k] * sinc * (0.5 + 0.5 * std::cos (pi * x / (double) reach));
        }

        result[(size_t) i] = (float) sum;
    }

    return result;
}

Signal lowPassed (Signal signal, int width)
{
    for (int pass = 0; pass < 4; ++pass)
    {
        const auto input = signal;
        auto sum = 0.0;

        for (size_t i = 0; i < input.size(); ++i)
        {
            sum += input[i];
            sum -= i >= (size_t) width ? (double) input[i - (size_t) width] : 0.0;
            signal[i] = (float) (sum / width);
        }
    }

    return signal;
}

Signal sumOf (const Signal& first, const Signal& second, float secondGain)
{
    auto sum = first;

    for (size_t i = 0; i < std::min (first.size(), second.size()); ++i)
        sum[i] += secondGain * second[i];

    return sum;
}

}    // namespace ld::test
