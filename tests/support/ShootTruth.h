#pragma once

#include <juce_core/juce_core.h>

#include <vector>

namespace ld::test
{

// What the truth.json of a demo shoot says; see DemoShoot.h for its meaning.

struct TruePiece
{
    juce::File file;
    juce::int64 frames = 0;
    int sampleRate = 0;
    double startSamples = 0.0, hostSamplesPerFrame = 0.0;
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

struct ShootTruth
{
    std::vector<TrueTake> takes;
    std::vector<juce::File> unrelated;
};

/** An empty truth where the folder holds none. */
[[nodiscard]] ShootTruth readShootTruth (const juce::File& shootFolder);

}    // namespace ld::test
