#pragma once

#include "session/Session.h"

#include <span>

namespace ld
{

/** Frames of the poly around the playhead, as they were read for one block. */
struct HostFrames
{
    std::span<const juce::int32> samples;    // interleaved, on the 24-bit scale
    juce::int64 firstFrame = 0;
    int channels = 0;

    [[nodiscard]] juce::int64 count() const noexcept
    {
        return channels > 0 ? (juce::int64) samples.size() / channels : 0;
    }
};

/** Mixes a session to stereo, block by block, as the user hears it: at the mixer's gains, pans, mutes and solos, with
    automation followed sample by sample, brought to the device's rate by straight lines between samples. The recorder's
    own mix is never heard. It allocates nothing for blocks that are not longer than what it was prepared for. */
class PreviewMix
{
public:
    /** Makes room for blocks of this length. */
    void prepare (int numSamples);

    struct Outcome
    {
        double position = 0.0;    // host samples, of the next block
        bool hasEnded = false;    // the end of the take was reached; the rest of the block is silent
        std::array<float, mixerChannelLimit> peaks {};    // of each mixer channel, behind its gain
        float mixPeak = 0.0f;    // of the new MIX as it would be written, before it is brought to full scale
    };

    /** Mixes one block from a position on; left and right then hold it.
        position   host samples, 0 or more
        step       host samples for each sample of the device */
    [[nodiscard]] Outcome mix (const Session&, const HostFrames&, double position, double step, int numSamples);

    [[nodiscard]] std::span<const float> left() const noexcept { return { leftSums.data(), length }; }
    [[nodiscard]] std::span<const float> right() const noexcept { return { rightSums.data(), length }; }

private:
    void lay (double position, double step, juce::int64 takeLength, Outcome&);
    void mixHost (const Session&, const HostFrames&, Outcome&);
    void mixGuests (const Session&, Outcome&);
    void readHostChannel (const HostFrames&, int channel, juce::int64 takeLength);
    void readGuestLane (const std::vector<float>& lane, juce::int64 offset);
    void addChannel (const Session&, int mixerIndex, Outcome&);
    void limit (Outcome&);

    size_t length = 0, heard = 0;    // of the block; up to the end of the take
    std::vector<double> positions;
    std::vector<juce::int64> frames;    // the whole part of each position
    std::vector<float> values, leftSums, rightSums, monoSums;
};

}    // namespace ld
