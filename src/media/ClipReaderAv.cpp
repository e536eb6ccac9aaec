#include "media/ClipReader.h"

#if LD_HAS_LIBAV

#include "media/ClipInput.h"
#include "media/FileText.h"
#include "media/Rounding.h"
#include "media/Timecode.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <utility>

namespace ld
{
namespace
{

using juce::int64;

constexpr juce::uint16 pcmTag = 1, floatTag = 3;
constexpr int64 mostSecondsOfSilence = 3600;

// A track's times are rounded to the container's units, a hundredth of a second at worst; a lost packet leaves out more.
constexpr double gapSeconds = 0.015;

AudioFormatInfo formatOf (const ClipInput::Track& track)
{
    const auto& codec = *track.codec;
    const auto kind = av_get_packed_sample_fmt (codec.sample_fmt);
    const auto isWhole = kind == AV_SAMPLE_FMT_U8 || kind == AV_SAMPLE_FMT_S16 || kind == AV_SAMPLE_FMT_S32;
    const auto bits = codec.bits_per_raw_sample > 0 ? codec.bits_per_raw_sample : 32;

    AudioFormatInfo format;
    format.isClip = format.valid = true;
    format.isFloat = ! isWhole;
    format.formatTag = isWhole ? pcmTag : floatTag;
    format.channels = codec.ch_layout.nb_channels;
    format.sampleRate = codec.sample_rate;
    format.bitsPerSample = kind == AV_SAMPLE_FMT_U8 || kind == AV_SAMPLE_FMT_S16 ? 16
                           : kind == AV_SAMPLE_FMT_S32 && bits <= 24             ? 24
                                                                                 : 32;
    format.bytesPerSample = format.bitsPerSample / 8;
    format.numFrames = track.length;
    format.dataBytes = format.numFrames * format.channels * format.bytesPerSample;
    return format;
}

template <typename Value>
Value valueAt (const juce::uint8* samples, int index)
{
    Value value;
    std::memcpy (&value, samples + (size_t) index * sizeof (Value), sizeof (Value));
    return value;
}

// One sample as it is written: whole ones in the upper bytes of 32 bits, real ones as the bits of a float.
juce::uint32 sampleBits (AVSampleFormat kind, const juce::uint8* samples, int index)
{
    const auto bitsOf = [] (float value) { return std::bit_cast<juce::uint32> (value); };

    switch (kind)
    {
        case AV_SAMPLE_FMT_U8: return (juce::uint32) (samples[index] ^ 0x80) << 24;
        case AV_SAMPLE_FMT_S16: return (juce::uint32) valueAt<juce::uint16> (samples, index) << 16;
        case AV_SAMPLE_FMT_S32: return valueAt<juce::uint32> (samples, index);
        case AV_SAMPLE_FMT_FLT: return bitsOf (valueAt<float> (samples, index));
        case AV_SAMPLE_FMT_DBL: return bitsOf ((float) valueAt<double> (samples, index));
        default: return 0;
    }
}

// Appends frames as they lie in a wave file.
void appendFrames (const AVFrame& frame, const AudioFormatInfo& format, int first, std::vector<juce::uint8>& bytes)
{
    const auto kind = (AVSampleFormat) frame.format;
    const auto isPlanar = av_sample_fmt_is_planar (kind) != 0;
    const auto packed = av_get_packed_sample_fmt (kind);
    bytes.clear();
    bytes.reserve ((size_t) ((frame.nb_samples - first) * format.channels * format.bytesPerSample));

    for (auto i = first; i < frame.nb_samples; ++i)
        for (int c = 0; c < format.channels; ++c)
        {
            const auto* plane = frame.extended_data[isPlanar ? c : 0];
            const auto bits = sampleBits (packed, plane, isPlanar ? i : i * format.channels + c);

            for (auto shift = 32 - format.bitsPerSample; shift < 32; shift += 8)
                bytes.push_back ((juce::uint8) (bits >> shift));
        }
}

// One sound track while it is decoded.
class TrackDecoder
{
public:
    TrackDecoder (const ClipInput& clip, size_t trackIndex, const ClipSink& sinkToUse)
        : input (clip), track (clip.soundTracks()[trackIndex]), index (trackIndex), format (formatOf (track)),
          sink (sinkToUse), frame (av_frame_alloc())
    {
        sink.beginTrack (format);
    }

