#pragma once

#include "demo/DemoShootFiles.h"

namespace ld
{

/** The slow automatic gain of a camera, the same for all channels. */
class AutomaticGain
{
public:
    explicit AutomaticGain (int sampleRate) noexcept;
    void process (std::vector<std::vector<float>>& channels, int count) noexcept;

private:
    float attack, release, level;
};

/** Keeps a recording until it ends, codes it by AAC at 128 kbit/s and decodes it again, by the program `ffmpeg`; the coder's
    delay is taken off. Where the program is missing, a low-pass at 15 kHz and noise stand in for it. */
class LossyCoding
{
public:
    /** True where the program is there. */
    [[nodiscard]] static bool isCoderInstalled();

    explicit LossyCoding (int sampleRateToUse) : sampleRate (sampleRateToUse) {}

    /** Takes frames; full scale is 1.0. */
    void add (const std::vector<std::vector<float>>& channels, int count);

    /** Writes all frames to an open file, and is ready for the next. */
    [[nodiscard]] juce::Result finish (PlannedFileWriter&);

private:
    [[nodiscard]] bool code();
    void standIn();

    int sampleRate;
    std::vector<std::vector<float>> held;
};

}    // namespace ld
