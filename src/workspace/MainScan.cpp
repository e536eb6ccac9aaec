#include "workspace/MainComponent.h"

#include "workspace/BatchTakes.h"
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

MatchProgress postedTo (const JobRunner::Progress& progress, std::function<void (int done, int total)> show)
{
    return [progress, show = std::move (show)] (int done, int total) {
        if (total >= 1)
            progress.post ([show, done, total] { show (done, total); });
    };
}

// What a folder gave to the open take.
struct FoundForTake
{
    AddedFiles files;
    int skipped = 0;
};

}    // namespace

void MainComponent::showMatchProgress (int done, int total)
{
    updateProgress ((double) done / total, countText ("Comparing every ISO against every poly  ", done, total));
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
        [folder, show = [this] (int done, int total) { showMatchProgress (done, total); }] (
            const JobRunner::Progress& progress) {
        return matchBatchByWaveform (inspectAll (collectMediaFiles (folder)), postedTo (progress, show));
        },
        [this, folder] (std::vector<BatchMatch> matches) {
        endScan();
        batch = std::move (matches);
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
        [folder, takes = batch, show = [this] (int done, int total) { showMatchProgress (done, total); }] (
            const JobRunner::Progress& progress) {
        return mergeMatches (takes, matchBatchByWaveform (scansForBatch (takes, folder), postedTo (progress, show)));
        },
        [this, folder, index = batchIndex] (std::vector<BatchMatch> merged) {
        endScan();
        batch = std::move (merged);
        batchIndex = juce::jlimit (0, (int) batch.size() - 1, index);
        showStatus (isosMatchedText (batch, folder.getFileName()));
        loadBatchIndex (batchIndex);
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

}    // namespace ld
