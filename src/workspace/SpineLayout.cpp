#include "workspace/SpineLayout.h"

#include "media/ClockStretches.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

using Area = juce::Rectangle<float>;
using juce::int64;

constexpr float margin = 8.0f, topMargin = 4.0f, rulerHeight = 46.0f, handleWidth = 30.0f;
constexpr float guestGap = 36.0f, lowestLane = 52.0f, highestLane = 92.0f, buttonSize = 22.0f;

int lanesShown (const GuestClip& guest)
{
    return guest.lanesHidden ? 0 : lanesOf (guest);
}

int countHostLanes (const HostTake& host)
{
    auto count = 0;

    for (int c = 0; c < std::max (host.format.channels, 1); ++c)
        count += isChannelOmitted (host, c) ? 0 : 1;

    return count;
}

int countGuestLanes (const std::vector<GuestClip>& guests)
{
    auto count = 0;

    for (const auto& guest : guests)
        count += lanesShown (guest);

    return count;
}

void placeLane (SpineLane& lane, const SpineFrame& frame, float top, float height)
{
    const auto x = frame.labels.getX(), middle = top + (height - buttonSize) / 2.0f;
    lane.timeline = { frame.timeline.getX(), top, frame.timeline.getWidth(), height };
    lane.label = { x, top, 240.0f, height };
    lane.fader = { x + 244.0f, top + 6.0f, 14.0f, std::max (height - 12.0f, 20.0f) };
    lane.muteButton = { x + 264.0f, middle, buttonSize, buttonSize };
    lane.removeButton = { frame.timeline.getRight() + 4.0f, middle, buttonSize, buttonSize };
}

}    // namespace

SpineFrame layOutSpine (Area bounds)
{
    const auto x = bounds.getX() + margin, y = bounds.getY() + topMargin;
    const auto width = std::max (bounds.getWidth() - 2.0f * margin, 0.0f);
    const auto height = std::max (bounds.getHeight() - 2.0f * topMargin, 0.0f);
    const auto ruler = std::min (height, rulerHeight), label = std::min (width, SpineFrame::labelColumn);
    const auto lane = width - label, handle = std::min (lane, handleWidth);
    return { .ruler = Area (x + label, y, lane, ruler),
             .timeline = Area (x + label, y + ruler, lane - handle, height - ruler),
             .labels = Area (x, y, SpineFrame::labelColumn, height) };
}

std::vector<SpineLane> layOutLanes (const Session& session, Area bounds)
{
    const auto& host = session.host;
    std::vector<SpineLane> lanes;

    if (! host.format.valid)
        return lanes;

    const auto frame = layOutSpine (bounds);
    const auto guestLanes = countGuestLanes (session.guests);
    const auto gap = guestLanes >= 1 ? guestGap : 0.0f;
    const auto total = (float) std::max (countHostLanes (host) + guestLanes, 1);
    const auto height = std::clamp ((frame.timeline.getHeight() - gap) / total, lowestLane, highestLane);
    auto top = frame.timeline.getY();

    const auto add = [&] (SpineLane lane) {
        lane.mixerIndex = (int) lanes.size();
        placeLane (lane, frame, top, height);
        lanes.push_back (lane);
        top += height;
    };

    for (int c = 0; c < std::max (host.format.channels, 1); ++c)
        if (! isChannelOmitted (host, c))
            add ({ .hostChannel = c,
                   .channel = c,
                   .hasMixer = (size_t) c >= host.tracks.size() || isMixSourceTrack (host.tracks[(size_t) c]) });

    top += gap;

    for (const auto& guest : session.guests)
        for (int c = 0; c < lanesShown (guest); ++c)
            add ({ .isGuest = true, .guestId = guest.id, .channel = c, .hasMixer = ! isOriginalMixLane (guest, c) });

    return lanes;
}

int64 takeLength (const Session& session) noexcept
{
    return std::max<int64> (session.host.format.numFrames, 1);
}

float xOfSample (Area timeline, int64 sample, int64 length) noexcept
{
    return timeline.getX() + (float) ((double) sample / (double) length) * timeline.getWidth();
}

double shareAt (Area timeline, float x) noexcept
{
    return std::clamp ((double) (x - timeline.getX()) / std::max ((double) timeline.getWidth(), 1.0), 0.0, 1.0);
}

float gainDbAtHeight (Area area, float y) noexcept
{
    if (area.getHeight() <= 1.0f)
        return 0.0f;

    const auto t = (y - area.getY()) / area.getHeight();
    return t < 0.0f ? highestGainDb : (1.0f - std::min (t, 1.0f)) * (highestGainDb - lowestGainDb) + lowestGainDb;
}

std::vector<SpineBlock> blocksOf (const GuestClip& guest, int hostSampleRate)
{
    std::vector<SpineBlock> blocks;
    const auto add = [&] (const GuestPiece& piece) {
        for (const auto& span : spansOf (stretchesOnHost (guest.alignment, piece),
                                         piece.format.numFrames,
                                         std::max (piece.format.sampleRate, 1),
                                         hostSampleRate))
            blocks.push_back ({ piece.file, { span.hostStart, span.hostLength } });
    };

    for (const auto& piece : guest.pieces)
        add (piece);

    if (guest.pieces.empty())
    {
        GuestPiece whole;
        copyIdentity (guest, whole);
        add (whole);
    }

    return blocks;
}

Area blockBounds (Area timeline, SpineSpan span, int64 length) noexcept
{
    const auto clamped = [&] (int64 sample) {
        return std::clamp (xOfSample (timeline, sample, length), timeline.getX(), timeline.getRight());
    };
    const auto from = clamped (span.start), to = clamped (span.start + span.length);

    if (to <= from)
        return {};

    constexpr float narrowest = 3.0f;
    return { from, timeline.getY() + 5.0f, std::max (to - from, narrowest), timeline.getHeight() - 10.0f };
}

std::vector<SpineSpan> mutedSpans (const std::vector<MixMutePoint>& points, int64 length)
{
    std::vector<SpineSpan> spans;

    if (points.size() < 2)
        return spans;

    int64 start = 0;
    auto isMuted = points.front().mute;

    for (const auto& point : points)
    {
        if (isMuted && point.sample > start)
            spans.push_back ({ start, point.sample - start });

        start = point.sample;
        isMuted = point.mute;
    }

    if (isMuted && length > start)
        spans.push_back ({ start, length - start });

    return spans;
}

}    // namespace ld
