#include "workspace/MainComponent.h"

#include "workspace/MainLayout.h"
#include "workspace/MainPainter.h"
#include "workspace/MainText.h"

#include <cmath>

namespace ld
{
namespace
{

constexpr int statusBandHeight = 40;
constexpr auto emptyStatus = "Add an ISO folder to scan all nested folders and match every recording automatically.";

}    // namespace

MainComponent::MainComponent()
{
    setLookAndFeel (&lookAndFeel);

    // Call-out boxes, menus and dialogs stand on the desktop, not in this component.
    juce::LookAndFeel::setDefaultLookAndFeel (&lookAndFeel);
    setOpaque (true);
    setTitle ("Lodestrand");
    setWantsKeyboardFocus (true);
    setFocusContainerType (FocusContainerType::keyboardFocusContainer);
    setUpButtons();
    setUpLabels();
    setUpPanels();
    desk.onChanged = [this] { showWork(); };
    showWork();
    startTimerHz (30);
}

MainComponent::~MainComponent()
{
    stopTimer();
    preview.deviceManager.removeChangeListener (this);
    desk.onChanged = {};
    mixerWindow.reset();
    preview.stop();
    video.close();
    juce::LookAndFeel::setDefaultLookAndFeel (nullptr);
    setLookAndFeel (nullptr);
}

void MainComponent::paint (juce::Graphics& g)
{
    if (showsTake())
        paintWorkspace (g, lookAndFeel, getLocalBounds(), shownLayout, headline(), shownStatus());
    else
        paintWelcome (g,
                      lookAndFeel,
                      getLocalBounds(),
                      shownLayout,
                      shownStatus(),
                      fileDragOver ? std::optional<float> (dragPulse) : std::nullopt);
}

void MainComponent::resized()
{
    const MainFace face { .hasWork = showsTake(),
                          .hasPicture = session.video.loaded,
                          .hasSeveralTakes = work.document().takes.size() >= 2,
                          .hasMissing = hasMissing(),
                          .showsInspector = ! session.selectedGuest.isNull(),
                          .showsTakes = showsTakes,
                          .hasResults = runPanel.hasRun(),
                          .showsResults = showsResults };
    shownLayout = layOutMain (getWidth(), getHeight(), face);
    showChildren();
    showOutputName();

    const std::pair<juce::Component*, juce::Rectangle<int>> children[] = {
        { &progressBar, shownLayout.progressBar },
        { &cancelButton, shownLayout.cancel },
        { &outputButton, shownLayout.output },
        { &openPolysButton, shownLayout.openPolys },
        { &openFolderButton, shownLayout.openFolder },
        { &openSessionButton, shownLayout.openSession },
        { &combineButton, shownLayout.combine },
        { &exportButton, shownLayout.exporting },
        { &saveButton, shownLayout.save },
        { &addIsoButton, shownLayout.addIso },
        { &resetButton, shownLayout.reset },
        { &prevButton, shownLayout.previousTake },
        { &nextButton, shownLayout.nextTake },
        { &batchLabel, shownLayout.batchLabel },
        { &takesButton, shownLayout.takes },
        { &takeList, shownLayout.takeList },
        { &resultsButton, shownLayout.results },
        { &runPanel, shownLayout.runPanel },
        { &rewindButton, shownLayout.rewind },
        { &backFiveButton, shownLayout.backFive },
        { &playButton, shownLayout.play },
        { &forwardFiveButton, shownLayout.forwardFive },
        { &transportLabel, shownLayout.transport },
        { &monitorMixButton, shownLayout.monitorMix },
        { &drawFadersButton, shownLayout.drawFaders },
        { &undoButton, shownLayout.undo },
        { &redoButton, shownLayout.redo },
        { &findButton, shownLayout.findMissing },
        { &spine, shownLayout.spine },
        { &inspector, shownLayout.inspector },
        { &video, shownLayout.picture },
        { &videoTimecodeEditor, shownLayout.pictureTimecode },
        { &keyPanel, keyPanel.fittedInto (getLocalBounds()) },
    };

    for (const auto& [child, bounds] : children)
        child->setBounds (bounds);
}

void MainComponent::timerCallback()
{
    constexpr float fadePerTick = 0.045f, pulsePerMs = 0.006f;
    showOutputName();
    spine.playhead = preview.playhead;
    updateTransportDisplay();
    keepUpRecovery();
    keepUpSurvey();
    readAhead();
    auto isFading = false;

    for (auto& guest : session.guests)
    {
        isFading = isFading || guest.waveEmphasis > 0.0f;
        guest.waveEmphasis = std::max (guest.waveEmphasis - fadePerTick, 0.0f);
    }

    if (! isFading && ! fileDragOver && ! preview.playing && ! wasPlaying && ! session.video.loaded)
        return;

    if (fileDragOver)
        dragPulse = 0.5f + 0.5f * std::sin (pulsePerMs * (float) juce::Time::getMillisecondCounter());

    const bool isPlaying = preview.playing;
    playButton.setButtonText (isPlaying ? "Pause" : "Play");

    if (isPlaying || isPlaying != wasPlaying)
        syncVideoTransport();

    wasPlaying = isPlaying;

    if (isPlaying)
        spine.followPlayhead();

    spine.repaint();

    if (! session.host.format.valid)
        repaint();
}

// What stands on the view besides the lanes, after any change of the work or of the jobs.
void MainComponent::showWork()
{
    const auto& takes = work.document().takes;
    if (! desk.isRunning (JobKind::load))
        hideSketch();

    const auto isReady = session.host.format.valid && ! desk.isRunning (JobKind::load);

    if (const auto* const take = openTakeOf (work.document()))
        batchLabel.setText (batchText (takes, work.document().batchIndex), juce::dontSendNotification);
    else
        batchLabel.setText ({}, juce::dontSendNotification);

    playButton.setEnabled (isReady);
    addIsoButton.setEnabled (! desk.isRunning (JobKind::scan));
    combineButton.setEnabled (! takes.empty() && ! desk.isBusy());
    exportButton.setEnabled (combineButton.isEnabled());
    undoButton.setEnabled (work.canUndo());
    redoButton.setEnabled (work.canRedo());
    undoButton.setTooltip (work.canUndo() ? "Undo: " + work.undoName() : juce::String());
    redoButton.setTooltip (work.canRedo() ? "Redo: " + work.redoName() : juce::String());

    if (onTitleChanged)
        onTitleChanged (titleOf (work));

    batchLabel.setTooltip (batchLabel.getText());
    refreshTakeList();
    refreshMixer();
    resized();
    repaint();
}

bool MainComponent::hasMissing() const
{
    return hasUnreadTake() || std::ranges::any_of (session.guests, [] (const auto& guest) { return guest.isMissing; })
           || (session.video.file != juce::File() && ! session.video.loaded);
}

// The open take's poly could not be read.
bool MainComponent::hasUnreadTake() const
{
    return showsTake() && ! session.host.format.valid;
}

juce::String MainComponent::headline() const
{
    if (sketch != nullptr || ! hasUnreadTake())
        return headlineOf (shownSession().host);

    return session.host.file.getFileName() + (session.host.file.existsAsFile() ? " cannot be read" : " is missing");
}

juce::String MainComponent::shownStatus() const
{
    if (desk.isBusy())
        return {};

    return statusText.isEmpty() && session.host.format.valid ? juce::String (emptyStatus) : statusText;
}

void MainComponent::showStatus (const juce::String& text)
{
    statusText = text;
    repaintStatus();
}

void MainComponent::announce (const juce::String& text)
{
    announcement << (announcement.isEmpty() ? "" : " | ") << text;
}

void MainComponent::showAnnouncement()
{
    if (announcement.isNotEmpty() && ! desk.isRunning (JobKind::load))
        showStatus (std::exchange (announcement, {}));
}

// What is painted may be cut.
juce::String MainComponent::getTooltip()
{
    const auto mouse = getMouseXYRelative();
    return shownLayout.status.contains (mouse)     ? shownStatus()
           : shownLayout.headline.contains (mouse) ? headline()
                                                   : juce::String();
}

void MainComponent::repaintStatus()
{
    repaint (0, getHeight() - statusBandHeight, getWidth(), statusBandHeight);
}

// For the job that is about to start.
void MainComponent::beginProgress (const juce::String& text, double value)
{
    progressValue = value;
    progressBar.setText (text);
}

void MainComponent::updateProgress (double value, const juce::String& text)
{
    progressValue = juce::jlimit (0.0, 1.0, value);

    if (text.isNotEmpty())
        progressBar.setText (text);

    progressBar.repaint();
}

void MainComponent::refreshInspector()
{
    const auto& host = session.host;
    inspector.setGuest (session.findGuest (session.selectedGuest),
                        spine.chosenChannel,
                        { host.format.sampleRate, host.ixml.timecodeRate, host.ixml.timecodeFlag });
}

// Before lanes go, come or move: what it shows would be another.
void MainComponent::clearInspector()
{
    inspector.setGuest (nullptr, 0, {});
}

// What stands for the open take, when its guests have changed.
void MainComponent::refreshTake()
{
    refreshInspector();
    refreshMixer();
    resized();
    spine.repaint();
}

// A job has ended without a result.
void MainComponent::fail (const juce::String& sentence)
{
    announcement.clear();
    showStatus (sentence);
}

}    // namespace ld
