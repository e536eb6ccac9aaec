#include "workspace/WaveformSpine.h"

#include "workspace/SpineText.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

template <typename Callback, typename... Arguments>
void tell (const Callback& callback, Arguments&&... arguments)
{
    if (callback)
        callback (std::forward<Arguments> (arguments)...);
}

}    // namespace

WaveformSpine::WaveformSpine()
{
    setTitle ("Timeline");
    setHelpText (
        "The poly's channels and the recordings that were matched to it. Drag a recording to move it, press the "
        "ruler to seek.");
    setOpaque (true);
}

bool WaveformSpine::hasHost() const
{
    return session != nullptr && session->host.format.valid;
}

bool WaveformSpine::isInUse (int mixerIndex) const
{
    return juce::isPositiveAndBelow (mixerIndex, session->mixerCount());
}

juce::Rectangle<float> WaveformSpine::timelineBounds() const
{
    return layOutSpine (getLocalBounds().toFloat(), view()).timeline;
}

std::vector<WaveformSpine::LaneHit> WaveformSpine::layoutLanes() const
{
    return session != nullptr ? layOutLanes (*session, getLocalBounds().toFloat(), view()) : std::vector<LaneHit>();
}

std::optional<WaveformSpine::LaneHit> WaveformSpine::laneOf (int mixerIndex) const
{
    for (const auto& lane : layoutLanes())
        if (lane.mixerIndex == mixerIndex)
            return lane;

    return {};
}

void WaveformSpine::paint (juce::Graphics& g)
{
    if (lookAndFeel == nullptr)
        return;

    if (session == nullptr)
        return paintEmptySpine (g, *lookAndFeel);

    paintSpine (g,
                *lookAndFeel,
                *session,
                getLocalBounds().toFloat(),
                { playhead, drawFaderMode, fileDragOver, view(), &samples, chosenChannel });
}

// Names and words are cut where the column is narrow.
juce::String WaveformSpine::getTooltip()
{
    if (! hasHost())
        return {};

    const auto mouse = getMouseXYRelative().toFloat();

    for (const auto& lane : layoutLanes())
        if (lane.label.contains (mouse))
        {
            const auto* const guest = session->findGuest (lane.guestId);
            return guest != nullptr ? guestLaneTip (*guest, lane.channel) : hostLaneTip (session->host, lane.channel);
        }

    return {};
}

void WaveformSpine::setDrawFaderMode (bool isOn)
{
    drawFaderMode = isOn;
    drawIndex = -1;
    lastDrawSample = -1;
    setMouseCursor (isOn ? juce::MouseCursor::CrosshairCursor : juce::MouseCursor::NormalCursor);
    repaint();
}

void WaveformSpine::mouseMove (const juce::MouseEvent& event)
{
    auto shape = juce::MouseCursor::NormalCursor;

    if (drawFaderMode && hasHost())
        for (const auto& lane : layoutLanes())
            if (lane.hasMixer && lane.timeline.contains (event.position))
                shape = juce::MouseCursor::CrosshairCursor;

    setMouseCursor (shape);
}

void WaveformSpine::mouseExit (const juce::MouseEvent&)
{
    if (! drawFaderMode)
        setMouseCursor (juce::MouseCursor::NormalCursor);
}

void WaveformSpine::mouseDown (const juce::MouseEvent& event)
{
    draggedGuest = juce::Uuid::null();
    seeking = isMoving = isInOverview = isInLaneBar = false;
    faderDragIndex = -1;

    if (! hasHost() || pressBars (event.position) || isReading)
        return;

    const auto timeline = timelineBounds();
    const auto at = event.position;

    if (at.x >= timeline.getX() && at.x <= timeline.getRight() && at.y < timeline.getY())
    {
        seeking = true;
        return seekTo (at.x);
    }

    for (const auto& lane : layoutLanes())
        if (pressLane (lane, at))
            return;

    tell (onSelectionCleared);
}

