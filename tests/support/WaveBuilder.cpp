#include "support/WaveBuilder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace ld::test
{
namespace
{

// Little-endian, the lowest bytes first.
void put (std::string& bytes, juce::uint64 value, int numBytes)
{
    for (int i = 0; i < numBytes; ++i)
        bytes += (char) (value >> (8 * i));
}

void putField (std::string& bytes, const std::string& text, size_t fieldBytes)
{
    bytes += text.substr (0, fieldBytes);
    bytes.append (fieldBytes - std::min (text.size(), fieldBytes), '\0');
}

void putSample (std::string& bytes, const WaveFormat& format, double value)
{
    if (format.tag == 3 && format.bits == 32)
        put (bytes, std::bit_cast<juce::uint32> ((float) value), 4);
    else if (format.tag == 3)
        put (bytes, std::bit_cast<juce::uint64> (value), 8);
    else if (format.bits <= 8)
        put (bytes, (juce::uint64) (std::llround (value) + 128), 1);
    else
        put (bytes, (juce::uint64) std::llround (value), (format.bits + 7) / 8);
}

std::string element (const std::string& name, const std::string& text)
{
    return "<" + name + ">" + text + "</" + name + ">";
}

}    // namespace

juce::MemoryBlock bodyOf (const std::string& bytes)
{
    return { bytes.data(), bytes.size() };
}

juce::MemoryBlock fmtBody (const WaveFormat& format)
{
    const auto frameBytes = format.channels * ((format.bits + 7) / 8);
    std::string body;
    put (body, format.isExtensible ? 0xFFFE : (juce::uint64) format.tag, 2);
    put (body, (juce::uint64) format.channels, 2);
    put (body, (juce::uint64) format.sampleRate, 4);
    put (body, (juce::uint64) format.sampleRate * (juce::uint64) frameBytes, 4);
    put (body, (juce::uint64) frameBytes, 2);
    put (body, (juce::uint64) format.bits, 2);

    if (format.isExtensible)
    {
        put (body, 22, 2);
        put (body, (juce::uint64) (format.validBits > 0 ? format.validBits : format.bits), 2);
        put (body, 0, 4);    // no speaker positions
        put (body, (juce::uint64) format.tag, 2);
        putField (body, std::string ("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14), 14);
    }

    return bodyOf (body);
}

juce::MemoryBlock bextBody (const BextFields& fields)
{
    std::string body;
    putField (body, fields.description, 256);
    putField (body, fields.originator, 32);
    putField (body, fields.reference, 32);
    putField (body, fields.date, 10);
    putField (body, fields.time, 8);
    put (body, fields.timeReference, 8);
    put (body, (juce::uint64) fields.version, 2);
    putField (body, {}, 64);    // UMID

    for (size_t i = 0; i < 5; ++i)
        put (body, i < fields.loudness.size() ? (juce::uint64) fields.loudness[i] : 0, 2);

    putField (body, {}, 180);    // reserved
    body += fields.history;
    return bodyOf (body);
}

juce::MemoryBlock ixmlBody (const IxmlFields& fields)
{
    auto speed = element ("TIMECODE_FLAG", "NDF") + element ("TIMECODE_RATE", fields.timecodeRate)
                 + element ("TIMESTAMP_SAMPLE_RATE", std::to_string (fields.stampRate));

    if (fields.stamp)
        speed += element ("TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI", std::to_string (*fields.stamp >> 32))
                 + element ("TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO", std::to_string (*fields.stamp & 0xFFFFFFFF));

    auto tracks = element ("TRACK_COUNT", std::to_string (fields.trackNames.size()));

    for (size_t i = 0; i < fields.trackNames.size(); ++i)
    {
        const auto index = std::to_string (i + 1);
        tracks += element ("TRACK",
                           element ("CHANNEL_INDEX", index) + element ("INTERLEAVE_INDEX", index)
                               + element ("NAME", fields.trackNames[i]) + element ("FUNCTION", "OTHER"));
    }

    return bodyOf (element ("BWFXML",
                            element ("SCENE", fields.scene) + element ("TAKE", fields.take) + element ("SPEED", speed)
                                + element ("TRACK_LIST", tracks)));
}

juce::MemoryBlock audioBody (const WaveFormat& format, const Channels& channels)
{
    const auto fullScale = std::ldexp (1.0, format.bits - 1);
    std::vector<double> interleaved;

    for (size_t frame = 0; ! channels.empty() && frame < channels.front().size(); ++frame)
        for (const auto& channel : channels)
            interleaved.push_back (
                format.tag == 3
                    ? (double) channel.at (frame)
                    : std::clamp (std::round ((double) channel.at (frame) * fullScale), -fullScale, fullScale - 1.0));

    return audioBody (format, interleaved);
}

juce::MemoryBlock audioBody (const WaveFormat& format, const std::vector<double>& interleaved)
{
    std::string body;
    body.reserve (interleaved.size() * (size_t) ((format.bits + 7) / 8));

    for (const auto value : interleaved)
        putSample (body, format, value);

    return bodyOf (body);
}

WaveBuilder::WaveBuilder (const WaveFormat& format, const Channels& channels)
{
    chunk ("fmt ", fmtBody (format)).chunk ("data", audioBody (format, channels));
}

WaveBuilder& WaveBuilder::rf64 (juce::uint64 dataSize, juce::uint64 sampleCount)
{
    ds64 = Ds64 { dataSize, sampleCount };
    return *this;
}

WaveBuilder&
WaveBuilder::chunk (const std::string& id, const juce::MemoryBlock& body, std::optional<juce::uint32> claimedSize)
{
    putField (chunks, id, 4);
    put (chunks, claimedSize.value_or ((juce::uint32) body.getSize()), 4);
    chunks.append (static_cast<const char*> (body.getData()), body.getSize());
    put (chunks, 0, (int) (body.getSize() % 2));
    return *this;
}

WaveBuilder& WaveBuilder::chunk (const std::string& id, int zeroBytes, std::optional<juce::uint32> claimedSize)
{
    return chunk (id, juce::MemoryBlock ((size_t) zeroBytes, true), claimedSize);
}

juce::MemoryBlock WaveBuilder::build() const
{
    constexpr juce::uint64 ds64Bytes = 28;
    const auto riffSize = 4 + (ds64 ? 8 + ds64Bytes : 0) + chunks.size();
    std::string file;
    putField (file, ds64 ? "RF64" : "RIFF", 4);
    put (file, ds64 ? sizeInDs64 : riffSize, 4);
    putField (file, "WAVE", 4);

    if (ds64)
    {
        putField (file, "ds64", 4);
        put (file, ds64Bytes, 4);
        put (file, riffSize, 8);
        put (file, ds64->dataSize, 8);
        put (file, ds64->sampleCount, 8);
        put (file, 0, 4);    // no table of further sizes
    }

    return bodyOf (file + chunks);
}

juce::File WaveBuilder::writeTo (const juce::File& file) const
{
    return writeBytes (file, build());
}

juce::File writeBytes (const juce::File& file, const juce::MemoryBlock& bytes)
{
    if (! file.replaceWithData (bytes.getData(), bytes.getSize()))
        throw std::runtime_error ("cannot write " + file.getFullPathName().toStdString());

    return file;
}

}    // namespace ld::test
