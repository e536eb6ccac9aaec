#include "workspace/KeyTable.h"
#include "workspace/MainComponent.h"
#include "workspace/WavePicture.h"

#include "batch/Workers.h"
#include "media/Timecode.h"

#include <cmath>

// What the keys do, and what part of the take is seen.

namespace ld
{
namespace
{

/** Samples of the poly's channels, all together, as they are read for a close look. */
HostSamples readHostSamples (const juce::File& file, SpineSpan span)
{
    HostSamples samples { file, span.start, {}, {} };
    BwfReader reader;

    if (reader.open (file))
        reader.readChannels (span.start, span.length, samples.channels);

    for (const auto& channel : samples.channels)
        samples.curves.push_back (levelOf (channel, closeBucket));

    return samples;
}

}    // namespace

bool MainComponent::keyPressed (const juce::KeyPress& key)
{
    if (key == juce::KeyPress::escapeKey && (keyPanel.isVisible() || runPanel.isShowing()))
    {
        keyPanel.isVisible() ? toggleKeyPanel() : bringResults (false);
        return true;
    }

    const auto command = commandOf (key);

    if (! command || (needsTake (*command) && ! session.host.format.valid)
        || (*command == Command::saveAs && ! hasWork()))
        return false;

    obey (*command);
    return true;
}

void MainComponent::obey (Command command)
{
    using enum Command;
    const auto frame = samplesPerFrame();

    switch (command)
    {
        case playOrPause: return togglePlay();
        case play: return playIn (false);
        case playBackwards: return playIn (true);
        case stop: return stopPlaying();
        case previousEdge: return seekEdge (false);
        case nextEdge: return seekEdge (true);
        case takeStart: return seekPlayhead (0);
        case takeEnd: return seekPlayhead (session.host.format.numFrames);
        case left: return nudgeOrStep (-1, -frame);
        case right: return nudgeOrStep (1, frame);
        case secondBack: return jumpSeconds (-1);
        case secondForward: return jumpSeconds (1);
        case nudgeFrameBack: return nudgeSelected (-frame);
        case nudgeFrameForward: return nudgeSelected (frame);
        case nudgeSampleBack: return nudgeSelected (-1);
        case nudgeSampleForward: return nudgeSelected (1);
        case laneAbove: return stepLane (-1);
        case laneBelow: return stepLane (1);
        case findPlace: return searchSelected();
        case rename: return inspector.editName();
        case removeTrack: return removeSelected();
        case mute:
        case solo: return switchSelected (command == solo);
        case drawFaders:
            return drawFadersButton.setToggleState (! drawFadersButton.getToggleState(), juce::sendNotification);
        case monitorMix: return toggleMonitorMixer();
        case zoomIn: return spine.zoomBy (2.0);
        case zoomOut: return spine.zoomBy (0.5);
        case zoomAll: return spine.setView (showing (spine.view(), { 0, takeLength (session) }));
        case zoomToSelected: return showSelected();
        case previousTake: return stepBatch (-1);
        case nextTake: return stepBatch (1);
        case undo: return this->undo();
        case redo: return this->redo();
        case openPolys: return openHostChooser();
        case openSession: return openSessionChooser();
        case save: return saveSessionChooser();
        case saveAs: return saveSessionAs ([] {});
        case addFolder: return session.host.format.valid ? openIsoFolderChooser() : openFolderChooser();
        case openPicture: return openVideoChooser();
        case combine: return combineAllChooser();
        case exportTexts: return exportChooser();
        case soundReport: return soundReportChooser();
        case showKeys: return toggleKeyPanel();
    }
}

juce::int64 MainComponent::samplesPerFrame() const
{
    const auto fps = parseFrameRate (session.host.ixml.timecodeRate);
    return (juce::int64) std::lround (session.host.format.sampleRate / (fps > 0.0 ? fps : 24.0));
}

void MainComponent::nudgeOrStep (juce::int64 nudge, juce::int64 step)
{
    if (session.selectedGuest.isNull())
        seekPlayhead (preview.playhead + step);
    else
        nudgeSelected (nudge);
}

void MainComponent::seekEdge (bool isForward)
{
    if (const auto edge = edgeBeside (session, preview.playhead, isForward))
        seekPlayhead (*edge);
}

void MainComponent::playIn (bool isBackwards)
{
    if (preview.playing && preview.backwards == isBackwards)
        return;

    if (preview.playing)
        stopPlaying();

    preview.backwards = isBackwards;
    switchTransport();
}

void MainComponent::switchSelected (bool isSolo)
{
    const auto index = laneNumber (session, session.selectedGuest, spine.chosenChannel);

    if (! index || *index >= session.mixerCount())
        return showStatus (index ? "Only the first 32 lanes are mixed." : "Select a lane first.");

    const auto wasMuted = session.mixerMuteAt (*index, preview.playhead);
    const auto wasSolo = session.mixerAt (*index).solo;
    changeMixer (isSolo ? (wasSolo ? "Solo off" : "Solo") : (wasMuted ? "Unmute" : "Mute"), *index, [&] {
        if (isSolo)
            session.mixerAt (*index).solo = ! wasSolo;
        else
            session.setMixerMute (*index, ! wasMuted, preview.playhead, preview.playing);
    });
    work.endStroke();
}

// From lane to lane, those of the poly too; without one, from the end that is left behind.
void MainComponent::stepLane (int by)
{
    const auto lanes = layOutLanes (session, {});

    if (lanes.empty() || sketch != nullptr)
        return;

    const auto last = (int) lanes.size() - 1;
    const auto chosen = laneNumber (session, session.selectedGuest, spine.chosenChannel);
    const auto next = std::clamp (chosen ? *chosen + by : (by > 0 ? 0 : last), 0, last);
    const auto& lane = lanes[(size_t) next];
    selectGuest (lane.guestId, lane.channel);
    spine.revealLane (next);
}

void MainComponent::showSelected()
{
    if (const auto* const guest = session.findGuest (session.selectedGuest))
        spine.setView (showing (spine.view(), spanOf (*guest, session.host.format.sampleRate)));
    else
        showStatus ("Select a recording first.");
}

// The timeline is close enough to show samples of the poly, which are on the disk.
void MainComponent::readSamplesAsync (SpineSpan span)
{
    const auto host = session.host.file;
    desk.start (
        JobKind::side,
        {},
        [host, span] (const auto&) { return readHostSamples (host, span); },
        [this, host, span] (HostSamples samples) {
        if (session.host.file == host)
            spine.showSamples (std::move (samples), span);
        },
        [this] (const juce::String& sentence) { showStatus (sentence); });
}

void MainComponent::toggleKeyPanel()
{
    keyPanel.setVisible (! keyPanel.isVisible());
    keyPanel.toFront (keyPanel.isVisible());
}

}    // namespace ld
