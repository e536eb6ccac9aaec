#pragma once

#include <juce_core/juce_core.h>

#include <memory>
#include <vector>

struct AVCodecContext;
struct AVFormatContext;
struct AVStream;

namespace ld
{

/** A clip as libavformat sees it, with its sound tracks. */
class ClipInput
{
public:
    ClipInput();
    ~ClipInput();
    ClipInput (const ClipInput&) = delete;
    ClipInput& operator= (const ClipInput&) = delete;

    struct CodecCloser
    {
        void operator() (AVCodecContext*) const;
    };

    struct Track
    {
        AVStream* stream = nullptr;
        std::unique_ptr<AVCodecContext, CodecCloser> codec;
        juce::int64 length = 0;    // frames of the clip's timeline, up to the track's end
    };

    /** Opens the file and the decoders of its sound tracks. The first track decides the rate; others of another rate are
        left out. A failed result is the sentence for the user. */
    [[nodiscard]] juce::Result open (const juce::File&);

    [[nodiscard]] AVFormatContext& format() const noexcept { return *context; }
    [[nodiscard]] const std::vector<Track>& soundTracks() const noexcept { return tracks; }
    [[nodiscard]] int sampleRate() const noexcept;

    /** The frame of the clip's timeline at which a time of a track lies; may be negative.
        time   in the stream's own units */
    [[nodiscard]] juce::int64 frameAt (const AVStream&, juce::int64 time) const noexcept;

private:
    struct Stream;
    struct FormatCloser
    {
        void operator() (AVFormatContext*) const;
    };

    void openTrack (AVStream&);
    [[nodiscard]] juce::int64 lengthOf (const AVStream&) const;
    void countFrames();
    void findZero();

    std::unique_ptr<Stream> file;
    std::unique_ptr<AVFormatContext, FormatCloser> context;
    std::vector<Track> tracks;
    juce::int64 zero =
        0;    // where the clip's timeline begins by the file's clock; in units of transport streams, 1/90000 s
};

}    // namespace ld
