#pragma once

#include "demo/DemoShootTalk.h"

#include <juce_core/juce_core.h>

#include <memory>
#include <optional>
#include <span>

namespace ld
{

struct Position
{
    double x = 0.0, y = 0.0, z = 0.0;    // metres
};

constexpr double metresPerSecond = 343.0;    // of sound in air at 20 degrees C

[[nodiscard]] double metresBetween (const Position&, const Position&) noexcept;

/** How long sound travels, in samples at demoSampleRate. */
[[nodiscard]] double delaySamples (const Position& from, const Position& to) noexcept;

/** How far somebody has gone from their first place at a moment. */
struct Waypoint
{
    double seconds = 0.0;    // from the scene's zero
    double dx = 0.0, dy = 0.0;

    bool operator== (const Waypoint&) const = default;
};

/** In order of time; straight lines between, nobody moves ahead of the first or behind the last. Empty: stays put. */
using Walk = std::vector<Waypoint>;

[[nodiscard]] Position placeOn (const Walk&, const Position& first, double seconds) noexcept;

struct Microphone
{
    Position at;
    double gain = 1.0;    // of a sound made 1 m away; negative where its polarity is inverted
    float noiseRms = 0.0f;
    std::uint64_t noiseSeed = 0;
    Walk walk {};    // its wearer's

    [[nodiscard]] Position placeAt (double seconds) const noexcept { return placeOn (walk, at, seconds); }
};

/** A recording that a loudspeaker plays from a moment on. */
struct Playback
{
    std::shared_ptr<const std::vector<float>> samples;    // at 1 m
    juce::int64 startSample = 0;                          // from the scene's zero
    float gain = 1.0f;
};

/** Something that sounds: a talker, a clap, the air, a loudspeaker. */
struct SceneSound
{
    Position at;
    std::vector<Syllable> syllables;    // in order of time
    Walk walk {};
    std::vector<Playback> playbacks {};    // in order of time

    // Cloth and handling: only the microphone at this very place hears it. In rooms only.
    bool isContact = false;

    [[nodiscard]] Position placeAt (double seconds) const noexcept { return placeOn (walk, at, seconds); }
};

/** Samples of which only the last are kept. Positions are samples at demoSampleRate from the scene's zero. */
class SampleHistory
{
public:
    explicit SampleHistory (juce::int64 firstSample) : first (firstSample) {}

    /** Holds zeros up to this position where nothing was added yet. */
    void growTo (juce::int64 end);

    /** Adds samples from a position on; what lies before the first that is held is dropped. */
    void add (juce::int64 position, std::span<const float> samples, float gain);

    /** Lets go of what lies before this position. */
    void forgetBefore (juce::int64 position);

    /** The sample at this position and those that follow; it must be held. */
    [[nodiscard]] const float* at (juce::int64 position) const noexcept { return held.data() + (position - first); }

    [[nodiscard]] bool isSilent (juce::int64 from, juce::int64 to) const noexcept;

private:
    juce::int64 first;
    std::vector<float> held;
};

/** Renders a sound as it goes and keeps the last of it, so that a scene of an hour needs no more memory than a short one. */
class SoundHistory
{
public:
    SoundHistory (SceneSound, juce::int64 firstSample);

    /** Makes everything before this position available. */
    void renderUntil (juce::int64 position);

    void forgetBefore (juce::int64 position) { rendered.forgetBefore (position); }

    [[nodiscard]] const SampleHistory& samples() const noexcept { return rendered; }
    [[nodiscard]] const SceneSound& source() const noexcept { return sound; }

private:
    void renderPlaybacks (juce::int64 position);

    SceneSound sound;
    SampleHistory rendered;
    juce::int64 renderedUntil;
    size_t nextSyllable = 0;
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

    static constexpr int taps = 2 * reach;
    using Row = std::array<float, taps>;

    /** What read weighs the samples with, of which the first lies reach - 1 before the given one. */
    [[nodiscard]] Row weightsAt (double fraction) const noexcept;

private:
    static constexpr int phases = 256;
    std::vector<Row> rows;    // phases + 1
};

/** The kernel of about that cutoff. Kernels are costly to make, and that the dullness goes in steps is not heard. */
[[nodiscard]] const DelayKernel& kernelFor (double cutoffHz);

/** What the air between a sound and a microphone does, at 1 m nothing. */
[[nodiscard]] double gainOver (double metres) noexcept;

/** A rule of thumb for the ear, not acoustics: what is near is bright, at 4 m it is dull. */
[[nodiscard]] double brightnessHz (double metres) noexcept;

/** One microphone in a scene and its converter, with its own noise. The histories must stay where they are. */
class MicrophoneFeed
{
public:
    /** In the open: every sound with its own delay, gain and dullness. Nobody moves. */
    MicrophoneFeed (const Microphone&, const std::vector<SoundHistory>&);

    /** In a room: what arrives at its place. */
    MicrophoneFeed (const Microphone&, const SampleHistory& atItsPlace);

    /** The sound captured at position + i * step, for i below count. */
    void capture (double position, double step, int count, float* destination);

private:
    struct Path
    {
        const SampleHistory* sound;
        double delay;
        float gain;
        DelayKernel kernel;
    };

    void addPath (const Path&, double position, double step, int count, float* destination) const;
    void addRoom (double position, double step, int count, float* destination) const;
    void addNoise (int count, float* destination);

    std::vector<Path> paths;
    std::optional<Path> room;
    DemoRandom random;
    float noiseRms, rumble = 0.0f;
};

/** No sound reaches a microphone of these scenes later than this; positions this far back must be held. */
constexpr juce::int64 longestDelay = 2048;

}    // namespace ld
