#include "support/WaveWalker.h"

#include <pugixml.hpp>

#include <algorithm>
#include <fstream>
#include <set>

namespace ld::test
{
namespace
{

constexpr juce::uint64 sizeInDs64 = 0xFFFFFFFF;

std::string readBytes (std::ifstream& in, juce::int64 at, juce::int64 count)
{
    std::string bytes ((size_t) count, '\0');
    in.clear();
    in.seekg (at);
    in.read (bytes.data(), count);
    bytes.resize ((size_t) in.gcount());
    return bytes;
}

// Little-endian; bytes that are missing count as zero.
juce::uint64 number (const std::string& bytes, size_t at, size_t count)
{
    juce::uint64 value = 0;

    for (auto i = count; i-- > 0;)
        value = value << 8 | (at + i < bytes.size() ? (juce::uint8) bytes[at + i] : 0);

    return value;
}

class Walker
{
public:
    explicit Walker (const juce::File& file)
        : in (file.getFullPathName().toStdString(), std::ios::binary), fileBytes (file.getSize())
    {
    }

    WaveWalk run()
    {
        if (readForm())
        {
            readChunks();
            checkIds();
            checkAudio();
            checkTracks();
        }

        return walk;
    }

private:
    void expect (bool isTrue, const std::string& complaint)
    {
        if (! isTrue)
            walk.complaints.push_back (complaint);
    }

    std::string body (const char* id)
    {
        const auto* chunk = walk.find (id);
        return chunk == nullptr ? "" : readBytes (in, chunk->bodyAt, chunk->size);
    }

    bool readForm()
    {
        const auto header = readBytes (in, 0, 12);
        isRf64 = header.starts_with ("RF64");
        const auto isWave = header.size() == 12 && (isRf64 || header.starts_with ("RIFF")) && header.ends_with ("WAVE");
        expect (isWave, "no RIFF or RF64 wave file");
        riffSize = number (header, 4, 4);
        return isWave;
    }

    void readChunks()
    {
        juce::int64 at = 12;

        while (at < fileBytes)
        {
            const auto header = readBytes (in, at, 8);
            expect (header.size() == 8, "bytes behind the last chunk");

            if (header.size() < 8 || ! addChunk (header, at + 8))
                return;

            at = walk.chunks.back().bodyAt + walk.chunks.back().size;

            if (at % 2 != 0)
                expect (readBytes (in, at++, 1) == std::string (1, '\0'),
                        "no zero pad byte behind " + walk.chunks.back().id);
        }

        if (isRf64)
            expect (riffSize == sizeInDs64, "RF64 without the placeholder for the RIFF size");

        expect ((isRf64 ? ds64RiffSize : riffSize) == (juce::uint64) fileBytes - 8, "RIFF size is not the file's");
    }

    bool addChunk (const std::string& header, juce::int64 bodyAt)
    {
        const auto id = header.substr (0, 4);
        auto size = number (header, 4, 4);

        if (isRf64 && walk.chunks.empty())
            readDs64 (id, readBytes (in, bodyAt, 28));

        if (isRf64 && id == "data")
        {
            expect (size == sizeInDs64, "RF64 without the placeholder for the data size");
            size = ds64DataSize;
        }

        const auto fits = size <= (juce::uint64) (fileBytes - bodyAt);
        expect (fits, id + " runs past the end of the file");
        expect (! isRf64 || size % 2 == 0 || id == "data" || walk.find ("data") != nullptr,
                id + " is odd-sized ahead of data in RF64");

        if (fits)
            walk.chunks.push_back ({ id, bodyAt, (juce::int64) size });

        return fits;
    }

    void readDs64 (const std::string& id, const std::string& ds64)
    {
        expect (id == "ds64" && ds64.size() == 28, "RF64 without ds64 as its first chunk");

        if (id != "ds64")
            return;

        ds64RiffSize = number (ds64, 0, 8);
        ds64DataSize = number (ds64, 8, 8);
        ds64SampleCount = number (ds64, 16, 8);
    }

    void checkIds()
    {
        for (const auto* id : { "fmt ", "data", "bext", "iXML", "ds64" })
            expect (std::ranges::count (walk.chunks, id, &WaveWalk::Chunk::id) < 2, std::string (id) + " stands twice");

        expect (isRf64 || walk.find ("ds64") == nullptr, "ds64 in a RIFF file");
    }

    void checkAudio()
    {
        const auto fmt = body ("fmt ");
        const auto* data = walk.find ("data");
        expect (fmt.size() >= 16, "no fmt of 16 bytes");
        expect (data != nullptr, "no data");
        walk.channels = (int) number (fmt, 2, 2);
        const auto sampleRate = number (fmt, 4, 4), blockAlign = number (fmt, 12, 2), bits = number (fmt, 14, 2);
        const auto frameBytes = (bits + 7) / 8 * (juce::uint64) walk.channels;
        expect (frameBytes > 0, "frames of no size");
        expect (blockAlign == frameBytes, "block align is not bytes x channels");
        expect (number (fmt, 8, 4) == sampleRate * frameBytes, "byte rate is not rate x block align");

        if (data == nullptr || frameBytes == 0)
            return;

        walk.numFrames = data->size / (juce::int64) frameBytes;
        expect ((juce::uint64) data->size % frameBytes == 0, "data ends inside a frame");
        expect (! isRf64 || ds64SampleCount == (juce::uint64) walk.numFrames, "ds64 sample count is not the data's");
    }

    void checkTracks()
    {
        if (walk.find ("iXML") == nullptr)
            return;

        const auto text = body ("iXML");
        pugi::xml_document document;
        expect ((bool) document.load_buffer (text.data(), text.size()), "iXML is not well-formed");
        const auto list = document.child ("BWFXML").child ("TRACK_LIST");
        std::vector<int> indices;

        for (const auto track : list.children ("TRACK"))
            indices.push_back (track.child ("INTERLEAVE_INDEX").text().as_int());

        expect (list.child ("TRACK_COUNT").text().as_int (-1) == (int) indices.size(),
                "TRACK_COUNT is not their number");
        expect ((int) indices.size() == walk.channels, "iXML tracks are not one for each channel");
        std::ranges::sort (indices);

        for (size_t i = 0; i < indices.size(); ++i)
            if (indices[i] != (int) i + 1)
                return expect (false, "INTERLEAVE_INDEX does not count each channel once");
    }

    std::ifstream in;
    juce::int64 fileBytes;
    bool isRf64 = false;
    juce::uint64 riffSize = 0, ds64RiffSize = 0, ds64DataSize = 0, ds64SampleCount = 0;
    WaveWalk walk;
};

}    // namespace

const WaveWalk::Chunk* WaveWalk::find (const std::string& id) const
{
    const auto found = std::ranges::find (chunks, id, &Chunk::id);
    return found == chunks.end() ? nullptr : &*found;
}

WaveWalk walkWave (const juce::File& file)
{
    return Walker (file).run();
}

std::string readBody (const juce::File& file, const WaveWalk::Chunk& chunk)
{
    std::ifstream in (file.getFullPathName().toStdString(), std::ios::binary);
    return readBytes (in, chunk.bodyAt, chunk.size);
}

}    // namespace ld::test
