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
constexpr float overviewHeight = 34.0f, laneBarWidth = 6.0f;

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

SpineFrame layOutSpine (Area bounds, const TimelineView& view)
{
    const auto x = bounds.getX() + margin, y = bounds.getY() + topMargin;
    const auto width = std::max (bounds.getWidth() - 2.0f * margin, 0.0f);
    const auto height = std::max (bounds.getHeight() - 2.0f * topMargin, 0.0f);
    const auto ruler = std::min (height, rulerHeight), label = std::min (width, SpineFrame::labelColumn);
    const auto lane = width - label, handle = std::min (lane, handleWidth);
    const auto overview = view.isZoomed() ? std::min (height - ruler, overviewHeight) : 0.0f;
    const auto lanes = height - ruler - overview;
    return { .ruler = Area (x + label, y, lane, ruler),
             .timeline = Area (x + label, y + ruler, lane - handle, lanes),
             .labels = Area (x, y, SpineFrame::labelColumn, height),
             .overview = Area (x + label, y + ruler + lanes, lane - handle, overview),
             .laneBar = Area (bounds.getRight() - margin + 1.0f, y + ruler, laneBarWidth, lanes) };
}

LaneWindow laneWindow (const Session& session, Area bounds, const TimelineView& view)
{
    const auto guestLanes = countGuestLanes (session.guests);
    const auto gap = guestLanes >= 1 ? guestGap : 0.0f;
    const auto space = layOutSpine (bounds, view).timeline.getHeight();
    LaneWindow lanes { .total = countHostLanes (session.host) + guestLanes };
    lanes.height = view.laneHeight > 0.0f
                       ? view.laneHeight
                       : std::clamp ((space - gap) / (float) std::max (lanes.total, 1), lowestLane, highestLane);
    lanes.last = std::max (lanes.total - std::max ((int) ((space - gap) / lanes.height + 0.01f), 1), 0);
    lanes.first = std::clamp (view.firstLane, 0, lanes.last);
    return lanes;
}

std::vector<SpineLane> layOutLanes (const Session& session, Area bounds, const TimelineView& view)
{
    const auto& host = session.host;
    std::vector<SpineLane> lanes;

    if (! host.format.valid)
        return lanes;

    const auto frame = layOutSpine (bounds, view);
    const auto window = laneWindow (session, bounds, view);
    auto top = frame.timeline.getY();
    auto index = 0;

    const auto add = [&] (SpineLane lane) {
        lane.mixerIndex = index++;

        if (lane.mixerIndex < window.first)
            return;

        placeLane (lane, frame, top, window.height);
        lanes.push_back (lane);
        top += window.height;
    };

    for (int c = 0; c < std::max (host.format.channels, 1); ++c)
        if (! isChannelOmitted (host, c))
            add ({ .hostChannel = c,
                   .channel = c,
                   .hasMixer = (size_t) c >= host.tracks.size() || isMixSourceTrack (host.tracks[(size_t) c]) });

    top += countGuestLanes (session.guests) >= 1 ? guestGap : 0.0f;

    for (const auto& guest : session.guests)
        for (int c = 0; c < lanesShown (guest); ++c)
            add ({ .isGuest = true, .guestId = guest.id, .channel = c, .hasMixer = ! isOriginalMixLane (guest, c) });

    return lanes;
}

int64 takeLength (const Session& session) noexcept
{
    return std::max<int64> (session.host.format.numFrames, 1);
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

Area blockBounds (Area timeline, SpineSpan span, SpineSpan visible) noexcept
{
    const auto clamped = [&] (int64 sample) {
        return std::clamp (xOfSample (timeline, sample, visible), timeline.getX(), timeline.getRight());
    };
    const auto from = clamped (span.start), to = clamped (span.end());

    if (to <= from)
        return {};

    constexpr float narrowest = 3.0f;
    return { from, timeline.getY() + 5.0f, std::max (to - from, narrowest), timeline.getHeight() - 10.0f };
}

std::optional<int> laneNumber (const Session& session, const juce::Uuid& guest, int channel)
{
    const auto lanes = layOutLanes (session, {});
    const auto found = std::ranges::find_if (
        lanes, [&] (const auto& lane) { return lane.guestId == guest && lane.channel == channel; });
    return found != lanes.end() ? std::optional (found->mixerIndex) : std::nullopt;
}

std::optional<int64> edgeBeside (const Session& session, int64 sample, bool isForward)
{
    std::optional<int64> nearest;

    for (const auto& guest : session.guests)
        for (const auto& block : blocksOf (guest, session.host.format.sampleRate))
            for (const auto edge : { block.span.start, block.span.end() })
            {
                const auto isBeyond = isForward ? edge > sample : edge < sample;
                const auto isInTake = edge >= 0 && edge < takeLength (session);

                if (isBeyond && isInTake && (! nearest || (isForward ? edge < *nearest : edge > *nearest)))
                    nearest = edge;
            }

    return nearest;
}

SpineSpan spanOf (const GuestClip& guest, int hostSampleRate)
{
    const auto blocks = blocksOf (guest, hostSampleRate);

    if (blocks.empty())
        return {};

    auto span = blocks.front().span;

    for (const auto& block : blocks)
    {
        const auto start = std::min (span.start, block.span.start);
        span = { start, std::max (span.end(), block.span.end()) - start };
    }

    return span;
}

std::vector<MixAutomationPoint> visibleGainLine (const std::vector<MixAutomationPoint>& points, SpineSpan visible)
{
    std::vector<MixAutomationPoint> line;
    const auto at = [] (const MixAutomationPoint& a, const MixAutomationPoint& b, int64 sample) {
        auto between = a;
        between.sample = sample;
        between.gainDb +=
            (b.gainDb - a.gainDb) * (float) ((double) (sample - a.sample) / (double) (b.sample - a.sample));
        return between;
    };

    for (size_t i = 0; i < points.size(); ++i)
    {
        const auto& point = points[i];

        for (const auto edge : { visible.start, visible.end() })
            if (i > 0 && points[i - 1].sample < edge && edge < point.sample)
                line.push_back (at (points[i - 1], point, edge));

        if (point.sample >= visible.start && point.sample <= visible.end())
            line.push_back (point);
    }

    return line;
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
