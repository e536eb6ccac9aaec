#include "demo/CameraSound.h"
#include "demo/DemoShootTruth.h"
#include "demo/TruthShootPlan.h"
#include "output/JsonValues.h"

#include <algorithm>
#include <numeric>
#include <set>

namespace ld
{
namespace
{

// With less in common it is no pair: it could not be placed.
constexpr double leastOverlapSeconds = 1.0;

// Less of talk or music in what two have in common is none.
constexpr double leastSoundSeconds = 1.5;

double overlapOf (const SceneSpan& a, const SceneSpan& b) noexcept
{
    return std::min (a.to, b.to) - std::max (a.from, b.from);
}

SceneSpan spanOf (const Recording& recording, const PlannedFile& file)
{
    auto captured = file.format.numFrames;

    for (const auto& jump : file.jumps)
        captured += jump.frames;

    return { file.startSamples / demoSampleRate, recording.positionOf (file, captured) / demoSampleRate };
}

SceneSpan common (const SceneSpan& a, const SceneSpan& b) noexcept
{
    return { std::max (a.from, b.from), std::min (a.to, b.to) };
}

double soundSecondsIn (const SceneSound& sound, const SceneSpan& span)
{
    auto seconds = 0.0;

    for (const auto& syllable : sound.syllables)
    {
        const auto end = syllable.startSeconds + (double) (syllable.consonant.seconds + syllable.vowelSeconds);
        seconds += std::max (0.0, overlapOf (span, { syllable.startSeconds, end }));
    }

    for (const auto& playback : sound.playbacks)
    {
        const auto start = (double) playback.startSample / demoSampleRate;
        const auto end = start + (double) playback.samples->size() / demoSampleRate;
        seconds += std::max (0.0, overlapOf (span, { start, end }));
    }

    return seconds;
}

/** How long the main sounds can be heard within a stretch; of two at once each counts. */
double soundSecondsIn (const PlannedScene& scene, const SceneSpan& span)
{
    const auto sounds = scene.mainSounds();
    return std::accumulate (sounds.begin(), sounds.end(), 0.0, [&span] (double sum, const auto& sound) {
        return sum + soundSecondsIn (sound, span);
    });
}

// A sound that is not heard there leads nobody to its path; where none is, nobody knows which.
std::vector<SceneSound> soundsHeardIn (const PlannedScene& scene, const SceneSpan& span)
{
    auto sounds = scene.mainSounds();
    std::erase_if (sounds, [&span] (const auto& sound) { return soundSecondsIn (sound, span) == 0.0; });
    return sounds.empty() ? scene.mainSounds() : sounds;
}

// Just before or just behind the moment nothing tells where the sound lies.
bool isQuietAround (const PlannedScene& scene, double seconds)
{
    constexpr auto lookSeconds = 2.0, leastSeconds = 0.4;
    return std::min (soundSecondsIn (scene, { seconds - lookSeconds, seconds }),
                     soundSecondsIn (scene, { seconds, seconds + lookSeconds }))
           < leastSeconds;
}

juce::Array<juce::var>
describeSegments (const PlannedScene& scene, const Recording& recording, const PlannedFile& file, double hostStart)
{
    const auto slope = recording.hostSamplesPerFrame * file.format.sampleRate / demoSampleRate - 1.0;
    juce::Array<juce::var> segments;
    auto shift = juce::int64 {};
    const auto add = [&] (juce::int64 frame) {
        const auto position = recording.positionOf (file, frame + shift);
        segments.add (makeJsonObject ({ { "fromSample", frame },
                                        { "hostSample", position - hostStart },
                                        { "slope", slope },
                                        { "quiet", frame > 0 && isQuietAround (scene, position / demoSampleRate) } }));
    };

    add (0);

    for (const auto& jump : file.jumps)
    {
        shift += jump.frames;
        add (jump.atFrame);
    }

    return segments;
}

juce::var pairOf (const LagRange& range)
{
    return juce::Array<juce::var> { range.low, range.high };
}

juce::var
describeHardPiece (const PlannedScene& scene, const Recording& poly, const Recording& guest, const PlannedFile& file)
{
    const auto& host = poly.files.front();
    const auto within = common (spanOf (poly, host), spanOf (guest, file));
    const auto piece = describePiece (guest, file, host.startSamples);
    auto* const object = piece.getDynamicObject();
    object->setProperty ("silent", soundSecondsIn (scene, within) < leastSoundSeconds);
    object->setProperty ("segments", describeSegments (scene, guest, file, host.startSamples));
    object->setProperty ("paths", makeJsonArray (pathsOf (soundsHeardIn (scene, within), poly, guest, within), pairOf));
    return piece;
}

bool isSilent (const juce::Array<juce::var>& pieces)
{
    return std::all_of (pieces.begin(), pieces.end(), [] (const auto& piece) { return (bool) piece["silent"]; });
}

juce::var describeHardTake (const PlannedScene& scene, const TruthTake& take, std::set<juce::String>& placed)
{
    const auto& poly = scene.recordings[take.poly];
    const auto polySpan = spanOf (poly, poly.files.front());
    juce::Array<juce::var> guests;
    placed.insert (poly.files.front().path);

    for (const auto& recording : scene.recordings)
    {
        juce::Array<juce::var> pieces;

        for (const auto& file : recording.files)
            if (recording.source != poly.source
                && overlapOf (polySpan, spanOf (recording, file)) >= leastOverlapSeconds)
            {
                pieces.add (describeHardPiece (scene, poly, recording, file));
                placed.insert (file.path);
            }

        if (pieces.isEmpty())
            continue;

        const auto guest =
            describeGuest (recording, pieces, lagSpanOf (pathsOf (scene.mainSounds(), poly, recording, polySpan)));
        guest.getDynamicObject()->setProperty ("silent", isSilent (pieces));
        guests.add (guest);
    }

    const auto described = describeTake (poly, guests);
    described.getDynamicObject()->setProperty ("silent", take.isSilent);
    described.getDynamicObject()->setProperty ("events", juce::var (take.events));
    return described;
}

juce::Array<juce::var> describeJumps (const TruthPlan& plan, const juce::String& source)
{
    juce::Array<juce::var> jumps;

    for (const auto& scene : plan.scenes)
        for (const auto& recording : scene.scene.recordings)
            for (const auto& file : recording.files)
                for (const auto& jump : file.jumps)
                    if (recording.source == source)
                        jumps.add (
                            makeJsonObject ({ { "file", file.path },
                                              { "fromSample", jump.atFrame },
                                              { "ms", (double) jump.frames * 1000.0 / file.format.sampleRate } }));

    return jumps;
}

juce::var describeSource (const TruthPlan& plan, const TruthSource& source)
{
    const auto describeJam = [] (const Jam& jam) {
        return makeJsonObject ({ { "fromSeconds", jam.fromSeconds }, { "seconds", jam.errorSeconds } });
    };
    return makeJsonObject ({ { "source", source.name },
                             { "ppm", source.ppm },
                             { "isStamped", source.isStamped },
                             { "jamErrors", makeJsonArray (source.jams, describeJam) },
                             { "jumps", describeJumps (plan, source.name) } });
}

}    // namespace

juce::String describeTruth (const TruthPlan& plan, const TruthShootRequest& request)
{
    juce::Array<juce::var> takes, unrelated;
    std::set<juce::String> placed;

    for (const auto& scene : plan.scenes)
        for (const auto& take : scene.takes)
            takes.add (describeHardTake (scene.scene, take, placed));

    for (const auto& scene : plan.scenes)
        for (const auto& recording : scene.scene.recordings)
            for (const auto& file : recording.files)
                if (! placed.contains (file.path))
                    unrelated.add (file.path);

    const auto describe = [&plan] (const TruthSource& source) { return describeSource (plan, source); };
    const auto shoot = makeJsonObject ({ { "version", 1 },
                                         { "kind", nameOf (request.kind) },
                                         { "seed", request.seed },
                                         { "sampleRate", demoSampleRate },
                                         { "codec", LossyCoding::isCoderInstalled() ? "aac" : "stand-in" },
                                         { "takes", takes },
                                         { "sources", makeJsonArray (plan.sources, describe) },
                                         { "unrelated", unrelated } });
    return juce::JSON::toString (shoot) + "\n";
}

}    // namespace ld
