#if LD_HAS_LIBAV

#include "media/ClipInput.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <optional>
#include <span>

namespace ld
{
namespace
{

constexpr AVRational transportClock { 1, 90000 };
constexpr juce::int64 mostSecondsOfSilence = 3600;    // a track that starts later is damaged

// A FLAC frame of 65535 equal samples takes 11 bytes; nothing holds more in less.
constexpr juce::int64 mostFramesPerByte = 6000;

// Containers that a clip may be: others could name further files, or addresses.
const char* const knownContainers = "mov,mxf,mpegts,flac";

bool isTransportStream (const AVFormatContext& format)
{
    return juce::String (format.iformat->name).startsWith ("mpegts");
}

// Their heads say all; what else is looked into costs time, as pictures are decoded for it.
bool saysAllInItsHead (const AVFormatContext& format)
{
    const auto name = juce::String (format.iformat->name);

    if (! name.startsWith ("mov") && name != "mxf")
        return false;

    for (const auto* stream : std::span (format.streams, format.nb_streams))
        if (const auto& codec = *stream->codecpar; codec.codec_type == AVMEDIA_TYPE_AUDIO)
            if (codec.sample_rate < 1 || codec.ch_layout.nb_channels < 1)
                return false;

    return true;
}

bool hasSound (const AVFormatContext& format)
{
    return std::ranges::any_of (std::span (format.streams, format.nb_streams),
                                [] (const auto* stream) { return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO; });
}

juce::Result notReadable (const juce::File& clip)
{
    return juce::Result::fail ("Could not read " + clip.getFileName()
                               + ": it is damaged, or of a kind that is not known.");
}

}    // namespace

// What libavformat reads from.
struct ClipInput::Stream
{
    static constexpr int bufferBytes = 1 << 16;

    explicit Stream (const juce::File& clip)
        : in (clip),
          io (avio_alloc_context (
              static_cast<unsigned char*> (av_malloc (bufferBytes)), bufferBytes, 0, this, read, nullptr, seek))
    {
    }

    ~Stream()
    {
        if (io != nullptr)
            av_freep (&io->buffer);

        avio_context_free (&io);
    }

    static int read (void* self, uint8_t* bytes, int count)
    {
        const auto got = static_cast<Stream*> (self)->in.read (bytes, count);
        return got > 0 ? got : AVERROR_EOF;
    }

    static int64_t seek (void* self, int64_t offset, int whence)
    {
        auto& in = static_cast<Stream*> (self)->in;

        if ((whence & AVSEEK_SIZE) != 0)
            return in.getTotalLength();

        const auto origin = whence == SEEK_CUR ? in.getPosition() : whence == SEEK_END ? in.getTotalLength() : 0;
        return origin + offset >= 0 && in.setPosition (origin + offset) ? origin + offset : AVERROR (EINVAL);
    }

