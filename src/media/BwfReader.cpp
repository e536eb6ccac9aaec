#include "media/BwfReader.h"

#include "media/BextIxml.h"
#include "media/LargeBuffers.h"
#include "media/RegularFile.h"

#include <cstring>
#include <limits>

namespace ld
{
namespace
{

constexpr juce::int64 riffHeaderBytes = 12;
constexpr juce::int64 chunkHeaderBytes = 8;
constexpr juce::int64 sizeInDs64 = 0xFFFFFFFF;
constexpr juce::uint16 extensibleTag = 0xFFFE;
constexpr juce::uint16 floatTag = 3;

// Far more than any recorder writes: a file of nothing but empty chunks must not fill memory with their table.
constexpr size_t mostChunks = 65536;

// Text beyond this is no metadata; parsing can cost twenty times its size.
constexpr juce::int64 largestMetadataBytes = 16 << 20;

constexpr juce::int64 channelBlockFrames = 4096;
constexpr juce::int64 peakBlockFrames = 8192;
constexpr juce::int64 largestBlockBytes = 4 << 20;

bool hasId (const char* bytes, const char* id) noexcept
{
    return std::memcmp (bytes, id, 4) == 0;
}

// Where a file ends inside a range, only its whole blocks are delivered.
juce::int64 deliverableFrames (juce::int64 wanted, juce::int64 held, juce::int64 blockFrames) noexcept
{
    return held >= wanted ? wanted : std::max<juce::int64> (held, 0) / blockFrames * blockFrames;
}

}    // namespace

BwfReader::BwfReader() = default;
BwfReader::~BwfReader() = default;
BwfReader::BwfReader (BwfReader&&) noexcept = default;
BwfReader& BwfReader::operator= (BwfReader&&) noexcept = default;

bool BwfReader::open (const juce::File& fileToOpen)
{
    close();
    file = fileToOpen;

    if (! isRegularFile (file))
        return false;

    stream = std::make_unique<juce::FileInputStream> (file);

    if (! stream->openedOk() || ! parseChunks())
    {
        close();
        return false;
    }

    parseMetadata();
    return format.valid;
}

void BwfReader::close()
{
    *this = BwfReader();
}

bool BwfReader::readExact (juce::int64 offset, void* destination, juce::int64 count) const
{
    if (count < 0 || destination == nullptr || stream == nullptr || ! stream->setPosition (offset))
        return false;

    auto* at = static_cast<char*> (destination);

    for (auto left = count; left > 0;)
    {
        const auto got = stream->read (at, (int) std::min<juce::int64> (left, 1 << 30));

        if (got <= 0)
            return false;

        at += got;
        left -= got;
    }

    if (hash != nullptr)
        hash->saw (offset, destination, count);

    return true;
}

void BwfReader::keepHash()
{
    hash = std::make_unique<ReadHash> (file);
}

std::optional<juce::String> BwfReader::finishHash()
{
    return hash != nullptr ? hash->finish() : std::nullopt;
}

bool BwfReader::parseChunks()
{
    fileBytes = stream->getTotalLength();
    char header[riffHeaderBytes];

    if (! readExact (0, header, riffHeaderBytes) || ! hasId (header + 8, "WAVE"))
        return false;

    format.isRf64 = hasId (header, "RF64");

    if (! format.isRf64 && ! hasId (header, "RIFF"))
        return false;

    const auto ds64 = locateChunks();
    const auto* data = findChunk ("data");
    const auto* fmt = findChunk ("fmt ");
    return data != nullptr && fmt != nullptr && parseFmt (*fmt) && describeAudio (*data, ds64);
}

std::optional<BwfReader::Ds64> BwfReader::locateChunks()
{
    std::optional<Ds64> ds64;

    for (auto at = riffHeaderBytes; at + chunkHeaderBytes <= fileBytes && chunks.size() < mostChunks;)
    {
        char header[chunkHeaderBytes];

        if (! readExact (at, header, chunkHeaderBytes))
            break;

        ChunkLoc chunk;
        std::memcpy (chunk.id.data(), header, 4);
        chunk.headerOffset = at;
        chunk.dataOffset = at + chunkHeaderBytes;
        chunk.size = (juce::int64) juce::ByteOrder::littleEndianInt (header + 4);
        const auto isDs64 = hasId (chunk.id.data(), "ds64");

        if (isDs64)
        {
            char body[28] = {};

            if (readExact (chunk.dataOffset, body, std::min<juce::int64> (chunk.size, sizeof (body))))
                ds64 = Ds64 { (juce::int64) juce::ByteOrder::littleEndianInt64 (body + 8),
                              (juce::int64) juce::ByteOrder::littleEndianInt64 (body + 16) };
        }

        chunks.push_back (chunk);

        if (chunk.size == sizeInDs64 && ! isDs64)
            break;

        at = chunk.dataOffset + chunk.size + (chunk.size & 1);
    }

    return ds64;
}

bool BwfReader::parseFmt (const ChunkLoc& chunk)
{
    constexpr juce::int64 shortestFmt = 16;
    constexpr juce::int64 extensibleFmt = 40;
    char body[64] = {};
    const auto size = std::min<juce::int64> (chunk.size, sizeof (body));

    if (size < shortestFmt || ! readExact (chunk.dataOffset, body, size))
        return false;

    format.formatTag = juce::ByteOrder::littleEndianShort (body);
    format.channels = juce::ByteOrder::littleEndianShort (body + 2);
    format.sampleRate = (juce::int32) juce::ByteOrder::littleEndianInt (body + 4);
    format.bitsPerSample = juce::ByteOrder::littleEndianShort (body + 14);

    if (format.formatTag == extensibleTag && size >= extensibleFmt)
        format.formatTag = juce::ByteOrder::littleEndianShort (body + 24);

    format.isFloat = format.formatTag == floatTag;
    format.bytesPerSample = format.bitsPerSample == 0 ? 3 : (format.bitsPerSample + 7) / 8;
    return format.channels > 0 && format.sampleRate > 0;
}

bool BwfReader::describeAudio (const ChunkLoc& data, const std::optional<Ds64>& ds64)
{
    dataOffset = data.dataOffset;
    const auto bytesHeld = std::max<juce::int64> (fileBytes - dataOffset, 0);
    format.dataBytes = data.size;

    // Without a `ds64` it is what a recorder leaves that lost its power: the audio reaches to the end of the file.
    if (data.size == sizeInDs64)
        format.dataBytes = ds64 ? ds64->dataSize : bytesHeld;

    // 8192 bytes at most by 65535 channels at most: within 32 bits.
    if (frameBytes() < 1)
        return false;

    format.numFrames = ds64 && ds64->sampleCount != 0 ? ds64->sampleCount : format.dataBytes / frameBytes();
    format.missingFrames = std::max<juce::int64> (format.numFrames - bytesHeld / frameBytes(), 0);
    format.valid = format.numFrames >= 0;
    return format.valid;
}

void BwfReader::parseMetadata()
{
    if (const auto* chunk = findChunk ("bext"))
        if (const auto body = readChunk (*chunk, largestMetadataBytes); ! body.isEmpty())
            bext = parseBext (bytesOf (body));

    if (const auto* chunk = findChunk ("iXML"))
        if (const auto body = readChunk (*chunk, largestMetadataBytes); ! body.isEmpty())
            ixml = parseIxml (textFromBytes (bytesOf (body)));
}

// Empty where the chunk is empty, larger than asked for, or not wholly in the file.
juce::MemoryBlock BwfReader::readChunk (const ChunkLoc& chunk, juce::int64 largest) const
{
    if (chunk.size > largest || chunk.size > fileBytes - chunk.dataOffset)
        return {};

    juce::MemoryBlock body ((size_t) chunk.size);
    return readExact (chunk.dataOffset, body.getData(), chunk.size) ? body : juce::MemoryBlock();
}

const ChunkLoc* BwfReader::findChunk (const char* id) const noexcept
{
    for (const auto& chunk : chunks)
        if (hasId (chunk.id.data(), id))
            return &chunk;

    return nullptr;
}

std::vector<PreservedChunk> BwfReader::extraChunks() const
{
    static constexpr const char* ownOrPadding[] = { "fmt ", "data", "ds64", "bext", "iXML",
                                                    "fact", "JUNK", "junk", "PAD ", "pad " };
    std::vector<PreservedChunk> extras;

    for (const auto& chunk : chunks)
    {
        const auto isThisChunk = [&] (const char* id) { return hasId (chunk.id.data(), id); };

        if (std::any_of (std::begin (ownOrPadding), std::end (ownOrPadding), isThisChunk))
            continue;

        if (auto body = readChunk (chunk, std::numeric_limits<juce::int64>::max()); ! body.isEmpty())
            extras.push_back ({ textFromBytes ({ chunk.id.data(), chunk.id.size() }), std::move (body) });
    }

    return extras;
}

juce::int64 BwfReader::frameBytes() const noexcept
{
    return (juce::int64) format.bytesPerSample * format.channels;
}

bool BwfReader::isReadable (int channel) const noexcept
{
    return stream != nullptr && format.valid && channel >= 0 && channel < format.channels;
}

bool BwfReader::isPlausible() const noexcept
{
    constexpr juce::int64 mostMissingBytes = juce::int64 { 1 } << 32;
    constexpr int mostChannels = 1024;    // far more than any recorder writes: each gets curves and a lane
    return format.valid && format.missingFrames <= mostMissingBytes / frameBytes() && format.channels <= mostChannels
           && isUtf8 (file.getFullPathName().toRawUTF8());
}

// Reads forward in large blocks and shows each; ends early where a read or the visitor says so. Returns the frames shown.
juce::int64 BwfReader::visitBlocks (juce::int64 startFrame,
                                    juce::int64 numFrames,
                                    juce::int64 blockFrames,
                                    const BlockVisitor& visit) const
{
    blockFrames = std::clamp<juce::int64> (largestBlockBytes / frameBytes(), 1, blockFrames);

    if (const auto bytes = std::min (blockFrames, numFrames) * frameBytes(); (juce::int64) blockBytes.size() < bytes)
        blockBytes.resize ((size_t) bytes);

    for (juce::int64 done = 0; done < numFrames; done += blockFrames)
    {
        const auto count = std::min (blockFrames, numFrames - done);

        const auto numBytes = count * frameBytes();

        if (! readExact (dataOffset + (startFrame + done) * frameBytes(), blockBytes.data(), numBytes)
            || ! visit ({ blockBytes.data(), (size_t) numBytes }, done, count))
            return done;
    }

    return numFrames;
}

InterleavedFrames BwfReader::framesOf (std::span<const juce::uint8> bytes) const
{
    return { sampleCodingOf (format), format.channels, format.bytesPerSample, bytes };
}

bool BwfReader::readChannel (
    int channel, juce::int64 startFrame, juce::int64 numFrames, float* destination, int stride) const
{
    if (! isReadable (channel) || destination == nullptr || startFrame < 0)
        return false;

    if (numFrames > 0)
        std::fill_n (destination, numFrames, 0.0f);

    const auto toRead = std::min (format.numFrames - startFrame, numFrames);

    if (toRead < 1)
        return true;

    const auto readable = deliverableFrames (toRead, framesInFile() - startFrame, channelBlockFrames);
    const auto step = (juce::int64) std::max (stride, 1);

    const auto shown = visitBlocks (startFrame, readable, channelBlockFrames, [&] (auto bytes, auto frame, auto count) {
        const auto firstIndex = (frame + step - 1) / step;
        const auto skipped = firstIndex * step - frame;
        const auto taken = skipped < count ? (count - skipped + step - 1) / step : 0;

        if (taken > 0)
            decodeChannel (framesOf (bytes.subspan ((size_t) (skipped * frameBytes()))),
                           channel,
                           step,
                           { destination + firstIndex, (size_t) taken });

        return true;
    });

    return shown == toRead;
}

std::vector<std::vector<float>> BwfReader::readAllChannels() const
{
    if (! format.valid)
        return {};

    std::vector<std::vector<float>> audio ((size_t) format.channels);

    for (auto& channel : audio)
        channel = makeZeros<float> ((size_t) framesInFile());

    readChannels (0, framesInFile(), audio);
    return audio;
}

void BwfReader::readChannels (juce::int64 startFrame,
                              juce::int64 numFrames,
                              std::vector<std::vector<float>>& destination) const
{
    destination.resize (format.valid ? (size_t) format.channels : 0);

    for (auto& channel : destination)
        channel.resize ((size_t) numFrames);

    if (! format.valid)
        return;

    const auto readable = deliverableFrames (format.numFrames, framesInFile(), channelBlockFrames);
    const auto toRead = std::max<juce::int64> (std::min (numFrames, readable - startFrame), 0);

    const auto shown = visitBlocks (startFrame, toRead, channelBlockFrames, [&] (auto bytes, auto frame, auto count) {
        auto channel = 0;

        for (auto& samples : destination)
            decodeChannel (
                framesOf (bytes), channel++, 1, std::span (samples).subspan ((size_t) frame, (size_t) count));

        return true;
    });

    for (auto& channel : destination)
        std::fill (channel.begin() + shown, channel.end(), 0.0f);
}

bool BwfReader::readInterleavedInt32 (juce::int64 startFrame, juce::int64 numFrames, juce::int32* destination) const
{
    if (stream == nullptr || destination == nullptr || ! format.valid || startFrame < 0)
        return false;

    if (numFrames > 0)
        std::fill_n (destination, numFrames * format.channels, 0);

    const auto toRead = std::min (format.numFrames - startFrame, numFrames);

    if (toRead < 1)
        return true;

    if (toRead > framesInFile() - startFrame)
        return false;

    const auto numBytes = toRead * frameBytes();
    blockBytes.resize (std::max (blockBytes.size(), (size_t) numBytes));

    if (! readExact (dataOffset + startFrame * frameBytes(), blockBytes.data(), numBytes))
        return false;

    decodeTo24Bit (sampleCodingOf (format),
                   { blockBytes.data(), (size_t) numBytes },
                   { destination, (size_t) (toRead * format.channels) });
    return true;
}

PeakLane BwfReader::extractPeaks (int channel, int buckets) const
{
    PeakLane empty;
    empty.sourceSamples = format.numFrames;

    if (! isReadable (channel) || buckets < 1)
        return empty;

    return collectPeaks (channel, buckets, {}, 0).front();
}

BwfReader::Overview BwfReader::readOverview (int channel, int buckets) const
{
    Overview overview;

    if (! isReadable (channel) || buckets < 1)
        return overview;

    overview.channel = makeZeros<float> ((size_t) framesInFile());
    overview.peaks = collectPeaks ({}, buckets, overview.channel, channel);
    return overview;
}

// The curves of one channel or of all; where there is a channelOut, outChannel is decoded into it on the way.
std::vector<PeakLane>
BwfReader::collectPeaks (std::optional<int> onlyChannel, int buckets, std::span<float> channelOut, int outChannel) const
{
    const auto firstChannel = onlyChannel.value_or (0);
    const auto held = framesInFile();
    const auto peakFrames = deliverableFrames (format.numFrames, held, peakBlockFrames);
    const auto outFrames = deliverableFrames (format.numFrames, held, channelBlockFrames);
    PeakCollector lanes (onlyChannel ? 1 : (size_t) format.channels, format.numFrames, peakFrames, buckets);
    ExtremesFinder extremes (sampleCodingOf (format), format.channels, format.bytesPerSample);

    const auto close = [&] (juce::int64 frame) {
        lanes.add (frame, [&] (int i) { return extremes.rangeOf (firstChannel + i); });
        extremes.reset();
    };

    visitBlocks (0, outFrames, channelBlockFrames, [&] (auto bytes, auto frame, auto count) {
        if (! channelOut.empty())
            decodeChannel (framesOf (bytes), outChannel, 1, channelOut.subspan ((size_t) frame, (size_t) count));

        for (auto at = frame; at < std::min (frame + count, peakFrames);)
        {
            const auto until = std::min ({ frame + count, peakFrames, lanes.nextEdge() });
            extremes.add (
                bytes.subspan ((size_t) ((at - frame) * frameBytes()), (size_t) ((until - at) * frameBytes())));
            at = until;

            if (at == lanes.nextEdge())
                close (at);
        }

        return true;
    });

    if (! extremes.isEmpty())
        close (peakFrames);

    return lanes.finish();
}

std::vector<TrackInfo> BwfReader::resolvedTracks() const
{
    auto tracks = ixml.tracks;

    if ((int) tracks.size() != format.channels)
    {
        tracks.clear();

        for (int i = 1; i <= format.channels; ++i)
            tracks.push_back ({ i, i, "Ch " + juce::String (i), "OTHER", {}, true });

        for (const auto& track : ixml.tracks)
            if (track.interleaveIndex >= 1 && track.interleaveIndex <= format.channels)
                tracks[(size_t) track.interleaveIndex - 1] = track;
    }

    const auto byInterleave = [] (const auto& a, const auto& b) { return a.interleaveIndex < b.interleaveIndex; };
    std::stable_sort (tracks.begin(), tracks.end(), byInterleave);
    return tracks;
}

}    // namespace ld
