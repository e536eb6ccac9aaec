#include "monitor/PreviewEngine.h"

#include "support/MessageLoop.h"
#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#include <thread>

namespace ld::test
{
namespace
{

using juce::int64;
using testing::Each;

constexpr int rate = 48000;

/** A session with a poly on the disk and a guest that starts ahead of it. */
struct Scene
{
    explicit Scene (int64 length, int hostRate = rate)
    {
        const auto file = WaveBuilder ({ .channels = 2, .sampleRate = hostRate, .bits = 24 },
                                       { noise (length, 1), noise (length, 2) })
                              .writeTo (temp.file ("poly.wav"));
        EXPECT_TRUE (session.loadHost (file).wasOk());
        auto& guest = session.guests.emplace_back();
        guest.id = juce::Uuid();
        guest.alignment.offsetSamples = -100;
        guest.channelAudio.push_back (noise (length, 3));
        session.mixerAt (0).pan = -1.0f;
        session.mixerAt (1).muteAutomation = { { 0, false }, { length / 2, true } };
        session.mixerAt (2).automation = { { 0, -60.0f }, { length / 2, 0.0f }, { length, -20.0f } };
    }

    // The whole take as one block.
    [[nodiscard]] std::vector<float> mixed (bool isLeft) const
    {
        BwfReader reader;
        EXPECT_TRUE (reader.open (session.host.file));
        const auto length = (int) session.host.format.numFrames;
        std::vector<juce::int32> frames ((size_t) (2 * (length + 2)));
        EXPECT_TRUE (reader.readInterleavedInt32 (0, length + 2, frames.data()));
        PreviewMix mix;
        juce::ignoreUnused (mix.mix (session, { frames, 0, 2 }, 0.0, 1.0, length));
        const auto side = isLeft ? mix.left() : mix.right();
        return { side.begin(), side.end() };
    }

    TempFolder temp;
    Session session;
    juce::CriticalSection lock;
};

/** Calls an engine as a device does. */
struct Device
{
    explicit Device (PreviewEngine& engineToCall) : engine (engineToCall) {}

    std::vector<float> block (int samples, int channels = 2)
    {
        left.assign ((size_t) samples, 9.0f);
        right.assign ((size_t) samples, 9.0f);
        float* outputs[] = { left.data(), channels > 1 ? right.data() : nullptr };
        engine.audioDeviceIOCallbackWithContext (nullptr, 0, outputs, channels, samples, {});
        return left;
    }

    PreviewEngine& engine;
    std::vector<float> left, right;
};

/** Sends what the default device is given into a file, through the sound system's own configuration. */
struct RecordedOutput
{
    RecordedOutput()
    {
        temp.file ("alsa.conf")
            .replaceWithText ("pcm.!default { type file slave.pcm null file \"" + recording.getFullPathName()
                              + "\" format raw }\npcm.null { type null }\n");
        setenv ("ALSA_CONFIG_PATH", temp.file ("alsa.conf").getFullPathName().toRawUTF8(), 1);
    }

    ~RecordedOutput() { unsetenv ("ALSA_CONFIG_PATH"); }

