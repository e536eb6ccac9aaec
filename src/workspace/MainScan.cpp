#include "workspace/MainComponent.h"

#include "clocks/ShootMatch.h"
#include "session/BatchTakes.h"
#include "workspace/MainText.h"

// Many recordings at once: a shoot folder, several polys, a folder of ISO files.

namespace ld
{
namespace
{

std::vector<ScanFile> inspectAll (const std::vector<juce::File>& files)
{
    std::vector<ScanFile> scans;
    std::transform (files.begin(), files.end(), std::back_inserter (scans), inspectAudioFile);
    return scans;
}

using ShowProgress = std::function<void (const juce::String& what, int done, int total)>;

ShootProgress postedTo (const JobRunner::Progress& progress, ShowProgress show)
{
    return [progress, show = std::move (show)] (const juce::String& what, int done, int total) {
        if (total >= 1)
            progress.post ([show, what, done, total] { show (what, done, total); });
    };
}

// What a folder gave to the open take.
struct FoundForTake
{
    AddedFiles files;
    int skipped = 0;
};

}    // namespace

void MainComponent::showMatchProgress (const juce::String& what, int done, int total)
{
    updateProgress ((double) done / total, countText (what + "  ", done, total));
}

std::function<void (const juce::String&, int, int)> MainComponent::matchProgress()
{
    return [this] (const juce::String& what, int done, int total) { showMatchProgress (what, done, total); };
}

void MainComponent::endScan()
{
    busy = false;
    addIsoButton.setEnabled (true);
    finishProgress();
}

void MainComponent::runBatchAsync (const juce::File& folder)
{
    busy = true;
    showStatus ("Scanning " + folder.getFileName() + "...");
    beginProgress ("Examining shoot folder...", -1.0);

    jobs.start (
        [folder, show = matchProgress()] (const JobRunner::Progress& progress) {
        return matchShoot (inspectAll (collectMediaFiles (folder)), postedTo (progress, show));
        },
        [this, folder] (ShootMatch shoot) {
        endScan();
        batch = std::move (shoot.matches);
        recorders = std::move (shoot.recorders);
        batchIndex = 0;

        if (batch.empty())
            return showStatus ("No polyphonic takes in that folder.");

        showStatus (scanText (batch, folder.getFileName()));
        loadBatchIndex (0);
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::loadPolyBatchAsync (const std::vector<juce::File>& files)
{
    if (files.empty() || busy)
        return;

    busy = true;
    showStatus ("Reading " + juce::String (files.size()) + " poly files...");
    beginProgress ("Examining poly files...", -1.0);

    jobs.start (
        [files] (const auto&) {
        auto scans = inspectAll (files);
        std::erase_if (scans, [] (const auto& scan) { return ! isPoly (scan); });
        return matchBatch (scans);
        },
        [this] (std::vector<BatchMatch> matches) {
        endScan();

        if (matches.empty())
            return showStatus ("None of the selected files are polyphonic BWFs.");

        batch = std::move (matches);
        batchIndex = 0;
        showStatus ("Loaded " + juce::String (batch.size()) + " polys | add an ISO folder to match all of them.");
        loadBatchIndex (0);
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::addIsoFolderAsync (const juce::File& folder)
{
    if (! session.host.format.valid || ! folder.isDirectory() || busy)
        return;

    busy = true;
    addIsoButton.setEnabled (false);
    showStatus ("Scanning every subfolder in " + folder.getFileName() + "...");
    beginProgress ("Examining ISO folder...", -1.0);

    if (batch.size() < 2)
        addIsoFolderToTake (folder);
    else
        addIsoFolderToBatch (folder);
}

void MainComponent::addIsoFolderToTake (const juce::File& folder)
{
    std::vector<GuestClip> guests;
    std::transform (session.guests.begin(), session.guests.end(), std::back_inserter (guests), describeGuest);

    jobs.start (
        [folder, host = describeHost (session.host), guests = std::move (guests)] (const auto&) {
        const auto found = filesForTake (host, folder);
        return FoundForTake { addFiles (host, guests, found.files), found.skipped };
        },
        [this, folder, serial = takeSerial] (FoundForTake found) {
        addIsoButton.setEnabled (true);

        if (serial != takeSerial)
            return;

        if (found.files.added == 0)
        {
            endScan();
            return showStatus ("No new ISO files matched " + folder.getFileName() + ".");
        }

        std::vector<juce::Uuid> ids;

        for (auto& guest : found.files.guests)
        {
            guest.matchPending = guest.lanesHidden = true;
            ids.push_back (guest.id);
        }

        commitAddedFiles (std::move (found.files.guests));
        selectGuest (juce::Uuid::null());
        beginAlignmentProgress ((int) ids.size());
        showStatus (isosAddedText (found.files.added, found.skipped));
        alignGuestsAsync (ids, true);
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::addIsoFolderToBatch (const juce::File& folder)
{
    jobs.start (
        [folder, takes = batch, show = matchProgress()] (const JobRunner::Progress& progress) {
        auto shoot = matchShoot (scansForBatch (takes, folder), postedTo (progress, show));
        shoot.matches = mergeMatches (takes, shoot.matches);
        return shoot;
        },
        [this, folder, index = batchIndex] (ShootMatch shoot) {
        endScan();
        batch = std::move (shoot.matches);
        recorders = std::move (shoot.recorders);
        batchIndex = juce::jlimit (0, (int) batch.size() - 1, index);
        showStatus (isosMatchedText (batch, folder.getFileName()));
        loadBatchIndex (batchIndex);
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

}    // namespace ld
