#pragma once

#include "media/Records.h"

#include <functional>
#include <span>

namespace ld
{

// Clips are read through libavformat and libavcodec. A build without them opens none, and says so.

/** What a clip says of itself. A clip without any sound has no channels. */
struct ClipDescription
{
    AudioFormatInfo format;    // of all sound tracks together, as they lie when decoded
    IxmlMetadata ixml;         // timecode and its rate
    BextChunk bext;            // the day of its recording
};

/** Reads the head of a clip. A failed result is the sentence for the user. */
[[nodiscard]] juce::Result describeClip (const juce::File&, ClipDescription&);

/** Takes what a clip's sound tracks hold, as it is decoded. */
struct ClipSink
{
    /** Told of each track before its first frames. */
    std::function<void (const AudioFormatInfo& track)> beginTrack;

    /** Whole interleaved frames of a track, little-endian, at a frame of the clip's timeline; ahead of it, and between it
        and the frames before, is silence. False ends the decoding. */
    std::function<bool (size_t track, juce::int64 frame, std::span<const juce::uint8> frames)> write;
};

/** Decodes all sound tracks of a clip from its beginning to its end. What is damaged is silence, and the tracks go on where
    they are whole again. A failed result is the sentence for the user. */
[[nodiscard]] juce::Result decodeClip (const juce::File&, const ClipSink&);

}    // namespace ld
