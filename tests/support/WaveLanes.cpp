#include "support/WaveLanes.h"

#include "media/BwfReader.h"
#include "support/WaveWalker.h"

#include <bit>
#include <random>
#include <stdexcept>

namespace ld::test
{

juce::uint64 numberAt (const std::string& bytes, size_t at, size_t count)
{
    juce::uint64 value = 0;

    for (auto i = count; i-- > 0;)
        value = value << 8 | (juce::uint8) bytes.at (at + i);

    return value;
}

std::vector<std::vector<double>> readLanes (const juce::File& file)
{
    const auto walk = walkWave (file);

    if (walk.find ("fmt ") == nullptr || walk.find ("data") == nullptr)
        return {};

    const auto fmt = readBody (file, *walk.find ("fmt ")), data = readBody (file, *walk.find ("data"));
    const auto bits = numberAt (fmt, 14, 2);
    const auto isFloat = numberAt (fmt, fmt.size() > 16 ? 24 : 0, 2) == 3;
    const auto sampleBytes = (bits + 7) / 8;
    std::vector<std::vector<double>> lanes ((size_t) walk.channels);

    for (size_t at = 0, lane = 0; at + sampleBytes <= data.size(); at += sampleBytes, lane = (lane + 1) % lanes.size())
    {
        const auto raw = numberAt (data, at, sampleBytes);

        if (isFloat && bits == 32)
            lanes[lane].push_back ((double) std::bit_cast<float> ((juce::uint32) raw));
        else if (isFloat)
            lanes[lane].push_back (std::bit_cast<double> (raw));
        else
            lanes[lane].push_back ((double) ((juce::int64) (raw << (64 - bits)) >> (64 - bits)));
    }

    return lanes;
}

HostTake readTake (const juce::File& file)
{
    BwfReader reader;

    if (! reader.open (file))
        throw std::runtime_error ("no wave file: " + file.getFullPathName().toStdString());

    HostTake take;
    copyIdentity (reader, take);
    take.tracks = reader.resolvedTracks();
    take.extraChunks = reader.extraChunks();
    return take;
}

std::vector<float> noise (juce::int64 length, int seed, float peak)
{
    std::minstd_rand random ((unsigned) seed + 1);
    std::uniform_real_distribution<float> uniform (-peak, peak);
    std::vector<float> samples ((size_t) length);

    for (auto& sample : samples)
        sample = uniform (random);

    return samples;
}

}    // namespace ld::test
