#include "demo/Music.h"
#include "demo/TruthShootMachines.h"
#include "demo/TruthShootSet.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ld
{
namespace
{

constexpr double firstTakeSeconds = 10.0 * 3600.0;
constexpr double gapSeconds = 60.0;
constexpr double sceneMargin = 0.5;
constexpr auto noiseRms = 1.5e-4f;

using Samples = std::vector<float>;

Playback playbackOf (Samples samples, double atSeconds)
{
    return { std::make_shared<const Samples> (std::move (samples)), std::llround (atSeconds * demoSampleRate) };
}

Machine unstampedMachine (const juce::String& name, const juce::String& prefix, int sampleRate, double ppm)
{
    return { name, prefix, {}, { sampleRate, ppm }, 16, Stamp::none };
}

// Of a machine that is set once.
TruthSource steadySourceOf (const Machine& machine)
{
    return sourceOf (machine, { { machine.clock.jammedAt, machine.clock.errorSeconds } });
}

Recording recordMono (
    Machine& machine, const ShootNames& names, double startSeconds, SceneSpan span, const Microphone& microphone)
{
    auto recording = planGuestFiles (machine, names, { std::llround (startSeconds * demoSampleRate), span });
    recording.microphones = { microphone };
    recording.channels = { { 1.0f } };
    return recording;
}

/** A poly with two mix channels and what they are mixed of, from the scene's zero on. */
Recording
recordPoly (const ShootNames& names, int take, double startSeconds, double seconds, std::vector<Microphone> microphones)
{
    Recording poly;
    poly.source = "Poly";
    poly.channels.assign (2, std::vector<float> (microphones.size(), 1.0f / (float) microphones.size()));
    std::vector<TrackInfo> tracks { { 1, 1, "Mix L", "MIX", {}, true }, { 2, 2, "Mix R", "MIX", {}, true } };

    for (size_t i = 0; i < microphones.size(); ++i)
    {
        poly.channels.emplace_back (microphones.size()).at (i) = 1.0f;
        tracks.push_back ({ (int) i + 3, (int) i + 3, i == 0 ? "Boom" : "Lav " + juce::String (i), "BOOM", {}, true });
    }

    poly.microphones = std::move (microphones);
    poly.files.push_back (planPolyFile (
        names,
        { take, 0, std::llround (startSeconds * demoSampleRate), (juce::int64) (seconds * demoSampleRate) },
        tracks));
    return poly;
}

Samples renderHum (double seconds, double hz, DemoRandom random)
{
    constexpr auto numHarmonics = 12;
    constexpr auto level = 0.02;
    Samples hum ((size_t) (seconds * demoSampleRate));

    for (int h = 1; h <= numHarmonics; ++h)
    {
        const auto amplitude = level * random.uniform (0.1, 1.0) / h, phase = random.uniform (0.0, 6.28);

        for (size_t i = 0; i < hum.size(); ++i)
            hum[i] +=
                (float) (amplitude * std::sin (2.0 * std::numbers::pi * hz * h * (double) i / demoSampleRate + phase));
    }

    for (auto& sample : hum)
        sample += 0.25f * (float) level * random.noise();

    return hum;
}

Samples renderClicks (double seconds, double everySeconds, DemoRandom random)
{
    constexpr auto clickSamples = 400;
    Samples click ((size_t) clickSamples), clicks ((size_t) (seconds * demoSampleRate));

    for (size_t i = 0; i < click.size(); ++i)
        click[i] = 0.3f * random.noise() * (float) std::exp (-(double) i / 60.0);

    for (size_t from = 0; from + click.size() < clicks.size(); from += (size_t) (everySeconds * demoSampleRate))
        std::copy (click.begin(), click.end(), clicks.begin() + (long) from);

    return clicks;
}

Samples renderSine (double seconds, double hz)
{
    Samples sine ((size_t) (seconds * demoSampleRate));

    for (size_t i = 0; i < sine.size(); ++i)
        sine[i] = 0.1f * (float) std::sin (2.0 * std::numbers::pi * hz * (double) i / demoSampleRate);

    return sine;
}

Samples renderNoise (double seconds, float rms, DemoRandom random)
{
    Samples noise ((size_t) (seconds * demoSampleRate));

    for (auto& sample : noise)
        sample = rms * random.noise();

    return noise;
}

VoiceProfile planStrangersVoice (DemoRandom random)
{
    return { random.uniform (85.0, 250.0),
             (float) random.uniform (0.92, 1.22),
             (float) random.uniform (0.01, 0.06),
             random.uniform (0.15, 0.24),
             random.uniform (0.7, 1.2) };
}

/** Somewhere else, where people talk, machines run or music plays. */
PlannedScene planElsewhere (int index, double seconds, DemoRandom random)
{
    constexpr auto kinds = 5;
    PlannedScene scene;
    scene.span = { -sceneMargin, seconds + sceneMargin };
    const auto set = planHardSet (2, 0, scene.span, random.fork (1));
    const auto length = scene.span.to - scene.span.from;

    if (index % kinds == 3)
        scene.sounds.push_back (
            { set.loudspeaker, {}, {}, { playbackOf (renderHum (length, 50.0, random.fork (2)), scene.span.from) } });
    else if (index % kinds == 4)
        scene.sounds.push_back (
            { set.loudspeaker, {}, {}, { playbackOf (renderMusic (length, random.fork (2)), scene.span.from) } });
    else
    {
        const std::vector voices { planStrangersVoice (random.fork (3)), planStrangersVoice (random.fork (5)) };
        auto talk = planConversation (voices, scene.span, {}, random.fork (2));

        for (size_t i = 0; i < talk.size(); ++i)
            scene.sounds.push_back ({ set.table.mouths[i], std::move (talk[i]) });

        scene.sounds.push_back ({ set.table.airOutlet, planAir (scene.span, random.fork (4)) });
    }

    scene.numMainSounds = (int) scene.sounds.size();
    scene.room = set.room;
    return scene;
}

// The two playings and who hears which: enough noise that even the right place is not the same sound.
TruthScene
planMusicTake (int index, double startSeconds, const TruthShootRequest& request, Machine& recorder, DemoRandom random)
{
    constexpr auto hearingNoise = 0.0045f;
    const auto seconds = (double) request.seconds;
    const auto pieceSeconds = 0.4 * seconds;
    const auto names = planNames (DemoRandom ((std::uint64_t) request.seed).fork (1));
    const auto piece = renderMusic (pieceSeconds, random.fork (1));
    const double starts[] = { random.uniform (0.03, 0.07) * seconds, random.uniform (0.52, 0.56) * seconds };
    TruthScene truth;
    auto& scene = truth.scene;
    scene.span = { -sceneMargin, seconds + sceneMargin };
    scene.sounds.push_back ({ { 0.0, 0.0, 1.2 }, {}, {}, { playbackOf (piece, starts[0]) } });
    scene.sounds.back().playbacks.push_back (playbackOf (playedDifferently (piece, 0.9f, 1.25f), starts[1]));
    scene.numMainSounds = 1;
    const Microphone boom { { 0.9, 0.3, 1.5 }, 1.0, hearingNoise, random.next() };
    const Microphone near { { -0.6, 0.7, 1.1 }, 1.0, hearingNoise, random.next() };
    const auto start = starts[index % 2] + random.uniform (0.05, 0.15) * pieceSeconds;
    scene.recordings.push_back (recordPoly (names, index, startSeconds, seconds, { boom }));
    scene.recordings.push_back (
        recordMono (recorder, names, startSeconds, { start, start + 0.7 * pieceSeconds }, near));
    truth.takes.push_back ({ 0, false, { index % 2 == 0 ? "first of two playings" : "second of two playings" } });
    return truth;
}

/** A recording of one sound and nothing else. */
TruthScene planLoneSound (Machine& machine, const ShootNames& names, double startSeconds, Samples samples, float noise)
{
    TruthScene truth;
    const auto seconds = (double) samples.size() / demoSampleRate - 2.0 * sceneMargin;
    truth.scene.span = { -sceneMargin, seconds + sceneMargin };
    truth.scene.sounds.push_back ({ {}, {}, {}, { playbackOf (std::move (samples), -sceneMargin) } });
    const Microphone microphone { { 1.0, 0.0, 0.0 }, 1.0, noise, (std::uint64_t) startSeconds };
    truth.scene.recordings.push_back (recordMono (machine, names, startSeconds, { 0.0, seconds }, microphone));
    return truth;
}

}    // namespace

TruthPlan planMusicTakes (const TruthShootRequest& request)
{
    const DemoRandom random ((std::uint64_t) request.seed);
    auto recorder = unstampedMachine ("Recorder", "REC", 48000, random.fork (2).uniform (-20.0, 20.0));
    TruthPlan plan;
    plan.sources.push_back (steadySourceOf (recorder));

    for (int i = 0; i < request.takes; ++i)
        plan.scenes.push_back (planMusicTake (i,
                                              firstTakeSeconds + i * (request.seconds + gapSeconds),
                                              request,
                                              recorder,
                                              random.fork (10 + (std::uint64_t) i)));

    return plan;
}

TruthPlan planStrangers (const TruthShootRequest& request)
{
    const DemoRandom random ((std::uint64_t) request.seed);
    const auto names = planNames (random.fork (1));
    auto recorder = unstampedMachine ("Recorder", "REC", 48000, random.fork (2).uniform (-20.0, 20.0));
    TruthPlan plan;
    plan.sources.push_back (steadySourceOf (recorder));

    for (int i = 0; i < 2 * request.takes; ++i)
    {
        const auto isPoly = i < request.takes;
        auto own = random.fork (10 + (std::uint64_t) i);
        const auto seconds = request.seconds * own.uniform (0.8, 1.25);
        const auto start = firstTakeSeconds + (i % request.takes) * (request.seconds + gapSeconds);
        TruthScene truth { planElsewhere (i / 2, seconds, own.fork (1)), {} };
        const Microphone microphone { { 0.3, 0.4, 1.7 }, 1.2, noiseRms, own.next() };

        if (isPoly)
            truth.takes.push_back ({ 0, false, {} });

        truth.scene.recordings.push_back (isPoly ? recordPoly (names, i, start, seconds, { microphone })
                                                 : recordMono (recorder, names, start, { 0.0, seconds }, microphone));
        plan.scenes.push_back (std::move (truth));
    }

    return plan;
}

TruthPlan planBadFiles (const TruthShootRequest& request)
{
    constexpr auto slowPpm = (47952.0 / 48000.0 - 1.0) * 1.0e6;
    const DemoRandom random ((std::uint64_t) request.seed);
    const auto names = planNames (random.fork (1));
    const auto voices = planVoices (random.fork (2));
    Machine slow { "Slow", "SLO", "Slow", { 48000, slowPpm, firstTakeSeconds - 600.0, 0.02 }, 24, Stamp::bextAndIxml };
    Machine noisy { "Stamped Noise",   "SNO", "Noise", { 48000, 3.0, firstTakeSeconds - 600.0, -0.01 }, 24,
                    Stamp::bextAndIxml };
    auto odd = unstampedMachine ("Odd Rate", "ODD", 44100, random.fork (3).uniform (-20.0, 20.0));
    TruthPlan plan;

    for (int i = 0; i < request.takes; ++i)
    {
        const auto own = random.fork (10 + (std::uint64_t) i);
        const auto start = firstTakeSeconds + i * (request.seconds + gapSeconds);
        const SceneSpan span { -5.0, request.seconds + 5.0 };
        TruthScene truth;
        truth.scene.span = { span.from - sceneMargin, span.to + sceneMargin };
        const auto set = planHardSet (2, 0, truth.scene.span, own.fork (1));
        truth.scene.room = set.room;
        truth.scene.numMainSounds = 2;
        truth.scene.sounds = soundsOf (set,
                                       planConversation ({ voices[0], voices[1] }, truth.scene.span, {}, own.fork (2)),
                                       {},
                                       truth.scene.span,
                                       own.fork (3));
        truth.scene.recordings.push_back (
            recordPoly (names, i, start, request.seconds, { set.table.boom, set.table.lavs[0] }));
        truth.scene.recordings.push_back (recordMono (slow, names, start, span, set.ownLav));
        truth.scene.recordings.push_back (recordMono (odd, names, start, span, set.recorder));
        truth.takes.push_back ({ 0, false, {} });
        plan.scenes.push_back (std::move (truth));
    }

    const auto length = request.seconds + 2.0 * sceneMargin;
    const auto addLone = [&] (Machine& machine, Samples samples, float noise) {
        plan.scenes.push_back (planLoneSound (machine, names, firstTakeSeconds + 3.0, std::move (samples), noise));
    };
    auto noise = unstampedMachine ("Noise", "NOI", 48000, 5.0),
         silence = unstampedMachine ("Silence", "SIL", 48000, 5.0);
    auto clicks = unstampedMachine ("Clicks", "CLI", 48000, 5.0), sine = unstampedMachine ("Sine", "SIN", 48000, 5.0);
    addLone (noise, renderNoise (length, 0.05f, random.fork (30)), noiseRms);
    addLone (silence, Samples ((size_t) (length * demoSampleRate)), 0.0f);
    addLone (clicks, renderClicks (length, 0.5, random.fork (31)), noiseRms);
    addLone (sine, renderSine (length, 1000.0), 0.0f);
    addLone (noisy, renderNoise (length, 0.05f, random.fork (32)), noiseRms);

    for (const auto* machine : { &slow, &odd, &noise, &silence, &clicks, &sine, &noisy })
        plan.sources.push_back (steadySourceOf (*machine));

    return plan;
}

}    // namespace ld