    juce::FileInputStream in;
    AVIOContext* io;
};

ClipInput::ClipInput() = default;
ClipInput::~ClipInput() = default;

void ClipInput::CodecCloser::operator() (AVCodecContext* codec) const
{
    avcodec_free_context (&codec);
}

void ClipInput::FormatCloser::operator() (AVFormatContext* format) const
{
    avformat_close_input (&format);
}

juce::Result ClipInput::open (const juce::File& clip)
{
    av_log_set_level (AV_LOG_QUIET);
    file = std::make_unique<Stream> (clip);
    auto* opening = avformat_alloc_context();

    if (! file->in.openedOk() || file->io == nullptr || opening == nullptr)
    {
        avformat_free_context (opening);
        return notReadable (clip);
    }

    AVDictionary* options = nullptr;
    av_dict_set (&options, "format_whitelist", knownContainers, 0);
    opening->pb = file->io;
    const auto fault = avformat_open_input (&opening, nullptr, nullptr, &options);    // frees the context if it fails
    av_dict_free (&options);

    if (fault < 0)
        return notReadable (clip);

    context.reset (opening);

    if (! saysAllInItsHead (*context) && avformat_find_stream_info (context.get(), nullptr) < 0)
        return notReadable (clip);

    findZero();

    for (auto* stream : std::span (context->streams, context->nb_streams))
        openTrack (*stream);

    if (tracks.empty() && hasSound (*context))
        return juce::Result::fail ("The sound of " + clip.getFileName() + " is of a kind that is not known.");

    if (! tracks.empty() && context->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE)
        countFrames();

    return juce::Result::ok();
}

// In movie files and MXF the timeline begins at 0, whatever a track's edit list leaves out or adds ahead of it. A transport
// stream begins somewhere on its clock: with its picture, as the timecode counts from there.
void ClipInput::findZero()
{
    if (! isTransportStream (*context))
        return;

    std::optional<juce::int64> picture, sound;

    for (const auto* stream : std::span (context->streams, context->nb_streams))
    {
        if (stream->start_time == AV_NOPTS_VALUE)
            continue;

        const juce::int64 start = av_rescale_q (stream->start_time, stream->time_base, transportClock);
        const auto isPicture = stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
        auto& earliest = isPicture ? picture : sound;
        earliest = std::min (start, earliest.value_or (start));
    }

    zero = picture.value_or (sound.value_or (0));
}

void ClipInput::openTrack (AVStream& stream)
{
    stream.discard = AVDISCARD_ALL;
    const auto& sound = *stream.codecpar;

    if (sound.codec_type != AVMEDIA_TYPE_AUDIO || (! tracks.empty() && sound.sample_rate != sampleRate()))
        return;

    const auto* decoder = avcodec_find_decoder (sound.codec_id);
    Track track { &stream, { avcodec_alloc_context3 (decoder), {} }, 0 };

    if (decoder == nullptr || track.codec == nullptr || avcodec_parameters_to_context (track.codec.get(), &sound) < 0)
        return;

    // Without it a decoder that is told to drop its own delay does not say when the rest is heard.
    track.codec->pkt_timebase = stream.time_base;

    if (avcodec_open2 (track.codec.get(), decoder, nullptr) < 0 || track.codec->sample_rate != sound.sample_rate
        || sound.sample_rate < 1 || track.codec->ch_layout.nb_channels < 1)
        return;

    stream.discard = AVDISCARD_DEFAULT;
    tracks.push_back (std::move (track));
    tracks.back().length = lengthOf (stream);
}

juce::int64 ClipInput::lengthOf (const AVStream& stream) const
{
    const auto start = stream.start_time == AV_NOPTS_VALUE ? 0 : frameAt (stream, stream.start_time);
    const auto mostFrames = file->in.getTotalLength() * mostFramesPerByte;

    if (stream.duration == AV_NOPTS_VALUE || stream.duration < 0 || start > mostSecondsOfSilence * sampleRate())
        return 0;

    const auto duration = av_rescale_q (stream.duration, stream.time_base, { 1, sampleRate() });
    return std::max<juce::int64> (start + std::clamp<juce::int64> (duration, 0, mostFrames), 0);
}

// Of a file whose head does not say how long it is.
void ClipInput::countFrames()
{
    auto* packet = av_packet_alloc();

    while (packet != nullptr && av_read_frame (context.get(), packet) >= 0)
    {
        for (auto& track : tracks)
            if (track.stream->index == packet->stream_index && packet->pts != AV_NOPTS_VALUE)
                track.length = std::max (track.length, frameAt (*track.stream, packet->pts + packet->duration));

        av_packet_unref (packet);
    }

    av_packet_free (&packet);
    juce::ignoreUnused (avformat_seek_file (context.get(), -1, INT64_MIN, 0, 0, 0));
}

int ClipInput::sampleRate() const noexcept
{
    return tracks.empty() ? 0 : tracks.front().codec->sample_rate;
}

juce::int64 ClipInput::frameAt (const AVStream& stream, juce::int64 time) const noexcept
{
    const auto start = av_rescale_q (zero, transportClock, stream.time_base);
    return av_rescale_q (time - start, stream.time_base, { 1, std::max (sampleRate(), 1) });
}

}    // namespace ld

#endif
