#pragma once

#include "media/BwfReader.h"
#include "monitor/PreviewMix.h"

#include <juce_audio_devices/juce_audio_devices.h>

#include <atomic>
#include <memory>

namespace ld
{

/** Plays the open session through the machine's stereo output: the poly from its file, the guests from memory. It changes no
    audio and writes no file.

    The device's thread holds the session's lock while it mixes a block, not while it reads the poly. Everything else is the
    message thread's, which must not hold that lock when it calls start, stop or toggle. */
class PreviewEngine : private juce::AudioIODeviceCallback
{
public:
    /** Opens the default device; without one, playback is silent. */
    PreviewEngine();
    ~PreviewEngine() override;
    PreviewEngine (const PreviewEngine&) = delete;
    PreviewEngine& operator= (const PreviewEngine&) = delete;

    juce::AudioDeviceManager deviceManager;

    // Written by the device's thread while it plays; read by all.
    std::atomic<juce::int64> playhead { 0 };    // host samples
    std::atomic<bool> playing { false };

    /** Set while stopped: the next start plays towards the beginning of the take. */
    std::atomic<bool> backwards { false };

    /** Goes on from where the playback was left. Both must stay until stop. A poly that cannot be read is silent. */
    [[nodiscard]] juce::Result start (Session&, juce::CriticalSection& sessionLock);
    void stop();
    void toggle (Session&, juce::CriticalSection& sessionLock);

    /** To a sample of the take, in which it must lie; while stopped it counts from the next start. */
    void seek (juce::int64 sample);

    [[nodiscard]] juce::String currentOutputName() const;

    /** Opens the device that was chosen when a file was written by noteOutput; where that cannot be, leaves things as they are. */
    void restoreOutput (const juce::File&);
    void noteOutput (const juce::File&) const;

    // What the device calls; public so that a test can be the device.
    void audioDeviceAboutToStart (juce::AudioIODevice*) override;
    void audioDeviceStopped() override {}
    void audioDeviceIOCallbackWithContext (const float* const* inputs,
                                           int numInputs,
                                           float* const* outputs,
                                           int numOutputs,
                                           int numSamples,
                                           const juce::AudioIODeviceCallbackContext&) override;

private:
    void leaveDevice();
    void playBlock (float* const* outputs, int numOutputs, int numSamples);
    [[nodiscard]] HostFrames readHost (double from, double step, int numSamples);
    void fallMeters (const PreviewMix::Outcome&);
    void deliver (float* const* outputs, int numOutputs) const;

    static constexpr juce::int64 noSeek = -1;

    // Set while the device does not call, read by its thread.
    Session* session = nullptr;
    juce::CriticalSection* lock = nullptr;
    std::unique_ptr<BwfReader> reader;    // of its own
    double hostSampleRate = 48000.0, deviceSampleRate = 48000.0;

    std::atomic<juce::int64> pendingSeek { 0 };

    // The device's thread alone.
    double position = 0.0;    // host samples
    std::vector<juce::int32> hostSamples;
    PreviewMix mix;
};

}    // namespace ld
