#pragma once

#include "media/BwfReader.h"
#include "media/ClipSounds.h"

namespace ld
{

/** A file with sound in it, a guest's or one that may become a guest: a wave file, or a clip (what a camera or a player's
    recorder writes: mov, mp4, m4v, mxf, mts, m4a, flac). Whoever reads guests sees no difference: the sound of a clip lies
    on the clip's own timeline, so that its first frame is where the picture begins and the stamp counts from, its tracks
    one behind the other. Opened for reading only.

    A file is used by one thread at a time, its const operations included. */
class SoundFile
{
public:
    juce::File file;
    AudioFormatInfo format;
    BextChunk bext;
    IxmlMetadata ixml;    // of a clip: its stamp and what it says of its tracks, in the same terms

    /** Reads what the file says of itself; of a clip, no sound can be read then. A failed result is the sentence for the
        user. */
    [[nodiscard]] juce::Result describe (const juce::File&);

    /** The same, ready for reading. A clip is decoded for that, whole.
        shared   where its decoded sound is kept for others; none: it is this file's own */
    [[nodiscard]] juce::Result open (const juce::File&, const std::shared_ptr<ClipSounds>& shared = nullptr);

    /** See BwfReader::isPlausible. */
    [[nodiscard]] bool isPlausible() const noexcept;

    /** Whole frames that are there to be read; of a clip that was only described, those that it promises. */
    [[nodiscard]] juce::int64 framesInFile() const noexcept { return format.valid ? framesHeld (format) : 0; }

    /** See BwfReader::keepHash; a clip's is that of the clip. */
    void keepHash();
    [[nodiscard]] std::optional<juce::String> finishHash();

    /** Reads one channel as floats at full scale 1.0.
        channel      0-based
        destination  numFrames floats; what lies past the end is silence
        False for bad arguments or where the file ends early; what was read until then stands. */
    [[nodiscard]] bool
    readChannel (int channel, juce::int64 startFrame, juce::int64 numFrames, float* destination) const;

    /** Reads every channel whole: format.channels vectors of framesInFile() floats. */
    [[nodiscard]] std::vector<std::vector<float>> readAllChannels() const;

    /** Reads a stretch of what readAllChannels gives.
        destination   one vector of numFrames floats for each channel; reused where it is that already */
    void
    readChannels (juce::int64 startFrame, juce::int64 numFrames, std::vector<std::vector<float>>& destination) const;

private:
    juce::Result openWave (const juce::File&);
    juce::Result describeClip (const juce::File&);

    bool keepsHash = false;
    std::shared_ptr<ClipSounds> sounds;    // holds what the readers of a clip read
    std::vector<BwfReader> readers;        // a wave file's one, or one for each sound track of a clip
};

/** True for a name that a clip has: whether it is one, only opening it shows. */
[[nodiscard]] bool hasClipName (const juce::File&);

}    // namespace ld
