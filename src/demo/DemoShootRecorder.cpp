#include "demo/DemoShootRecorder.h"

#include "demo/DemoShootFiles.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr juce::int64 sceneBlockSamples = 8192;

// Short, so that a microphone skips the pauses of the talkers.
constexpr int captureFrames = 512;

/** A machine that runs along with the scene, file after file. */
class RunningMachine
{
public:
    RunningMachine (juce::File folderToUse, const Recording& recordingToMake, const std::vector<SoundHistory>& sounds)
        : folder (std::move (folderToUse)), recording (recordingToMake),
          channels (recordingToMake.channels.size(), std::vector<float> (captureFrames))
    {
        for (const auto& microphone : recording.microphones)
        {
            feeds.emplace_back (microphone, sounds);
            heard.emplace_back (captureFrames);
        }
    }

    /** Records all that needs no sound at or behind this position of the scene. */
    juce::Result recordUntil (juce::int64 ready)
    {
        while (! isDone())
        {
            const auto count = framesAvailable (ready);

            if (count < 1)
                break;

            if (const auto written = recordFrames (count); written.failed())
                return written;
        }

        return juce::Result::ok();
    }

    [[nodiscard]] bool isDone() const noexcept { return fileIndex == recording.files.size(); }

private:
    [[nodiscard]] const PlannedFile& file() const { return recording.files[fileIndex]; }

    [[nodiscard]] double positionOf (juce::int64 frame) const
    {
        return file().startSamples + (double) frame * recording.hostSamplesPerFrame;
    }

    [[nodiscard]] int framesAvailable (juce::int64 ready) const
    {
        const auto last = (double) (ready - DelayKernel::reach - 2);
        const auto until = (juce::int64) std::floor ((last - file().startSamples) / recording.hostSamplesPerFrame);
        return (int) std::min<juce::int64> (captureFrames, std::min (until, file().format.numFrames) - nextFrame);
    }

    juce::Result recordFrames (int count)
    {
        if (nextFrame == 0)
            if (const auto opened = writer.open (folder, file()); opened.failed())
                return opened;

        for (size_t i = 0; i < feeds.size(); ++i)
            feeds[i].capture (positionOf (nextFrame), recording.hostSamplesPerFrame, count, heard[i].data());

        mix (count);
        nextFrame += count;

        if (const auto written = writer.write (channels, count);
            written.failed() || nextFrame < file().format.numFrames)
            return written;

        nextFrame = 0;
        ++fileIndex;
        return writer.finish();
    }

    void mix (int count)
    {
        for (size_t c = 0; c < channels.size(); ++c)
            for (size_t frame = 0; frame < (size_t) count; ++frame)
            {
                auto sum = 0.0f;

                for (size_t m = 0; m < heard.size(); ++m)
                    sum += recording.channels[c][m] * heard[m][frame];

                channels[c][frame] = sum;
            }
    }

    juce::File folder;
    const Recording& recording;
    std::vector<MicrophoneFeed> feeds;
    std::vector<std::vector<float>> heard, channels;
    PlannedFileWriter writer;
    size_t fileIndex = 0;
    juce::int64 nextFrame = 0;
};

}    // namespace

juce::Result recordScene (const juce::File& shootFolder, const PlannedScene& scene)
{
    const auto start = (juce::int64) (scene.span.from * demoSampleRate) - longestDelay;
    const auto end = (juce::int64) (scene.span.to * demoSampleRate) + longestDelay;
    std::vector<SoundHistory> sounds;

    for (const auto& sound : scene.sounds)
        sounds.emplace_back (sound, start);

    std::vector<RunningMachine> machines;
    machines.reserve (scene.recordings.size());

    for (const auto& recording : scene.recordings)
        machines.emplace_back (shootFolder, recording, sounds);

    for (auto at = start; at < end; at += sceneBlockSamples)
    {
        for (auto& sound : sounds)
        {
            sound.forgetBefore (at - longestDelay);
            sound.renderUntil (at + sceneBlockSamples);
        }

        for (auto& machine : machines)
            if (const auto recorded = machine.recordUntil (at + sceneBlockSamples); recorded.failed())
                return recorded;
    }

    jassert (std::all_of (machines.begin(), machines.end(), [] (const auto& machine) { return machine.isDone(); }));
    return juce::Result::ok();
}

}    // namespace ld
