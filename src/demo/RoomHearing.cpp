#include "demo/RoomHearing.h"

#include "media/VectorClones.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr size_t spectrumFloats = 2 * (size_t) RoomHearing::blockSamples + 2;

// Adds the product of two spectra, interleaved real and imaginary parts.
LD_VECTOR_CLONES void addProduct (const float* a, const float* b, float* sum, size_t floats)
{
    for (size_t i = 0; i < floats; i += 2)
    {
        sum[i] += a[i] * b[i] - a[i + 1] * b[i + 1];
        sum[i + 1] += a[i] * b[i + 1] + a[i + 1] * b[i];
    }
}

bool addConvolution (const std::vector<std::vector<float>>& past,
                     const std::vector<std::vector<float>>& response,
                     std::vector<float>& sum)
{
    auto isHeard = false;

    for (size_t i = 0; i < std::min (past.size(), response.size()); ++i)
        if (! past[i].empty())
        {
            sum.resize (spectrumFloats);
            addProduct (past[i].data(), response[i].data(), sum.data(), spectrumFloats);
            isHeard = true;
        }

    return isHeard;
}

double secondsAt (juce::int64 sample) noexcept
{
    return (double) sample / demoSampleRate;
}

}    // namespace

RoomHearing::RoomHearing (const Room& roomToUse,
                          const std::vector<SoundHistory>& soundsToHear,
                          const std::vector<Ear>& earsToUse,
                          juce::int64 firstSample)
    : room (roomToUse), sounds (soundsToHear), ears (earsToUse), heard (ears.size(), SampleHistory (firstSample)),
      ways (sounds.size() * ears.size()), pasts (sounds.size()), block ((size_t) blockSamples), at (firstSample)
{
    for (size_t s = 0; s < sounds.size(); ++s)
        for (size_t e = 0; e < ears.size() && ! sounds[s].source().isContact; ++e)
        {
            way (s, e).moves = sounds[s].source().walk != ears[e].walk;
            way (s, e).response =
                responseAt (s, e, secondsAt (at), way (s, e).moves ? RoomWay::echoesOnly : RoomWay::whole);
            pasts[s].resize (std::max (pasts[s].size(), way (s, e).response.size()));
        }
}

std::vector<RoomHearing::Spectrum> RoomHearing::responseAt (size_t sound, size_t ear, double seconds, RoomWay kind)
{
    const auto seed = DemoRandom (room.tailSeed).fork (sound * 1000 + ear).next();
    const auto response = roomResponse (
        room, sounds[sound].source().placeAt (seconds), placeOn (ears[ear].walk, ears[ear].at, seconds), seed, kind);
    std::vector<Spectrum> parts;

    for (size_t from = 0; from < response.size(); from += (size_t) blockSamples)
        parts.push_back (
            spectrumOf (std::span (response).subspan (from, std::min ((size_t) blockSamples, response.size() - from))));

    return parts;
}

RoomHearing::Spectrum RoomHearing::spectrumOf (std::span<const float> samples)
{
    work.load (samples);
    work.forward();
    const auto spectrum = work.spectrum();
    return { spectrum.begin(), spectrum.end() };
}

void RoomHearing::hearBlock (const std::vector<bool>& needed)
{
    transformSounds();

    for (size_t ear = 0; ear < ears.size(); ++ear)
    {
        heard[ear].forgetBefore (at - 2 * longestDelay);
        heard[ear].growTo (at + blockSamples);

        if (needed[ear])
            hearEar (ear);
    }

    at += blockSamples;
}

void RoomHearing::transformSounds()
{
    for (size_t s = 0; s < sounds.size(); ++s)
    {
        if (pasts[s].empty())
            continue;

        const auto& samples = sounds[s].samples();
        std::rotate (pasts[s].begin(), pasts[s].end() - 1, pasts[s].end());
        pasts[s].front() = samples.isSilent (at - blockSamples, at + blockSamples)
                               ? Spectrum()
                               : spectrumOf ({ samples.at (at - blockSamples), 2 * (size_t) blockSamples });
    }
}

