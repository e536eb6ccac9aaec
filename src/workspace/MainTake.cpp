#include "workspace/MainComponent.h"

#include "batch/Workers.h"
#include "session/GuestPlacing.h"
#include "workspace/MainText.h"

// The open take: loading it, adding files to it, and the parallel alignment in which both end.

namespace ld
{
namespace
{

constexpr auto aligningText = "Examining and lining up tracks  ";

}    // namespace

void MainComponent::loadHostAsync (const juce::File& host, std::vector<juce::File> guests, bool removeUnmatched)
{
    preview.stop();
    resetPlayhead();
    busy = true;
    showStatus ("Reading " + host.getFileName() + "...");
    beginProgress ("Examining " + host.getFileName() + "...", -1.0);

    LoadRequest request;
    request.host = host;
    request.guests = std::move (guests);
    request.removesUnmatched = removeUnmatched;

    if (juce::isPositiveAndBelow (batchIndex, (int) batch.size()))
        if (const auto& take = batch[(size_t) batchIndex]; take.host.file == host)
        {
            request.locked = lockedPlacementsOf (take);
            request.omittedHost = take.omittedHost;
        }

    if (pendingReferenceChannel >= 0)
        request.referenceChannel = pendingReferenceChannel;

    isLoading = true;
    const auto serial = ++loadSerial;
    jobs.start ([request = std::move (request)] (const auto&) { return loadTake (request); },
                [this, serial, removeUnmatched] (LoadedTake loaded) {
        if (serial == loadSerial)
            commitTake (std::move (loaded), removeUnmatched);
    },
                [this, serial] (const juce::String& sentence) {
        if (serial == loadSerial)
            fail (sentence);
    });
}

void MainComponent::commitTake (LoadedTake loaded, bool removeUnmatched)
{
    isLoading = false;

    if (loaded.result.failed())
        return fail (loaded.result.getErrorMessage());

    closeInspector();
    auto& fresh = *loaded.session;
    applyMetadataOverrides (fresh, metadataOverrides, nameOverrides);
    fresh.applyMixerTemplate (mixerTemplate);
    ++takeSerial;
    *alignmentIsWanted = false;

    {
        const juce::ScopedLock lock (sessionLock);
        session.swapTake (fresh);
    }

    jobs.discard (std::move (loaded.session));
    playButton.setEnabled (true);
    combineButton.setEnabled (true);
    restorePendingVideo();
    refreshTake();
    repaint();
    showStatus (takeLoadedText (session.guests));
    grabKeyboardFocus();

    if (loaded.pending.empty())
    {
        busy = false;
        finishProgress();
        return;
    }

    beginAlignmentProgress ((int) loaded.pending.size());
    alignGuestsAsync (loaded.pending, removeUnmatched);
}

void MainComponent::addDroppedAudio (std::vector<juce::File> files)
{
    std::vector<GuestClip> guests;
    std::transform (session.guests.begin(), session.guests.end(), std::back_inserter (guests), describeGuest);

    jobs.start ([host = describeHost (session.host), guests = std::move (guests), files = std::move (files)] (
                    const auto&) { return addFiles (host, guests, files); },
                [this, serial = takeSerial] (AddedFiles added) {
        if (serial != takeSerial)
            return;

        commitAddedFiles (std::move (added.guests));
        std::vector<juce::Uuid> ids;

        for (const auto& guest : session.guests)
            ids.push_back (guest.id);

        busy = ! ids.empty();
        beginAlignmentProgress ((int) ids.size());
        alignGuestsAsync (ids, false);
    },
                [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::commitAddedFiles (std::vector<GuestClip> guests)
{
    std::vector<GuestClip> replaced;
    closeInspector();

    {
        const juce::ScopedLock lock (sessionLock);
        replaced = takeOverAddedFiles (session, std::move (guests));
        applyMetadataOverrides (session, metadataOverrides, nameOverrides);
        session.applyMixerTemplate (mixerTemplate);
    }

    jobs.discard (std::move (replaced));
    refreshTake();
}

void MainComponent::alignGuestsAsync (const std::vector<juce::Uuid>& ids, bool removeUnmatched)
{
    if (ids.empty() || ! session.host.format.valid)
        return;

    std::vector<GuestClip> guests;

    for (const auto& id : ids)
        if (const auto* guest = session.findGuest (id))
            guests.push_back (describeGuest (*guest));

    // What comes from an alignment that another one has replaced is dropped.
    *alignmentIsWanted = false;
    alignmentIsWanted = std::make_shared<std::atomic<bool>> (true);
    const auto ifWanted = [isWanted = alignmentIsWanted] (auto&& call) {
        return [isWanted, call] {
            if (*isWanted)
                call();
        };
    };

    const auto align = [this,
                        ifWanted,
                        isWanted = alignmentIsWanted,
                        removeUnmatched,
                        guests = std::move (guests),
                        described = describeHost (session.host),
                        reference = session.referenceChannel] (const JobRunner::Progress& progress) {
        const auto host = readHostForSearch (described, reference);

        runWorkers ((int) guests.size(), [&] (int i) {
            if (! *isWanted)
                return;

            const auto& guest = guests[(size_t) i];
            const auto label = guestName (guest);
            const auto told = [&] (float, const juce::String& phase) {
                progress.post (ifWanted ([this, text = label + juce::String::fromUTF8 (" · ") + phase] {
                    if (progressVisible)
                        progressBar.setText (text);
                }));
            };
            const auto placed = std::make_shared<PlacedGuest> (placeGuest (host, guest, {}, told));
            progress.post (ifWanted ([this, placed, removeUnmatched] {
                commitPlace (std::move (*placed), removeUnmatched);
                completeAlignmentProgress();
            }));
        });

        return true;
    };

    jobs.start (
        align,
        [] (bool) {},
        [this, isWanted = alignmentIsWanted] (const juce::String& sentence) {
        if (*isWanted)
            fail (sentence);
        });
}

// By now the guest may be gone: its result is dropped.
void MainComponent::commitPlace (PlacedGuest placed, bool removeUnmatched)
{
    const auto id = placed.guest.id;
    const auto alignment = placed.alignment;
    const auto isHidden = removeUnmatched && alignment.needsManual && session.findGuest (id) != nullptr;
    GuestClip replaced;

    if (isHidden)
    {
        closeInspector();
        const juce::ScopedLock lock (sessionLock);
        replaced = takeOutGuest (session, id);
        session.applyMixerTemplate (mixerTemplate);
    }
    else if (auto* const live = session.findGuest (id))
    {
        const juce::ScopedLock lock (sessionLock);
        replaced = takeOverPlace (*live, std::move (placed));

        if (session.selectedGuest.isNull())
            session.selectedGuest = id;
    }

    jobs.discard (std::move (replaced));
    refreshTake();
    showStatus (alignedText (alignment, isHidden));
}

void MainComponent::beginAlignmentProgress (int count)
{
    alignmentTotal = std::max (count, 0);
    alignmentDone = 0;

    if (count < 1)
        return finishProgress();

    beginProgress (countText (aligningText, 0, count), 0.0);
}

void MainComponent::completeAlignmentProgress()
{
    if (alignmentTotal < 1)
        return;

    alignmentDone = std::min (alignmentDone + 1, alignmentTotal);
    updateProgress ((double) alignmentDone / alignmentTotal, countText (aligningText, alignmentDone, alignmentTotal));

    if (alignmentDone < alignmentTotal)
        return;

    // Another poly may be on its way already; the bar is its own then.
    alignmentTotal = alignmentDone = 0;

    if (isLoading)
        return;

    busy = false;
    finishProgress();
}

}    // namespace ld
