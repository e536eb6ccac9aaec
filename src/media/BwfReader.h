#pragma once

#include "media/FileHash.h"
#include "media/Records.h"
#include "media/SampleCoding.h"

#include <functional>
#include <memory>
#include <optional>

namespace ld
{

/** Opens a RIFF or RF64 wave file, finds its chunks and serves its audio on demand. Sources are opened for reading
    only. A file that was cut off inside its audio opens; what is missing fails to read.

    A reader is used by one thread at a time, its const operations included: they move the stream's position. */
class BwfReader
{
public:
    BwfReader();
    ~BwfReader();
    BwfReader (BwfReader&&) noexcept;
    BwfReader& operator= (BwfReader&&) noexcept;

    juce::File file;
    AudioFormatInfo format;
    BextChunk bext;
    IxmlMetadata ixml;
    std::vector<ChunkLoc> chunks;    // in file order
    juce::int64 dataOffset = 0;      // of the first byte of audio

    /** True if the file is a usable wave file. Whatever was open is closed first. */
    [[nodiscard]] bool open (const juce::File&);
    void close();

    /** The first chunk with this id of four characters. */
    [[nodiscard]] const ChunkLoc* findChunk (const char* id) const noexcept;

    /** From here on the file's hash is kept, by what is read of it. The file must be open. */
    void keepHash();

    /** The hash of the whole file; nothing where it was not kept or the file cannot be read to its end. */
    [[nodiscard]] std::optional<juce::String> finishHash();

    /** True if exactly count bytes could be read from this offset. */
    [[nodiscard]] bool readExact (juce::int64 offset, void* destination, juce::int64 count) const;

    /** The chunks that a rewrite carries along unchanged: all but those that it makes itself and padding.
        A chunk that is empty or cannot be read whole is left out. */
    [[nodiscard]] std::vector<PreservedChunk> extraChunks() const;

    /** Whole frames that really lie in the file: what a header claims beyond its end is not there, and nothing may be
        allocated for it. */
    [[nodiscard]] juce::int64 framesInFile() const noexcept { return format.valid ? framesHeld (format) : 0; }

    /** Whether a file that opened can be worked with; all of the program goes by this answer. False where the header
        promises over 4 GiB more audio than the file holds, or more than 1024 channels: that is not a recording that was
        cut short but a damaged one, and nothing of that size may be made from it. False too where the file's path is no
        UTF-8: neither a session nor a report could name it. */
    [[nodiscard]] bool isPlausible() const noexcept;

    /** Reads one channel as floats at full scale 1.0.
        channel      0-based
        numFrames    values to fill; what lies past the end of the take is silence
        destination  numFrames floats
        stride       takes every stride-th frame of the range, unfiltered; the rest of the destination is silence
        False for bad arguments or where the file ends early; what was read until then stands. */
    [[nodiscard]] bool
    readChannel (int channel, juce::int64 startFrame, juce::int64 numFrames, float* destination, int stride) const;

    /** Reads every channel whole, in one pass over the file.
        Returns format.channels vectors of framesInFile() floats; frames that cannot be read are silence. */
    [[nodiscard]] std::vector<std::vector<float>> readAllChannels() const;

    /** Reads a stretch of what readAllChannels gives.
        destination   one vector of numFrames floats for each channel; reused where it is that already */
    void
    readChannels (juce::int64 startFrame, juce::int64 numFrames, std::vector<std::vector<float>>& destination) const;

    /** Reads a range of all channels, interleaved, on the signed 24-bit scale.
        destination   numFrames x channels integers; silence past the end of the take
        The whole range is buffered at once, in memory that is kept from read to read: the caller chooses its size.
        False where it cannot be read whole. */
    [[nodiscard]] bool
    readInterleavedInt32 (juce::int64 startFrame, juce::int64 numFrames, juce::int32* destination) const;

    /** The drawn curves of one channel; a file that ends early leaves the rest of the curve at 0. No command reaches it: all
        channels are read together (readOverview). */
    [[nodiscard]] PeakLane extractPeaks (int channel, int buckets) const;

    struct Overview
    {
        std::vector<float> channel;     // framesInFile() floats
        std::vector<PeakLane> peaks;    // one for each channel
    };

    /** One channel whole and the curves of all channels, in one pass over the file. */
    [[nodiscard]] Overview readOverview (int channel, int buckets) const;

    /** The iXML tracks mapped onto the file's channels, sorted by interleaveIndex. */
    [[nodiscard]] std::vector<TrackInfo> resolvedTracks() const;

private:
    struct Ds64
    {
        juce::int64 dataSize = 0, sampleCount = 0;
    };

    bool parseChunks();
    std::optional<Ds64> locateChunks();
    bool parseFmt (const ChunkLoc&);
    bool describeAudio (const ChunkLoc& data, const std::optional<Ds64>&);
    void parseMetadata();
    [[nodiscard]] juce::MemoryBlock readChunk (const ChunkLoc&, juce::int64 largest) const;
    [[nodiscard]] juce::int64 frameBytes() const noexcept;
    [[nodiscard]] bool isReadable (int channel) const noexcept;

    [[nodiscard]] InterleavedFrames framesOf (std::span<const juce::uint8> bytes) const;

    /** Given a block's bytes, its first frame and its number of frames; false ends the visit. */
    using BlockVisitor = std::function<bool (std::span<const juce::uint8> bytes, juce::int64 frame, juce::int64 count)>;
    juce::int64
    visitBlocks (juce::int64 startFrame, juce::int64 numFrames, juce::int64 blockFrames, const BlockVisitor&) const;
    std::vector<PeakLane>
    collectPeaks (std::optional<int> onlyChannel, int buckets, std::span<float> channelOut, int outChannel) const;

    std::unique_ptr<juce::FileInputStream> stream;
    std::unique_ptr<ReadHash> hash;                 // where it is kept
    mutable std::vector<juce::uint8> blockBytes;    // kept from read to read: stretches are often read one by one
    juce::int64 fileBytes = 0;
};

}    // namespace ld
