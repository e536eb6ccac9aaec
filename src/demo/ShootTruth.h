#pragma once

#include "demo/DemoShootPlan.h"

namespace ld
{

// What the truth.json of a shoot says; see DemoShoot.h and TruthShoot.h for its meaning.

/** A stretch of a file that runs without a jump, up to the next one's start or the file's end. */
struct TrueStretch
{
    juce::int64 fromSample = 0;    // frame of the file
    double hostSample = 0.0;       // the poly's at that frame
    double slope = 0.0;            // a frame takes 48000 / rate * (1 + slope) of the poly's samples

    bool operator== (const TrueStretch&) const = default;
};

struct TruePiece
{
    juce::File file;
    juce::int64 frames = 0;
    int sampleRate = 0;
    double startSamples = 0.0, hostSamplesPerFrame = 0.0;
    bool isSilent = false;
    std::vector<TrueStretch> stretches;
    std::vector<bool> quietJumps;    // of each stretch: no sound shows exactly where it begins
    std::vector<LagRange> paths;     // samples of the poly
};

struct TrueGuest
{
    juce::String source;
    std::vector<TruePiece> pieces;
    double lowestLagMs = 0.0, highestLagMs = 0.0;
};

struct TrueTake
{
    juce::File poly;
    juce::int64 frames = 0;
    std::vector<TrueGuest> guests;

    [[nodiscard]] const TrueGuest* find (const juce::String& source) const;
};

struct TrueSource
{
    juce::String source;
    double ppm = 0.0;
};

struct ShootTruth
{
    juce::String kind;
    int seed = 0;
    std::vector<TrueTake> takes;
    std::vector<TrueSource> sources;
    std::vector<juce::File> unrelated;
};

/** An empty truth where the folder holds none. A demo shoot's pieces have one stretch and one range of paths each. */
[[nodiscard]] ShootTruth readShootTruth (const juce::File& shootFolder);

/** Where on the poly a frame lies; on the line of the first stretch ahead of it.
    stretches   at least one, in order */
[[nodiscard]] double hostSampleAt (const std::vector<TrueStretch>& stretches, int sampleRate, double frame) noexcept;

}    // namespace ld
