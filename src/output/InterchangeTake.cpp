#include "output/InterchangeTake.h"

#include "media/BextIxml.h"
#include "media/Rounding.h"
#include "output/BwfWriter.h"

#include <algorithm>

namespace ld
{
namespace
{

using juce::int64;

int rateOf (const AudioFormatInfo& format)
{
    return std::max (format.sampleRate, 1);
}

int64 stampFrame (const GuestPiece& piece, const TimecodeRate& rate)
{
    if (! hasAudioTimestamp (piece.ixml, piece.bext))
        return 0;

    return frameAt (
        timestampFromIxmlOrBext (piece.ixml, piece.bext), sampleRateForTimestamp (piece.ixml, piece.format), rate);
}

InterchangeClip clipOf (const GuestSpan& span, int hostRate, const InterchangeTake& take)
{
    InterchangeClip clip;
    clip.file = span.piece.file;
    clip.start = framesOf (span.start, hostRate, take.rate);
    clip.length = std::max<int64> (framesOf (span.end(), hostRate, take.rate) - clip.start, 1);
    clip.sourceFirst = stampFrame (span.piece, take.rate);
    clip.sourceStart = clip.sourceFirst + framesOf (span.sourceStart, rateOf (span.piece.format), take.rate);
    return clip;
}

}    // namespace

InterchangeTake interchangeTakeOf (const HostTake& host)
{
    const auto stampRate = sampleRateForTimestamp (host.ixml, host.format);
    InterchangeTake take { .rate = timecodeRateOf (host.ixml.timecodeRate, host.ixml.timecodeFlag) };
    take.start = frameAt (timestampFromIxmlOrBext (host.ixml, host.bext), stampRate, take.rate);
    take.length = framesOf (std::max<int64> (host.format.numFrames, 0), rateOf (host.format), take.rate);
    return take;
}

InterchangeClip combinedClip (const InterchangeRequest& request, const InterchangeTake& take)
{
    return {
        .file = request.combinedFile, .length = take.length, .sourceStart = take.start, .sourceFirst = take.start
    };
}

std::optional<InterchangeClip> pictureClip (const InterchangeRequest& request, const InterchangeTake& take)
{
    const auto& picture = request.video;

    if (! picture.loaded)
        return {};

    const auto isStamped = picture.timestampSamples > 0;
    const auto stampRate = sampleRateForTimestamp (request.host.ixml, request.host.format);
    const auto first = isStamped ? frameAt ((juce::uint64) picture.timestampSamples, stampRate, take.rate) : 0;
    const auto place = isStamped ? first - take.start : 0;
    const auto length = picture.durationSeconds > 0.0 ? roundToSamples (picture.durationSeconds * take.rate.fps)
                                                      : std::max<int64> (take.length - place, 0);
    InterchangeClip clip { .file = picture.file };
    clip.start = std::clamp<int64> (place, 0, take.length);
    clip.length = std::clamp (place + length, clip.start, take.length) - clip.start;
    clip.sourceFirst = first;
    clip.sourceStart = first + clip.start - place;
    return clip.length > 0 ? std::optional (clip) : std::nullopt;
}

std::vector<GuestSpan> spansOfGuest (const InterchangeRequest& request, size_t guest)
{
    return guest < request.spans.size() ? request.spans[guest] : guestSpans (request.host, request.guests[guest]);
}

std::vector<InterchangeClip> guestClips (const InterchangeRequest& request, size_t guest, const InterchangeTake& take)
{
    std::vector<InterchangeClip> clips;
    int64 end = 0;

    for (const auto& span : spansOfGuest (request, guest))
    {
        auto clip = clipOf (span, rateOf (request.host.format), take);

        // A stretch that was rounded up to a frame must not reach into the next.
        const auto late = std::max<int64> (end - clip.start, 0);
        clip.start += late;
        clip.sourceStart += late;
        clip.length = std::max<int64> (clip.length - late, 1);
        end = clip.end();
        clips.push_back (clip);
    }

    return clips;
}

std::vector<TrackInfo> combinedTracks (const InterchangeRequest& request)
{
    return buildExportTracks (request.host, request.guests, true);
}

juce::String oneLine (const juce::String& text)
{
    return text.replaceCharacters ("\t\r\n", "   ").trim();
}

juce::String fileUrl (const juce::File& file)
{
    juce::String url ("file://");

    const auto& path = file.getFullPathName();

    for (const auto* at = path.toRawUTF8(); *at != 0; ++at)
    {
        const auto byte = (juce::uint8) *at;
        const auto isPlain = byte < 0x80 && (juce::CharacterFunctions::isLetterOrDigit (*at) || strchr ("/-._~", *at));
        url << (isPlain ? juce::String::charToString ((juce::juce_wchar) byte)
                        : "%" + juce::String::toHexString ((int) byte).paddedLeft ('0', 2).toUpperCase());
    }

    return url;
}

}    // namespace ld
