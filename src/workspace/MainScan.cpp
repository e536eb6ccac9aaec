#include "workspace/MainComponent.h"

#include "clocks/ShootMatch.h"
#include "session/BatchTakes.h"
#include "workspace/MainText.h"

// Many recordings at once: a shoot folder, several polys, a folder of ISO files, a drop.

namespace ld
{
namespace
{

std::vector<ScanFile> inspectAll (const std::vector<juce::File>& files, const JobDesk::Wanted& isWanted)
{
    std::vector<ScanFile> scans;

    for (const auto& file : files)
        if (isWanted())
            scans.push_back (inspectAudioFile (file));

    return scans;
}

using ShowProgress = std::function<void (const juce::String& what, int done, int total)>;

ShootProgress postedTo (const JobDesk::Progress& progress, ShowProgress show)
{
    return [progress, show = std::move (show)] (const juce::String& what, int done, int total) {
        if (total >= 1)
            progress.post ([show, what, done, total] { show (what, done, total); });
    };
}

MatchOptions optionsFor (const JobDesk::Progress& progress)
{
    MatchOptions options;
    options.isWanted = progress.wanted;
    return options;
}

// What a scan gave, and what to say about it.
struct ScannedShoot
{
    std::vector<BatchMatch> matches;
    std::vector<RecorderClock> recorders;
    RunTable table;
};

ScannedShoot withTable (ShootMatch shoot, const std::vector<ScanFile>& scans)
{
    auto outcome = outcomeOfScan (shoot.matches);
    outcome.comparisons = std::move (shoot.comparisons);
    accountForFiles (outcome, scans);
    return { std::move (shoot.matches), std::move (shoot.recorders), tableOfScan (outcome) };
}

juce::String nameOfDrop (const std::vector<ScanFile>& files)
{
    return files.size() == 1 ? files.front().file.getFileName() : juce::String ((int) files.size()) + " files";
}

}    // namespace

void MainComponent::showMatchProgress (const juce::String& what, int done, int total)
{
    updateProgress ((double) done / total, countText (what + "  ", done, total));
}

std::function<void (const juce::String&, int, int)> MainComponent::matchProgress()
{
    return [this] (const juce::String& what, int done, int total) { showMatchProgress (what, done, total); };
}

void MainComponent::runBatchAsync (const juce::File& folder)
{
    showStatus ("Scanning " + folder.getFileName() + "...");
    beginProgress ("Examining shoot folder...", -1.0);

    desk.start (
        JobKind::scan,
        {},
        [folder, show = matchProgress()] (const JobDesk::Progress& progress) {
        const auto scans = inspectAll (collectMediaFiles (folder), progress.wanted);
        return withTable (matchShoot (scans, postedTo (progress, show), optionsFor (progress)), scans);
        },
        [this, folder] (ScannedShoot shoot) {
        if (shoot.matches.empty())
            return showStatus ("No polyphonic takes in that folder.");

        const auto text = scanText (shoot.matches, folder.getFileName());
        announce (text);
        showResults (std::move (shoot.table), text);
        perform (replaceTakes (work.document(),
                               std::move (shoot.matches),
                               std::move (shoot.recorders),
                               "Scan " + folder.getFileName()),
                 true);
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::loadPolyBatchAsync (const std::vector<juce::File>& files)
{
    if (files.empty() || desk.isBusy())
        return;

    showStatus ("Reading " + juce::String (files.size()) + " poly files...");
    beginProgress ("Examining poly files...", -1.0);

    desk.start (
        JobKind::scan,
        {},
        [files] (const JobDesk::Progress& progress) {
        auto scans = inspectAll (files, progress.wanted);
        std::erase_if (scans, [] (const auto& scan) { return ! isPoly (scan); });
        return matchBatch (scans);
        },
        [this] (std::vector<BatchMatch> matches) {
        if (matches.empty())
            return showStatus ("None of the selected files are polyphonic BWFs.");

        const auto count = (int) matches.size();
        const auto text = "Loaded " + juce::String (count) + " polys | add an ISO folder to match all of them.";
        announce (text);
        perform (replaceTakes (work.document(), std::move (matches), {}, "Open " + juce::String (count) + " polys"),
                 true);
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::addIsoFolderAsync (const juce::File& folder)
{
    if (! hasWork() || ! folder.isDirectory())
        return;

    if (desk.isBusy())
    {
        showStatus (folder.getFileName() + " follows when the current work is done.");
        announce (folder.getFileName() + " follows");
        return desk.whenFree ([this, folder] { addIsoFolderAsync (folder); });
    }

    showStatus ("Scanning every subfolder in " + folder.getFileName() + "...");
    beginProgress ("Examining ISO folder...", -1.0);

    if (work.document().takes.size() < 2)
        addIsoFolderToTake (folder);
    else
        addIsoFolderToBatch (folder);
}

void MainComponent::addIsoFolderToTake (const juce::File& folder)
{
    desk.start (
        JobKind::scan,
        {},
        [folder, host = describeHost (session.host)] (const auto&) { return filesForTake (host, folder); },
        [this, folder] (FilesForTake found) {
        const auto before = openTakeOf (work.document())->guests.size();
        auto edit = addFiles (work.document(), session.host.file, found.files, "ISO folder " + folder.getFileName());
        const auto added = (int) (openTakeOf (edit.document)->guests.size() - before);

        if (added == 0)
            return showStatus ("No new ISO files matched " + folder.getFileName() + ".");

        for (const auto& scan : found.files)
            if (! desk.isAt (scan.file))
                onTrial.insert (scan.file.getFullPathName());

        selectGuest (juce::Uuid::null(), -1);
        showStatus (isosAddedText (added, found.skipped));
        perform (std::move (edit));
        },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::addIsoFolderToBatch (const juce::File& folder)
{
    desk.start (
        JobKind::scan,
        {},
        [folder, takes = work.document().takes, show = matchProgress()] (const JobDesk::Progress& progress) {
        const auto scans = scansForBatch (takes, folder);
        return withTable (matchShoot (scans, postedTo (progress, show), optionsFor (progress)), scans);
        },
        [this, folder] (ScannedShoot shoot) {
        const auto text = isosMatchedText (shoot.matches, folder.getFileName());
        announce (text);
        showResults (std::move (shoot.table), text);
        perform (joinMatches (work.document(), shoot.matches, std::move (shoot.recorders), folder.getFileName()));
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::addDroppedAudio (std::vector<juce::File> files)
{
    if (desk.isRunning (JobKind::scan) || desk.isRunning (JobKind::write) || desk.isRunning (JobKind::load))
    {
        showStatus (files.front().getFileName() + " follows when the current work is done.");
        return desk.whenFree ([this, files = std::move (files)] { addDroppedAudio (files); });
    }

    if (! session.host.format.valid)
        return;

    desk.start (
        JobKind::search,
        {},
        [files = std::move (files)] (const JobDesk::Progress& progress) { return inspectAll (files, progress.wanted); },
        [this] (std::vector<ScanFile> scans) {
        juce::StringArray unreadable;
        std::erase_if (scans, [&] (const auto& scan) {
            if (! scan.format.valid)
                unreadable.add (scan.file.getFileName());

            return ! scan.format.valid;
        });

        if (! scans.empty())
            perform (addFiles (work.document(), session.host.file, scans, nameOfDrop (scans)));

        if (! unreadable.isEmpty())
            showStatus ("Could not read " + unreadable.joinIntoString (", ") + " as WAV/BWF.");
        },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::findMissingIn (const juce::File& folder)
{
    if (desk.isBusy())
        return desk.whenFree ([this, folder] { findMissingIn (folder); });

    beginProgress ("Looking for missing files...", -1.0);
    desk.start (
        JobKind::scan,
        {},
        [folder, document = work.document()] (const auto&) { return findMissingFiles (document, folder); },
        [this, folder] (const FoundFiles& found) {
        const auto missing = (int) missingFilesOf (work.document()).size();
        auto text = "Found " + juce::String ((int) found.moved.size()) + " of " + juce::String (missing)
                    + " missing files in " + folder.getFileName() + ".";

        if (found.ambiguous > 0)
            text << " " << found.ambiguous << " stand there more than once.";

        announce (text);
        perform (relocateFiles (work.document(), found));
        },
        [this] (const juce::String& sentence) { fail (sentence); });
}

}    // namespace ld
