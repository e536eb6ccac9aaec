#pragma once

#include "demo/Room.h"
#include "sync/Fft.h"

namespace ld
{

/** What arrives at places in a room, block by block: each sound's block is transformed once and serves every place.
    The sounds must stay where they are. */
class RoomHearing
{
public:
    static constexpr int blockOrder = 14;
    static constexpr int blockSamples = 1 << blockOrder;

    /** A place where a microphone hangs, alone or beside others. */
    struct Ear
    {
        Position at;
        Walk walk;
    };

    RoomHearing (const Room&, const std::vector<SoundHistory>&, const std::vector<Ear>&, juce::int64 firstSample);

    /** Makes the next block of every ear that is needed; the others get silence. The sounds must be rendered up to the
        block's end and held for a block before its start.
        needed   for each ear */
    void hearBlock (const std::vector<bool>& needed);

    [[nodiscard]] const SampleHistory& heardAt (size_t ear) const { return heard[ear]; }

private:
    using Spectrum = std::vector<float>;

    /** The way from one sound to one ear. */
    struct Way
    {
        std::vector<Spectrum> response;    // one for each block that it lasts
        bool moves = false;
    };

    /** A sound's last blocks, each with the one before it, latest first; empty ones are silent. */
    using Past = std::vector<Spectrum>;

    [[nodiscard]] std::vector<Spectrum> responseAt (size_t sound, size_t ear, double seconds, RoomWay);
    [[nodiscard]] Spectrum spectrumOf (std::span<const float>);
    void transformSounds();
    void hearEar (size_t ear);
    void hearMoving (size_t sound, size_t ear);
    void addFaded (const Spectrum&, size_t ear, bool fadesIn);
    void addDirect (size_t sound, size_t ear);
    void addContact (size_t ear);
    void addInverse (const Spectrum&, std::span<float> destination);
    [[nodiscard]] Way& way (size_t sound, size_t ear) { return ways[sound * ears.size() + ear]; }
    [[nodiscard]] double metresAt (size_t sound, size_t ear, double seconds) const;

    Room room;
    const std::vector<SoundHistory>& sounds;
    std::vector<Ear> ears;
    std::vector<SampleHistory> heard;
    std::vector<Way> ways;
    std::vector<Past> pasts;
    RealFft::Buffer work { blockOrder + 1 };
    std::vector<float> block;
    juce::int64 at;
};

}    // namespace ld
