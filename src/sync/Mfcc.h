#pragma once

#include <juce_core/juce_core.h>

#include <array>
#include <vector>

namespace ld
{

constexpr int mfccSampleRate = 8000;      // Hz
constexpr int mfccFrameSamples = 256;     // 32 ms
constexpr int mfccHopSamples = 128;       // 16 ms: the resolution of every offset found here
constexpr int mfccCoefficients = 26;      // all kept, the first one too
constexpr int mfccSpectrumBins = 257;     // of a transform of 512, the frame padded with zeros
constexpr float mfccLockZScore = 5.0f;    // a peak this far above the noise floor is a match

using MfccFrame = std::array<float, mfccCoefficients>;
using MelFilterBank = std::array<std::array<float, mfccSpectrumBins>, mfccCoefficients>;

struct MfccResult
{
    juce::int64 offsetSamples = 0;    // lag at the caller's rate: guest sample g lies on host sample g + lag
    float zScore = 0.0f;              // of the peak over the whole correlation; 0 if nothing was computed
    float offsetSeconds = 0.0f;
    bool locked = false;

    bool operator== (const MfccResult&) const = default;
};

/** Triangles on the mel scale, 2595 log10 (1 + f / 700), from 20 Hz to 4 kHz; not normalised by area. */
[[nodiscard]] const MelFilterBank& melFilters();

/** Mel-frequency cepstral coefficients (Davis and Mermelstein, 1980) of a signal at 8 kHz, each coefficient brought to
    zero mean and unit deviation over the signal. 256 samples or fewer give no frame. */
[[nodiscard]] std::vector<MfccFrame> computeMfcc (const std::vector<float>& samples);

/** The circular correlation of two columns at the transform size of gccPhat, with its cap of 2^20. */
[[nodiscard]] std::vector<float> correlateColumn (const std::vector<float>& a, const std::vector<float>& b);

/** Finds the loudest stretch of a query, at most a third of the search and 32 s long, in the search; both at 8 kHz.
    sampleRate   Hz, the rate in which offsetSamples is told */
[[nodiscard]] MfccResult
findQueryInSearch (const std::vector<float>& search, const std::vector<float>& query, int sampleRate);

/** The lag of guest on host; the shorter of the two is the query. Needs 256 samples of each. */
[[nodiscard]] MfccResult computeMfccOffset (
    const float* host, juce::int64 hostLength, const float* guest, juce::int64 guestLength, int sampleRate);

/** As computeMfccOffset, and once more with the guest as search: the higher score stands. */
[[nodiscard]] MfccResult computeMfccOffsetBothWays (
    const float* host, juce::int64 hostLength, const float* guest, juce::int64 guestLength, int sampleRate);

/** The best score over the host's channels of at least 256 samples; the first of equals stands. */
[[nodiscard]] MfccResult computeMfccOffsetBest (const std::vector<std::vector<float>>& hostChannels,
                                                const float* guest,
                                                juce::int64 guestLength,
                                                int sampleRate,
                                                bool bothWays);

}    // namespace ld
