#include "batch/SourceAudio.h"

#include "media/LargeBuffers.h"
#include "sync/Signal.h"
#include "sync/StreamResampler.h"

#include <algorithm>

namespace ld
{

using juce::int64;

SourceAudio::SourceAudio (const juce::File& file,
                          int wantedRate,
                          OnAudioRead told,
                          const std::shared_ptr<ClipSounds>& clips)
    : fileRate (1), sampleRate (std::max (wantedRate, 1)), onRead (std::move (told))
{
    if (sound.open (file, clips).failed())
        return;

    fileRate = std::max (sound.format.sampleRate, 1);
    frames = std::max<int64> (sound.framesInFile(), 1);
    samples = resampledLength (frames, fileRate, sampleRate);
}

void SourceAudio::visitBlocks (int64 start, int64 count, const BlockVisitor& visit) const
{
    constexpr int64 blockFrames = 32768;

    if (! isOpen() || count < 1 || start >= samples)
        return;

    const auto isResampled = ! isSameRate (fileRate, sampleRate);
    std::vector<StreamResampler> resamplers ((size_t) numChannels(),
                                             StreamResampler (frames, fileRate, sampleRate, start));
    std::vector<std::vector<float>> block, out ((size_t) numChannels());

    for (auto at = resamplers.front().firstInput(); count > 0 && at < frames;)
    {
        const auto numFrames = std::min ({ blockFrames, frames - at, isResampled ? blockFrames : count });
        sound.readChannels (at, numFrames, block);
        at += numFrames;

        for (size_t c = 0; isResampled && c < out.size(); ++c)
        {
            out[c].clear();
            resamplers[c].push (block[c], out[c]);
            out[c].resize (std::min (out[c].size(), (size_t) count));
        }

        const auto& shown = isResampled ? out : block;
        count -= (int64) shown.front().size();
        visit (shown);

        if (onRead)
            onRead ((double) numFrames / fileRate);
    }
}

std::vector<float> SourceAudio::readMono (int64 start, int64 count) const
{
    auto mono = makeZeros<float> ((size_t) count);
    auto at = mono.begin();

    std::vector<float> block;

    visitBlocks (start, count, [&] (const auto& channels) {
        mixdownBlock (channels, block);
        at = std::copy (block.begin(), block.end(), at);
    });

    return mono;
}

std::vector<float> SourceAudio::readChannel (int channel, int64 start, int64 count) const
{
    auto wanted = makeZeros<float> ((size_t) count);

    if (! isOpen() || channel < 0 || channel >= numChannels())
        return wanted;

    if (! isSameRate (fileRate, sampleRate))
    {
        auto at = wanted.begin();
        visitBlocks (start, count, [&] (const auto& channels) {
            at = std::copy (channels[(size_t) channel].begin(), channels[(size_t) channel].end(), at);
        });
        return wanted;
    }

    juce::ignoreUnused (sound.readChannel (channel, start, count, wanted.data()));

    if (onRead)
        onRead ((double) count / fileRate);

    return wanted;
}

std::vector<std::vector<float>> loadAllChannels (const juce::File& file, int sampleRate)
{
    const SourceAudio source (file, sampleRate);
    std::vector<std::vector<float>> channels ((size_t) (source.isOpen() ? source.numChannels() : 0));

    for (auto& channel : channels)
        channel = makeZeros<float> ((size_t) source.length());

    int64 at = 0;

    source.visitBlocks (0, source.length(), [&] (const auto& block) {
        for (size_t c = 0; c < block.size(); ++c)
            std::copy (block[c].begin(), block[c].end(), channels[c].begin() + at);

        at += (int64) block.front().size();
    });

    return channels;
}

}    // namespace ld
