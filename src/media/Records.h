#pragma once

#include "media/PeakCurve.h"

#include <array>
#include <cstdint>
#include <vector>

namespace ld
{

/** What the `fmt ` chunk of a wave file says, and how much audio stands behind it; of a clip, the same as it is when decoded. */
struct AudioFormatInfo
{
    juce::int32 channels = 0;
    juce::int32 sampleRate = 48000;
    juce::int32 bitsPerSample = 24;    // container width
    juce::int32 bytesPerSample = 3;
    juce::uint16 formatTag = 1;       // 1 PCM, 3 IEEE float; for an extensible file the tag of its sub-format
    juce::int64 numFrames = 0;        // as the header states it: the length of the recording's timeline
    juce::int64 missingFrames = 0;    // of these, the ones at the end that a file cut short does not hold
    juce::int64 dataBytes = 0;
    bool isFloat = false;
    bool isRf64 = false;
    bool isClip = false;    // the sound of a camera's clip or the like: never that of a poly
    bool valid = false;     // a readable file was opened

    bool operator== (const AudioFormatInfo&) const = default;
};

/** The frames that are there to be heard. What a recording has in common with another, by its stamp or by its sound, is
    a question to these; a header's promise beyond them is silence on a timeline, and nothing else. */
[[nodiscard]] inline juce::int64 framesHeld (const AudioFormatInfo& format) noexcept
{
    return format.numFrames - format.missingFrames;
}

/** One chunk of a wave file, as its header states it. */
struct ChunkLoc
{
    std::array<char, 4> id {};
    juce::int64 headerOffset = 0;
    juce::int64 dataOffset = 0;
    juce::int64 size = 0;    // 0xFFFFFFFF for the `data` chunk of an RF64 file; its real size is in `ds64`
};

/** A chunk that the program does not understand, kept to be written back unchanged. */
struct PreservedChunk
{
    juce::String id;
    juce::MemoryBlock data;

    bool operator== (const PreservedChunk&) const = default;
};

/** The Broadcast Audio Extension chunk (EBU Tech 3285). */
struct BextChunk
{
    static constexpr juce::int16 loudnessNotSet = 0x7FFF;

    bool present = false;
    juce::String description, originator, originatorReference, originationDate, originationTime;
    juce::uint64 timeReference = 0;    // samples since midnight, at the file's rate
    juce::uint16 version = 0;
    std::array<juce::uint8, 64> umid {};
    juce::int16 loudnessValue = loudnessNotSet;    // this and the next four in hundredths
    juce::int16 loudnessRange = loudnessNotSet;
    juce::int16 maxTruePeakLevel = loudnessNotSet;
    juce::int16 maxMomentaryLoudness = loudnessNotSet;
    juce::int16 maxShortTermLoudness = loudnessNotSet;
    juce::String codingHistory;
    juce::MemoryBlock
        sourceText;    // the five text fields as the file has them; an unchanged field is written back like that

    bool operator== (const BextChunk&) const = default;
};

/** One channel's identity in a poly or an export. */
struct TrackInfo
{
    juce::int32 channelIndex = 1;       // 1-based
    juce::int32 interleaveIndex = 1;    // 1-based; this, never the place in a list, says which audio channel it is
    juce::String name;
    juce::String function = "OTHER";
    juce::String notes;    // the user's; never written to iXML
    bool isHost = true;
    juce::int32 chosenChannel = 0;    // the channel number that the user gave it in combined files; 0: the next one

    bool operator== (const TrackInfo&) const = default;
};

/** What an `iXML` chunk says, and the text that it was read from. */
struct IxmlMetadata
{
    bool present = false;
    juce::String rawXml;    // the whole text, so that elements unknown here survive a rewrite
    juce::String project, scene, take, tape, note;
    juce::String familyUid, familyName, fileUid, originalFilename;
    juce::String timecodeRate = "24/1";    // a rational
    juce::String timecodeFlag = "NDF";
    double fileSampleRate = 48000.0;
    double timestampSampleRate = 48000.0;
    juce::uint64 timestampSamples = 0;    // since midnight, at timestampSampleRate
    bool hasTimestamp = false;            // tells a stamp of midnight from no stamp
    juce::int32 audioBitDepth = 24;
    std::vector<TrackInfo> tracks;    // in document order

    bool operator== (const IxmlMetadata&) const = default;
};

/** A stretch of a file along which its clock ran evenly: frame f of the file lies on host sample
    hostSample + (f - fromSample) * host rate / file rate * (1 + slope), up to where the next stretch begins. */
struct ClockStretch
{
    juce::int64 fromSample = 0;    // of the file, at its own rate
    juce::int64 hostSample = 0;    // may be negative
    double slope = 0.0;            // below 0 the file's clock runs fast

    bool operator== (const ClockStretch&) const = default;
};

/** Where a guest sits against its host, and how that was found. */
struct Alignment
{
    enum class Method : juce::int32
    {
        none = 0,
        timecode = 1,
        waveform = 2,
        timecodeRefined = 3,
        manual = 4
    };

