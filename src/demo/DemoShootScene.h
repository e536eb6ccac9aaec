#pragma once

#include "demo/DemoShootTalk.h"

#include <juce_core/juce_core.h>

namespace ld
{

struct Position
{
    double x = 0.0, y = 0.0, z = 0.0;    // metres
};

[[nodiscard]] double metresBetween (const Position&, const Position&) noexcept;

/** How long sound travels, in samples at demoSampleRate. */
[[nodiscard]] double delaySamples (const Position& from, const Position& to) noexcept;

struct Microphone
{
    Position at;
    double gain = 1.0;    // of a sound made 1 m away
    float noiseRms = 0.0f;
    std::uint64_t noiseSeed = 0;
};

/** Something that sounds, at one place: a talker, a clap, the air. */
struct SceneSound
{
    Position at;
    std::vector<Syllable> syllables;    // in order of time
};

/** Renders a sound as it goes and keeps the last of it, so that a scene of an hour needs no more memory than a short one.
    Positions are samples at demoSampleRate from the poly's first frame. */
class SoundHistory
{
public:
    SoundHistory (SceneSound, juce::int64 firstSample);

    /** Makes everything before this position available. */
    void renderUntil (juce::int64 position);

    /** Lets go of what lies before this position. */
    void forgetBefore (juce::int64 position);

    /** The sample at this position and those that follow; it must be held. */
    [[nodiscard]] const float* at (juce::int64 position) const noexcept { return held.data() + (position - first); }

    [[nodiscard]] bool isSilent (juce::int64 from, juce::int64 to) const noexcept;

    [[nodiscard]] Position place() const noexcept { return sound.at; }

private:
    SceneSound sound;
    juce::int64 first;
    size_t nextSyllable = 0;
    std::vector<float> held;
};

/** Reads a sound between its samples: a windowed sinc that also takes off the highs that air and distance swallow. It is
    symmetrical, so that it delays nothing. */
class DelayKernel
{
public:
    static constexpr int reach = 16;    // samples needed on either side

    explicit DelayKernel (double cutoffHz);

    /** The value at a fraction, 0 to 1, behind the given sample. */
    [[nodiscard]] float read (const float* sample, double fraction) const noexcept;

private:
    static constexpr int taps = 2 * reach;
    static constexpr int phases = 256;
    using Row = std::array<float, taps>;
    std::vector<Row> rows;    // phases + 1
};

/** One microphone in a scene: hears every sound with its own delay, gain and dullness, and its own noise. The histories
    must stay where they are. */
class MicrophoneFeed
{
public:
    MicrophoneFeed (const Microphone&, const std::vector<SoundHistory>&);

    /** The sound captured at position + i * step, for i below count. */
    void capture (double position, double step, int count, float* destination);

private:
    struct Path
    {
        const SoundHistory* sound;
        double delay;
        float gain;
        DelayKernel kernel;
    };

    void addPath (const Path&, double position, double step, int count, float* destination) const;
    void addNoise (int count, float* destination);

    std::vector<Path> paths;
    DemoRandom random;
    float noiseRms, rumble = 0.0f;
};

/** No sound reaches a microphone of these scenes later than this; positions this far back must be held. */
constexpr juce::int64 longestDelay = 2048;

}    // namespace ld
