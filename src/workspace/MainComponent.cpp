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
    showChildren();
    startTimerHz (30);
}

MainComponent::~MainComponent()
{
    stopTimer();
    preview.stop();
    video.close();
    juce::LookAndFeel::setDefaultLookAndFeel (nullptr);
    setLookAndFeel (nullptr);
}

void MainComponent::paint (juce::Graphics& g)
{
    if (session.host.format.valid)
        paintWorkspace (g, lookAndFeel, getLocalBounds(), headlineOf (session.host), shownStatus());
    else
        paintWelcome (g,
                      lookAndFeel,
                      getLocalBounds(),
                      shownStatus(),
                      fileDragOver ? std::optional<float> (dragPulse) : std::nullopt);
}

void MainComponent::resized()
{
    const MainFace face { .hasHost = session.host.format.valid,
                          .hasPicture = session.video.loaded,
                          .hasSeveralTakes = batch.size() >= 2,
                          .showsInspector = ! session.selectedGuest.isNull() };
    const auto at = layOutMain (getWidth(), getHeight(), face);
    showChildren();
    showOutputName();

    const std::pair<juce::Component*, juce::Rectangle<int>> places[] = {
        { &progressBar, at.progressBar },
        { &outputButton, at.output },
        { &openPolysButton, at.openPolys },
        { &openFolderButton, at.openFolder },
        { &openSessionButton, at.openSession },
        { &combineButton, at.combine },
        { &saveButton, at.save },
        { &addIsoButton, at.addIso },
        { &resetButton, at.reset },
        { &prevButton, at.previousTake },
        { &nextButton, at.nextTake },
        { &batchLabel, at.batchLabel },
        { &rewindButton, at.rewind },
        { &backFiveButton, at.backFive },
        { &playButton, at.play },
        { &forwardFiveButton, at.forwardFive },
        { &transportLabel, at.transport },
        { &monitorMixButton, at.monitorMix },
        { &drawFadersButton, at.drawFaders },
        { &spine, at.spine },
        { &inspector, at.inspector },
        { &video, at.picture },
        { &videoTimecodeEditor, at.pictureTimecode },
    };

    for (const auto& [child, bounds] : places)
        child->setBounds (bounds);
}

bool MainComponent::keyPressed (const juce::KeyPress& key)
{
    using Key = juce::KeyPress;
    const auto hasHost = session.host.format.valid;
    const auto command = juce::ModifierKeys::commandModifier;
    const auto commandShift = command | juce::ModifierKeys::shiftModifier;
    const auto isCommand = [&] (char letter) { return key == Key (letter, command, 0); };

    if (key == Key ('d') && hasHost)
        drawFadersButton.setToggleState (! drawFadersButton.getToggleState(), juce::sendNotification);
    else if (isCommand ('s'))
        saveSessionChooser();
    else if (key == Key ('o', commandShift, 0))
        openSessionChooser();
    else if (isCommand ('o'))
        openHostChooser();
    else if (isCommand ('f'))
        hasHost ? openIsoFolderChooser() : openFolderChooser();
    else if (isCommand ('i'))
        openVideoChooser();
    else if (isCommand ('e'))
        combineAllChooser();
    else if (key == Key::spaceKey)
        togglePlay();
    else if (key == Key::leftKey)
        nudgeSelected (-1);
    else if (key == Key::rightKey)
        nudgeSelected (1);
    else
        return false;

    return true;
}

void MainComponent::timerCallback()
{
    constexpr float fadePerTick = 0.045f, pulsePerMs = 0.006f;
    showOutputName();
    spine.playhead = preview.playhead;
    updateTransportDisplay();
    auto isFading = false;

    if (! busy)
    {
        const juce::ScopedLock lock (sessionLock);

        for (auto& guest : session.guests)
        {
            isFading = isFading || guest.waveEmphasis > 0.0f;
            guest.waveEmphasis = std::max (guest.waveEmphasis - fadePerTick, 0.0f);
        }
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
    spine.repaint();

    if (! session.host.format.valid)
        repaint();
}

juce::String MainComponent::shownStatus() const
{
    if (progressVisible)
        return {};

    return statusText.isEmpty() && session.host.format.valid ? juce::String (emptyStatus) : statusText;
}

void MainComponent::showStatus (const juce::String& text)
{
    statusText = text;
    repaintStatus();
}

void MainComponent::repaintStatus()
{
    repaint (0, getHeight() - statusBandHeight, getWidth(), statusBandHeight);
}

void MainComponent::beginProgress (const juce::String& text, double value)
{
    progressVisible = true;
    progressValue = value;
    progressBar.setText (text);
    resized();
    repaintStatus();
}

void MainComponent::updateProgress (double value, const juce::String& text)
{
    progressValue = juce::jlimit (0.0, 1.0, value);

    if (text.isNotEmpty())
        progressBar.setText (text);

    progressBar.repaint();
}

void MainComponent::finishProgress()
{
    progressValue = 0.0;
    progressVisible = false;
    alignmentTotal = alignmentDone = 0;
    resized();
    repaintStatus();
}

void MainComponent::refreshInspector()
{
    const auto& host = session.host;
    inspector.setGuest (session.findGuest (session.selectedGuest),
                        host.format.sampleRate,
                        host.ixml.timecodeRate,
                        host.ixml.timecodeFlag);
}

// Before its guest moves or goes.
void MainComponent::closeInspector()
{
    inspector.setGuest (nullptr, 48000, "24/1", "NDF");
}

// What stands for the open take, when its guests have changed.
void MainComponent::refreshTake()
{
    refreshInspector();
    resized();
    spine.repaint();
}

// A job has ended without a result.
void MainComponent::fail (const juce::String& sentence)
{
    isLoading = false;
    endScan();
    showStatus (sentence);
}

}    // namespace ld
