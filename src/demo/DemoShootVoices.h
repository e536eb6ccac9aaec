#pragma once

#include "demo/DemoShootRandom.h"

#include <array>
#include <vector>

namespace ld
{

constexpr int demoSampleRate = 48000;    // Hz, of every sound in a scene and of the polys

/** The first three resonances of the vocal tract, Hz. */
using Formants = std::array<float, 3>;

/** What makes one talker differ from another. */
struct VoiceProfile
{
    double pitchHz = 120.0;
    float formantScale = 1.0f;    // against an adult man's vocal tract
    float breath = 0.03f;         // noise in the voice, against its tone
    double syllableSeconds = 0.19;
    double level = 1.0;
};

/** A stretch of noise about one frequency: a consonant, a clap, moving air. */
struct NoiseBurst
{
    float centreHz = 5000.0f, bandwidthHz = 3000.0f;
    float seconds = 0.0f;
    float attack = 0.5f;    // share of the time in which it swells; it decays in the rest
    float level = 0.0f;     // RMS about its loudest moment, at 1 m
};

/** A sound of its own, at most longestSyllable seconds: a consonant and a vowel, either of which may be missing. */
struct Syllable
{
    double startSeconds = 0.0;    // from the poly's first frame; may be negative
    NoiseBurst consonant;
    float vowelSeconds = 0.0f;
    float pitchFromHz = 120.0f, pitchToHz = 110.0f;
    Formants from {}, to {};
    float breath = 0.0f;
    float level = 0.0f;    // RMS of the vowel at 1 m
    std::uint64_t noiseSeed = 0;
};

constexpr double longestSyllable = 1.5;

/** The sound at 1 m, from its start on, at demoSampleRate. */
[[nodiscard]] std::vector<float> renderSyllable (const Syllable&);

/** Average resonances of a vowel, for a vocal tract of the given scale. */
[[nodiscard]] Formants vowelFormants (int vowel, float formantScale);
constexpr int numVowels = 9;

}    // namespace ld
