#include "output/BwfWriter.h"

#include "media/BwfReader.h"
#include "output/LaneEncoder.h"
#include "output/PolyHeader.h"
#include "output/ReplacingFile.h"
#include "sync/Signal.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

using juce::int64;

constexpr int64 blockFrames = 2048;

using Channels = std::vector<std::vector<float>>;

// A guest's channels at the host's rate: those of the request, or, where it has none, read from its one file.
struct GuestLanes
{
    const GuestClip* clip = nullptr;
    const Channels* channels = nullptr;
    Channels loaded;
    int64 offset = 0;
};

// A failed result says why an incomplete export is refused.
juce::Result prepareGuest (const GuestClip& guest, int hostRate, GuestLanes& lanes)
{
    lanes.clip = &guest;
    lanes.offset = guest.alignment.offsetSamples;

    if (guest.channelAudio.empty())
    {
        if (guest.pieces.size() >= 2)
            return juce::Result::fail ("Stitched ISO audio was not prepared; refusing an incomplete export.");

        if (BwfReader reader; reader.open (guest.file))
        {
            lanes.loaded = reader.readAllChannels();

            for (auto& channel : lanes.loaded)
                channel = resampleTo (std::move (channel), reader.format.sampleRate, hostRate);
        }
    }

    lanes.channels = guest.channelAudio.empty() ? &lanes.loaded : &guest.channelAudio;

    if ((int) lanes.channels->size() != std::max (guest.format.channels, 1))
        return juce::Result::fail ("Could not prepare every ISO channel for export.");

    return juce::Result::ok();
}

// One stretch of the timeline on its way from the sources to the file.
class BlockBuilder
{
public:
    BlockBuilder (const ExportRequest& requestToUse,
                  const PolyLayout& layoutToUse,
                  const std::vector<GuestLanes>& lanes)
        : request (requestToUse), layout (layoutToUse), guests (lanes),
          encoder (layout.isFloat, layout.bits, layout.sampleBytes, layout.blockAlign),
          hostSamples ((size_t) (blockFrames * request.host.format.channels)),
          out ((size_t) (blockFrames * layout.blockAlign)), mix ((size_t) blockFrames),
          anySolo (anySoloIn (channelsInUse (request.mixer, request.mixerCount)))
    {
    }

    // The host's interleaved samples of the block, on the 24-bit scale.
    juce::int32* hostBlock() { return hostSamples.data(); }