    TempFolder temp;
    const juce::File recording = temp.file ("output.raw");
};

juce::String useRate (juce::AudioDeviceManager& devices)
{
    auto setup = devices.getAudioDeviceSetup();
    setup.sampleRate = rate;
    return devices.setAudioDeviceSetup (setup, true);
}

}    // namespace

TEST (PreviewEngine, SendsTheMixToTheDevice)
{
    const RecordedOutput output;
    Scene scene (rate);
    PreviewEngine engine;
    auto* const device = engine.deviceManager.getCurrentAudioDevice();
    ASSERT_NE (device, nullptr);
    ASSERT_EQ (useRate (engine.deviceManager), "");
    EXPECT_EQ (engine.currentOutputName(), engine.deviceManager.getCurrentAudioDevice()->getName());

    ASSERT_TRUE (engine.start (scene.session, scene.lock).wasOk());
    ASSERT_TRUE (pumpUntil ([&] { return ! engine.playing; }));
    EXPECT_EQ (engine.playhead, 0);
    engine.stop();
    engine.deviceManager.closeAudioDevice();

    juce::MemoryBlock bytes;
    ASSERT_TRUE (output.recording.loadFileAsData (bytes));
    const auto* const floats = static_cast<const float*> (bytes.getData());
    const std::vector<float> samples (floats, floats + bytes.getSize() / sizeof (float));
    const auto left = scene.mixed (true), right = scene.mixed (false);
    std::vector<float> expected;

    for (size_t i = 0; i < left.size(); ++i)
    {
        expected.push_back (left[i]);
        expected.push_back (right[i]);
    }

    const auto at = std::search (samples.begin(), samples.end(), expected.begin(), expected.end());
    ASSERT_NE (at, samples.end()) << samples.size() << " samples were captured";
    EXPECT_THAT (std::vector<float> (samples.begin(), at), Each (0.0f)) << "silent before";
    EXPECT_THAT (std::vector<float> (at + (std::ptrdiff_t) expected.size(), samples.end()), Each (0.0f)) << "and after";
}

TEST (PreviewEngine, SeeksWhileStoppedAndWhilePlayingAndGoesOnWhereItWasLeft)
{
    Scene scene (10000);
    PreviewEngine engine;
    engine.deviceManager.closeAudioDevice();
    Device device (engine);
    const auto whole = scene.mixed (true);
    const auto stretch = [&] (int start) {
        return std::vector<float> (whole.begin() + start, whole.begin() + start + 64);
    };

    engine.seek (500);
    EXPECT_EQ (engine.playhead, 500);
    EXPECT_THAT (device.block (64), Each (0.0f)) << "stopped";
    engine.toggle (scene.session, scene.lock);
    EXPECT_TRUE (engine.playing);
    EXPECT_EQ (device.block (64), stretch (500));
    EXPECT_EQ (device.block (64), stretch (564));
    EXPECT_EQ (engine.playhead, 628);
    engine.seek (2000);
    EXPECT_EQ (device.block (64), stretch (2000));
    engine.toggle (scene.session, scene.lock);
    EXPECT_THAT (device.block (64), Each (0.0f));
    engine.toggle (scene.session, scene.lock);
    EXPECT_EQ (device.block (64), stretch (2064));
    engine.stop();

    const auto turned = [&] (int start, int count) {
        std::vector<float> samples (whole.begin() + start, whole.begin() + start + count);
        std::ranges::reverse (samples);
        samples.resize (64);
        return samples;
    };
    engine.seek (100);
    engine.backwards = true;
    engine.toggle (scene.session, scene.lock);
    EXPECT_EQ (device.block (64), turned (36, 64));
    EXPECT_EQ (engine.playhead, 36);
    EXPECT_EQ (device.block (64), turned (0, 36)) << "the first sample is the last";
    EXPECT_FALSE (engine.playing);
    EXPECT_EQ (engine.playhead, 0);
}

TEST (PreviewEngine, FillsWhatOutputsThereAre)
{
    Scene scene (10000);
    PreviewEngine engine;
    engine.deviceManager.closeAudioDevice();
    Device device (engine);
    const auto left = scene.mixed (true), right = scene.mixed (false);
    juce::ignoreUnused (engine.start (scene.session, scene.lock));

    device.block (8);
    EXPECT_EQ (device.left[3], left[3]);
    EXPECT_EQ (device.right[3], right[3]);
    device.block (8, 1);
    EXPECT_EQ (device.left[3], (left[11] + right[11]) * 0.5f);

    float* const none[] = { nullptr, nullptr };
    engine.audioDeviceIOCallbackWithContext (nullptr, 0, none, 2, 8, {});
    engine.audioDeviceIOCallbackWithContext (nullptr, 0, nullptr, 0, 8, {});
    EXPECT_EQ (engine.playhead, 32);
    engine.stop();
}

TEST (PreviewEngine, LetsMetersRiseAtOnceAndFallBlockByBlock)
{
    Scene scene (rate);
    PreviewEngine engine;
    engine.deviceManager.closeAudioDevice();
    Device device (engine);
    juce::ignoreUnused (engine.start (scene.session, scene.lock));
    device.block (512);
    const auto peak = scene.session.mixerMeters[0].load();
    EXPECT_GT (peak, 0.4f);

    scene.session.mixerAt (0).mute = true;
    device.block (512);
    EXPECT_FLOAT_EQ (scene.session.mixerMeters[0].load(), peak * 0.86f);
    engine.stop();
}

TEST (PreviewEngine, PlaysGuestsWhereThePolyHasGone)
{
    Scene scene (10000, 96000);
    PreviewEngine engine;
    engine.deviceManager.closeAudioDevice();
    scene.session.host.file.deleteFile();
    Device device (engine);
    EXPECT_TRUE (engine.start (scene.session, scene.lock).wasOk());
    device.block (512);
    EXPECT_EQ (engine.playhead, 1024) << "twice the device's rate";
    EXPECT_EQ (scene.session.mixerMeters[0].load(), 0.0f);
    EXPECT_GT (scene.session.mixerMeters[2].load(), 0.0f);
    engine.stop();
}

// The message thread edits under the lock while the device calls: for the data-race checks.
TEST (PreviewEngine, PlaysWhileTheSessionIsEdited)
{
    Scene scene (rate);
    PreviewEngine engine;
    engine.deviceManager.closeAudioDevice();
    juce::ignoreUnused (engine.start (scene.session, scene.lock));
    std::atomic<bool> isDone { false };
    std::thread device ([&] {
        Device caller (engine);

        while (! isDone)
            caller.block (256);
    });

    for (int i = 0; i < 300; ++i)
    {
        engine.seek (i * 16);
        const juce::ScopedLock held (scene.lock);
        scene.session.setMixerGain (0, -(float) (i % 40), i * 100, true);
        scene.session.guests[0].alignment.offsetSamples = i;
        scene.session.guests[0].channelAudio[0].resize ((size_t) (1000 + i));
    }

    isDone = true;
    device.join();
    engine.stop();
}

}    // namespace ld::test
