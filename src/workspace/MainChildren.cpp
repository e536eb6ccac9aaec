#include "workspace/MainComponent.h"

#include "workspace/MainLayout.h"

#include <juce_audio_utils/juce_audio_utils.h>

namespace ld
{

void MainComponent::setUpButton (juce::TextButton& button,
                                 const juce::String& text,
                                 juce::Colour fill,
                                 std::function<void()> onClick)
{
    button.setButtonText (text);
    button.setColour (juce::TextButton::buttonColourId, fill);
    button.setHasFocusOutline (true);
    button.onClick = std::move (onClick);
    addChildComponent (button);
}

// In the order in which the tab key goes through them.
void MainComponent::setUpButtons()
{
    const auto& palette = lookAndFeel.palette;
    setUpButton (openPolysButton, "Open polys", palette.raised, [this] { openHostChooser(); });
    setUpButton (openFolderButton, "Open shoot folder", palette.raised, [this] { openFolderChooser(); });
    setUpButton (openSessionButton, "Open session", palette.raised, [this] { openSessionChooser(); });
    setUpButton (resetButton, "Reset folders", palette.raised, [this] { resetFolders(); });
    setUpButton (addIsoButton, "Add ISO folder", palette.raised, [this] { openIsoFolderChooser(); });
    setUpButton (saveButton, "Save session", palette.raised, [this] { saveSessionChooser(); });
    setUpButton (combineButton, "Combine all tracks", palette.accent, [this] { combineAllChooser(); });
    setUpButton (exportButton, "Export...", palette.raised, [this] { exportChooser(); });
    setUpButton (prevButton, "Prev", palette.ink, [this] { stepBatch (-1); });
    setUpButton (nextButton, "Next", palette.ink, [this] { stepBatch (1); });
    setUpButton (takesButton, "Takes", palette.ink, [this] {
        showsTakes = ! showsTakes;
        resized();
    });
    setUpButton (resultsButton, "Results", palette.ink, [this] { bringResults (! showsResults); });
    setUpButton (undoButton, "Undo", palette.ink, [this] { undo(); });
    setUpButton (redoButton, "Redo", palette.ink, [this] { redo(); });
    setUpButton (findButton, "Find missing...", palette.raised, [this] { findMissingChooser(); });
    setUpButton (rewindButton, "|<", palette.ink, [this] { seekPlayhead (0); });
    setUpButton (backFiveButton, "-5s", palette.ink, [this] { jumpSeconds (-5); });
    setUpButton (playButton, "Play", palette.raised, [this] { togglePlay(); });
    setUpButton (forwardFiveButton, "+5s", palette.ink, [this] { jumpSeconds (5); });
    setUpButton (drawFadersButton, "Draw faders", palette.raised, [this] {
        const auto isOn = drawFadersButton.getToggleState();
        spine.setDrawFaderMode (isOn);
        showStatus (isOn ? "Draw mode: drag on a track to write the fader line." : "Draw mode off.");
    });
    setUpButton (monitorMixButton, "Monitor mix", palette.accent, [this] { toggleMonitorMixer(); });
    setUpButton (outputButton, "Monitoring output", palette.raised, [this] { openOutputSettings(); });
    setUpButton (cancelButton, "Cancel", palette.raised, [this] { cancelJobs(); });

    for (auto* button : { &takesButton, &resultsButton })
        button->setColour (juce::TextButton::buttonOnColourId, palette.raised);

    drawFadersButton.setClickingTogglesState (true);
    drawFadersButton.setColour (juce::TextButton::buttonOnColourId, palette.accent);

    // Signs that a screen reader cannot say.
    rewindButton.setTitle ("To the start");
    backFiveButton.setTitle ("Back five seconds");
    forwardFiveButton.setTitle ("Forward five seconds");
    prevButton.setTitle ("Previous take");
    nextButton.setTitle ("Next take");

    const std::pair<juce::Button*, Command> hints[] = {
        { &openPolysButton, Command::openPolys },   { &openSessionButton, Command::openSession },
        { &addIsoButton, Command::addFolder },      { &saveButton, Command::save },
        { &combineButton, Command::combine },       { &exportButton, Command::exportTexts },
        { &prevButton, Command::previousTake },     { &nextButton, Command::nextTake },
        { &rewindButton, Command::takeStart },      { &playButton, Command::playOrPause },
        { &drawFadersButton, Command::drawFaders }, { &monitorMixButton, Command::monitorMix }
    };

    for (const auto& [button, command] : hints)
        button->setTooltip (keyHint (command));
}

void MainComponent::setUpLabels()
{
    transportLabel.setFont (lookAndFeel.monoFont (14.0f));
    transportLabel.setTitle ("Position and length");
    batchLabel.setFont (lookAndFeel.uiFont (14.0f, juce::Font::plain));
    batchLabel.setTitle ("Open take");

    for (auto* label : { &transportLabel, &batchLabel })
    {
        label->setColour (juce::Label::textColourId, lookAndFeel.palette.text);
        label->setJustificationType (juce::Justification::centredLeft);
        addChildComponent (label);
    }

    videoTimecodeEditor.setInputRestrictions (11, "0123456789:;");
    videoTimecodeEditor.setTitle ("Picture start");
    videoTimecodeEditor.onReturnKey = [this] { setVideoTimecode(); };
    videoTimecodeEditor.onEscapeKey = [this] { grabKeyboardFocus(); };
    addChildComponent (videoTimecodeEditor);

    addChildComponent (progressBar);
}

void MainComponent::setUpPanels()
{
    setUpTakeList();
    setUpSpine();
    setUpResults();
    setUpInspector();
    video.setVolume (0.0f);
    addChildComponent (spine);
    addChildComponent (inspector);
    addChildComponent (video);
    addChildComponent (keyPanel);
}

void MainComponent::setUpSpine()
{
    spine.lookAndFeel = &lookAndFeel;
    spine.session = &session;
    spine.onGuestSelected = [this] (const juce::Uuid& id, int lane) { selectGuest (id, lane); };
    spine.onSelectionCleared = [this] { selectGuest (juce::Uuid::null(), -1); };
    spine.onHostLaneChosen = [this] (int channel) { selectGuest (juce::Uuid::null(), channel); };
    spine.onGuestMoved = [this] (const juce::Uuid& id, juce::int64 offset) { setOffset (id, offset); };
    spine.onSeek = [this] (juce::int64 sample) { seekPlayhead (sample); };
    spine.onMixerGain = [this] (int index, float db) {
        changeMixer ("Level", index, [&] { session.setMixerGain (index, db, preview.playhead, preview.playing); });
    };
    spine.onDrawGain = [this] (int index, float db, juce::int64 sample, juce::int64 previousSample) {
        changeMixer ("Draw level", index, [&] { session.drawMixerGain (index, db, sample, previousSample); });
    };
    spine.onMixerMute = [this] (int index, bool isMuted) {
        changeMixer (isMuted ? "Mute" : "Unmute", index, [&] {
            session.setMixerMute (index, isMuted, preview.playhead, preview.playing);
        });
    };
    spine.onReferenceChannel = [this] (int channel) { setReferenceChannel (channel); };
    spine.onRemoveTrack = [this] (bool isGuest, const juce::Uuid& id, int channel) {
        confirmRemoveTrack (isGuest, id, channel);
    };
    spine.onStrokeEnded = [this] { work.endStroke(); };
    spine.onSamplesWanted = [this] (SpineSpan span) { readSamplesAsync (span); };
}

void MainComponent::setUpInspector()
{
    inspector.lookAndFeel = &lookAndFeel;
    inspector.onEdit = [this] (const juce::Uuid& id, int lane, LaneField field, const juce::String& text) {
        editLane (id, lane, field, text);
    };
    inspector.onEditEnded = [this] { work.endStroke(); };
    inspector.onFamilyChosen = [this] {
        if (const auto* const guest = session.findGuest (session.selectedGuest))
            editLane (guest->id, spine.chosenChannel, LaneField::name, fieldsOf (*guest, spine.chosenChannel).name);
    };
    inspector.onNudge = [this] (juce::int64 samples) { nudgeSelected (samples); };
    inspector.onRemove = [this] { confirmRemoveTrack (true, session.selectedGuest, -1); };
    inspector.onSearch = [this] { searchSelected(); };
    inspector.onCopyPlace = [this] { copyPlace(); };
}

void MainComponent::showChildren()
{
    const auto hasSeveralTakes = showsTake() && work.document().takes.size() >= 2;
    const auto hasPicture = showsTake() && session.video.loaded;

    for (juce::Component* child : std::initializer_list<juce::Component*> { &playButton,
                                                                            &combineButton,
                                                                            &exportButton,
                                                                            &rewindButton,
                                                                            &backFiveButton,
                                                                            &forwardFiveButton,
                                                                            &monitorMixButton,
                                                                            &drawFadersButton,
                                                                            &addIsoButton,
                                                                            &resetButton,
                                                                            &saveButton,
                                                                            &transportLabel,
                                                                            &spine })
        child->setVisible (showsTake());

    for (auto* button : { &openFolderButton, &openSessionButton })
        button->setVisible (! showsTake());

    // What a reset has taken away can be had back from the welcome card by key; the buttons would stand alone there.
    for (auto* button : { &undoButton, &redoButton })
        button->setVisible (showsTake());

    for (auto* button : { &openPolysButton, &outputButton })
        button->setVisible (true);

    findButton.setVisible (showsTake() && hasMissing());
    prevButton.setVisible (hasSeveralTakes);
    nextButton.setVisible (hasSeveralTakes);
    batchLabel.setVisible (hasSeveralTakes);
    takesButton.setVisible (hasSeveralTakes);
    takesButton.setEnabled (hasRoomForTakes (getWidth()));
    takesButton.setTooltip (! takesButton.isEnabled() ? "The window is too narrow for the list of takes"
                            : showsTakes              ? "Hide the list of takes"
                                                      : "Show the list of takes");
    takesButton.setToggleState (showsTakes && takesButton.isEnabled(), juce::dontSendNotification);
    takeList.setVisible (hasSeveralTakes && showsTakes && takesButton.isEnabled());
    resultsButton.setVisible (showsTake() && runPanel.hasRun());
    resultsButton.setTooltip (showsResults ? "Hide what happened in the last run"
                                           : "Show what happened in the last run");
    resultsButton.setToggleState (showsResults, juce::dontSendNotification);
    runPanel.setVisible (showsTake() && showsResults);
    video.setVisible (hasPicture);
    videoTimecodeEditor.setVisible (hasPicture);
    inspector.setVisible (showsTake() && ! session.selectedGuest.isNull());
    progressBar.setVisible (desk.isBusy());
    cancelButton.setVisible (desk.isBusy());
}

void MainComponent::showOutputName()
{
    outputButton.setButtonText ("Output: " + preview.currentOutputName());
}

void MainComponent::openOutputSettings()
{
    auto settings = std::make_unique<juce::AudioDeviceSelectorComponent> (
        preview.deviceManager, 0, 0, 1, 2, false, false, true, false);
    settings->setSize (480, 420);
    juce::CallOutBox::launchAsynchronously (std::move (settings), outputButton.getScreenBounds(), nullptr);
}

void MainComponent::rememberOutput (const juce::File& settings)
{
    outputSettings = settings;
    preview.restoreOutput (settings);
    preview.deviceManager.addChangeListener (this);
}

// Another output was chosen.
void MainComponent::changeListenerCallback (juce::ChangeBroadcaster*)
{
    preview.noteOutput (outputSettings);
}

}    // namespace ld
