#include "output/BwfWriter.h"

#include "output/ExportSources.h"
#include "output/LaneEncoder.h"
#include "output/MixSum.h"
#include "output/PolyHeader.h"
#include "output/ReplacingFile.h"

#include <algorithm>

namespace ld
{
namespace
{

using juce::int64;

// One stretch of the timeline on its way from the sources to the file.
class BlockBuilder
{
public:
    BlockBuilder (const ExportRequest& requestToUse,
                  const PolyLayout& layoutToUse,
                  const std::vector<GuestLanes>& lanes)
        : request (requestToUse), layout (layoutToUse), guests (lanes),
          encoder (layout.isFloat, layout.bits, layout.sampleBytes, layout.blockAlign),
          out ((size_t) (blockFrames * layout.blockAlign)), mix (request, guests)
    {
    }

    // host   interleaved samples of the block, on the 24-bit scale
    const juce::uint8* build (std::span<const juce::int32> host, int64 start, int64 count)
    {
        auto* lane = out.data();

        if (request.includeMix)
        {
            encoder.encodeFloats (mix.sum (host, start, count), lane);
            lane += layout.sampleBytes;
        }

        for (int c = 0; c < request.host.format.channels; ++c)
        {
            if (isChannelOmitted (request.host, c))
                continue;

            encoder.encode24Bit (host.data() + c, request.host.format.channels, count, lane);
            lane += layout.sampleBytes;
        }

        for (const auto& guest : guests)
        {
            for (const auto& channel : *guest.channels)
            {
                encodeGuest (channel, start - guest.offset, count, lane);
                lane += layout.sampleBytes;
            }
        }

        return out.data();
    }

    const MixLevel& mixLevel() const { return mix.level(); }

private:
    void encodeGuest (const std::vector<float>& channel, int64 local, int64 count, juce::uint8* lane)
    {
        const auto [begin, end] = soundingPart (channel, local, count);
        encoder.encodeSilence (begin, lane);

        if (end > begin)
            encoder.encodeFloats (std::span (channel).subspan ((size_t) (local + begin), (size_t) (end - begin)),
                                  lane + begin * layout.blockAlign);

        encoder.encodeSilence (count - end, lane + end * layout.blockAlign);
    }

    const ExportRequest& request;
    const PolyLayout& layout;
    const std::vector<GuestLanes>& guests;
    LaneEncoder encoder;
    std::vector<juce::uint8> out;
    MixSum mix;
};

const auto noHost = juce::Result::fail ("No host take loaded.");
const auto cancelled = juce::Result::fail ("Cancelled.");
const auto couldNotCreateOutput = juce::Result::fail ("Could not create output file.");

juce::Result couldNotReadHost (const ExportRequest& request)
{
    return juce::Result::fail ("Could not read " + request.host.file.getFileName() + " to its end.");
}

juce::Result couldNotWriteOutput (const ExportRequest& request)
{
    return juce::Result::fail ("Could not write " + request.outputFile.getFileName()
                               + " to its end. Is the disk full?");
}

// Shows every block of the poly; ends early with the sentence of what went wrong, or of the visitor's.
template <typename Visit>
juce::Result visitBlocks (const ExportRequest& request, const ExportSources& sources, Visit&& visit)
{
    const auto numFrames = request.host.format.numFrames;
    std::vector<juce::int32> block ((size_t) (blockFrames * request.host.format.channels));

    for (int64 start = 0; start < numFrames; start += blockFrames)
    {
        const auto count = std::min (blockFrames, numFrames - start);

        if (! request.isWanted())
            return cancelled;

        if (! sources.readHost (start, count, block))
            return couldNotReadHost (request);

        if (const auto visited = visit (std::span<const juce::int32> (block), start, count); visited.failed())
            return visited;

        if (request.progress)
            request.progress ((float) ((double) (start + count) / (double) numFrames));
    }

    return juce::Result::ok();
}

void tellLevel (const ExportRequest& request, const MixLevel& level)
{
    if (request.mixMeasured)
        request.mixMeasured (level);
}

// A file on its way, with the hash of its bytes where it is asked for.
class HashedTarget
{
public:
    explicit HashedTarget (const ExportRequest& request) : file (request.outputFile)
    {
        if (request.hashed)
            hash.emplace();
    }

    bool write (const void* bytes, size_t count)
    {
        if (hash)
            hash->add (bytes, count);

        return file.write (bytes, count);
    }

