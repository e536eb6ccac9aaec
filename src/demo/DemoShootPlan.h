#pragma once

#include "demo/DemoShoot.h"
#include "demo/DemoShootScene.h"
#include "demo/Room.h"
#include "media/Records.h"

namespace ld
{

/** A moment at which a machine lost samples or wrote the last ones twice. */
struct SampleJump
{
    juce::int64 atFrame = 0;    // of the file
    juce::int64 frames = 0;     // above 0: so many were lost ahead of it; below 0: from it on so many are there again
};

/** One wave file to be written. */
struct PlannedFile
{
    juce::String path;    // relative to the shoot's folder
    AudioFormatInfo format;
    double startSamples = 0.0;    // when its first frame is captured, in frames of the poly
    bool isExtensible = false;
    BextChunk bext;
    IxmlMetadata ixml;
    std::vector<TrackInfo> tracks;
    juce::String comment;                // goes into a LIST chunk
    juce::String makerText;              // goes into a chunk of the recorder's maker, which no other program knows
    std::vector<SampleJump> jumps {};    // in order, never two within each other's frames
};

/** What a machine does to its sound before it stores it. */
struct SoundTreatment
{
    bool hasAutomaticGain = false;
    bool isLossy = false;    // coded by AAC at 128 kbit/s
};

/** One machine's recording of a scene: files that follow each other without a gap. */
struct Recording
{
    juce::String source;
    std::vector<Microphone> microphones;
    std::vector<std::vector<float>> channels;    // for each channel the gain of every microphone
    double hostSamplesPerFrame = 1.0;
    std::vector<PlannedFile> files;    // one or more, all of one format
    SoundTreatment treatment {};

    /** The position at which the capture of a file's frame would be, had the machine run without a jump from the
        file's start; in samples of the scene. */
    [[nodiscard]] double positionOf (const PlannedFile& file, juce::int64 capturedFrame) const noexcept
    {
        return file.startSamples + (double) capturedFrame * hostSamplesPerFrame;
    }
};

/** People at a table, and the machines that record them. */
struct PlannedScene
{
    SceneSpan span;
    int numMainSounds = 0;                // talkers and loudspeakers: what a recording is placed by
    std::vector<SceneSound> sounds;       // the main ones first
    std::vector<Recording> recordings;    // a take's first is its poly
    std::optional<Room> room {};          // in the open where there is none

    [[nodiscard]] std::vector<SceneSound> mainSounds() const
    {
        return { sounds.begin(), sounds.begin() + numMainSounds };
    }
};

struct ShootPlan
{
    std::vector<PlannedScene> takes;
    PlannedScene unrelated;
};

/** Everything but the audio. The request must have passed checkDemoShoot. */
[[nodiscard]] ShootPlan planShoot (const DemoShootRequest&);

/** A stretch of values that a moving talker goes through; a single one where nobody moves. */
struct LagRange
{
    double low = 0.0, high = 0.0;
};

/** For each of these sounds and each microphone of both the delay to the host's minus the delay to the guest's, in samples.
    within   of the scene, seconds: where people are then counts */
[[nodiscard]] std::vector<LagRange>
pathsOf (const std::vector<SceneSound>&, const Recording& host, const Recording& guest, SceneSpan within);

struct LagSpan
{
    double lowMs = 0.0, highMs = 0.0;
};

/** How far the sound shifts a guest from its true place; see lagSpanMs of truth.json. */
[[nodiscard]] LagSpan lagSpanOf (const std::vector<LagRange>& paths);

/** For each of so many channels the gain of as many microphones: each channel is one of them. */
[[nodiscard]] std::vector<std::vector<float>> oneChannelEach (size_t count);

}    // namespace ld
