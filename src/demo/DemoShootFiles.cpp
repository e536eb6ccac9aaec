#include "demo/DemoShootFiles.h"

#include "media/BextIxml.h"
#include "media/SampleCoding.h"

#include <cmath>

namespace ld
{
namespace
{

constexpr int extensibleFmtBytes = 40, plainFmtBytes = 16;
constexpr short pcmTag = 1;
constexpr auto extensibleTag = (short) 0xFFFE;

// The GUID of PCM behind its first two bytes, which are the tag.
constexpr juce::uint8 pcmGuidTail[] = { 0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                        0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71 };

juce::Result cannotWrite (const juce::File& file)
{
    return juce::Result::fail ("The file " + file.getFullPathName() + " could not be written.");
}

void addChunk (juce::MemoryOutputStream& out, const char* id, const juce::MemoryBlock& body)
{
    out.write (id, 4);
    out.writeInt ((int) body.getSize());
    out << body;

    if (body.getSize() % 2 != 0)
        out.writeByte (0);
}

juce::MemoryBlock fmtBody (const AudioFormatInfo& format, bool isExtensible)
{
    const auto frameBytes = format.channels * format.bytesPerSample;
    juce::MemoryOutputStream out;
    out.writeShort (isExtensible ? extensibleTag : pcmTag);
    out.writeShort ((short) format.channels);
    out.writeInt (format.sampleRate);
    out.writeInt (format.sampleRate * frameBytes);
    out.writeShort ((short) frameBytes);
    out.writeShort ((short) format.bitsPerSample);

    if (isExtensible)
    {
        out.writeShort ((short) (extensibleFmtBytes - plainFmtBytes - 2));
        out.writeShort ((short) format.bitsPerSample);
        out.writeInt (0);    // no loudspeaker belongs to any channel
        out.writeShort (pcmTag);
        out.write (pcmGuidTail, sizeof (pcmGuidTail));
    }

    return out.getMemoryBlock();
}

juce::MemoryBlock textBody (const juce::String& text)
{
    return { text.toRawUTF8(), text.getNumBytesAsUTF8() };
}

juce::MemoryBlock listBody (const juce::String& comment)
{
    juce::MemoryOutputStream out;
    out.write ("INFO", 4);
    addChunk (out, "ICMT", textBody (comment));
    return out.getMemoryBlock();
}

// Everything from behind the RIFF header to the audio's chunk header.
juce::MemoryBlock chunksBeforeAudio (const PlannedFile& file)
{
    juce::MemoryOutputStream out;
    addChunk (out, "fmt ", fmtBody (file.format, file.isExtensible));

    if (file.bext.present)
        addChunk (out, "bext", serialiseBext (file.bext));

    if (file.ixml.present)
        addChunk (out, "iXML", textBody (serialiseIxml (file.ixml, file.tracks)));

    if (file.comment.isNotEmpty())
        addChunk (out, "LIST", listBody (file.comment));

    if (file.makerText.isNotEmpty())
        addChunk (out, "demo", textBody (file.makerText));

    return out.getMemoryBlock();
}

juce::uint8* encode (float value, int bytesPerSample, juce::uint8* at) noexcept
{
    const auto clipped = juce::jlimit (-1.0f, 1.0f, value);
    const auto whole = bytesPerSample == 3 ? floatTo24Bit (clipped) : (juce::int32) std::lround (clipped * 32767.0f);

    for (int i = 0; i < bytesPerSample; ++i)
        *at++ = (juce::uint8) (whole >> (8 * i));

    return at;
}

}    // namespace

juce::Result PlannedFileWriter::open (const juce::File& shootFolder, const PlannedFile& planned)
{
    target = shootFolder.getChildFile (planned.path);
    format = planned.format;

    if (target.getParentDirectory().createDirectory().failed())
        return cannotWrite (target);

    file = std::make_unique<ReplacingFile> (target);
    return file->isOpen() ? writeHeader (planned) : cannotWrite (target);
}

juce::Result PlannedFileWriter::put (const void* data, size_t count)
{
    return file->write (data, count) ? juce::Result::ok() : cannotWrite (target);
}

juce::Result PlannedFileWriter::writeHeader (const PlannedFile& planned)
{
    constexpr juce::int64 waveIdBytes = 4, chunkHeaderBytes = 8;
    const auto chunks = chunksBeforeAudio (planned);
    const auto padded = format.dataBytes + format.dataBytes % 2;
    juce::MemoryOutputStream header;
    header.write ("RIFF", 4);
    header.writeInt ((int) (juce::uint32) (waveIdBytes + (juce::int64) chunks.getSize() + chunkHeaderBytes + padded));
    header.write ("WAVE", 4);
    header << chunks;
    header.write ("data", 4);
    header.writeInt ((int) (juce::uint32) format.dataBytes);
    return put (header.getData(), header.getDataSize());
}

juce::Result PlannedFileWriter::write (const std::vector<std::vector<float>>& channels, int count)
{
    bytes.resize ((size_t) count * (size_t) (format.channels * format.bytesPerSample));
    auto* at = bytes.data();

    for (int frame = 0; frame < count; ++frame)
        for (const auto& channel : channels)
            at = encode (channel[(size_t) frame], format.bytesPerSample, at);

    return put (bytes.data(), bytes.size());
}

juce::Result PlannedFileWriter::finish()
{
    if (format.dataBytes % 2 != 0)
        file->write ("", 1);

    const auto isWritten = file->finish() == ReplacingFile::Outcome::replaced;
    file.reset();
    return isWritten ? juce::Result::ok() : cannotWrite (target);
}

}    // namespace ld
