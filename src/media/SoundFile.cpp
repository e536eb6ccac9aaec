#include "media/SoundFile.h"

#include "media/BextIxml.h"
#include "media/ClipReader.h"
#include "media/LargeBuffers.h"
#include "media/RegularFile.h"

#include <algorithm>

namespace ld
{

bool hasClipName (const juce::File& file)
{
    return file.hasFileExtension ("mov;mp4;m4v;mxf;mts;m2ts;m4a;flac");
}

juce::Result SoundFile::describe (const juce::File& fileToOpen)
{
    *this = {};
    file = fileToOpen;
    return hasClipName (file) ? describeClip (file) : openWave (file);
}

juce::Result SoundFile::openWave (const juce::File& wave)
{
    BwfReader reader;

    if (! reader.open (wave))
        return juce::Result::fail ("Could not read " + wave.getFileName() + " as WAV/BWF.");

    copyIdentity (reader, *this);
    readers.push_back (std::move (reader));
    return juce::Result::ok();
}

juce::Result SoundFile::describeClip (const juce::File& clip)
{
    ClipDescription description;

    if (! isRegularFile (clip))
        return juce::Result::fail ("Could not read " + clip.getFileName() + ": it is not there.");

    if (const auto read = ld::describeClip (clip, description); read.failed())
        return read;

    format = description.format;
    bext = description.bext;
    ixml = description.ixml;
    return format.valid ? juce::Result::ok() : juce::Result::fail ("There is no sound in " + clip.getFileName() + ".");
}

juce::Result SoundFile::open (const juce::File& fileToOpen, const std::shared_ptr<ClipSounds>& shared)
{
    auto opened = describe (fileToOpen);

    if (opened.failed() || ! format.isClip)
        return opened;

    std::vector<juce::File> waves;
    sounds = shared != nullptr ? shared : std::make_shared<ClipSounds>();

    if (opened = sounds->soundOf (file, waves); opened.wasOk())
        for (const auto& wave : waves)
            if (BwfReader reader; reader.open (wave))
                readers.push_back (std::move (reader));

    juce::int64 held = 0;
    auto channels = 0;

    for (const auto& reader : readers)
    {
        held = std::max (held, reader.framesInFile());
        channels += reader.format.channels;
    }

    if (opened.wasOk() && (channels != format.channels || held < 1))
        opened = juce::Result::fail ("The sound of " + file.getFileName() + " cannot be decoded.");

    format.valid = opened.wasOk();
    format.missingFrames = std::max<juce::int64> (format.numFrames - held, 0);
    return opened;
}

void SoundFile::keepHash()
{
    keepsHash = true;

    if (! format.isClip && ! readers.empty())
        readers.front().keepHash();
}

// Decoding reads a clip in no order: its bytes are read once more.
std::optional<juce::String> SoundFile::finishHash()
{
    if (! keepsHash)
        return {};

    return format.isClip || readers.empty() ? hashOfFile (file) : readers.front().finishHash();
}

bool SoundFile::isPlausible() const noexcept
{
    return format.isClip ? format.valid && isUtf8 (file.getFullPathName().toRawUTF8())
                         : ! readers.empty() && readers.front().isPlausible();
}

bool SoundFile::readChannel (int channel, juce::int64 startFrame, juce::int64 numFrames, float* destination) const
{
    for (const auto& reader : readers)
    {
        if (channel < reader.format.channels)
            return reader.readChannel (channel, startFrame, numFrames, destination, 1);

        channel -= reader.format.channels;
    }

    return false;
}

std::vector<std::vector<float>> SoundFile::readAllChannels() const
{
    if (readers.size() == 1)
        return readers.front().readAllChannels();

    std::vector<std::vector<float>> audio;

    for (const auto& reader : readers)
        for (auto& channel : reader.readAllChannels())
        {
            audio.push_back (std::move (channel));
            audio.back().resize ((size_t) framesInFile());
        }

    return audio;
}

void SoundFile::readChannels (juce::int64 startFrame,
                              juce::int64 numFrames,
                              std::vector<std::vector<float>>& destination) const
{
    if (readers.size() == 1)
        return readers.front().readChannels (startFrame, numFrames, destination);

    std::vector<std::vector<float>> track;
    destination.resize ((size_t) format.channels);
    auto at = destination.begin();

    for (const auto& reader : readers)
    {
        reader.readChannels (startFrame, numFrames, track);
        at = std::swap_ranges (track.begin(), track.end(), at);
    }
}

}    // namespace ld
