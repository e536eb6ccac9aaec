#include "workspace/MainComponent.h"

#include "media/BextIxml.h"
#include "monitor/MixerPanelLayout.h"
#include "output/GuestSpans.h"

// What the user does to single tracks: choose, nudge, mix, name, remove; and to all of them: reset.

namespace ld
{
namespace
{

constexpr auto waitBeforeRemoving = "Wait for the current scan or export to finish before removing a track.";
constexpr auto waitBeforeResetting = "Wait for the current scan or export to finish before resetting.";

}    // namespace

// channel   of the guest, or with a null id of the poly; -1 for none
void MainComponent::selectGuest (const juce::Uuid& id, int channel)
{
    {
        const juce::ScopedLock lock (sessionLock);
        session.selectedGuest = id;
    }

    spine.chosenChannel = channel;
    work.endStroke();
    refreshTake();
}

void MainComponent::setReferenceChannel (int channel)
{
    perform (ld::setReferenceChannel (work.document(), channel));

    if (juce::isPositiveAndBelow (channel, (int) session.host.tracks.size()))
        showStatus ("Displayed poly channel: " + session.host.tracks[(size_t) channel].name
                    + " | Sync still searches every poly channel.");
}

// A mute is a step of its own; levels that change one after another without the button coming up are one.
void MainComponent::changeMixer (const juce::String& what, int mixerIndex, const std::function<void()>& change)
{
    {
        const juce::ScopedLock lock (sessionLock);
        change();
    }

    rememberLevels (what + " of " + laneName (mixerIndex), what + " " + juce::String (mixerIndex));
    spine.repaint();
}

void MainComponent::rememberLevels (const juce::String& name, const juce::String& stroke)
{
    perform (setLevels (work.document(), session, name, stroke));
}

void MainComponent::nudgeSelected (juce::int64 delta)
{
    constexpr float glow = 0.6f;
    const auto id = session.selectedGuest;
    const auto* const guest = session.findGuest (id);

    if (guest == nullptr || ! perform (nudgeGuest (work.document(), session.host.file, *guest, delta)))
        return;

    if (auto* const moved = session.findGuest (id))
        moved->waveEmphasis = glow;
}

void MainComponent::setOffset (const juce::Uuid& id, juce::int64 offset)
{
    if (const auto* const guest = session.findGuest (id))
        perform (nudgeGuest (work.document(),
                             session.host.file,
                             *guest,
                             offset - guest->alignment.offsetSamples,
                             "move " + id.toString()));
}

void MainComponent::editLane (const juce::Uuid& id, int lane, LaneField field, const juce::String& text)
{
    const auto& doc = work.document();

    if (field == LaneField::name)
        perform (renameLane (doc, session, { id, lane }, text, inspector.appliesToFamily()));
    else if (field == LaneField::note)
        perform (noteGuest (doc, session, id, text));
    else if (text.getIntValue() >= 1)
        perform (numberLane (doc, session, { id, lane }, text.getIntValue()));
}

void MainComponent::searchSelected()
{
    if (const auto* const guest = session.findGuest (session.selectedGuest);
        guest != nullptr && ! guest->isMissing && ! guest->matchPending)
        perform (searchGuestAgain (work.document(), session.host.file, *guest));
}

// As an editing system takes it: the timecode of the recording's first sample, by the poly's clock.
void MainComponent::copyPlace()
{
    if (const auto* const guest = session.findGuest (session.selectedGuest))
    {
        const auto place = timecodeAt (session.host, guest->alignment.offsetSamples);
        juce::SystemClipboard::copyTextToClipboard (place);
        showStatus ("Copied " + place + ".");
    }
}

juce::String MainComponent::laneName (int mixerIndex) const
{
    const auto texts = mixerRowTexts (session);
    return juce::isPositiveAndBelow (mixerIndex, (int) texts.size()) ? mixerRowName (texts[(size_t) mixerIndex])
                                                                     : juce::String();
}

juce::String
MainComponent::trackName (bool isGuest, const juce::Uuid& id, int channel, const juce::String& absent) const
{
    if (! isGuest)
        return session.host.format.valid ? channelName (session.host, channel) : absent;

    const auto* const guest = session.findGuest (id);
    return guest != nullptr ? guestName (*guest) : absent;
}

void MainComponent::removeSelected()
{
    if (spine.chosenChannel < 0)
        showStatus ("Select a lane first.");
    else
        confirmRemoveTrack (! session.selectedGuest.isNull(), session.selectedGuest, spine.chosenChannel);
}

void MainComponent::confirmRemoveTrack (bool isGuest, const juce::Uuid& id, int channel)
{
    if (desk.isRunning (JobKind::scan) || desk.isRunning (JobKind::write))
        return showStatus (waitBeforeRemoving);

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
    if (desk.isRunning (JobKind::scan) || desk.isRunning (JobKind::write))
        return showStatus (waitBeforeRemoving);

    const auto& doc = work.document();
    const auto& poly = session.host.file;
    const auto name = trackName (isGuest, id, channel, {});
    const auto* const guest = session.findGuest (id);

    if (isGuest && guest == nullptr)
        return;

    stopPlaying();
    perform (isGuest ? removeGuest (doc, poly, *guest) : removeChannel (doc, poly, channel, name));
    showStatus ("Removed " + name + " from the combined WAV.");
}

void MainComponent::resetFolders()
{
    if (desk.isRunning (JobKind::scan) || desk.isRunning (JobKind::write))
        return showStatus (waitBeforeResetting);

    askToSave ([self = juce::Component::SafePointer<MainComponent> (this)] {
        if (self != nullptr)
            self->resetConfirmed();
    });
}

void MainComponent::resetConfirmed()
{
    desk.cancel();
    perform (resetWork(), true);
    statusText.clear();
    transportLabel.setText ({}, juce::dontSendNotification);
    drawFadersButton.setToggleState (false, juce::dontSendNotification);
    spine.setDrawFaderMode (false);
    grabKeyboardFocus();
}

}    // namespace ld
