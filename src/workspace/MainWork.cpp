#include "workspace/MainComponent.h"

#include "workspace/MainText.h"

// The one way of an edit: into the history, from there into the session. And the second copy of it all.

namespace ld
{
namespace
{

constexpr auto waitBeforeUndoing = "Wait for the current scan or export to finish before undoing.";
constexpr juce::uint32 recoveryIntervalMs = 1000;
constexpr size_t mostShelvedBytes = 512 << 20;

size_t bytesOf (const GuestClip& guest)
{
    size_t samples = guest.monoAudio.size();

    for (const auto& channel : guest.channelAudio)
        samples += channel.size();

    return samples * sizeof (float);
}

}    // namespace

bool MainComponent::perform (WorkEdit edit, bool isOtherWork)
{
    const auto isChange = work.perform (std::move (edit), isOtherWork);

    if (isChange)
        bringSession();

    showAnnouncement();
    return isChange;
}

void MainComponent::amend (SessionDocument document)
{
    if (work.amend (std::move (document)))
        bringSession();
}

void MainComponent::undo()
{
    travel (work.undoName(), "Undid: ", &WorkHistory::undo);
}

void MainComponent::redo()
{
    travel (work.redoName(), "Redid: ", &WorkHistory::redo);
}

void MainComponent::travel (const juce::String& step, const juce::String& told, void (WorkHistory::*go)())
{
    if (step.isEmpty())
        return;

    if (desk.isRunning (JobKind::scan) || desk.isRunning (JobKind::write))
        return showStatus (waitBeforeUndoing);

    (work.*go)();
    announce (told + step);
    bringSession();
    showAnnouncement();
}

void MainComponent::bringSession()
{
    const auto* const take = openTakeOf (work.document());

    if (take == nullptr)
    {
        closeTake();
        showsResults = false;
    }
    else if (session.host.file != take->host.file)
        loadOpenTake();
    else if (session.host.format.valid)
        bringTake (*take);

    bringPicture();
    showWork();
}

void MainComponent::bringTake (const BatchMatch& take)
{
    auto plan = planFor (session, take);
    const auto isUnderWay = [this] (const auto& file) { return desk.isAt (file); };
    std::erase_if (plan.added, [&] (const auto& scan) { return isUnderWay (scan.file); });

    putAside (plan.removed);
    auto back = takeFromShelf (plan, shelf);
    auto searched = plan.searched;

    // A guest that a job works on is only moved: the job's end finds out what is left to do.
    for (const auto& move : plan.laidOut)
        if (const auto* const guest = session.findGuest (move.guest);
            guest != nullptr && std::ranges::none_of (filesOf (*guest), isUnderWay))
            searched.push_back (move.guest);

    {
        const juce::ScopedLock lock (sessionLock);

        for (auto& guest : back)
            session.guests.push_back (std::move (guest));

        for (const auto* moves : { &plan.moved, &plan.laidOut })
            for (const auto& move : *moves)
                if (auto* const guest = session.findGuest (move.guest))
                    moveGuest (*guest, move.places);

        for (const auto& id : searched)
            if (auto* const guest = session.findGuest (id))
                guest->matchPending = true;

        dressSession (session, work.document(), take);

        if (! session.selectedGuest.isNull() && session.findGuest (session.selectedGuest) == nullptr)
        {
            session.selectedGuest = juce::Uuid::null();
            spine.chosenChannel = -1;
        }
    }

    bringReferenceChannel();
    searchGuestsAsync (searched);
    addFilesAsync (plan.added);
    refreshTake();
}

// The channel of the poly that is shown.
void MainComponent::bringReferenceChannel()
{
    const auto channel = work.document().referenceChannel;

    if (channel < 0 || channel == session.referenceChannel || channel >= session.host.format.channels)
        return;

    desk.start (
        JobKind::side,
        {},
        [host = describeHost (session.host), channel] (const auto&) {
        Session reader;
        reader.host = host;
        reader.setReferenceChannel (channel);
        return std::make_pair (reader.referenceChannel, std::move (reader.host.referenceAudio));
        },
        [this, host = session.host.file, channel] (auto read) {
        if (session.host.file != host || work.document().referenceChannel != channel)
            return;

        {
            const juce::ScopedLock lock (sessionLock);
            session.referenceChannel = read.first;
            std::swap (session.host.referenceAudio, read.second);
        }

        desk.discard (std::move (read.second));
        spine.repaint();
    },
        [this] (const juce::String& sentence) { showStatus (sentence); });
}

// Removed guests may come back, and need not be read again then.
void MainComponent::putAside (const std::vector<juce::Uuid>& ids)
{
    if (ids.empty())
        return;

    clearInspector();
    const auto isMeant = [&] (const GuestClip& guest) { return std::ranges::count (ids, guest.id) > 0; };
    std::vector<GuestClip> kept, removed;

    {
        const juce::ScopedLock lock (sessionLock);

        for (auto& guest : session.guests)
            (isMeant (guest) ? removed : kept).push_back (std::move (guest));

        session.guests = std::move (kept);
    }

    for (auto& guest : removed)
        if (! guest.matchPending)
            shelf.push_back (std::move (guest));

    size_t bytes = 0;
    auto first = shelf.end();

    while (first != shelf.begin() && bytes + bytesOf (*std::prev (first)) <= mostShelvedBytes)
        bytes += bytesOf (*--first);

    desk.discard (std::vector<GuestClip> (std::make_move_iterator (shelf.begin()), std::make_move_iterator (first)));
    shelf.erase (shelf.begin(), first);
    desk.discard (std::move (removed));
}

// No take is open any more; the position of the playback stays.
void MainComponent::closeTake()
{
    if (session.host.file == juce::File())
        return;

    desk.giveUpTake();
    preview.stop();
    clearInspector();
    const auto old = std::make_shared<Session>();

    {
        const juce::ScopedLock lock (sessionLock);
        session.swapTake (*old);
    }

    desk.discard (old);
    desk.discard (std::exchange (shelf, {}));
    playButton.setButtonText ("Play");
    spine.playhead = 0;
    spine.showWholeTake();
    refreshTake();
    repaint();
}

void MainComponent::bringPicture()
{
    const auto& doc = work.document();

    if (doc.videoFile != session.video.file)
    {
        video.stop();
        video.close();
        showPicture (doc.videoFile);
    }

    {
        const juce::ScopedLock lock (sessionLock);
        session.video.timestampSamples = doc.videoTimestampSamples;
        session.video.timecodeRate = doc.videoTimecodeRate;
    }

    showVideoTimecode();
    syncVideoTransport();
}

// A picture that cannot be shown today stays with the work.
void MainComponent::showPicture (const juce::File& file)
{
    {
        const juce::ScopedLock lock (sessionLock);
        session.video.file = file;
        session.video.loaded = false;
        session.video.durationSeconds = 0.0;
    }

    if (file == juce::File())
        return;

    if (! file.existsAsFile())
        return announce ("picture missing: " + file.getFileName());

    if (const auto result = video.load (file); result.failed())
        return announce (result.getErrorMessage());

    takePicture (file);
}

void MainComponent::keepRecovery (std::unique_ptr<RecoveryFile> file)
{
    recovery = std::move (file);
    recoveredState = work.state();
    offerLostWork (recovery->takeOver());
}

void MainComponent::offerLostWork (const std::vector<LostWork>& lost)
{
    if (lost.empty())
        return;

    // One at a time: the others wait for the next start.
    const auto& latest = lost.front();
    const auto count = (int) latest.document.takes.size();
    juce::String message;
    message << "Work was not saved when the program ended: " << count << (count == 1 ? " take, " : " takes, ")
            << latest.time.toString (true, true, false, true);

    if (const auto& saved = latest.document.recoveredFrom; saved != juce::File())
    {
        message << "\n" << saved.getFullPathName();

        if (saved.getLastModificationTime() > latest.time)
            message << "\nThat session was saved again later.";
    }

    questions.choose ({ "Recover work", message, { "Recover", "Discard", "Later" } },
                      this,
                      [self = juce::Component::SafePointer<MainComponent> (this), latest] (int answer) {
        if (self == nullptr || answer == 2)
            return;

        if (answer == 1)
            return self->recovery->discard (latest);

        auto document = latest.document;
        const auto file = std::exchange (document.recoveredFrom, {});
        self->reopened.push_back (latest);
        self->work.recover (std::move (document), file);
        self->announce ("Recovered unsaved work");
        self->bringSession();
        self->showAnnouncement();
    });
}

// Called by the timer: a second after an edit at the latest a job writes it down.
void MainComponent::keepUpRecovery()
{
    const auto now = juce::Time::getMillisecondCounter();

    if (recovery == nullptr || recoveredState == work.state() || now - recoveredAt < recoveryIntervalMs
        || isWritingRecovery)
        return;

    recoveredAt = now;
    recoveredState = work.state();

    if (! work.isUnsaved())
        return removeRecovery();

    isWritingRecovery = true;
    desk.start (
        JobKind::side,
        {},
        [target = recovery->target(), document = work.document(), file = work.file()] (const auto&) {
        return writeRecovery (target, document, file);
        },
        [this] (const juce::Result& written) {
        isWritingRecovery = false;

        if (recovery == nullptr)
            return;

        if (written.failed())
            return showStatus ("No recovery copy could be written: " + written.getErrorMessage());

        discardReopened();

        if (! work.isUnsaved())
            removeRecovery();    // saved meanwhile
    },
        [this] (const juce::String& sentence) {
        isWritingRecovery = false;
        showStatus (sentence);
    });
}

// Work recovered from a crashed program is in our own copy by now.
void MainComponent::discardReopened()
{
    for (const auto& lost : std::exchange (reopened, {}))
        recovery->discard (lost);
}

// Nothing is unsaved any more.
void MainComponent::removeRecovery()
{
    if (recovery == nullptr)
        return;

    discardReopened();
    recovery->remove();
}

void MainComponent::endRecovery()
{
    removeRecovery();
    recovery.reset();
}

void MainComponent::flushRecovery()
{
    if (recovery == nullptr)
        return;

    if (! work.isUnsaved())
        removeRecovery();
    else if (writeRecovery (recovery->target(), work.document(), work.file()).wasOk())
        discardReopened();
}

}    // namespace ld
