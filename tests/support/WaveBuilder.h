#pragma once

#include <juce_core/juce_core.h>

#include <optional>
#include <string>
#include <vector>

namespace ld::test
{

using Channels = std::vector<std::vector<float>>;    // one vector of samples for each channel

/** What a `fmt ` chunk states. An extensible one carries the tag in its sub-format. */
struct WaveFormat
{
    int channels = 1, sampleRate = 48000, bits = 24;
    int tag = 1;    // 1 integer, 3 float
    bool isExtensible = false;
    int validBits = 0;    // of an extensible one, where they are not all
};

/** The fields of a `bext` chunk that the tests set; the rest is zero. Bytes are taken as they stand and cut at the
    field's size. */
struct BextFields
{
    std::string description {}, originator {}, reference {}, date {}, time {};
    juce::uint64 timeReference = 0;
    int version = 1;
    std::vector<int> loudness {};    // value, range, true peak, momentary, short-term; hundredths
    std::string history {};
};

/** The elements of an `iXML` chunk that the tests set. */
struct IxmlFields
{
    std::vector<std::string> trackNames {};    // channel and interleave index count from 1
    std::optional<juce::uint64> stamp {};      // samples since midnight
    double stampRate = 48000.0;
    std::string scene {}, take {}, timecodeRate = "24/1";
};

// Chunk bodies, as the standards lay them out (EBU Tech 3285 for `bext`).
[[nodiscard]] juce::MemoryBlock bodyOf (const std::string& bytes);
[[nodiscard]] juce::MemoryBlock fmtBody (const WaveFormat&);
[[nodiscard]] juce::MemoryBlock bextBody (const BextFields&);
[[nodiscard]] juce::MemoryBlock ixmlBody (const IxmlFields&);

/** Audio of any width: 8, 16, 24, 32 bit integer (8 bit unsigned, as the format has it), 32, 64 bit float.
    The first takes samples at full scale 1.0, clipped and rounded for an integer format; the second takes them
    interleaved and already on the format's own scale. */
[[nodiscard]] juce::MemoryBlock audioBody (const WaveFormat&, const Channels&);
[[nodiscard]] juce::MemoryBlock audioBody (const WaveFormat&, const std::vector<double>& interleaved);

/** Puts a wave file together from chunks in any order. Sizes may be forged, as a loss of power forges them. */
class WaveBuilder
{
public:
    WaveBuilder() = default;

    /** A whole file: `fmt ` and `data`. More chunks may follow. */
    WaveBuilder (const WaveFormat&, const Channels&);

    /** Makes it RF64: a `ds64` chunk with these values stands first, its RIFF size is true. The `data` chunk gets its
        placeholder size by the caller's claimedSize. */
    WaveBuilder& rf64 (juce::uint64 dataSize, juce::uint64 sampleCount);

    /** Appends a chunk, with a pad byte behind an odd body. claimedSize stands in its header instead of the true size. */
    WaveBuilder&
    chunk (const std::string& id, const juce::MemoryBlock& body, std::optional<juce::uint32> claimedSize = {});
    WaveBuilder& chunk (const std::string& id, int zeroBytes, std::optional<juce::uint32> claimedSize = {});

    /** The finished bytes. */
    [[nodiscard]] juce::MemoryBlock build() const;

    /** Writes the finished bytes and answers the file. */
    juce::File writeTo (const juce::File&) const;

    static constexpr juce::uint32 sizeInDs64 = 0xFFFFFFFF;

private:
    struct Ds64
    {
        juce::uint64 dataSize, sampleCount;
    };

    std::string chunks;
    std::optional<Ds64> ds64;
};

/** Replaces the bytes of a file. */
juce::File writeBytes (const juce::File&, const juce::MemoryBlock&);

}    // namespace ld::test
