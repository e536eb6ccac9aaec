#include "workspace/MainComponent.h"

#include "session/BatchTakes.h"
#include "workspace/MainText.h"

// What the user does to single tracks: choose, nudge, mix, name, remove; and to all of them: reset.

namespace ld
{

void MainComponent::selectGuest (const juce::Uuid& id)
{
    {
        const juce::ScopedLock lock (sessionLock);
        session.selectedGuest = id;
    }

    refreshTake();
}

void MainComponent::setReferenceChannel (int channel)
{
    pendingReferenceChannel = channel;
    const auto hostFile = session.host.file;
    const auto serial = takeSerial;

    jobs.start (
        [host = describeHost (session.host), channel] (const auto&) {
        Session reader;
        reader.host = host;
        reader.setReferenceChannel (channel);
        return std::make_pair (reader.referenceChannel, std::move (reader.host.referenceAudio));
        },
        [this, serial] (auto read) {
        if (serial != takeSerial)
            return;

        {
            const juce::ScopedLock lock (sessionLock);
            session.referenceChannel = read.first;
            std::swap (session.host.referenceAudio, read.second);
        }

        jobs.discard (std::move (read.second));
        spine.repaint();
    },
        [this] (const auto& sentence) { showStatus (sentence); });

    if (juce::isPositiveAndBelow (channel, (int) session.host.tracks.size()))
        showStatus ("Displayed poly channel: " + session.host.tracks[(size_t) channel].name
                    + " | Sync still searches every poly channel.");
}

void MainComponent::changeMixer (const std::function<void()>& change)
{
    {
        const juce::ScopedLock lock (sessionLock);
        change();
    }

    rememberMixer();
    spine.repaint();
}

// Every change of a fader or mute is known by its source at once, so that it outlives the take and its alignment.
void MainComponent::rememberMixer()
{
    mixerTemplate =
        captureMixerTemplate (session.host, session.guests, channelsInUse (session.mixer, session.mixerCount()));
}

void MainComponent::nudgeSelected (juce::int64 delta)
{
    if (session.selectedGuest.isNull())
        return;

    if (auto* const guest = session.findGuest (session.selectedGuest))
    {
        constexpr float glow = 0.6f;
        const juce::ScopedLock lock (sessionLock);
        guest->alignment = SyncEngine::applyNudge (guest->alignment, delta);
        guest->waveEmphasis = glow;
    }

    refreshInspector();
    spine.repaint();
}

void MainComponent::setOffset (const juce::Uuid& id, juce::int64 offset)
{
    if (auto* const guest = session.findGuest (id))
    {
        const juce::ScopedLock lock (sessionLock);
        guest->alignment = SyncEngine::applyNudge (guest->alignment, offset - guest->alignment.offsetSamples);
    }

    refreshInspector();
    spine.repaint();
}

void MainComponent::persistSelectedMetadata()
{
    {
        const juce::ScopedLock lock (sessionLock);
        rememberMetadata (
            session, metadataOverrides, nameOverrides, session.selectedGuest, inspector.appliesToFamily());
    }

    spine.repaint();
}

juce::String
MainComponent::trackName (bool isGuest, const juce::Uuid& id, int channel, const juce::String& absent) const
{
    if (! isGuest)
        return session.host.format.valid ? channelName (session.host, channel) : absent;

    const auto* const guest = session.findGuest (id);
    return guest != nullptr ? guestName (*guest) : absent;
}

void MainComponent::confirmRemoveTrack (bool isGuest, const juce::Uuid& id, int channel)
{
    if (busy)
    {
        showStatus ("Wait for the current scan or export to finish before removing a track.");
        return;
    }

    const auto name = trackName (isGuest, id, channel, "this track");
    questions.confirmRemoval ("Remove \"" + name + "\" from the combined WAV?\n\nThe original file is not changed.",
                              this,
                              [self = juce::Component::SafePointer<MainComponent> (this), isGuest, id, channel] {
        if (self != nullptr)
            self->removeTrackConfirmed (isGuest, id, channel);
    });
}

void MainComponent::removeTrackConfirmed (bool isGuest, const juce::Uuid& id, int channel)
{
    if (busy)
        return;

    stopPlaying();
    const auto name = trackName (isGuest, id, channel, {});
    closeInspector();
    GuestClip removed;

    {
        const juce::ScopedLock lock (sessionLock);

        if (isGuest)
            removed = takeOutGuest (session, id);
        else
            session.omitHostChannel (channel);

        session.applyMixerTemplate (mixerTemplate);
    }

    jobs.discard (std::move (removed));
    rememberMixer();
    syncCurrentTakeIntoBatch();
    refreshTake();
    showStatus ("Removed " + name + " from the combined WAV.");
}

void MainComponent::resetFolders()
{
    if (busy)
    {
        showStatus ("Wait for the current scan or export to finish before resetting.");
        return;
    }

    preview.stop();
    forgetTakes();
    statusText.clear();
    transportLabel.setText ({}, juce::dontSendNotification);
    finishProgress();
    playButton.setEnabled (false);
    combineButton.setEnabled (false);
    drawFadersButton.setToggleState (false, juce::dontSendNotification);
    spine.setDrawFaderMode (false);
    resized();
    repaint();
    grabKeyboardFocus();
}

}    // namespace ld
