#pragma once

#include "mix/MixLevel.h"
#include "output/ExportSources.h"

namespace ld
{

/** Sums the new MIX block by block: mono, from every track that is no recorder's mix, at the mixer's gains and switches
    followed sample by sample. Pan plays no part. */
class MixSum
{
public:
    /** Both must stay as long as this. */
    MixSum (const ExportRequest&, const std::vector<GuestLanes>&);

    /** One block; the blocks of a take follow one another.
        host    interleaved samples of the poly, on the 24-bit scale, from the block's first frame on
        start   of the block, samples of the poly
        count   frames, at most blockFrames
        Returns count values within full scale, which is 1; they stand until the next call. */
    [[nodiscard]] std::span<const float> sum (std::span<const juce::int32> host, juce::int64 start, juce::int64 count);

    /** Of all that was summed so far. */
    [[nodiscard]] const MixLevel& level() const noexcept { return reached; }

private:
    struct Block
    {
        juce::int64 start, count;
    };

    template <typename Source>
    void add (const MixerChannel&, Block, SoundingPart, Source&&);
    int addHost (std::span<const juce::int32> host, Block);
    void addGuests (Block, int mixerIndex);
    void limit (juce::int64 count);

    const ExportRequest& request;
    const std::vector<GuestLanes>& guests;
    const bool anySolo;
    std::vector<float> mix;
    MixLevel reached;
};

}    // namespace ld
