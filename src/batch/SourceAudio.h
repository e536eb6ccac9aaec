#pragma once

#include "media/SoundFile.h"
#include "sync/SignalOnDemand.h"

namespace ld
{

/** Given the seconds of a file's audio that were read since the last call; on the reading thread. */
using OnAudioRead = std::function<void (double seconds)>;

/** One file's audio at a rate, read as it is asked for: stretches are what the whole would hold, digit for digit. For one
    thread at a time. */
class SourceAudio
{
public:
    /** clips   where the decoded sound of clips is kept; none: only here */
    SourceAudio (const juce::File&,
                 int sampleRate,
                 OnAudioRead = {},
                 const std::shared_ptr<ClipSounds>& clips = nullptr);

    [[nodiscard]] bool isOpen() const noexcept { return sound.format.valid; }
    [[nodiscard]] int numChannels() const noexcept { return sound.format.channels; }

    /** Samples at the rate that was asked for, at least one; 0 if the file could not be opened. */
    [[nodiscard]] juce::int64 length() const noexcept { return samples; }

    /** Visits a stretch block by block; each block holds one vector for each channel, all of one length. */
    using BlockVisitor = std::function<void (const std::vector<std::vector<float>>& channels)>;
    void visitBlocks (juce::int64 start, juce::int64 count, const BlockVisitor&) const;

    /** The mixdown of a stretch. */
    [[nodiscard]] std::vector<float> readMono (juce::int64 start, juce::int64 count) const;

    /** One channel of a stretch, 0-based; silence where there is no such channel. */
    [[nodiscard]] std::vector<float> readChannel (int channel, juce::int64 start, juce::int64 count) const;

private:
    SoundFile sound;
    int fileRate, sampleRate;
    juce::int64 frames = 0, samples = 0;
    OnAudioRead onRead;
};

/** Every channel of a file at a rate, each at least one sample long; empty if the file cannot be opened. No
    command reaches it: a scan reads blocks. */
[[nodiscard]] std::vector<std::vector<float>> loadAllChannels (const juce::File&, int sampleRate);

}    // namespace ld
