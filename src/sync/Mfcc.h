#pragma once

#include "sync/Fft.h"

#include <juce_core/juce_core.h>

#include <array>
#include <vector>

namespace ld
{

constexpr int mfccSampleRate = 8000;     // Hz
constexpr int mfccFrameSamples = 256;    // 32 ms
constexpr int mfccHopSamples = 128;      // 16 ms: the resolution of every offset found here
constexpr int mfccCoefficients = 26;     // all kept, the first one too
constexpr int mfccSpectrumBins = 257;    // of a transform of 512, the frame padded with zeros

using MfccFrame = std::array<float, mfccCoefficients>;
using MelFilterBank = std::array<std::array<float, mfccSpectrumBins>, mfccCoefficients>;

/** Triangles on the mel scale, 2595 log10 (1 + f / 700), from 20 Hz to 4 kHz; not normalised by area. */
[[nodiscard]] const MelFilterBank& melFilters();

/** Mel-frequency cepstral coefficients (Davis and Mermelstein, 1980) of a signal at 8 kHz, each coefficient brought to
    zero mean and unit deviation over the signal. 256 samples or fewer give no frame. */
[[nodiscard]] std::vector<MfccFrame> computeMfcc (const std::vector<float>& samples);

/** computeMfcc of a signal that comes in blocks. */
class MfccAnalyser
{
public:
    /** numSamples   of the whole signal */
    explicit MfccAnalyser (juce::int64 numSamples);
    void push (std::span<const float> samples);

    /** To be called once, behind the signal's last sample. */
    [[nodiscard]] std::vector<MfccFrame> finish();

private:
    void addFrame (const float* samples);

    RealFft::Buffer transform;
    juce::int64 numSamples;
    std::vector<float> pending;    // samples of the frames to come
    std::vector<MfccFrame> frames;
};

}    // namespace ld
