#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/SpinePainter.h"

#include <functional>

namespace ld
{

/** The timeline: a lane for each channel of the poly and of its guests, the whole take at first, and any part of it as closely
    as one likes. It reads the session, on the message thread, and hands every gesture to its owner; where no callback is set
    for the mixer it changes the session itself. It decides which part is seen. It repaints only on request. */
class WaveformSpine : public juce::Component, public juce::TooltipClient
{
public:
    using LaneHit = SpineLane;

    WaveformSpine();

    std::function<void (juce::Uuid, int lane)> onGuestSelected;
    std::function<void (juce::Uuid, juce::int64 offset)> onGuestMoved;
    std::function<void()> onSelectionCleared;
    std::function<void (int channel)> onHostLaneChosen;      // follows onSelectionCleared
    std::function<void (int channel)> onReferenceChannel;    // for a control that is yet to come
    std::function<void (juce::int64 sample)> onSeek;
    std::function<void (int mixerIndex, float db)> onMixerGain;
    std::function<void (int mixerIndex, float db, juce::int64 sample, juce::int64 previousSample)> onDrawGain;
    std::function<void (int mixerIndex, bool isMuted)> onMixerMute;
    std::function<void (bool isGuest, juce::Uuid, int channel)> onRemoveTrack;
    std::function<void()> onStrokeEnded;    // the button is up: what comes next is another gesture

    /** Samples of the poly's channels are wanted for a close look, to be given by showSamples. Not asked again for what was
        asked last. */
    std::function<void (SpineSpan)> onSamplesWanted;

    // The owner's, who outlives this.
    LookAndFeel* lookAndFeel = nullptr;
    Session* session = nullptr;

    juce::int64 playhead = 0;     // what the lanes show, host samples
    bool fileDragOver = false;    // files hover
    bool isReading = false;       // the session is a sketch: it can be looked at, and nothing more
    int chosenChannel = -1;    // with the session's selected guest, the lane that keys mean; without one, of the poly

    [[nodiscard]] juce::Rectangle<float> timelineBounds() const;
    [[nodiscard]] std::vector<LaneHit> layoutLanes() const;

    /** What is seen, for the take that the session holds. */
    [[nodiscard]] TimelineView view() const;
    void setView (const TimelineView&);

    /** Closer by a factor above 1, or further; around the playhead where it is visible, else around the middle. */
    void zoomBy (double factor);

    /** Scrolls to a lane, as laneNumber counts, where it is not in sight. */
    void revealLane (int number);

    /** Another take: the whole of it, from its first lane. Sizes stay. */
    void showWholeTake();

    /** Keeps the playhead in sight; for an owner that plays. */
    void followPlayhead();

    /** Takes what was asked for; what has been overtaken by another question is dropped. */
    void showSamples (HostSamples, SpineSpan asked);

    /** In draw mode a drag over a lane writes its fader line. */
    void setDrawFaderMode (bool);

    void mouseWheelMove (const juce::MouseEvent&, const juce::MouseWheelDetails&) override;
    void mouseMagnify (const juce::MouseEvent&, float scale) override;
    void resized() override { askForSamples(); }
    void paint (juce::Graphics&) override;
    juce::String getTooltip() override;
    void mouseMove (const juce::MouseEvent&) override;
    void mouseExit (const juce::MouseEvent&) override;
    void mouseDown (const juce::MouseEvent&) override;
    void mouseDrag (const juce::MouseEvent&) override;
    void mouseUp (const juce::MouseEvent&) override;

private:
    [[nodiscard]] bool hasHost() const;
    [[nodiscard]] bool isInUse (int mixerIndex) const;
    [[nodiscard]] std::optional<LaneHit> laneOf (int mixerIndex) const;
    bool pressLane (const LaneHit&, juce::Point<float>);
    bool dragDrawing (juce::Point<float>);
    bool dragFader (juce::Point<float>);
    bool pressBars (juce::Point<float>);
    void dragOverview (float x);
    void dragLaneBar (float y);
    void scrollLanes (float wheel);
    void askForSamples();
    void seekTo (float x);
    void dragGuest (float x);
    void drawFaderAt (const LaneHit&, juce::Point<float>, bool startStroke);
    void setGain (int mixerIndex, float db);
    void setMute (int mixerIndex, bool isMuted);

    juce::Uuid draggedGuest = juce::Uuid::null();
    bool seeking = false, isMoving = false, isInOverview = false, isInLaneBar = false;
    int faderDragIndex = -1;
    int drawIndex = -1;    // of the last stroke; it outlives it
    float dragStartX = 0.0f;
    juce::int64 dragStartOffset = 0, lastDrawSample = -1;
    bool drawFaderMode = false;

    TimelineView shown;
    float laneScroll = 0.0f;    // what is left of the wheel's turns below a lane
    HostSamples samples;
    SpineSpan samplesAsked;
    juce::TimedCallback viewRests { [this] { askForSamples(); } };
};

}    // namespace ld
