#include "demo/DemoShootTalk.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace ld
{
namespace
{

constexpr double voiceLevel = 0.035;    // RMS at 1 m
constexpr float airLevel = 0.0006f;

struct Consonant
{
    float centreHz, bandwidthHz, seconds, attack, level;
};

// Hisses from the front of the mouth to its back, then stops. Levels are against the voice's.
constexpr std::array consonants {
    Consonant { 6800.0f, 3200.0f, 0.11f, 0.5f, 0.40f }, Consonant { 3600.0f, 1800.0f, 0.11f, 0.5f, 0.45f },
    Consonant { 8500.0f, 6000.0f, 0.08f, 0.5f, 0.16f }, Consonant { 1600.0f, 1500.0f, 0.06f, 0.4f, 0.15f },
    Consonant { 4200.0f, 4000.0f, 0.02f, 0.1f, 0.55f }, Consonant { 1900.0f, 1400.0f, 0.03f, 0.1f, 0.50f }
};
constexpr int firstStop = 4;

/** One talker's mouth: speaks word after word, with a melody that falls over the phrase. */
class Speaker
{
public:
    Speaker (const VoiceProfile& profile, DemoRandom randomToUse) : voice (profile), random (randomToUse) {}

    std::vector<Syllable> syllables;

    /** Speaks from one moment on until about another; returns when it ended. */
    double speak (double from, double until)
    {
        auto now = from;
        loudness = random.uniform (0.6, 1.1);

        while (now < until)
        {
            const auto progress = (now - from) / (until - from);
            now = sayWord (now, 1.12 - 0.22 * progress);
            now += random.chance (0.2) ? random.uniform (0.2, 0.55) : random.uniform (0.02, 0.1);
        }

        return now;
    }

private:
    double sayWord (double now, double melody)
    {
        const auto count = 1 + random.below (4);
        const auto stressed = random.below (count);

        for (int i = 0; i < count; ++i)
            now = saySyllable (now, melody * random.uniform (0.92, 1.08), i == stressed);

        return random.chance (0.3) ? sayHiss (now) : now;
    }

    double saySyllable (double now, double melody, bool isStressed)
    {
        Syllable syllable;
        syllable.startSeconds = now;
        syllable.vowelSeconds = (float) (voice.syllableSeconds * random.uniform (0.6, isStressed ? 1.7 : 1.1));
        syllable.level = (float) (voiceLevel * voice.level * loudness * random.uniform (0.5, isStressed ? 1.2 : 0.9));
        syllable.pitchFromHz = (float) (voice.pitchHz * melody * (isStressed ? 1.13 : 1.0));
        syllable.pitchToHz = syllable.pitchFromHz * (float) random.uniform (0.8, 1.1);
        syllable.from = std::exchange (mouth, vowelFormants (random.below (numVowels), voice.formantScale));
        syllable.to = mouth;
        syllable.breath = voice.breath;
        syllable.noiseSeed = random.next();

        if (random.chance (0.75))
            syllable.consonant = consonantOf (random.below ((int) consonants.size()));

        syllables.push_back (syllable);

        // A vowel fades while the next syllable begins.
        return now + 0.75 * (double) syllable.consonant.seconds + 0.85 * (double) syllable.vowelSeconds;
    }

    double sayHiss (double now)
    {
        Syllable syllable;
        syllable.startSeconds = now;
        syllable.consonant = consonantOf (random.below (firstStop));
        syllable.noiseSeed = random.next();
        syllables.push_back (syllable);
        return now + (double) syllable.consonant.seconds;
    }

    NoiseBurst consonantOf (int index)
    {
        const auto& kind = consonants[(size_t) index];
        const auto level = voiceLevel * voice.level * loudness * random.uniform (0.5, 1.0);
        return { kind.centreHz * voice.formantScale * (float) random.uniform (0.9, 1.1),
                 kind.bandwidthHz,
                 kind.seconds * (float) random.uniform (0.7, 1.4),
                 kind.attack,
                 kind.level * (float) level };
    }

    VoiceProfile voice;
    DemoRandom random;
    double loudness = 1.0;
    Formants mouth = vowelFormants (8, voice.formantScale);
};

void keepQuiet (std::vector<Syllable>& syllables, SceneSpan quiet)
{
    std::erase_if (syllables, [quiet] (const Syllable& syllable) {
        const auto end = syllable.startSeconds + (double) (syllable.consonant.seconds + syllable.vowelSeconds);
        return syllable.startSeconds < quiet.to && end > quiet.from;
    });
}

/** Another pace for the same words: stretches of time, each with its own rate. */
struct Pace
{
    static constexpr double stretchSeconds = 2.0;
    double from = 0.0;
    std::vector<double> rates, starts;    // of each stretch: new time per old, and the new time at its start

    [[nodiscard]] size_t stretchAt (double seconds) const noexcept
    {
        return std::min ((size_t) std::max ((seconds - from) / stretchSeconds, 0.0), rates.size() - 1);
    }

    [[nodiscard]] double rateAt (double seconds) const noexcept { return rates[stretchAt (seconds)]; }

    [[nodiscard]] double timeOf (double seconds) const noexcept
    {
        const auto i = stretchAt (seconds);
        return starts[i] + (seconds - from - (double) i * stretchSeconds) * rates[i];
    }
};

Pace planPace (const std::vector<std::vector<Syllable>>& talk, DemoRandom random)
{
    auto from = std::numeric_limits<double>::max(), to = std::numeric_limits<double>::lowest();

    for (const auto& voice : talk)
        if (! voice.empty())
        {
            from = std::min (from, voice.front().startSeconds);
            to = std::max (to, voice.back().startSeconds);
        }

    Pace pace { from, {}, {} };

    for (auto now = from, next = from; pace.rates.empty() || now < to; now += Pace::stretchSeconds)
    {
        pace.rates.push_back (1.0 + random.uniform (0.03, 0.08) * (random.chance (0.5) ? 1.0 : -1.0));
        pace.starts.push_back (next);
        next += Pace::stretchSeconds * pace.rates.back();
    }

    return pace;
}

Syllable noiseAt (double seconds, const NoiseBurst& burst, DemoRandom& random)
{
    Syllable noise;
    noise.startSeconds = seconds;
    noise.consonant = burst;
    noise.noiseSeed = random.next();
    return noise;
}

}    // namespace

std::vector<std::vector<Syllable>> planConversation (const std::vector<VoiceProfile>& voices,
                                                     SceneSpan whole,
                                                     const std::vector<SceneSpan>& quiet,
                                                     DemoRandom random)
{
    std::vector<Speaker> speakers;

    for (size_t i = 0; i < voices.size(); ++i)
        speakers.emplace_back (voices[i], random.fork (i));

    const auto count = (int) speakers.size();
    std::vector<double> freeFrom (speakers.size(), whole.from);
    auto talker = random.below (count);

    for (auto now = whole.from; now < whole.to;)
    {
        auto& free = freeFrom[(size_t) talker];
        const auto from = std::max (now, free);
        const auto until = std::min (from + random.uniform (0.8, 4.5), whole.to);
        free = speakers[(size_t) talker].speak (from, until);

        // Below 0 the next one does not wait for the end.
        now = std::max (from + 0.5, free + random.uniform (-0.7, 0.5));
        talker = (talker + 1 + random.below (count - 1)) % count;
    }

    std::vector<std::vector<Syllable>> talk;

    for (auto& speaker : speakers)
    {
        for (const auto& stretch : quiet)
            keepQuiet (speaker.syllables, stretch);

        talk.push_back (std::move (speaker.syllables));
    }

    return talk;
}

std::vector<std::vector<Syllable>> saidAgain (std::vector<std::vector<Syllable>> talk, DemoRandom random)
{
    const auto pace = planPace (talk, random.fork (1));

    for (auto& voice : talk)
        for (auto& syllable : voice)
        {
            const auto melody = (float) random.uniform (0.97, 1.03);
            const auto rate = (float) pace.rateAt (syllable.startSeconds);
            syllable.startSeconds = pace.timeOf (syllable.startSeconds);
            syllable.vowelSeconds *= rate;
            syllable.consonant.seconds *= rate;
            syllable.pitchFromHz *= melody;
            syllable.pitchToHz *= melody;
            syllable.noiseSeed = random.next();
        }

    return talk;
}

std::vector<Syllable> planCloth (SceneSpan span, double loudest, DemoRandom random)
{
    std::vector<Syllable> cloth;

    auto now = span.from + random.uniform (0.0, 20.0);

    while (now < span.to)
    {
        for (auto left = 1 + random.below (4); left > 0; --left)
        {
            const auto seconds = random.uniform (0.08, 0.9);
            const auto level = loudest * std::pow (10.0, random.uniform (-1.2, 0.0));
            cloth.push_back (noiseAt (now, { 160.0f, 500.0f, (float) seconds, 0.3f, (float) level }, random));
            cloth.push_back (noiseAt (now, { 2500.0f, 6000.0f, (float) seconds, 0.3f, (float) (0.3 * level) }, random));
            now += seconds * random.uniform (0.5, 1.2);
        }

        now += random.uniform (6.0, 40.0);
    }

    return cloth;
}

std::vector<Syllable> planClap (double atSeconds, DemoRandom random)
{
    return { noiseAt (atSeconds, { 2600.0f, 5000.0f, 0.06f, 0.02f, 0.08f }, random) };
}

std::vector<Syllable> planAir (SceneSpan span, DemoRandom random)
{
    constexpr auto breathSeconds = 1.2;
    std::vector<Syllable> air;

    for (int i = 0; span.from + i * 0.5 * breathSeconds < span.to; ++i)
        air.push_back (noiseAt (
            span.from + i * 0.5 * breathSeconds, { 220.0f, 300.0f, (float) breathSeconds, 0.5f, airLevel }, random));

    return air;
}

}    // namespace ld