    juce::int64 offsetSamples = 0;    // of the guest's first sample, in host samples; negative: it starts earlier
    Method method = Method::none;
    float confidence = 0.0f;     // 0 to 1 once it was proved or checked, a z-score after a match of coefficients
    bool needsManual = false;    // the user must look at it
    double driftSlope = 0.0;     // clock ratio of guest to host, minus 1
    juce::String detail;         // a sentence for the user

    // Of one file, where its place was proved: in order, the first from sample 0. Empty: offset and drift are all there is.
    std::vector<ClockStretch> stretches {};
    juce::String evidence {};    // the evidence for the place, in words

    bool operator== (const Alignment&) const = default;
};

/** The word for a method in reports and session documents. */
[[nodiscard]] juce::String methodWord (Alignment::Method);

/** The method of a word; none for any other text. */
[[nodiscard]] Alignment::Method methodOfWord (const juce::String&);

/** One file of a guest clip. */
struct GuestPiece
{
    juce::File file;
    AudioFormatInfo format;
    BextChunk bext;
    IxmlMetadata ixml;
    juce::int64 offsetSamples = 0;    // start within the clip, in host samples; the earliest piece has 0
    Alignment alignment;              // of this file alone, on the host, as it is laid out
    Alignment saved;           // as the work has it: joined to a neighbour a file may lie a few samples beside it
    bool wantsHash = false;    // its hash is to be made when its audio is read
    juce::String xxh64;        // of the whole file, once it was
};

/** One file as a folder scan saw it; no audio. */
struct ScanFile
{
    juce::File file;
    AudioFormatInfo format;
    BextChunk bext;
    IxmlMetadata ixml;
    Alignment alignment;    // what a batch match found for it against its poly
};

/** The poly that is being conformed. */
struct HostTake
{
    juce::File file;
    AudioFormatInfo format;
    BextChunk bext;
    IxmlMetadata ixml;
    std::vector<TrackInfo> tracks;    // sorted by interleaveIndex
    std::vector<PeakLane> peaks;      // one for each channel
    std::vector<PreservedChunk> extraChunks;
    std::vector<float> referenceAudio;           // the reference channel, whole, at the host's rate
    std::vector<juce::uint8> omittedChannels;    // 1 leaves a channel out; a missing entry means that it stays
};

/** One ISO source, made of one or more files, placed against the host. */
struct GuestClip
{
    juce::Uuid id = juce::Uuid::null();
    juce::File file;           // this and the next three are those of the earliest piece,
    AudioFormatInfo format;    // but for format.channels, the largest count of any piece
    BextChunk bext;
    IxmlMetadata ixml;
    Alignment alignment;
    std::vector<TrackInfo> tracks;
    std::vector<TrackInfo> givenTracks;    // as the files name them, ahead of the user's edits
    std::vector<PeakLane> peaks;
    std::vector<float> monoAudio;                    // the mixdown of channelAudio, for the search
    std::vector<std::vector<float>> channelAudio;    // at the host's rate, all of one length
    std::vector<GuestPiece> pieces;                  // with audio in the clip once it is placed
    std::vector<GuestPiece> leftOut;                 // files of this source that found no place beside the others
    juce::String notes;
    bool isMissing = false;    // none of its files is there today
    bool matchPending = false;
    bool lanesHidden = false;
    float waveEmphasis = 0.0f;    // 0 to 1, how brightly the timeline draws it
};

/** The picture that a take is watched with; its sound is not used. */
struct ReferencePicture
{
    juce::File file;
    bool loaded = false;
    juce::int64 timestampSamples = 0;    // its start on the host's clock, at the rate of the host's stamp
    double durationSeconds = 0.0;
    juce::String timecodeRate = "24/1";
};

/** Copies what names a file and what it says of itself, which a reader and all media records share. */
template <typename Source, typename Target>
void copyIdentity (const Source& source, Target& target)
{
    target.file = source.file;
    target.format = source.format;
    target.bext = source.bext;
    target.ixml = source.ixml;
}

[[nodiscard]] inline bool isChannelOmitted (const HostTake& host, int channel) noexcept
{
    return channel >= 0 && (size_t) channel < host.omittedChannels.size()
           && host.omittedChannels[(size_t) channel] != 0;
}

/** Every file of a guest, placed or not; of a clip without pieces its own. */
[[nodiscard]] std::vector<juce::File> filesOf (const GuestClip&);

/** True if the place has not been searched for yet. */
[[nodiscard]] inline bool isUnsearched (const Alignment& alignment) noexcept
{
    return alignment.method == Alignment::Method::none && ! alignment.needsManual;
}

/** The name of a poly's channel, or "Ch 3" and the like where it has none. */
[[nodiscard]] juce::String channelName (const HostTake&, int channel);

}    // namespace ld