void RoomHearing::hearEar (size_t ear)
{
    Spectrum sum;
    auto isHeard = false;

    for (size_t s = 0; s < sounds.size(); ++s)
        if (way (s, ear).moves)
            hearMoving (s, ear);
        else
            isHeard = addConvolution (pasts[s], way (s, ear).response, sum) || isHeard;

    if (isHeard)
    {
        std::fill (block.begin(), block.end(), 0.0f);
        addInverse (sum, block);
        heard[ear].add (at, block, 1.0f);
    }

    addContact (ear);
}

// Of the circular convolution's two blocks the second is that of the endless sound.
void RoomHearing::addInverse (const Spectrum& sum, std::span<float> destination)
{
    std::copy (sum.begin(), sum.end(), work.spectrum().begin());
    work.inverse();
    const auto samples = work.samples().subspan ((size_t) blockSamples);

    for (size_t i = 0; i < destination.size(); ++i)
        destination[i] += samples[i];
}

// The echoes of whoever moves go over from block to block into those of their next place.
void RoomHearing::hearMoving (size_t sound, size_t ear)
{
    const auto from = secondsAt (at), to = secondsAt (at + blockSamples);
    auto& echoes = way (sound, ear).response;
    Spectrum before;

    if (metresAt (sound, ear, from) == metresAt (sound, ear, to))
    {
        if (addConvolution (pasts[sound], echoes, before))
        {
            std::fill (block.begin(), block.end(), 0.0f);
            addInverse (before, block);
            heard[ear].add (at, block, 1.0f);
        }
    }
    else
    {
        Spectrum after;
        auto next = responseAt (sound, ear, to, RoomWay::echoesOnly);
        pasts[sound].resize (std::max (pasts[sound].size(), next.size()));

        if (addConvolution (pasts[sound], echoes, before))
            addFaded (before, ear, false);

        if (addConvolution (pasts[sound], next, after))
            addFaded (after, ear, true);

        echoes = std::move (next);
    }

    addDirect (sound, ear);
}

void RoomHearing::addFaded (const Spectrum& sum, size_t ear, bool fadesIn)
{
    std::fill (block.begin(), block.end(), 0.0f);
    addInverse (sum, block);

    for (size_t i = 0; i < block.size(); ++i)
    {
        const auto share = (float) i / (float) blockSamples;
        block[i] *= fadesIn ? share : 1.0f - share;
    }

    heard[ear].add (at, block, 1.0f);
}

// The way grows or shrinks evenly over a short stretch: people walk slowly.
void RoomHearing::addDirect (size_t sound, size_t ear)
{
    constexpr auto stretch = 512;
    const auto& samples = sounds[sound].samples();
    std::array<float, stretch> direct {};

    for (juce::int64 from = at; from < at + blockSamples; from += stretch)
    {
        if (samples.isSilent (from - longestDelay, from + stretch))
            continue;

        const auto near = metresAt (sound, ear, secondsAt (from)),
                   far = metresAt (sound, ear, secondsAt (from + stretch));
        const auto& kernel = kernelFor (brightnessHz (near));

        for (int i = 0; i < stretch; ++i)
        {
            const auto metres = std::lerp (near, far, (double) i / stretch);
            const auto place = (double) (from + i) - metres / metresPerSecond * demoSampleRate;
            const auto before = std::floor (place);
            direct[(size_t) i] =
                (float) gainOver (metres) * kernel.read (samples.at ((juce::int64) before), place - before);
        }

        heard[ear].add (from, direct, 1.0f);
    }
}

void RoomHearing::addContact (size_t ear)
{
    for (const auto& sound : sounds)
        if (sound.source().isContact && metresBetween (sound.source().at, ears[ear].at) == 0.0)
            heard[ear].add (at, { sound.samples().at (at), (size_t) blockSamples }, 1.0f);
}

double RoomHearing::metresAt (size_t sound, size_t ear, double seconds) const
{
    return metresBetween (sounds[sound].source().placeAt (seconds), placeOn (ears[ear].walk, ears[ear].at, seconds));
}

}    // namespace ld
