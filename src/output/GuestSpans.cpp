#include "output/GuestSpans.h"

#include "media/ClockStretches.h"
#include "media/Rounding.h"

#include <algorithm>

namespace ld
{
namespace
{

using juce::int64;

int64 scaled (int64 count, int fromRate, int toRate)
{
    return roundToSamples ((double) count * std::max (toRate, 1) / std::max (fromRate, 1));
}

std::vector<GuestPiece> piecesOf (const GuestClip& guest)
{
    if (! guest.pieces.empty())
        return guest.pieces;

    GuestPiece piece;
    copyIdentity (guest, piece);
    return { piece };
}

// Whole stretches, on the timeline of the take but not yet cut to it.
std::vector<GuestSpan> wholeSpans (int hostRate, const GuestClip& guest)
{
    // A session that was edited by hand can state any place; sums of these must not overflow.
    static constexpr auto farthest = int64 { 1 } << 60;
    const auto limited = [] (int64 place) { return std::clamp (place, -farthest, farthest); };
    const auto place = limited (guest.alignment.offsetSamples);
    auto clip = guest.alignment;
    clip.offsetSamples = place;
    std::vector<GuestSpan> spans;

    for (auto& piece : piecesOf (guest))
    {
        piece.offsetSamples = limited (piece.offsetSamples);

        const auto known = spans.size();

        for (const auto& span : spansOf (stretchesOnHost (clip, piece),
                                         framesHeld (piece.format),
                                         std::max (piece.format.sampleRate, 1),
                                         std::max (hostRate, 1)))
            spans.push_back (
                { .piece = piece, .start = span.hostStart, .length = span.hostLength, .sourceStart = span.fromSample });

        // A file of which only the audio is known.
        if (spans.size() == known)
            spans.push_back ({ .piece = piece, .start = place + piece.offsetSamples });
    }

    std::ranges::stable_sort (spans, {}, &GuestSpan::start);

    // The laid-out audio gives the end to the sample, the clock's drift included.
    if (! guest.channelAudio.empty())
        spans.back().length = place + (int64) guest.channelAudio.front().size() - spans.back().start;

    for (size_t i = 0; i + 1 < spans.size(); ++i)
        spans[i].length = std::min (spans[i].length, spans[i + 1].start - spans[i].start);

    return spans;
}

GuestSpan cutTo (int64 takeLength, int hostRate, GuestSpan span)
{
    const auto begin = std::clamp<int64> (span.start, 0, takeLength);
    const auto end = std::clamp (span.end(), begin, takeLength);
    span.sourceStart += scaled (begin - span.start, hostRate, span.piece.format.sampleRate);
    span.start = begin;
    span.length = end - begin;
    return span;
}

}    // namespace

std::vector<GuestSpan> guestSpans (const HostTake& host, const GuestClip& guest)
{
    const auto takeLength = std::max<int64> (host.format.numFrames, 0);
    auto spans = wholeSpans (host.format.sampleRate, guest);

    for (auto& span : spans)
        span = cutTo (takeLength, host.format.sampleRate, std::move (span));

    std::erase_if (spans, [] (const auto& span) { return span.length < 1; });
    return spans;
}

juce::String guestName (const GuestClip& guest)
{
    if (! guest.tracks.empty() && guest.tracks.front().name.isNotEmpty())
        return guest.tracks.front().name;

    return guest.file.getFileNameWithoutExtension();
}

}    // namespace ld