    const juce::uint8* build (int64 start, int64 count)
    {
        auto* lane = out.data();

        if (request.includeMix)
        {
            sumMix (start, count);
            encoder.encodeFloats (std::span (mix).first ((size_t) count), lane);
            lane += layout.sampleBytes;
        }

        for (int c = 0; c < request.host.format.channels; ++c)
        {
            if (isChannelOmitted (request.host, c))
                continue;

            encoder.encode24Bit (hostSamples.data() + c, request.host.format.channels, count, lane);
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

private:
    // The part of a block in which a guest channel sounds.
    struct SoundingPart
    {
        int64 begin, end;
    };

    static SoundingPart soundingPart (const std::vector<float>& channel, int64 local, int64 count)
    {
        const auto begin = std::clamp<int64> (-local, 0, count);
        return { begin, std::clamp ((int64) channel.size() - local, begin, count) };
    }

    void encodeGuest (const std::vector<float>& channel, int64 local, int64 count, juce::uint8* lane)
    {
        const auto [begin, end] = soundingPart (channel, local, count);
        encoder.encodeSilence (begin, lane);

        if (end > begin)
            encoder.encodeFloats (std::span (channel).subspan ((size_t) (local + begin), (size_t) (end - begin)),
                                  lane + begin * layout.blockAlign);

        encoder.encodeSilence (count - end, lane + end * layout.blockAlign);
    }

    // Adds a source to the mix at its gain. Without automation that is looked up once; with it, sample by sample.
    template <typename Source>
    void addToMix (const MixerChannel& channel, int64 start, int64 begin, int64 end, Source&& source)
    {
        if (channel.automation.empty() && channel.muteAutomation.empty())
        {
            if (! mixerChannelAudible (channel, anySolo, start))
                return;

            const auto gain = mixDbToGain (channel.gainDb);

            for (auto i = begin; i < end; ++i)
                mix[(size_t) i] += source (i) * gain;

            return;
        }

        for (auto i = begin; i < end; ++i)
            if (mixerChannelAudible (channel, anySolo, start + i))
                mix[(size_t) i] += source (i) * mixDbToGain (mixerGainDbAt (channel, start + i));
    }

    void sumMix (int64 start, int64 count)
    {
        const auto& host = request.host;
        auto index = 0;
        std::fill (mix.begin(), mix.end(), 0.0f);

        for (int c = 0; c < host.format.channels; ++c)
        {
            if (isChannelOmitted (host, c))
                continue;

            const auto feedsMix = (size_t) c >= host.tracks.size() || isMixSourceTrack (host.tracks[(size_t) c]);

            if (feedsMix && index < request.mixerCount)
                addToMix (request.mixer[(size_t) index], start, 0, count, [&] (int64 i) {
                    return (float) hostSamples[(size_t) (i * host.format.channels + c)] * 0x1p-23f;
                });

            ++index;
        }

        for (const auto& guest : guests)
        {
            const auto local = start - guest.offset;
            auto lane = 0;

            for (const auto& channel : *guest.channels)
            {
                if (! isOriginalMixLane (*guest.clip, lane++) && index < request.mixerCount)
                {
                    const auto [begin, end] = soundingPart (channel, local, count);
                    addToMix (request.mixer[(size_t) index], start, begin, end, [&] (int64 i) {
                        return channel[(size_t) (local + i)];
                    });
                }

                ++index;
            }
        }

        for (auto& sample : mix)
            sample = std::clamp (sample, -1.0f, 1.0f);
    }

    const ExportRequest& request;
    const PolyLayout& layout;
    const std::vector<GuestLanes>& guests;
    LaneEncoder encoder;
    std::vector<juce::int32> hostSamples;
    std::vector<juce::uint8> out;
    std::vector<float> mix;
    bool anySolo;
};

const auto couldNotReopenHost = juce::Result::fail ("Could not reopen host file.");
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

// Whatever the host's header promises past the end of its file is silence; a read that fails within it is an error.
bool readHostBlock (const BwfReader& reader, int64 start, int64 count, juce::int32* block)
{
    const auto held = std::clamp<int64> (reader.framesInFile() - start, 0, count);
    std::fill_n (block, count * reader.format.channels, 0);
    return held == 0 || reader.readInterleavedInt32 (start, held, block);
}

juce::Result writeAudio (const ExportRequest& request,
                         const PolyLayout& layout,
                         const std::vector<GuestLanes>& guests,
                         const BwfReader& reader,
                         ReplacingFile& file)
{
    BlockBuilder builder (request, layout, guests);

    for (int64 start = 0; start < layout.numFrames; start += blockFrames)
    {
        const auto count = std::min (blockFrames, layout.numFrames - start);

        if (! request.isWanted())
            return juce::Result::fail ("Cancelled.");

        if (! readHostBlock (reader, start, count, builder.hostBlock()))
            return couldNotReadHost (request);

        if (! file.write (builder.build (start, count), (size_t) (count * layout.blockAlign)))
            return couldNotWriteOutput (request);

        if (request.progress)
            request.progress ((float) ((double) (start + count) / (double) layout.numFrames));
    }

    return juce::Result::ok();
}

bool isSource (const ExportRequest& request, const juce::File& file)
{
    const auto isOfGuest = [&file] (const GuestClip& guest) {
        const auto isPiece = [&file] (const GuestPiece& piece) { return piece.file == file; };
        return guest.file == file || std::any_of (guest.pieces.begin(), guest.pieces.end(), isPiece);
    };
    return file == request.host.file || std::any_of (request.guests.begin(), request.guests.end(), isOfGuest);
}

// A pad byte behind audio of odd size, the chunks that ride along, and at last the file's own size.
bool finishFile (const ExportRequest& request, const PolyLayout& layout, ReplacingFile& file)
{
    if (layout.dataBytes % 2 != 0)
        file.write ("", 1);

    const auto trailer = makePolyTrailer (request);
    file.write (trailer.getData(), trailer.getSize());

    const auto riffSize = juce::ByteOrder::swapIfBigEndian ((juce::uint64) std::max<int64> (file.getPosition(), 8) - 8);
    return layout.isRf64 ? file.writeAt (rf64SizeAt, &riffSize, sizeof (juce::uint64))
                         : file.writeAt (riffSizeAt, &riffSize, sizeof (juce::uint32));
}

}    // namespace

juce::Result BwfWriter::writePoly (const ExportRequest& request)
{
    const auto& host = request.host;
    const auto layout = layOutPoly (request);

    if (! host.format.valid)
        return juce::Result::fail ("No host take loaded.");

    if (isSource (request, request.outputFile))
        return juce::Result::fail ("Refusing to overwrite the original poly file.");

    if (layout.totalChannels < 1)
        return juce::Result::fail ("Nothing to write.");

    std::vector<GuestLanes> guests (request.guests.size());

    for (size_t i = 0; i < guests.size(); ++i)
        if (const auto prepared = prepareGuest (request.guests[i], host.format.sampleRate, guests[i]);
            prepared.failed())
            return prepared;

    // A poly that was exchanged for another since it was loaded is not the one that the request speaks of.
    BwfReader reader;

    if (! reader.open (host.file) || reader.format != host.format || ! reader.isPlausible())
        return couldNotReopenHost;

    juce::ignoreUnused (request.outputFile.getParentDirectory().createDirectory());
    ReplacingFile file (request.outputFile);
    const auto header = makePolyHeader (request, layout);

    if (! file.isOpen())
        return couldNotCreateOutput;

    if (! file.write (header.getData(), header.getSize()))
        return couldNotWriteOutput (request);

    if (const auto written = writeAudio (request, layout, guests, reader, file); written.failed())
        return written;

    if (! finishFile (request, layout, file))
        return couldNotWriteOutput (request);

    switch (file.finish())
    {
        case ReplacingFile::Outcome::replaced: return juce::Result::ok();
        case ReplacingFile::Outcome::notWritten: return couldNotWriteOutput (request);
        default: return juce::Result::fail ("Could not replace the target file.");
    }
}

juce::Result PolyExporter::write (const ExportRequest& request)
{
    return BwfWriter::writePoly (request);
}

}    // namespace ld