    ~TrackDecoder() { av_frame_free (&frame); }

    TrackDecoder (const TrackDecoder&) = delete;
    TrackDecoder& operator= (const TrackDecoder&) = delete;

    // Null: the track's end, which brings out what the decoder still holds. A damaged packet is left out.
    bool push (const AVPacket* packet)
    {
        if (frame == nullptr)
            return false;

        auto isWanted = true;

        if (avcodec_send_packet (track.codec.get(), packet) >= 0)
            while (isWanted && avcodec_receive_frame (track.codec.get(), frame) >= 0)
                isWanted = write();

        return isWanted;
    }

private:
    bool write()
    {
        const auto isUsual = frame->format == track.codec->sample_fmt && frame->sample_rate == format.sampleRate
                             && frame->ch_layout.nb_channels == format.channels && frame->nb_samples > 0;

        if (! isUsual)
            return true;

        moveToTime();
        const auto first = (int) std::clamp<int64> (-position, 0, frame->nb_samples);
        const auto left = std::max<int64> (track.length - std::max<int64> (position, 0), 0);
        const auto start = position + first;
        position += frame->nb_samples;
        frame->nb_samples = (int) std::min<int64> (frame->nb_samples, first + left);

        if (first >= frame->nb_samples)
            return true;

        appendFrames (*frame, format, first, bytes);
        return sink.write (index, start, bytes);
    }

    // Where the frame lies: behind the one before, unless its time says that something is missing there.
    void moveToTime()
    {
        if (frame->pts == AV_NOPTS_VALUE)
            return;

        const auto stated = input.frameAt (*track.stream, frame->pts);
        const auto silence = stated - position;
        const auto isGap = silence > (int64) (gapSeconds * format.sampleRate) || std::exchange (isFirst, false);

        if (! isGap || silence > mostSecondsOfSilence * format.sampleRate - silenceSoFar)
            return;

        silenceSoFar += std::max<int64> (silence, 0);
        position = stated;
    }

    const ClipInput& input;
    const ClipInput::Track& track;
    size_t index;
    AudioFormatInfo format;
    const ClipSink& sink;
    AVFrame* frame;
    std::vector<juce::uint8> bytes;
    int64 position = 0;    // of the next frame, on the clip's timeline
    int64 silenceSoFar = 0;
    bool isFirst = true;
};

struct Rate
{
    int64 numerator = 0, denominator = 1;

