#include "demo/DemoShootPlan.h"

#include "demo/DemoShootMachines.h"
#include "demo/DemoShootSet.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ld
{
namespace
{

constexpr double firstTakeSeconds = (10 * 60 + 17) * 60.0;
constexpr double jamSeconds = (10 * 60 + 2) * 60.0;    // when all clocks were set, shortly before the first take
constexpr double loneFileSeconds = (7 * 60 + 51) * 60.0;
constexpr double sceneMargin = 0.5;

constexpr int takesPerScene = 2;
constexpr int takesPerMissingCamera = 3;

// What a poly holds besides its mix: two talkers with a microphone each, three, and two of whom one has only a pack.
struct Rig
{
    int numTalkers, numLavs;
};
constexpr std::array rigs { Rig { 2, 2 }, Rig { 3, 3 }, Rig { 2, 1 } };

/** The machines on the set, whose clocks and running numbers go on from take to take. */
struct Machines
{
    Machine packA, packB, recorder, camera;
};

Machines planMachines (DemoRandom random)
{
    Machines all;
    const auto jamError = [&random] { return random.uniform (0.012, 0.04) * (random.chance (0.5) ? 1.0 : -1.0); };
    const auto a = random.uniform (16.0, 20.0), b = random.uniform (-27.0, -23.0);
    const auto second = random.uniform (6.0, 10.0), video = random.uniform (-16.0, -10.0);
    all.packA = { "Pack A", "TXA", "TX A", { 48000, a, jamSeconds, jamError() }, 24, Stamp::bextAndIxml };
    all.packB = { "Pack B", "TXB", "TX B", { 48000, b, jamSeconds, jamError() }, 24, Stamp::bextAndIxml };
    all.recorder = { "Recorder", "REC", {}, { 48000, second, jamSeconds, 0.0 }, 16, Stamp::none };
    all.camera = { "Camera", "CAM", {}, { 44100, video, jamSeconds, 0.0 }, 16, Stamp::bext, "_A" };
    return all;
}

/** What is settled of a take before anything is placed in it. */
struct TakeFrame
{
    int index = 0;
    juce::int64 stamp = 0;    // of the poly's first frame, samples since midnight
    double seconds = 0.0;
};

std::vector<Microphone> polyMicrophones (const TableSet& set, const Rig& rig)
{
    std::vector<Microphone> microphones { set.boom };
    microphones.insert (microphones.end(), set.lavs.begin(), set.lavs.begin() + rig.numLavs);
    return microphones;
}

Recording planPoly (const ShootNames& names, const TakeFrame& take, const TableSet& set, const Rig& rig)
{
    Recording poly;
    poly.source = "Poly";
    poly.microphones = polyMicrophones (set, rig);
    poly.channels = { { 0.5f }, { 0.5f } };
    std::vector<TrackInfo> tracks { { 1, 1, "Mix L", "MIX", {}, true }, { 2, 2, "Mix R", "MIX", {}, true } };

    // The mix leans each talker to a side of their own.
    for (int i = 0; i < rig.numLavs; ++i)
    {
        poly.channels[0].push_back (i == 1 ? 0.35f : 0.6f);
        poly.channels[1].push_back (i == 0 ? 0.35f : 0.6f);
    }

    for (int i = 0; i <= rig.numLavs; ++i)
    {
        poly.channels.emplace_back (poly.microphones.size()).at ((size_t) i) = 1.0f;
        tracks.push_back (
            { i + 3, i + 3, i == 0 ? "Boom" : "Lav " + juce::String (i), i == 0 ? "BOOM" : "LAV", {}, true });
    }

    const auto frames = (juce::int64) std::llround (take.seconds * demoSampleRate);
    poly.files.push_back (
        planPolyFile (names, { take.index / takesPerScene, take.index % takesPerScene, take.stamp, frames }, tracks));
    return poly;
}

/** Who records from when to when, in seconds from the poly's first frame. */
struct GuestSpans
{
    SceneSpan packA, packB, recorder, camera;

    [[nodiscard]] SceneSpan whole() const noexcept
    {
        return { std::min ({ packA.from, packB.from, recorder.from, camera.from, 0.0 }) - sceneMargin,
                 std::max ({ packA.to, packB.to, recorder.to, camera.to }) + sceneMargin };
    }
};

GuestSpans planSpans (const TakeFrame& take, DemoRandom random)
{
    const auto around = [&] (double most) {
        const auto before = random.uniform (0.4, 1.0) * most;
        return SceneSpan { -before, take.seconds + random.uniform (0.4, 1.0) * most };
    };
    const auto within = [&] {
        const auto late = random.uniform (0.08, 0.16) * take.seconds;
        return SceneSpan { late, take.seconds * random.uniform (0.84, 0.92) };
    };

    // Somebody starts the second recorder by hand: early and for long, or late.
    GuestSpans spans;
    spans.packA = around (5.0);
    spans.packB = around (5.0);
    spans.recorder = take.index % 2 == 0 ? around (8.0) : within();
    spans.camera = { -random.uniform (0.5, 2.0), take.seconds - random.uniform (0.3, 0.9) };
    return spans;
}

std::vector<Recording> planGuests (
    Machines& machines, const ShootNames& names, const TakeFrame& take, const TableSet& set, const GuestSpans& spans)
{
    std::vector<Recording> guests;
    const auto add = [&] (Machine& machine, std::vector<Microphone> microphones, SceneSpan span, int pieces) {
        auto guest = planGuestFiles (machine, names, { take.stamp, span, (int) microphones.size(), pieces });
        guest.channels = oneChannelEach (microphones.size());
        guest.microphones = std::move (microphones);
        guests.push_back (std::move (guest));
    };

    // A pack hears what the poly's own channel hears, but through its own converter.
    const auto own = [] (Microphone lav) {
        lav.noiseSeed = ~lav.noiseSeed;
        return lav;
    };

    add (machines.packA, { own (set.lavs[0]) }, spans.packA, 1);
    add (machines.packB, { own (set.lavs[1]) }, spans.packB, take.index == 0 ? 2 : 1);
    add (machines.recorder, { set.tableLeft, set.tableRight }, spans.recorder, 1);

    if (take.index % takesPerMissingCamera != takesPerMissingCamera - 1)
        add (machines.camera, { set.cameraLeft, set.cameraRight }, spans.camera, 1);

    return guests;
}

PlannedScene planTake (Machines& machines,
                       const ShootNames& names,
                       const TakeFrame& take,
                       const std::vector<VoiceProfile>& voices,
                       DemoRandom random)
{
    const auto& rig = rigs[(size_t) take.index % rigs.size()];
    const auto set = planSet (rig.numTalkers, random.fork (1));
    const auto spans = planSpans (take, random.fork (2));
    auto wrong = random.fork (3);
    machines.camera.clock.errorSeconds = wrong.uniform (0.15, 0.95) * (wrong.chance (0.5) ? 1.0 : -1.0);

    PlannedScene scene;
    scene.span = spans.whole();
    scene.numMainSounds = rig.numTalkers;
    scene.sounds = planSounds (set, voices, scene.span, random.fork (4));
    scene.recordings = planGuests (machines, names, take, set, spans);
    scene.recordings.insert (scene.recordings.begin(), planPoly (names, take, set, rig));
    return scene;
}

/** Something that a pack recorded before the shoot, of other people. */
PlannedScene planUnrelated (Machine& pack, const ShootNames& names, double seconds, DemoRandom random)
{
    auto voices = planVoices (random.fork (1));

    for (auto& voice : voices)
    {
        voice.pitchHz *= 0.86;
        voice.formantScale *= 0.94f;
    }

    const auto set = planSet (2, random.fork (2));
    PlannedScene scene;
    scene.span = { -sceneMargin, seconds + sceneMargin };
    scene.numMainSounds = 2;
    scene.sounds = planSounds (set, voices, scene.span, random.fork (3));
    scene.recordings.push_back (
        planGuestFiles (pack, names, { (juce::int64) (loneFileSeconds * demoSampleRate), { 0.0, seconds } }));
    scene.recordings.front().microphones = { set.lavs[0] };
    scene.recordings.front().channels = oneChannelEach (1);
    return scene;
}

}    // namespace

std::vector<std::vector<float>> oneChannelEach (size_t count)
{
    std::vector<std::vector<float>> channels (count, std::vector<float> (count));

    for (size_t i = 0; i < count; ++i)
        channels[i][i] = 1.0f;

    return channels;
}

ShootPlan planShoot (const DemoShootRequest& request)
{
    const DemoRandom random ((std::uint64_t) request.seed);
    const auto names = planNames (random.fork (1));
    const auto voices = planVoices (random.fork (2));
    auto machines = planMachines (random.fork (3));
    auto times = random.fork (4);
    ShootPlan plan;
    plan.unrelated = planUnrelated (machines.packA, names, 0.7 * request.seconds, random.fork (5));
    auto start = firstTakeSeconds + times.uniform (0.0, 90.0);

    for (int i = 0; i < request.takes; ++i)
    {
        TakeFrame take { i, (juce::int64) (start * demoSampleRate), request.seconds + times.uniform (0.0, 0.9) };
        plan.takes.push_back (planTake (machines, names, take, voices, random.fork (100 + (std::uint64_t) i)));
        start += take.seconds + times.uniform (130.0, demoTakeGapSeconds);
    }

    return plan;
}

std::vector<LagRange>
pathsOf (const std::vector<SceneSound>& sounds, const Recording& host, const Recording& guest, SceneSpan within)
{
    constexpr auto looks = 200;    // along the time, where somebody walks
    std::vector<LagRange> paths;

    for (const auto& sound : sounds)
        for (const auto& ours : host.microphones)
            for (const auto& theirs : guest.microphones)
            {
                const auto lagAt = [&] (double seconds) {
                    const auto from = sound.placeAt (seconds);
                    return delaySamples (from, ours.placeAt (seconds)) - delaySamples (from, theirs.placeAt (seconds));
                };
                const auto isStill = sound.walk.empty() && ours.walk.empty() && theirs.walk.empty();
                LagRange range { lagAt (within.from), lagAt (within.from) };

                for (int look = 1; look <= looks && ! isStill; ++look)
                {
                    const auto lag = lagAt (std::lerp (within.from, within.to, (double) look / looks));
                    range = { std::min (range.low, lag), std::max (range.high, lag) };
                }

                paths.push_back (range);
            }

    return paths;
}

LagSpan lagSpanOf (const std::vector<LagRange>& paths)
{
    constexpr auto msPerSample = 1000.0 / demoSampleRate;
    LagSpan span { std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest() };

    for (const auto& path : paths)
        span = { std::min (span.lowMs, path.low * msPerSample), std::max (span.highMs, path.high * msPerSample) };

    return span;
}

}    // namespace ld
