#include "workspace/WaveformSpine.h"

#include "workspace/WavePicture.h"

#include <cmath>

// Which part of the take is seen: wheel, pinch, overview and bar.

namespace ld
{

TimelineView WaveformSpine::view() const
{
    auto now = shown;
    now.takeLength = session != nullptr ? takeLength (*session) : 1;
    return now;
}

void WaveformSpine::setView (const TimelineView& wanted)
{
    constexpr int restMs = 60;    // longer than from one turn of a wheel to the next
    shown = wanted;

    if (hasHost())
        shown.firstLane = laneWindow (*session, getLocalBounds().toFloat(), view()).first;

    // Not while the view moves: reading takes the processor's time from the pictures.
    viewRests.startTimer (restMs);
    repaint();
}

void WaveformSpine::zoomBy (double factor)
{
    const auto visible = view().visible();
    const auto share = (double) (playhead - visible.start) / (double) visible.length;
    setView (zoomed (view(), factor, share >= 0.0 && share <= 1.0 ? share : 0.5));
}

void WaveformSpine::revealLane (int number)
{
    if (session == nullptr)
        return;

    const auto lanes = laneWindow (*session, getLocalBounds().toFloat(), view());
    const auto inSight = std::max (lanes.total - lanes.last, 1);
    auto scrolled = view();
    scrolled.firstLane = std::clamp (lanes.first, number - inSight + 1, number);
    setView (scrolled);
}

void WaveformSpine::showWholeTake()
{
    shown.span = {};
    shown.firstLane = 0;
    chosenChannel = -1;
    samples = {};
    samplesAsked = {};
    repaint();
}

void WaveformSpine::followPlayhead()
{
    if (const auto now = view(); now.isZoomed() && ! isMouseButtonDown())
        if (const auto next = following (now, playhead); next != now)
            setView (next);
}

void WaveformSpine::showSamples (HostSamples read, SpineSpan asked)
{
    if (asked != samplesAsked)
        return;

    samples = std::move (read);
    askForSamples();    // the view may have gone on meanwhile
    repaint();
}

// For the poly's channels, which are not in memory. Half a screen more on either side, so that a turn of the wheel finds them.
void WaveformSpine::askForSamples()
{
    viewRests.stopTimer();

    if (! hasHost() || isReading || session->host.peaks.empty())
        return;

    const auto now = view();
    const auto visible = now.visible();

    if (! wantsSamples (session->host.peaks.front(), samplesPerPixel (timelineBounds(), visible)))
        return;

    const auto contains = [] (SpineSpan outer, SpineSpan inner) {
        return outer.start <= inner.start && outer.end() >= inner.end();
    };
    const auto from = std::max<juce::int64> (visible.start - 2, 0);
    const SpineSpan needed { from, std::min (visible.end() + 2, now.takeLength) - from };

    if (contains (samplesAsked, needed) || (samples.file == session->host.file && contains (samples.span(), needed)))
        return;

    const auto room = visible.length / 2 + 2;
    const auto start = std::max<juce::int64> (visible.start - room, 0);
    samplesAsked = { start, std::min (visible.end() + room, now.takeLength) - start };

    if (onSamplesWanted)
        onSamplesWanted (samplesAsked);
}

void WaveformSpine::mouseWheelMove (const juce::MouseEvent& event, const juce::MouseWheelDetails& wheel)
{
    constexpr double zoomPerTurn = 2.0, pagesPerTurn = 0.5;

    if (! hasHost())
        return;

    const auto timeline = timelineBounds();
    const auto now = view();
    const auto visible = now.visible();
    const auto& keys = event.mods;
    const auto turn = std::abs (wheel.deltaY) >= std::abs (wheel.deltaX) ? wheel.deltaY : wheel.deltaX;
    const auto isSideways = std::abs (wheel.deltaX) > std::abs (wheel.deltaY);

    if (keys.isCommandDown() && keys.isShiftDown())
    {
        const auto height = laneWindow (*session, getLocalBounds().toFloat(), now).height;
        setView (withLaneHeight (now, height * (float) std::pow (zoomPerTurn, turn)));
    }
    else if (keys.isCommandDown())
    {
        const auto anchor =
            (double) (event.position.x - timeline.getX()) / std::max ((double) timeline.getWidth(), 1.0);
        setView (zoomed (now, std::pow (zoomPerTurn, turn * 2.0), std::clamp (anchor, 0.0, 1.0)));
    }
    else if (keys.isAltDown())
        setView (withWaveHeight (now, now.waveHeight * (float) std::pow (zoomPerTurn, turn)));
    else if (keys.isShiftDown() || isSideways)
        setView (
            scrolledTo (now, visible.start - (juce::int64) std::round (turn * pagesPerTurn * (double) visible.length)));
    else
        scrollLanes (turn);
}

void WaveformSpine::mouseMagnify (const juce::MouseEvent& event, float scale)
{
    if (! hasHost() || scale <= 0.0f)
        return;

    const auto timeline = timelineBounds();
    const auto anchor = (double) (event.position.x - timeline.getX()) / std::max ((double) timeline.getWidth(), 1.0);
    setView (zoomed (view(), scale, std::clamp (anchor, 0.0, 1.0)));
}

void WaveformSpine::scrollLanes (float wheel)
{
    constexpr float lanesPerTurn = 6.0f;
    laneScroll -= wheel * lanesPerTurn;
    const auto lanes = (int) laneScroll;
    laneScroll -= (float) lanes;

    if (lanes == 0)
        return;

    auto next = view();
    next.firstLane = laneWindow (*session, getLocalBounds().toFloat(), next).first + lanes;
    setView (next);
}

// Answers whether the press hit the overview or the bar of the lanes.
bool WaveformSpine::pressBars (juce::Point<float> at)
{
    const auto frame = layOutSpine (getLocalBounds().toFloat(), view());
    isInOverview = frame.overview.contains (at);
    isInLaneBar = frame.laneBar.contains (at) && laneWindow (*session, getLocalBounds().toFloat(), view()).last > 0;

    if (isInOverview)
        dragOverview (at.x);
    else if (isInLaneBar)
        dragLaneBar (at.y);

    return isInOverview || isInLaneBar || at.y > frame.timeline.getBottom() + 4.0f;
}

void WaveformSpine::dragOverview (float x)
{
    const auto now = view();
    const auto middle = sampleAt (timelineBounds(), x, { 0, now.takeLength });
    setView (scrolledTo (now, middle - now.visible().length / 2));
}

void WaveformSpine::dragLaneBar (float y)
{
    const auto bounds = getLocalBounds().toFloat();
    const auto bar = layOutSpine (bounds, view()).laneBar;
    const auto window = laneWindow (*session, bounds, view());
    const auto share = std::clamp ((y - bar.getY()) / std::max (bar.getHeight(), 1.0f), 0.0f, 1.0f);
    auto next = view();
    next.firstLane = (int) std::lround (share * (float) window.last);
    setView (next);
}

}    // namespace ld
