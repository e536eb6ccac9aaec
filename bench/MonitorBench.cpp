#include "BenchInput.h"
#include "monitor/PreviewEngine.h"
#include "sync/ClipAudio.h"
#include "workspace/SpinePainter.h"

#include <benchmark/benchmark.h>

// What runs in time with the user: a block of the playback, and a paint of the timeline.

namespace
{

constexpr int polyChannels = 24, guestLanes = 8, seconds = 300, blockFrames = 512;

/** A take that uses the whole mixer, with gain and mute automation on each channel, a point a second. */
struct FullTake
{
    FullTake()
    {
        ld::bench::writeWave (file.getFile(), polyChannels, seconds, 1);

        if (session.loadHost (file.getFile()).failed())
            std::abort();

        const auto length = (size_t) session.host.format.numFrames;

        for (int i = 0; i < guestLanes; ++i)
        {
            auto& guest = session.guests.emplace_back();
            guest.id = juce::Uuid();
            guest.file = juce::File ("/pack/TX_" + juce::String (i) + ".wav");
            guest.channelAudio.push_back (ld::bench::makeSignal (length, (juce::uint32) i));
            ld::rebuildGuestPeaks (guest);
        }

        for (int m = 0; m < session.mixerCount(); ++m)
            for (juce::int64 second = 0; second < seconds; ++second)
            {
                const auto sample = second * ld::bench::sampleRate;
                session.mixerAt (m).automation.push_back ({ sample, -(float) ((second * 7 + m) % 30) });
                session.mixerAt (m).muteAutomation.push_back ({ sample, (second + m) % 11 == 0 });
            }
    }

    juce::TemporaryFile file { ".wav" };
    ld::Session session;
};

FullTake& fullTake()
{
    static FullTake take;
    return take;
}

void previewBlock (benchmark::State& state)
{
    auto& take = fullTake();
    ld::PreviewEngine engine;
    engine.deviceManager.closeAudioDevice();
    juce::CriticalSection lock;
    std::vector<float> left (blockFrames), right (blockFrames);
    float* outputs[] = { left.data(), right.data() };
    juce::ignoreUnused (engine.start (take.session, lock));

    for (auto _ : state)
    {
        engine.audioDeviceIOCallbackWithContext (nullptr, 0, outputs, 2, blockFrames, {});

        if (! engine.playing)
            juce::ignoreUnused (engine.start (take.session, lock));
    }

    engine.stop();
    const auto blockSeconds = (double) blockFrames / ld::bench::sampleRate;
    state.counters["share_of_block"] = benchmark::Counter ((double) state.iterations() * blockSeconds,
                                                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void paintTimeline (benchmark::State& state)
{
    auto& take = fullTake();
    const ld::LookAndFeel theme;
    juce::Image image (juce::Image::ARGB, 2528, 1240, true, juce::SoftwareImageType());

    for (auto _ : state)
    {
        juce::Graphics g (image);
        ld::paintSpine (g, theme, take.session, image.getBounds().toFloat(), { .playhead = 48000 });
    }
}

BENCHMARK (previewBlock)->Unit (benchmark::kMicrosecond);
BENCHMARK (paintTimeline)->Unit (benchmark::kMillisecond);

}    // namespace
