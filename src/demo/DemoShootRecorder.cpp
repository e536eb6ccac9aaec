#include "demo/DemoShootRecorder.h"

#include "demo/CameraSound.h"
#include "demo/RoomHearing.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace ld
{
namespace
{

constexpr juce::int64 sceneBlockSamples = 8192;

// Short, so that a microphone skips the pauses of the talkers.
constexpr int captureFrames = 512;

// At the highest rate of a machine; see SampleJump.
constexpr std::ptrdiff_t longestRepeat = 48000;

/** A machine that runs along with the scene, file after file. */
class RunningMachine
{
public:
    RunningMachine (juce::File folderToUse, const Recording& recordingToMake, std::vector<MicrophoneFeed> feedsToHear)
        : folder (std::move (folderToUse)), recording (recordingToMake), feeds (std::move (feedsToHear)),
          heard (feeds.size(), std::vector<float> (captureFrames)),
          channels (recordingToMake.channels.size(), std::vector<float> (captureFrames)), recent (channels.size()),
          gain (recordingToMake.files.front().format.sampleRate),
          coding (recordingToMake.files.front().format.sampleRate)
    {
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

    /** True where it needs sound before this position. */
    [[nodiscard]] bool needsSoundBefore (juce::int64 position) const
    {
        return ! isDone() && recording.positionOf (file(), nextCapture) < (double) (position + DelayKernel::reach);
    }

private:
    [[nodiscard]] const PlannedFile& file() const { return recording.files[fileIndex]; }

    [[nodiscard]] juce::int64 framesToNextStop() const
    {
        const auto& jumps = file().jumps;
        return (jumpIndex < jumps.size() ? jumps[jumpIndex].atFrame : file().format.numFrames) - nextFrame;
    }

    [[nodiscard]] int framesAvailable (juce::int64 ready) const
    {
        const auto last = (double) (ready - DelayKernel::reach - 2);
        const auto until = (juce::int64) std::floor ((last - file().startSamples) / recording.hostSamplesPerFrame);
        return (int) std::min<juce::int64> (captureFrames, std::min (until - nextCapture, framesToNextStop()));
    }

    juce::Result recordFrames (int count)
    {
        if (nextFrame == 0)
            if (const auto opened = writer.open (folder, file()); opened.failed())
                return opened;

        capture (count);

        if (const auto written = store (channels, count); written.failed())
            return written;

        if (framesToNextStop() == 0 && jumpIndex < file().jumps.size())
            if (const auto jumped = jump (file().jumps[jumpIndex++]); jumped.failed())
                return jumped;

        return nextFrame < file().format.numFrames ? juce::Result::ok() : endFile();
    }

    void capture (int count)
    {
        const auto position = recording.positionOf (file(), nextCapture);

        for (size_t i = 0; i < feeds.size(); ++i)
            feeds[i].capture (position, recording.hostSamplesPerFrame, count, heard[i].data());

        mix (count);

        if (recording.treatment.hasAutomaticGain)
            gain.process (channels, count);

        nextCapture += count;
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

    // Lost samples are gone: the next frames are those behind them.
    juce::Result jump (const SampleJump& by)
    {
        nextCapture += std::max<juce::int64> (by.frames, 0);
        const auto again = (size_t) std::max<juce::int64> (-by.frames, 0);
        std::vector<std::vector<float>> last;

        for (const auto& channel : recent)
            last.emplace_back (channel.end() - (std::ptrdiff_t) again, channel.end());

        return store (last, (int) again);
    }

    juce::Result store (const std::vector<std::vector<float>>& frames, int count)
    {
        nextFrame += count;

        if (! file().jumps.empty())
            remember (frames, count);

        if (! recording.treatment.isLossy)
            return writer.write (frames, count);

        coding.add (frames, count);
        return juce::Result::ok();
    }

    void remember (const std::vector<std::vector<float>>& frames, int count)
    {
        for (size_t c = 0; c < recent.size(); ++c)
        {
            recent[c].insert (recent[c].end(), frames[c].begin(), frames[c].begin() + count);

            if (recent[c].size() > 2 * longestRepeat)
                recent[c].erase (recent[c].begin(), recent[c].end() - longestRepeat);
        }
    }

    juce::Result endFile()
    {
        if (recording.treatment.isLossy)
            if (const auto coded = coding.finish (writer); coded.failed())
                return coded;

        nextFrame = nextCapture = 0;
        jumpIndex = 0;
        ++fileIndex;
        return writer.finish();
    }

    juce::File folder;
    const Recording& recording;
    std::vector<MicrophoneFeed> feeds;
    std::vector<std::vector<float>> heard, channels;
    std::vector<std::vector<float>> recent;    // of each channel what a repeat may need
    AutomaticGain gain;
    LossyCoding coding;
    PlannedFileWriter writer;
    size_t fileIndex = 0, jumpIndex = 0;
    juce::int64 nextFrame = 0;      // of the file
    juce::int64 nextCapture = 0;    // counted from the file's start as if nothing were lost or repeated
};

/** Plays a scene: renders its sounds block by block, and what arrives at each microphone where there is a room. */
class PlayedScene
{
public:
    PlayedScene (const PlannedScene& sceneToPlay, juce::int64 start) : scene (sceneToPlay)
    {
        for (const auto& sound : scene.sounds)
            sounds.emplace_back (sound, start - RoomHearing::blockSamples);

        if (scene.room)
            hearing.emplace (*scene.room, sounds, findEars(), start);
    }

    PlayedScene (const PlayedScene&) = delete;
    PlayedScene& operator= (const PlayedScene&) = delete;

    [[nodiscard]] std::vector<MicrophoneFeed> feedsOf (const Recording& recording) const
    {
        std::vector<MicrophoneFeed> feeds;

        for (const auto& microphone : recording.microphones)
            if (hearing)
                feeds.emplace_back (microphone, hearing->heardAt (earOf (microphone)));
            else
                feeds.emplace_back (microphone, sounds);

        return feeds;
    }

    [[nodiscard]] juce::int64 blockSamples() const { return hearing ? RoomHearing::blockSamples : sceneBlockSamples; }

    /** Plays the block that starts here, for these machines. */
    void play (juce::int64 at, const std::vector<RunningMachine>& machines)
    {
        const auto end = at + blockSamples();

        for (auto& sound : sounds)
        {
            sound.forgetBefore (at - longestDelay - (hearing ? RoomHearing::blockSamples : 0));
            sound.renderUntil (end + (hearing ? DelayKernel::taps : 0));
        }

        if (hearing)
            hearing->hearBlock (neededEars (machines, end));
    }

private:
    // Several machines may record one microphone: what arrives there is heard once.
    std::vector<RoomHearing::Ear> findEars()
    {
        for (const auto& recording : scene.recordings)
            for (const auto& microphone : recording.microphones)
                if (earOf (microphone) == ears.size())
                    ears.push_back ({ microphone.at, microphone.walk });

        return ears;
    }

    [[nodiscard]] size_t earOf (const Microphone& microphone) const
    {
        const auto found = std::find_if (ears.begin(), ears.end(), [&microphone] (const auto& ear) {
            return metresBetween (ear.at, microphone.at) == 0.0 && ear.walk == microphone.walk;
        });
        return (size_t) (found - ears.begin());
    }

    [[nodiscard]] std::vector<bool> neededEars (const std::vector<RunningMachine>& machines, juce::int64 end) const
    {
        std::vector<bool> needed (ears.size());

        for (size_t i = 0; i < machines.size(); ++i)
            if (machines[i].needsSoundBefore (end))
                for (const auto& microphone : scene.recordings[i].microphones)
                    needed[earOf (microphone)] = true;

        return needed;
    }

    const PlannedScene& scene;
    std::vector<SoundHistory> sounds;
    std::vector<RoomHearing::Ear> ears;
    std::optional<RoomHearing> hearing;
};

}    // namespace

juce::Result recordScene (const juce::File& shootFolder, const PlannedScene& scene)
{
    const auto start = (juce::int64) (scene.span.from * demoSampleRate) - longestDelay;
    const auto end = (juce::int64) (scene.span.to * demoSampleRate) + longestDelay;
    PlayedScene played (scene, start);
    std::vector<RunningMachine> machines;
    machines.reserve (scene.recordings.size());

    for (const auto& recording : scene.recordings)
        machines.emplace_back (shootFolder, recording, played.feedsOf (recording));

    for (auto at = start; at < end; at += played.blockSamples())
    {
        played.play (at, machines);

        for (auto& machine : machines)
            if (const auto recorded = machine.recordUntil (at + played.blockSamples()); recorded.failed())
                return recorded;
    }

    jassert (std::all_of (machines.begin(), machines.end(), [] (const auto& machine) { return machine.isDone(); }));
    return juce::Result::ok();
}

}    // namespace ld