    [[nodiscard]] bool isKnown() const noexcept { return numerator > 0 && denominator > 0; }
};

// The description of a movie's timecode track holds its own rate (QuickTime File Format, timecode sample description).
std::optional<Rate> rateOfTimecodeTrack (const AVStream& stream)
{
    constexpr int scaleAt = 8, durationAt = 12, describedBytes = 17;
    const auto& track = *stream.codecpar;

    if (track.codec_tag != MKTAG ('t', 'm', 'c', 'd') || track.extradata_size < describedBytes)
        return {};

    return Rate { (int64) juce::ByteOrder::bigEndianInt (track.extradata + scaleAt),
                  (int64) juce::ByteOrder::bigEndianInt (track.extradata + durationAt) };
}

juce::String tagOf (const AVDictionary* tags, const char* name)
{
    const auto* entry = av_dict_get (tags, name, nullptr, 0);
    return entry != nullptr ? textFromBytes (entry->value) : juce::String();
}

// The label of a clip's first picture, and the rate that it counts at.
struct ClipTimecode
{
    juce::String label;
    Rate rate;
};

ClipTimecode timecodeOf (const AVFormatContext& clip)
{
    ClipTimecode timecode { tagOf (clip.metadata, "timecode"), {} };

    for (const auto* stream : std::span (clip.streams, clip.nb_streams))
    {
        const auto label = tagOf (stream->metadata, "timecode");

        if (const auto rate = rateOfTimecodeTrack (*stream); rate && rate->isKnown() && label.isNotEmpty())
            return { label, *rate };

        if (timecode.label.isEmpty())
            timecode.label = label;

        if (stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO || timecode.rate.isKnown())
            continue;

        // MXF counts its pictures in time units of their own length.
        const auto unit = stream->time_base;
        const auto rate = stream->avg_frame_rate.num > 0 ? stream->avg_frame_rate : AVRational { unit.den, unit.num };
        timecode.rate = { rate.num, rate.den };
    }

    return timecode;
}

void readStamp (const AVFormatContext& clip, int sampleRate, IxmlMetadata& ixml)
{
    const auto stamp = [&] (int64 samples) {
        ixml.present = ixml.hasTimestamp = true;
        ixml.timestampSamples = (juce::uint64) samples;
        ixml.timestampSampleRate = ixml.fileSampleRate = sampleRate;
    };

    const auto [label, rate] = timecodeOf (clip);

    if (rate.isKnown())
    {
        const auto fps = (double) rate.numerator / (double) rate.denominator;

        if (const auto frame = frameOfLabel (label, (int) std::clamp<int64> (roundToSamples (fps), 1, 1000)))
        {
            stamp (av_rescale (*frame * sampleRate, rate.denominator, rate.numerator));
            const auto common = std::gcd (rate.numerator, rate.denominator);
            ixml.timecodeRate = juce::String (rate.numerator / common) + "/" + juce::String (rate.denominator / common);
            ixml.timecodeFlag = label.containsAnyOf (";.") ? "DF" : "NDF";
            return;
        }
    }

    // What a converter keeps of a wave file's `bext` stamp.
    if (const auto samples = tagOf (clip.metadata, "time_reference").getLargeIntValue(); samples > 0)
        stamp (samples);
}

}    // namespace

juce::Result describeClip (const juce::File& clip, ClipDescription& description)
{
    ClipInput input;

    if (const auto opened = input.open (clip); opened.failed())
        return opened;

    description = {};
    auto& format = description.format;

    for (const auto& track : input.soundTracks())
    {
        const auto one = formatOf (track);
        const auto channels = format.channels + one.channels;
        const auto frames = std::max (format.numFrames, one.numFrames);
        format = one.bitsPerSample >= format.bitsPerSample || ! format.valid ? one : format;
        format.channels = channels;
        format.numFrames = frames;
    }

    format.isClip = true;
    format.valid = format.channels > 0 && format.numFrames > 0;
    readStamp (input.format(), std::max (input.sampleRate(), 1), description.ixml);

    if (const auto time = tagOf (input.format().metadata, "creation_time"); time.length() >= 10)
        description.bext.originationDate = time.substring (0, 10);

    return juce::Result::ok();
}

juce::Result decodeClip (const juce::File& clip, const ClipSink& sink)
{
    ClipInput input;

    if (const auto opened = input.open (clip); opened.failed())
        return opened;

    std::vector<std::unique_ptr<TrackDecoder>> decoders;

    for (size_t i = 0; i < input.soundTracks().size(); ++i)
        decoders.push_back (std::make_unique<TrackDecoder> (input, i, sink));

    auto* packet = av_packet_alloc();
    auto isWanted = packet != nullptr;

    while (isWanted && av_read_frame (&input.format(), packet) >= 0)
    {
        for (size_t i = 0; i < decoders.size() && isWanted; ++i)
            if (input.soundTracks()[i].stream->index == packet->stream_index)
                isWanted = decoders[i]->push (packet);

        av_packet_unref (packet);
    }

    av_packet_free (&packet);

    for (auto& decoder : decoders)
        isWanted = isWanted && decoder->push (nullptr);

    return juce::Result::ok();
}

}    // namespace ld

#endif
