#include "output/PolyHeader.h"

#include "media/BextIxml.h"
#include "output/CombinedIxml.h"
#include "output/EssenceIds.h"

#include <algorithm>

namespace ld
{
namespace
{

using juce::int64;

constexpr int fewestBits = 16;
constexpr juce::uint16 firstVersionWithUmid = 1;    // EBU Tech 3285: before, its bytes are reserved
constexpr juce::uint32 sizeInDs64 = 0xFFFFFFFF;
constexpr int64 largestRiffData = 0xFFFFFFF0;
const char* const programName = "Lodestrand";

int countHostChannels (const HostTake& host)
{
    auto count = 0;

    for (int c = 0; c < host.format.channels; ++c)
        count += isChannelOmitted (host, c) ? 0 : 1;

    return count;
}

// The size field holds the payload's length; a pad byte behind an odd payload is not counted in it.
void writeChunk (juce::MemoryOutputStream& out, const char* id, const juce::MemoryBlock& body)
{
    out.write (id, 4);
    out.writeInt ((int) (juce::uint32) body.getSize());
    out << body;

    if (body.getSize() % 2 != 0)
        out.writeByte (0);
}

juce::MemoryBlock evened (juce::MemoryBlock body, char filler)
{
    if (body.getSize() % 2 != 0)
        body.append (&filler, 1);

    return body;
}

// Channels are discrete tracks, not loudspeakers: the mask stays 0.
juce::MemoryBlock makeFmt (const PolyLayout& layout)
{
    constexpr short extensibleTag = (short) 0xFFFE;
    constexpr juce::uint8 subFormatTail[] = { 0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                              0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71 };
    // Odd widths lie in whole bytes, which only the extensible form keeps apart: 20 bits stand in 24.
    const auto containerBits = std::min (layout.sampleBytes * 8, 0xFFFF);    // what the field can hold
    const auto isShort = ! layout.isFloat && layout.totalChannels <= 2 && layout.bits == containerBits;
    const auto blockAlign = (juce::uint16) layout.blockAlign;

    juce::MemoryOutputStream out;
    out.writeShort (isShort ? (short) 1 : extensibleTag);
    out.writeShort ((short) layout.totalChannels);
    out.writeInt (layout.sampleRate);
    out.writeInt ((int) ((juce::uint32) blockAlign * (juce::uint32) layout.sampleRate));
    out.writeShort ((short) blockAlign);
    out.writeShort ((short) containerBits);

    if (! isShort)
    {
        out.writeShort (22);
        out.writeShort ((short) layout.bits);
        out.writeInt (0);
        out.writeShort (layout.isFloat ? 3 : 1);
        out.write (subFormatTail, sizeof (subFormatTail));
    }

    return out.getMemoryBlock();
}

BextChunk makeBext (const ExportRequest& request, const PolyLayout& layout)
{
    auto bext = request.host.bext;
    bext.present = true;

    if (request.hasNewIds)
    {
        bext.umid = makeEssenceIds (request).umid;
        bext.version = std::max (bext.version, firstVersionWithUmid);
    }

    if (bext.timeReference == 0)
        bext.timeReference = timestampFromIxmlOrBext (request.host.ixml, request.host.bext);

    // One line for the first generation only: a file that went through the program once is not marked again.
    if (! bext.codingHistory.contains (programName))
    {
        if (bext.codingHistory.isNotEmpty() && ! bext.codingHistory.endsWithChar ('\n'))
            bext.codingHistory << "\r\n";

        bext.codingHistory << "A=PCM,F=" << layout.sampleRate << ",W=" << layout.bits << ",M=poly,T=" << programName;
    }

    return bext;
}

juce::MemoryBlock utf8Of (const juce::String& text)
{
    return { text.toRawUTF8(), text.getNumBytesAsUTF8() };
}

// An id's own four bytes. One that was no UTF-8 was read byte by byte, and goes back the same way.
std::array<char, 4> idBytes (const juce::String& id)
{
    std::array<char, 4> bytes { ' ', ' ', ' ', ' ' };
    const auto isFourBytes = id.getNumBytesAsUTF8() <= bytes.size();

    for (int i = 0; i < std::min (id.length(), 4) && ! isFourBytes; ++i)
        bytes[(size_t) i] = (char) (juce::uint8) id[i];

    if (isFourBytes)
        std::copy_n (id.toRawUTF8(), id.getNumBytesAsUTF8(), bytes.begin());

    return bytes;
}

// A guest that a later piece gave more channels has fewer tracks than lanes; every lane needs one in the file, or the
// names of all that follow would stand over the wrong sound.
std::vector<TrackInfo> tracksOfGuest (const GuestClip& guest)
{
    auto tracks = guest.tracks;
    const auto named = tracks.empty() ? guest.file.getFileNameWithoutExtension() : tracks.front().name;

    while ((int) tracks.size() < std::max (guest.format.channels, 1))
    {
        TrackInfo track;
        track.name = tracks.empty() ? named : named + " " + juce::String ((int) tracks.size() + 1);
        tracks.push_back (track);
    }

    return tracks;
}

}    // namespace

PolyLayout layOutPoly (const ExportRequest& request)
{
    const auto& format = request.host.format;
    PolyLayout layout;
    layout.hostChannels = countHostChannels (request.host);
    layout.totalChannels = layout.hostChannels + (request.includeMix ? 1 : 0);

    for (const auto& guest : request.guests)
        layout.totalChannels += std::max (guest.format.channels, 1);

    layout.sampleRate = format.sampleRate;
    layout.isFloat = format.isFloat;
    layout.bits = std::max (format.bitsPerSample, fewestBits);
    layout.sampleBytes = (layout.bits + 7) / 8;
    layout.blockAlign = (int64) layout.sampleBytes * layout.totalChannels;
    layout.numFrames = format.numFrames;
    layout.dataBytes = layout.blockAlign * layout.numFrames;
    layout.isRf64 = layout.dataBytes > largestRiffData;
    return layout;
}

juce::MemoryBlock makePolyHeader (const ExportRequest& request, const PolyLayout& layout)
{
    const auto told = makeBext (request, layout);
    auto bext = serialiseBext (told);
    auto ixml = utf8Of (makeCombinedIxml (request, layout.bits, told, listMarkers (request)));

    juce::MemoryOutputStream out;
    out.write (layout.isRf64 ? "RF64" : "RIFF", 4);
    out.writeInt (layout.isRf64 ? (int) sizeInDs64 : 0);
    out.write ("WAVE", 4);

    if (layout.isRf64)
    {
        juce::MemoryOutputStream ds64;
        ds64.writeInt64 (0);
        ds64.writeInt64 (layout.dataBytes);
        ds64.writeInt64 (layout.numFrames);
        ds64.writeInt (0);
        writeChunk (out, "ds64", ds64.getMemoryBlock());
        bext = evened (bext, 0);
        ixml = evened (ixml, ' ');
    }

    writeChunk (out, "fmt ", makeFmt (layout));
    writeChunk (out, "bext", bext);
    writeChunk (out, "iXML", ixml);
    out.write ("data", 4);
    out.writeInt ((int) (layout.isRf64 ? sizeInDs64 : (juce::uint32) layout.dataBytes));
    return out.getMemoryBlock();
}

juce::MemoryBlock makePolyTrailer (const ExportRequest& request)
{
    juce::MemoryOutputStream out;

    for (const auto& chunk : request.host.extraChunks)
        writeChunk (out, idBytes (chunk.id).data(), chunk.data);

    if (const auto markers = listMarkers (request); ! markers.empty() && ! hasOwnMarkers (request.host))
    {
        writeChunk (out, "cue ", makeCueBody (markers));
        writeChunk (out, "LIST", makeLabelBody (markers));
    }

    return out.getMemoryBlock();
}

std::vector<TrackInfo> buildExportTracks (const HostTake& host, const std::vector<GuestClip>& guests, bool includeMix)
{
    std::vector<TrackInfo> tracks;

    for (size_t i = 0; i < host.tracks.size(); ++i)
        if (! isChannelOmitted (host, (int) i))
            tracks.push_back (host.tracks[i]);

    if (includeMix)
    {
        for (auto& track : tracks)
            if (isOriginalMixTrack (track))
                renameMixToOldMix (track);

        TrackInfo mix;
        mix.name = mix.function = "MIX";
        tracks.insert (tracks.begin(), mix);

        for (size_t i = 0; i < tracks.size(); ++i)
            tracks[i].channelIndex = tracks[i].interleaveIndex = (int) i + 1;
    }

    for (const auto& guest : guests)
    {
        for (auto track : tracksOfGuest (guest))
        {
            track.interleaveIndex = (int) tracks.size() + 1;
            track.channelIndex = track.chosenChannel > 0 ? track.chosenChannel : track.interleaveIndex;
            track.isHost = false;
            track.function = isOriginalMixTrack (track) ? "OLDMIX" : "SINGLE";
            tracks.push_back (track);
        }
    }

    return tracks;
}

}    // namespace ld
