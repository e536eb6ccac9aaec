#include "demo/Music.h"

#include "demo/DemoShootVoices.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ld
{
namespace
{

constexpr float musicLevel = 0.03f;    // RMS at 1 m
constexpr int harmonics = 6;
constexpr std::array scale { 0, 2, 3, 5, 7, 8, 10 };    // natural minor, semitones
constexpr std::array chordDegrees { 0, 5, 2, 6 };

struct Note
{
    double startSeconds, seconds, hz;
    float level;
};

double hzOf (double rootHz, int degree) noexcept
{
    const auto octave = degree / (int) scale.size();
    const auto semitones = scale[(size_t) (degree % (int) scale.size())] + 12 * octave;
    return rootHz * std::exp2 (semitones / 12.0);
}

void addPartial (std::vector<float>& music, const Note& note, double hz, float level, double decaySeconds)
{
    const auto from = (size_t) (note.startSeconds * demoSampleRate);
    const auto to = std::min (music.size(), from + (size_t) (note.seconds * demoSampleRate));
    const auto angle = 2.0 * std::numbers::pi * hz / demoSampleRate;
    const auto turnCos = std::cos (angle), turnSin = std::sin (angle);
    const auto decay = std::exp (-1.0 / (decaySeconds * demoSampleRate));
    constexpr auto attackSamples = 240.0f;
    auto re = (double) level, im = 0.0;

    for (auto i = from; i < to; ++i)
    {
        const auto edge = std::min ({ (float) (i - from) / attackSamples, (float) (to - i) / attackSamples, 1.0f });
        music[i] += edge * (float) im;
        const auto next = decay * (re * turnCos - im * turnSin);
        im = decay * (re * turnSin + im * turnCos);
        re = next;
    }
}

void addNote (std::vector<float>& music, const Note& note)
{
    for (int h = 1; h <= harmonics; ++h)
        if (const auto hz = note.hz * h; hz < 0.4 * demoSampleRate)
            addPartial (music, note, hz, note.level / (float) h, 1.2 / h);
}

void addDrum (std::vector<float>& music, double seconds, float level, double decaySeconds, DemoRandom& random)
{
    const auto from = (size_t) (seconds * demoSampleRate);
    const auto decay = std::exp (-1.0 / (decaySeconds * demoSampleRate));
    auto envelope = (double) level;

    for (auto i = from; i < music.size() && envelope > 0.001 * level; ++i, envelope *= decay)
        music[i] += (float) envelope * random.noise();
}

}    // namespace

std::vector<float> renderMusic (double seconds, DemoRandom random)
{
    std::vector<float> music ((size_t) (seconds * demoSampleRate));
    const auto beat = 60.0 / random.uniform (84.0, 128.0);
    const auto root = 110.0 * std::exp2 (random.uniform (0.0, 0.9));

    for (int i = 0; (i + 1) * beat < seconds; ++i)
    {
        const auto now = i * beat;
        const auto chord = chordDegrees[(size_t) (i / 4) % chordDegrees.size()];

        if (i % 4 == 0)
            for (const auto third : { 0, 2, 4 })
                addNote (music, { now, 4.0 * beat, hzOf (root, chord + third), 0.25f });

        for (int half = 0; half < 2; ++half)
            if (random.chance (0.8))
                addNote (music,
                         { now + 0.5 * half * beat,
                           beat * random.uniform (0.4, 1.2),
                           hzOf (2.0 * root, chord + random.below (9)),
                           (float) random.uniform (0.25, 0.6) });

        addDrum (music, now, i % 2 == 0 ? 0.5f : 0.3f, i % 2 == 0 ? 0.03 : 0.09, random);
        addDrum (music, now + 0.5 * beat, 0.12f, 0.02, random);
    }

    auto energy = 0.0;

    for (const auto sample : music)
        energy += (double) sample * (double) sample;

    const auto gain = musicLevel / (float) std::sqrt (std::max (1.0e-9, energy / (double) music.size()));

    for (auto& sample : music)
        sample *= gain;

    return music;
}

std::vector<float> playedDifferently (std::vector<float> music, float gain, float highs)
{
    constexpr auto share = 0.28f;    // of a low-pass of one pole, about 2.5 kHz
    auto low = 0.0f;

    for (auto& sample : music)
    {
        low += share * (sample - low);
        sample = gain * (low + highs * (sample - low));
    }

    return music;
}

}    // namespace ld
