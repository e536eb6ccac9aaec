#include "workspace/MainComponent.h"

#include "monitor/MixerPanelLayout.h"

// The monitor mix in its window, and bringing the MIX of a take within full scale.

namespace ld
{

void MainComponent::makeMixer()
{
    auto panel = std::make_unique<MonitorMixer> (
        session,
        sessionLock,
        &lookAndFeel,
        [this] { return preview.playhead.load(); },
        [this] { return preview.playing.load(); });
    panel->onChanged = [this] (const juce::String& what, const juce::String& stroke) {
        rememberLevels (what, stroke);
        spine.repaint();
    };
    panel->onStrokeEnded = [this] { work.endStroke(); };
    panel->onFit = [this] { fitMix(); };
    mixerWindow = std::make_unique<MixerWindow> (std::move (panel), lookAndFeel);
    mixerWindow->onKey = [this] (const juce::KeyPress& key) { return keyPressed (key); };

    // Below the button, as far as the screen allows.
    const auto from = monitorMixButton.getScreenBounds();
    mixerWindow->setTopLeftPosition (from.getRight() - mixerWindow->getWidth(), from.getBottom() + from.getHeight());
}

// The window that is hidden behind another is wanted, not to be closed.
void MainComponent::toggleMonitorMixer()
{
    if (mixerWindow == nullptr)
        makeMixer();

    if (mixerWindow->isVisible() && mixerWindow->isActiveWindow())
        mixerWindow->closeButtonPressed();
    else
        mixerWindow->bring();
}

void MainComponent::refreshMixer()
{
    if (mixerWindow != nullptr)
        mixerWindow->panel().refresh();
}

void MainComponent::fitMix()
{
    const auto* const take = openTakeOf (work.document());

    if (take == nullptr || ! session.host.format.valid)
        return showStatus ("Open a take first.");

    if (desk.isBusy())
        return showStatus ("Wait for the current job to finish before measuring the MIX.");

    showStatus ("Measuring the MIX of " + take->host.file.getFileName() + "...");
    beginProgress ("Measuring MIX", -1.0);
    desk.start (
        JobKind::search,
        {},
        [take = *take, edits = editsOf (work.document())] (const JobDesk::Progress& progress) mutable {
        edits.isWanted = progress.wanted;
        return measureTakeMix (take, edits, {});
        },
        [this] (const TakeOutcome& outcome) { commitFit (outcome); },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::commitFit (const TakeOutcome& measured)
{
    if (! measured.mix)
        return fail (measured.error);

    const auto change = fittingDb (*measured.mix);

    if (measured.mix->clippedFrames == 0)
        return showStatus ("MIX stays within full scale: its peak is " + peakText (measured.mix->peak) + ".");

    {
        const juce::ScopedLock lock (sessionLock);

        for (auto& channel : channelsInUse (session.mixer, session.mixerCount()))
            shiftMixerGain (channel, change);
    }

    rememberLevels ("Fit MIX", {});
    spine.repaint();
    showStatus ("All faders are " + juce::String (-change, 1) + " dB lower: MIX stays within full scale now.");
}

}    // namespace ld
