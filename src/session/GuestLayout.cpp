#include "session/GuestLayout.h"

#include "media/ClockStretches.h"
#include "media/LargeBuffers.h"
#include "media/MemoryBudget.h"
#include "media/SoundFile.h"
#include "sync/ClipAudio.h"
#include "sync/Signal.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace ld
{
namespace
{

using juce::int64;

constexpr int64 closestGap = 24;    // samples: what is left of a file's end and the next one's beginning
constexpr double joinSeconds = 0.002;

double rateOf (const AudioFormatInfo& format)
{
    return std::max (format.sampleRate, 1);
}

// One file with the place of its stretches on the host.
struct OpenPiece
{
    GuestPiece piece;
    SoundFile sound;
    std::vector<StretchSpan> spans;

    [[nodiscard]] int64 start() const { return spans.front().hostStart; }

    [[nodiscard]] int64 end() const
    {
        int64 last = start();

        for (const auto& span : spans)
            last = std::max (last, span.hostStart + span.hostLength);

        return last;
    }

    void moveBy (int64 delta)
    {
        piece.alignment = movedBy (std::move (piece.alignment), delta);

        for (auto& span : spans)
            span.hostStart += delta;
    }
};

std::optional<OpenPiece> openPiece (const HostTake& host, const GuestPiece& source)
{
    OpenPiece opened;

    if (opened.sound.open (source.file).failed())
        return {};

    opened.piece.alignment = source.alignment;
    opened.piece.saved = source.saved;
    opened.piece.wantsHash = source.wantsHash;
    copyIdentity (opened.sound, opened.piece);

    if (opened.piece.alignment.stretches.empty())
        opened.piece.alignment.stretches = { { 0, source.alignment.offsetSamples, source.alignment.driftSlope } };

    // A file without a single frame still counts for one sample.
    opened.spans = spansOf (opened.piece.alignment.stretches,
                            std::max<int64> (opened.sound.framesInFile(), 1),
                            rateOf (opened.sound.format),
                            rateOf (host.format));

    if (opened.spans.empty())
        return {};

    return opened;
}

// Samples of a stretch on the host's clock, from its first on.
std::vector<float> render (std::span<const float> file, const StretchSpan& span, int64 count)
{
    auto out = makeZeros<float> ((size_t) count);
    resampleStretch (file.subspan ((size_t) span.fromSample), 0, out, 0, span.ratio);
    return out;
}

float fadeAt (size_t i, size_t length)
{
    return 0.5f - 0.5f * std::cos (std::numbers::pi_v<float> * ((float) i + 0.5f) / (float) length);
}

// Joins a stretch to what lies ahead of it: across a gap both ends fade, otherwise the earlier one fades into the later.
void join (std::span<float> out, int64 at, bool hasGap, int64 gapStart, std::span<const float> earlier)
{
    const auto length = earlier.size();

    for (size_t i = 0; i < length; ++i)
    {
        const auto rising = fadeAt (i, length);
        auto& later = out[(size_t) at + i];
        later = hasGap ? rising * later : rising * later + (1.0f - rising) * earlier[i];

        if (hasGap)
            out[(size_t) gapStart - 1 - i] *= rising;
    }
}

std::vector<float> layOutChannel (
    std::span<const float> file, const std::vector<StretchSpan>& spans, int64 start, int64 length, double hostRate)
{
    const auto fade = std::max<int64> ((int64) (joinSeconds * hostRate), 1);
    auto out = makeZeros<float> ((size_t) length);
    std::vector<float> tail;    // how the stretch before would have gone on

    for (size_t i = 0; i < spans.size(); ++i)
    {
        const auto& span = spans[i];
        const auto at = span.hostStart - start;
        const auto rendered = render (file, span, span.hostLength + fade);
        std::copy_n (rendered.begin(), span.hostLength, out.begin() + at);

        if (i > 0)
        {
            const auto& before = spans[i - 1];
            const auto gapStart = before.hostStart + before.hostLength - start;
            const auto count = std::min ({ fade, span.hostLength, before.hostLength });
            join (out, at, at > gapStart, gapStart, std::span<const float> (tail).first ((size_t) count));
        }

        tail.assign (rendered.end() - fade, rendered.end());
    }

    return out;
}

void closeSmallGaps (std::vector<OpenPiece>& pieces)
{
    for (size_t i = 1; i < pieces.size(); ++i)
        if (const auto gap = pieces[i].start() - pieces[i - 1].end(); std::abs (gap) <= closestGap)
            pieces[i].moveBy (-gap);
}

std::vector<std::vector<float>> readPiece (const HostTake& host, const OpenPiece& opened)
{
    const auto length = opened.end() - opened.start();
    requireMemory (((double) opened.sound.framesInFile() + (double) length) * opened.sound.format.channels
                   * (double) sizeof (float));
    auto channels = opened.sound.readAllChannels();

    for (auto& channel : channels)
    {
        channel.resize (std::max<size_t> (channel.size(), 1));
        channel = layOutChannel (channel, opened.spans, opened.start(), length, rateOf (host.format));
    }

    return channels;
}

}    // namespace

int64 layOutGuest (const HostTake& host, GuestClip& guest)
{
    std::vector<OpenPiece> opened;

    for (const auto& piece : guest.pieces)
        if (auto one = openPiece (host, piece))
            opened.push_back (std::move (*one));

    if (opened.empty())
        return guest.alignment.offsetSamples;

    std::stable_sort (opened.begin(), opened.end(), [] (auto& a, auto& b) { return a.start() < b.start(); });
    closeSmallGaps (opened);
    const auto first = opened.front().start();
    std::vector<std::vector<std::vector<float>>> audio;
    std::vector<PlacedAudio> placed;
    std::vector<GuestPiece> pieces;
    size_t channelCount = 1;
    int64 length = 1;
    audio.reserve (opened.size());

    for (auto& one : opened)
    {
        if (one.piece.wantsHash)
            one.sound.keepHash();

        audio.push_back (readPiece (host, one));
        one.piece.xxh64 = one.sound.finishHash().value_or ("");
        one.piece.alignment.offsetSamples = one.start();
        one.piece.offsetSamples = one.start() - first;
        placed.push_back ({ &audio.back(), one.piece.offsetSamples });
        channelCount = std::max (channelCount, audio.back().size());
        length = std::max (length, one.end() - first);
        pieces.push_back (one.piece);
    }

    // One file needs no second copy.
    auto channels = placed.size() == 1 ? std::move (audio.front()) : layOutAudio (placed, channelCount, length);
    copyIdentity (pieces.front(), guest);
    guest.format.channels = (int) channelCount;
    guest.pieces = std::move (pieces);
    guest.channelAudio = std::move (channels);
    guest.monoAudio = mixdown (guest.channelAudio);
    rebuildGuestPeaks (guest);
    return first;
}

}    // namespace ld
