#pragma once

#include "demo/DemoShoot.h"
#include "demo/DemoShootScene.h"
#include "media/Records.h"

namespace ld
{

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
    juce::String comment;      // goes into a LIST chunk
    juce::String makerText;    // goes into a chunk of the recorder's maker, which no other program knows
};

/** One machine's recording of a scene: files that follow each other without a gap. */
struct Recording
{
    juce::String source;
    std::vector<Microphone> microphones;
    std::vector<std::vector<float>> channels;    // for each channel the gain of every microphone
    double hostSamplesPerFrame = 1.0;
    std::vector<PlannedFile> files;    // one or more, all of one format
};

/** People at a table, and the machines that record them. */
struct PlannedScene
{
    SceneSpan span;
    int numTalkers = 0;
    std::vector<SceneSound> sounds;       // the talkers' first
    std::vector<Recording> recordings;    // a take's first is its poly
};

struct ShootPlan
{
    std::vector<PlannedScene> takes;
    PlannedScene unrelated;
};

/** Everything but the audio. The request must have passed checkDemoShoot. */
[[nodiscard]] ShootPlan planShoot (const DemoShootRequest&);

struct LagSpan
{
    double lowMs = 0.0, highMs = 0.0;
};

/** How far the sound shifts a guest from its true place; see lagSpanMs of truth.json. */
[[nodiscard]] LagSpan lagSpanOf (const PlannedScene&, const Recording& guest);

}    // namespace ld
