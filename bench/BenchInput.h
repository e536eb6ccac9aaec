#pragma once

#include "batch/FolderScan.h"

#include <functional>
#include <vector>

namespace ld::bench
{

constexpr int sampleRate = 48000;

/** Seeded noise whose level moves as speech does, at full scale 1.0. */
[[nodiscard]] std::vector<float> makeSignal (size_t samples, juce::uint32 seed);

/** What a channel holds beside the noise, at full scale 1.0. */
using SoundAt = std::function<float (int channel, juce::int64 frame)>;

/** Writes a 24-bit PCM wave file of seeded noise, softer where there is a sound. */
void writeWave (const juce::File&, int channels, int seconds, juce::uint32 seed, const SoundAt& = {});

/** A folder of this process, with a poly and guests in it; removed at exit. */
class BenchShoot
{
public:
    static constexpr int polyChannels = 8, guestCount = 4;

    /** The one shoot of this length in the process. */
    static const BenchShoot& ofSeconds (int seconds);

    explicit BenchShoot (int seconds);
    ~BenchShoot();

    juce::File folder, poly;
    std::vector<juce::File> guests;
};

/** A day's batch: polys of 4 minutes and 6 channels, and files of 10 minutes in one channel, each of which holds the sound
    of one of the polys among noise. In a folder of this process, removed with this object. */
class BatchShoot
{
public:
    static constexpr int polyChannels = 6, polySeconds = 240, guestSeconds = 600, guestLeadSeconds = 150;

    /** stamped   the files' timestamps say which poly they hold; else they have none */
    BatchShoot (int polys, int guests, bool stamped);
    ~BatchShoot();
    BatchShoot (const BatchShoot&) = delete;
    BatchShoot& operator= (const BatchShoot&) = delete;

    [[nodiscard]] std::vector<ScanFile> scans() const;

    /** Of all pairs whose timestamps overlap. */
    [[nodiscard]] int overlapSeconds() const { return (int) guests.size() * polySeconds; }

    juce::File folder;
    std::vector<juce::File> polys, guests;

private:
    bool isStamped;
};

}    // namespace ld::bench
