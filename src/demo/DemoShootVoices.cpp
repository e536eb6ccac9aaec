#include "demo/DemoShootVoices.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace ld
{
namespace
{

constexpr auto pi = std::numbers::pi;

// Means of 33 men: G. Peterson, H. Barney, "Control Methods Used in a Study of the Vowels", 1952, table II.
constexpr std::array<Formants, numVowels> vowels { { { 270, 2290, 3010 },
                                                     { 390, 1990, 2550 },
                                                     { 530, 1840, 2480 },
                                                     { 660, 1720, 2410 },
                                                     { 730, 1090, 2440 },
                                                     { 570, 840, 2410 },
                                                     { 440, 1020, 2240 },
                                                     { 300, 870, 2240 },
                                                     { 640, 1190, 2390 } } };

struct Resonance
{
    float frequencyHz, bandwidthHz, gain;
};

constexpr size_t numResonances = 5;
constexpr float nyquistMargin = 0.45f * demoSampleRate;

// Formants move slowly; setting the filters at this interval is inaudible.
constexpr int samplesPerControlStep = 48;

/** A band-pass of gain 1 at its centre, as a state-variable filter, which stays stable while its frequency moves. */
class BandPass
{
public:
    void set (float centreHz, float bandwidthHz) noexcept
    {
        const auto centre = std::min (centreHz, nyquistMargin);
        g = (float) std::tan (pi * (double) centre / demoSampleRate);
        k = bandwidthHz / centre;
        a = 1.0f / (1.0f + g * (g + k));
    }

    float process (float input) noexcept
    {
        const auto band = a * (first + g * (input - second));
        const auto low = second + g * band;
        first = 2.0f * band - first;
        second = 2.0f * low - second;
        return k * band;
    }

private:
    float g = 0.1f, k = 1.0f, a = 1.0f, first = 0.0f, second = 0.0f;
};

int samplesOf (float seconds) noexcept
{
    return (int) std::lround (std::min ((double) seconds, longestSyllable) * demoSampleRate);
}

// 0 to 1 and back to 0; x runs from 0 to 1.
float swell (float x, float attack) noexcept
{
    const auto ramp = x < attack ? x / attack : (1.0f - x) / (1.0f - attack);
    return 0.5f - 0.5f * std::cos ((float) pi * std::clamp (ramp, 0.0f, 1.0f));
}

/** Air through the vocal folds: pulses whose period and strength waver, as those of people do. The flow within a pulse
    is that of A. Rosenberg, "Effect of Glottal Pulse Shape on the Quality of Natural Vowels", 1971; this is its slope. */
class Glottis
{
public:
    explicit Glottis (DemoRandom& randomToUse) noexcept : random (randomToUse) {}

    float next (float pitchHz) noexcept
    {
        phase += pitchHz * wobble / demoSampleRate;

        if (phase >= 1.0f)
        {
            phase -= 1.0f;
            wobble = (float) random.uniform (0.985, 1.015);
            strength = (float) random.uniform (0.85, 1.0);
        }

        return strength * slope();
    }

    [[nodiscard]] bool isOpen() const noexcept { return phase < opening + closing; }

private:
    static constexpr float opening = 0.42f, closing = 0.16f;    // shares of a period

    [[nodiscard]] float slope() const noexcept
    {
        if (phase < opening)
            return closing / opening * std::sin ((float) pi * phase / opening);

        return isOpen() ? -std::sin ((float) pi * 0.5f * (phase - opening) / closing) : 0.0f;
    }

    DemoRandom& random;
    float phase = 0.0f, wobble = 1.0f, strength = 1.0f;
};

std::array<Resonance, numResonances> resonancesAt (const Syllable& syllable, float x) noexcept
{
    const auto glide = 0.5f - 0.5f * std::cos ((float) pi * x);
    const auto at = [&] (size_t i) { return std::lerp (syllable.from[i], syllable.to[i], glide); };

    // The two upper resonances hardly move; they lie in proportion to the third.
    return { { { at (0), 80.0f, 1.0f },
               { at (1), 110.0f, 1.3f },
               { at (2), 160.0f, 1.1f },
               { at (2) * 1.38f, 280.0f, 0.9f },
               { at (2) * 1.75f, 500.0f, 0.8f } } };
}

std::vector<float> renderVowel (const Syllable& syllable, DemoRandom& random)
{
    std::array<BandPass, numResonances> filters;
    std::array<Resonance, numResonances> resonances {};
    BandPass air;
    Glottis glottis (random);
    const auto length = samplesOf (syllable.vowelSeconds);
    std::vector<float> vowel ((size_t) length);
    air.set (syllable.to[2] * 2.1f, 5000.0f);

    for (int i = 0; i < length; ++i)
    {
        const auto x = (float) i / (float) length;

        if (i % samplesPerControlStep == 0)
        {
            resonances = resonancesAt (syllable, x);

            for (size_t r = 0; r < numResonances; ++r)
                filters[r].set (resonances[r].frequencyHz, resonances[r].bandwidthHz);
        }

        const auto pulse = glottis.next (std::lerp (syllable.pitchFromHz, syllable.pitchToHz, x));
        const auto hiss = random.noise() * syllable.breath * (glottis.isOpen() ? 1.0f : 0.3f);
        auto sum = air.process (hiss);

        for (size_t r = 0; r < numResonances; ++r)
            sum += (r % 2 == 0 ? 1.0f : -1.0f) * resonances[r].gain * filters[r].process (pulse + 0.3f * hiss);

        vowel[(size_t) i] = swell (x, 0.25f) * sum;
    }

    return vowel;
}

// How strongly pulses excite the resonances depends on the vowel and the pitch; the ear wants even loudness.
void addVowel (const Syllable& syllable, int start, DemoRandom& random, std::vector<float>& sound)
{
    const auto vowel = renderVowel (syllable, random);
    const auto energy = std::inner_product (vowel.begin(), vowel.end(), vowel.begin(), 0.0);
    const auto rms = std::sqrt (energy / std::max (1.0, (double) vowel.size()));
    const auto gain = rms > 0.0 ? syllable.level / (float) rms : 0.0f;

    for (size_t i = 0; i < vowel.size(); ++i)
        sound[(size_t) start + i] += gain * vowel[i];
}

void addBurst (const NoiseBurst& burst, DemoRandom& random, std::vector<float>& sound)
{
    BandPass filter;
    filter.set (burst.centreHz, burst.bandwidthHz);
    const auto length = samplesOf (burst.seconds);

    // Of white noise of variance 1 a band-pass leaves about pi / 2 times its bandwidth, as a share of the whole.
    const auto share = std::min (1.0f, 0.5f * (float) pi * burst.bandwidthHz / (0.5f * demoSampleRate));
    const auto gain = burst.level / std::sqrt (share);

    for (int i = 0; i < length; ++i)
        sound[(size_t) i] += gain * swell ((float) i / (float) length, burst.attack) * filter.process (random.noise());
}

}    // namespace

std::vector<float> renderSyllable (const Syllable& syllable)
{
    // The vowel sets in while the consonant fades.
    const auto vowelStart = samplesOf (0.75f * syllable.consonant.seconds);
    const auto length =
        std::max (samplesOf (syllable.consonant.seconds), vowelStart + samplesOf (syllable.vowelSeconds));
    std::vector<float> sound ((size_t) length);
    DemoRandom random (syllable.noiseSeed);
    addBurst (syllable.consonant, random, sound);
    addVowel (syllable, vowelStart, random, sound);
    return sound;
}

Formants vowelFormants (int vowel, float formantScale)
{
    auto formants = vowels[(size_t) vowel];

    for (auto& frequency : formants)
        frequency *= formantScale;

    return formants;
}

}    // namespace ld
