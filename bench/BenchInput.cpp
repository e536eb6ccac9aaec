#include "BenchInput.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

namespace ld::bench
{
namespace
{

constexpr int sampleBytes = 3;

// Marsaglia's xorshift: quick, and the same everywhere.
struct Noise
{
    juce::uint32 state;

    float next() noexcept
    {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return (float) (juce::int32) state * 0x1p-31f;
    }
};

}    // namespace

std::vector<float> makeSignal (size_t samples, juce::uint32 seed)
{
    constexpr size_t syllable = sampleRate / 5;
    Noise noise { seed * 2654435761u + 1u };
    std::vector<float> signal (samples);
    auto level = 0.1f;

    for (size_t i = 0; i < samples; ++i)
    {
        if (i % syllable == 0)
            level = 0.02f + 0.4f * std::abs (noise.next());

        signal[i] = noise.next() * level;
    }

    return signal;
}

void writeWave (const juce::File& file, int channels, int seconds, juce::uint32 seed, const SoundAt& soundAt)
{
    constexpr int blockFrames = sampleRate;
    const auto frameBytes = channels * sampleBytes;
    const auto dataBytes = (juce::int64) frameBytes * sampleRate * seconds;
    file.deleteFile();
    juce::FileOutputStream out (file);
    out.write ("RIFF", 4);
    out.writeInt ((int) (dataBytes + 36));
    out.write ("WAVEfmt ", 8);
    out.writeInt (16);
    out.writeShort (1);
    out.writeShort ((short) channels);
    out.writeInt (sampleRate);
    out.writeInt (frameBytes * sampleRate);
    out.writeShort ((short) frameBytes);
    out.writeShort (8 * sampleBytes);
    out.write ("data", 4);
    out.writeInt ((int) dataBytes);

    Noise noise { seed * 2654435761u + 1u };
    std::vector<juce::uint8> block ((size_t) (blockFrames * frameBytes));

    for (int second = 0; second < seconds; ++second)
    {
        for (int i = 0; i < blockFrames * channels; ++i)
        {
            auto value = noise.next() * (soundAt ? 0.05f : 0.5f);

            if (soundAt)
                value += soundAt (i % channels, (juce::int64) second * blockFrames + i / channels);

            juce::ByteOrder::littleEndian24BitToChars ((int) (value * 8000000.0f), block.data() + i * sampleBytes);
        }

        out.write (block.data(), block.size());
    }
}

const BenchShoot& BenchShoot::ofSeconds (int seconds)
{
    static std::map<int, std::unique_ptr<BenchShoot>> shoots;
    auto& shoot = shoots[seconds];

    if (shoot == nullptr)
        shoot = std::make_unique<BenchShoot> (seconds);

    return *shoot;
}

BenchShoot::BenchShoot (int seconds)
    : folder (juce::File::getSpecialLocation (juce::File::tempDirectory)
                  .getChildFile ("lodestrand-bench-" + juce::Uuid().toString()))
{
    folder.createDirectory();
    poly = folder.getChildFile ("poly.wav");
    writeWave (poly, polyChannels, seconds, 1);

    for (int i = 0; i < guestCount; ++i)
    {
        guests.push_back (
            folder.getChildFile ("guest" + juce::String::charToString ((juce::juce_wchar) ('A' + i)) + ".wav"));
        writeWave (guests.back(), 1, seconds, (juce::uint32) i + 2);
    }
}

BenchShoot::~BenchShoot()
{
    folder.deleteRecursively();
}

}    // namespace ld::bench