    [[nodiscard]] juce::String hashText() const { return hash ? hash->text() : juce::String(); }

    ReplacingFile file;

private:
    std::optional<Xxh64> hash;
};

juce::Result
writeAudio (const ExportRequest& request, const PolyLayout& layout, const ExportSources& sources, HashedTarget& target)
{
    BlockBuilder builder (request, layout, sources.guests);
    auto result = visitBlocks (request, sources, [&] (std::span<const juce::int32> host, int64 start, int64 count) {
        const auto isWritten = target.write (builder.build (host, start, count), (size_t) (count * layout.blockAlign));
        return isWritten ? juce::Result::ok() : couldNotWriteOutput (request);
    });

    if (result.wasOk() && request.includeMix)
        tellLevel (request, builder.mixLevel());

    return result;
}

bool isSource (const ExportRequest& request, const juce::File& file)
{
    const auto isOfGuest = [&file] (const GuestClip& guest) {
        const auto isPiece = [&file] (const GuestPiece& piece) { return piece.file == file; };
        return guest.file == file || std::any_of (guest.pieces.begin(), guest.pieces.end(), isPiece);
    };
    return file == request.host.file || std::any_of (request.guests.begin(), request.guests.end(), isOfGuest);
}

// The file's own size goes into its header ahead of all that it counts: written from start to end, a file can be hashed.
void stateSize (juce::MemoryBlock& header, const PolyLayout& layout, size_t trailerBytes)
{
    const auto total =
        (juce::uint64) header.getSize() + (juce::uint64) (layout.dataBytes + layout.dataBytes % 2) + trailerBytes;
    const auto riffSize = juce::ByteOrder::swapIfBigEndian (total - 8);
    header.copyFrom (&riffSize,
                     (int) (layout.isRf64 ? rf64SizeAt : riffSizeAt),
                     layout.isRf64 ? sizeof (juce::uint64) : sizeof (juce::uint32));
}

}    // namespace

juce::Result BwfWriter::writePoly (const ExportRequest& request)
{
    const auto layout = layOutPoly (request);

    if (! request.host.format.valid)
        return noHost;

    if (isSource (request, request.outputFile))
        return juce::Result::fail ("Refusing to overwrite the original poly file.");

    if (layout.totalChannels < 1)
        return juce::Result::fail ("Nothing to write.");

    ExportSources sources;

    if (auto opened = sources.open (request); opened.failed())
        return opened;

    if (request.hashed)
        sources.host.keepHash();

    juce::ignoreUnused (request.outputFile.getParentDirectory().createDirectory());
    HashedTarget target (request);
    auto header = makePolyHeader (request, layout);
    const auto trailer = makePolyTrailer (request);
    stateSize (header, layout, trailer.getSize());

    if (! target.file.isOpen())
        return couldNotCreateOutput;

    if (! target.write (header.getData(), header.getSize()))
        return couldNotWriteOutput (request);

    if (const auto written = writeAudio (request, layout, sources, target); written.failed())
        return written;

    // A pad byte behind audio of odd size, and the chunks that ride along.
    if (! target.write ("", (size_t) (layout.dataBytes % 2)) || ! target.write (trailer.getData(), trailer.getSize()))
        return couldNotWriteOutput (request);

    switch (target.file.finish())
    {
        case ReplacingFile::Outcome::replaced: break;
        case ReplacingFile::Outcome::notWritten: return couldNotWriteOutput (request);
        default: return juce::Result::fail ("Could not replace the target file.");
    }

    if (request.hashed)
        request.hashed ({ sources.host.finishHash().value_or (""), target.hashText() });

    return juce::Result::ok();
}

juce::Result BwfWriter::measureMix (const ExportRequest& request)
{
    if (! request.host.format.valid)
        return noHost;

    ExportSources sources;

    if (auto opened = sources.open (request); opened.failed())
        return opened;

    MixSum mix (request, sources.guests);
    auto result = visitBlocks (request, sources, [&] (std::span<const juce::int32> host, int64 start, int64 count) {
        juce::ignoreUnused (mix.sum (host, start, count));
        return juce::Result::ok();
    });

    if (result.wasOk())
        tellLevel (request, mix.level());

    return result;
}

juce::Result PolyExporter::write (const ExportRequest& request)
{
    return BwfWriter::writePoly (request);
}

}    // namespace ld