// Answers whether the press hit something of this lane.
bool WaveformSpine::pressLane (const LaneHit& lane, juce::Point<float> at)
{
    const auto hasChannel = lane.hasMixer && isInUse (lane.mixerIndex);

    if (lane.removeButton.contains (at))
        tell (onRemoveTrack, lane.isGuest, lane.guestId, lane.channel);
    else if (drawFaderMode && hasChannel && lane.timeline.contains (at))
        drawFaderAt (lane, at, true);
    else if (hasChannel && lane.fader.contains (at))
    {
        faderDragIndex = lane.mixerIndex;
        setGain (lane.mixerIndex, gainDbAtHeight (lane.fader, at.y));
    }
    else if (hasChannel && lane.muteButton.contains (at))
        setMute (lane.mixerIndex, ! session->mixerMuteAt (lane.mixerIndex, playhead));
    else if (lane.isGuest && (lane.timeline.contains (at) || lane.label.contains (at)))
    {
        draggedGuest = lane.guestId;
        dragStartX = at.x;

        if (const auto* guest = session->findGuest (lane.guestId))
            dragStartOffset = guest->alignment.offsetSamples;

        tell (onGuestSelected, lane.guestId, lane.channel);
    }
    else if (! lane.isGuest && (lane.timeline.contains (at) || lane.label.contains (at)))
    {
        tell (onSelectionCleared);
        tell (onHostLaneChosen, lane.channel);
    }
    else
        return false;

    return true;
}

void WaveformSpine::mouseDrag (const juce::MouseEvent& event)
{
    if (! hasHost())
        return;

    if (isInOverview)
        return dragOverview (event.position.x);

    if (isInLaneBar)
        return dragLaneBar (event.position.y);

    if (dragDrawing (event.position) || dragFader (event.position))
        return;

    // A hand that shakes while it clicks moves nothing.
    constexpr float shake = 4.0f;
    isMoving = isMoving || std::abs (event.position.x - dragStartX) >= shake;

    if (seeking)
        seekTo (event.position.x);
    else if (! draggedGuest.isNull() && isMoving)
        dragGuest (event.position.x);
}

bool WaveformSpine::dragDrawing (juce::Point<float> at)
{
    const auto lane = drawFaderMode && drawIndex >= 0 ? laneOf (drawIndex) : std::nullopt;

    if (lane)
        drawFaderAt (*lane, at.withY (std::clamp (at.y, lane->timeline.getY(), lane->timeline.getBottom())), false);

    return lane.has_value();
}

bool WaveformSpine::dragFader (juce::Point<float> at)
{
    const auto lane = isInUse (faderDragIndex) ? laneOf (faderDragIndex) : std::nullopt;

    if (lane)
        setGain (faderDragIndex, gainDbAtHeight (lane->fader, at.y));

    return lane.has_value();
}

void WaveformSpine::mouseUp (const juce::MouseEvent&)
{
    draggedGuest = juce::Uuid::null();
    seeking = isInOverview = isInLaneBar = false;
    faderDragIndex = -1;
    lastDrawSample = -1;
    tell (onStrokeEnded);
}

void WaveformSpine::seekTo (float x)
{
    tell (onSeek, std::min (sampleAt (timelineBounds(), x, view().visible()), session->host.format.numFrames));
}

void WaveformSpine::dragGuest (float x)
{
    const auto moved = samplesOfPixels (timelineBounds(), x - dragStartX, view().visible());
    tell (onGuestMoved, draggedGuest, moved + dragStartOffset);
}

void WaveformSpine::drawFaderAt (const LaneHit& lane, juce::Point<float> at, bool startStroke)
{
    if (! hasHost() || ! lane.hasMixer || lane.mixerIndex < 0)
        return;

    // A point on the last sample of what is visible is the last that can be drawn.
    const auto visible = view().visible();
    const auto sample = sampleAt (lane.timeline, at.x, { visible.start, visible.length - 1 });
    const auto db = gainDbAtHeight (lane.timeline, at.y);
    const auto previous = startStroke ? -1 : lastDrawSample;

    if (onDrawGain)
        onDrawGain (lane.mixerIndex, db, sample, previous);
    else
        session->drawMixerGain (lane.mixerIndex, db, sample, previous);

    lastDrawSample = sample;
    drawIndex = lane.mixerIndex;
    repaint();
}

void WaveformSpine::setGain (int mixerIndex, float db)
{
    if (onMixerGain)
        onMixerGain (mixerIndex, db);
    else
        session->setMixerGain (mixerIndex, db, playhead, false);

    repaint();
}

void WaveformSpine::setMute (int mixerIndex, bool isMuted)
{
    if (onMixerMute)
        onMixerMute (mixerIndex, isMuted);
    else
        session->setMixerMute (mixerIndex, isMuted, playhead, false);

    repaint();
}

}    // namespace ld
