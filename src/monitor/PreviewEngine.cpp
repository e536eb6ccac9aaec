#include "monitor/PreviewEngine.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace ld
{
namespace
{

// Where no JACK server runs, its library says so on the terminal, at length, whenever devices are listed. That there is no
// server is no error.
void keepJackQuiet()
{
#if JUCE_LINUX
    using Handler = void (*) (const char*);
    static juce::DynamicLibrary library ("libjack.so.0");    // open to the end: what is set below would go with it

    for (const auto* setter : { "jack_set_error_function", "jack_set_info_function" })
        if (auto* const set = reinterpret_cast<void (*) (Handler)> (library.getFunction (setter)))
            set ([] (const char*) {});
#endif
}

// Frames of the poly that a block of the device is made of, and one more to draw the last line to.
juce::int64 framesNeeded (double step, int numSamples)
{
    return std::max<juce::int64> ((juce::int64) std::ceil (step * numSamples), 0) + 2;
}

}    // namespace

PreviewEngine::PreviewEngine()
{
    keepJackQuiet();
    juce::ignoreUnused (deviceManager.initialiseWithDefaultDevices (0, 2));
}

PreviewEngine::~PreviewEngine()
{
    leaveDevice();
}

juce::Result PreviewEngine::start (Session& sessionToPlay, juce::CriticalSection& sessionLock)
{
    // An ended take is still with the device.
    leaveDevice();
    session = &sessionToPlay;
    lock = &sessionLock;
    hostSampleRate = std::max (sessionToPlay.host.format.sampleRate, 1);
    reader = std::make_unique<BwfReader>();

    if (const auto& host = sessionToPlay.host; host.format.valid)
        juce::ignoreUnused (reader->open (host.file) && reader->isPlausible());

    playing = true;
    deviceManager.addAudioCallback (this);
    return juce::Result::ok();
}

void PreviewEngine::stop()
{
    leaveDevice();
}

void PreviewEngine::toggle (Session& sessionToPlay, juce::CriticalSection& sessionLock)
{
    if (playing)
        stop();
    else
        juce::ignoreUnused (start (sessionToPlay, sessionLock));
}

// After this the device makes no more callbacks.
void PreviewEngine::leaveDevice()
{
    playing = false;
    deviceManager.removeAudioCallback (this);
    reader.reset();
}

void PreviewEngine::seek (juce::int64 sample)
{
    playhead = sample;
    pendingSeek = sample;
}

juce::String PreviewEngine::currentOutputName() const
{
    const auto* const device = deviceManager.getCurrentAudioDevice();
    return device != nullptr ? device->getName() : juce::String ("No audio output");
}

void PreviewEngine::restoreOutput (const juce::File& file)
{
    // Where the device is gone, the default one is opened.
    if (const auto state = juce::parseXML (file))
        juce::ignoreUnused (deviceManager.initialise (0, 2, state.get(), true));
}

void PreviewEngine::noteOutput (const juce::File& file) const
{
    // Nothing has been chosen as long as there is no state.
    if (const auto state = deviceManager.createStateXml();
        state != nullptr && file.getParentDirectory().createDirectory())
        juce::ignoreUnused (state->writeTo (file));
}

void PreviewEngine::audioDeviceAboutToStart (juce::AudioIODevice* device)
{
    deviceSampleRate = device != nullptr ? device->getCurrentSampleRate() : 48000.0;

    if (device == nullptr)
        return;

    const auto blockSize = device->getCurrentBufferSizeSamples();
    mix.prepare (blockSize);

    if (reader != nullptr && reader->format.valid)
        hostSamples.reserve ((size_t) framesNeeded (hostSampleRate / std::max (deviceSampleRate, 1.0), blockSize)
                             * (size_t) std::max (reader->format.channels, 1));
}

void PreviewEngine::audioDeviceIOCallbackWithContext (const float* const*,
                                                      int,
                                                      float* const* outputs,
                                                      int numOutputs,
                                                      int numSamples,
                                                      const juce::AudioIODeviceCallbackContext&)
{
    for (int c = 0; c < numOutputs; ++c)
        if (outputs[c] != nullptr)
            std::fill_n (outputs[c], numSamples, 0.0f);

    if (! playing || session == nullptr || lock == nullptr)
        return;

    try
    {
        playBlock (outputs, numOutputs, numSamples);
    }
    catch (const std::bad_alloc&)
    {
        // The block stays silent and is tried again.
    }
}

void PreviewEngine::playBlock (float* const* outputs, int numOutputs, int numSamples)
{
    const auto step = hostSampleRate / std::max (deviceSampleRate, 1.0);

    if (const auto asked = pendingSeek.exchange (noSeek); asked >= 0)
        position = (double) asked;

    // Backwards, what lies ahead of the position is mixed and turned round; the last block is short.
    const bool isBackwards = backwards;
    const auto count = isBackwards ? (int) std::min ((double) numSamples, std::floor (position / step)) : numSamples;
    const auto from = isBackwards ? position - step * count : position;
    const auto frames = readHost (from, step, count);
    const juce::ScopedLock held (*lock);

    if (! session->host.format.valid)
        return;

    const auto outcome = mix.mix (*session, frames, from, step, count);
    const auto hasEnded = isBackwards ? count < numSamples : outcome.hasEnded;

    if (hasEnded)
        playing = false;

    deliver (outputs, numOutputs);
    fallMeters (outcome);
    position = ! isBackwards ? outcome.position : hasEnded ? 0.0 : from;

    if (isBackwards)
        for (int c = 0; c < std::min (numOutputs, 2); ++c)
            if (outputs[c] != nullptr)
                std::reverse (outputs[c], outputs[c] + count);

    // A seek that came in meanwhile has set the playhead already.
    if (pendingSeek < 0)
        playhead = (juce::int64) std::floor (position);
}

// The frames that a block needs; silence where the file ends or cannot be read.
HostFrames PreviewEngine::readHost (double from, double step, int numSamples)
{
    if (reader == nullptr || ! reader->format.valid)
        return {};

    const auto& format = reader->format;
    const auto count = framesNeeded (step, numSamples);
    const auto first =
        std::clamp<juce::int64> ((juce::int64) std::floor (from), 0, std::max<juce::int64> (format.numFrames, 1) - 1);
    hostSamples.resize ((size_t) (count * format.channels));
    juce::ignoreUnused (reader->readInterleavedInt32 (first, count, hostSamples.data()));
    return { hostSamples, first, format.channels };
}

void PreviewEngine::deliver (float* const* outputs, int numOutputs) const
{
    const auto left = mix.left(), right = mix.right();
    auto* const first = numOutputs > 0 ? outputs[0] : nullptr;
    auto* const second = numOutputs > 1 ? outputs[1] : nullptr;

    if (second != nullptr)
    {
        if (first != nullptr)
            std::copy (left.begin(), left.end(), first);

        std::copy (right.begin(), right.end(), second);
        return;
    }

    if (first != nullptr)
        std::transform (
            left.begin(), left.end(), right.begin(), first, [] (float l, float r) { return (l + r) * 0.5f; });
}

void PreviewEngine::fallMeters (const PreviewMix::Outcome& outcome)
{
    constexpr float fallPerBlock = 0.86f;

    const auto follow = [] (std::atomic<float>& meter, std::atomic<float>& highest, float peak) {
        meter.store (std::max (meter.load() * fallPerBlock, peak));
        highest.store (std::max (highest.load(), peak));
    };

    for (size_t m = 0; m < (size_t) session->mixerCount(); ++m)
        follow (session->mixerMeters[m], session->mixerPeaks[m], outcome.peaks[m]);

    follow (session->mixMeter, session->mixPeak, outcome.mixPeak);
}

}    // namespace ld
