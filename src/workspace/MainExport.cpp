#include "workspace/MainComponent.h"

#include "conform/InterchangeRun.h"
#include "report/ReportFiles.h"
#include "workspace/MainText.h"

// "Export...": interchange files for editing systems, of the open take or of all takes; and the sound report.

namespace ld
{
namespace
{

constexpr auto exportingWord = "Exporting  ";

}    // namespace

void MainComponent::exportChooser()
{
    if (! hasWork() || desk.isBusy())
        return;

    if (work.document().takes.size() == 1)
        return chooseExportFolder (ExportScope::openTake);

    const Choice which {
        "Export for editing systems",
        "All takes, with a set for the whole day, or the open take alone? Or a sound report of the day?",
        { "All takes", "Open take", "Sound report", "Cancel" }
    };
    questions.choose (which, this, [self = juce::Component::SafePointer<MainComponent> (this)] (int answer) {
        if (self == nullptr || answer > 2)
            return;

        if (answer == 2)
            self->soundReportChooser();
        else
            self->chooseExportFolder (answer == 0 ? ExportScope::allTakes : ExportScope::openTake);
    });
}

void MainComponent::chooseExportFolder (ExportScope scope)
{
    chooseOutputFolder ("Choose the folder of the COMBINED WAV files",
                        [this, scope] (const auto& folder) { exportInto (folder, scope); });
}

// It begins where the open take was combined to: there the files are looked for.
void MainComponent::chooseOutputFolder (const juce::String& title, std::function<void (const juce::File&)> chosen)
{
    const auto* const take = openTakeOf (work.document());

    if (take == nullptr || desk.isBusy())
        return;

    const auto last = combinedFiles.find (take->host.file.getFullPathName());
    const auto& near = last != combinedFiles.end() ? last->second : take->host.file;
    questions.chooseFiles ({ title,
                             near.getParentDirectory(),
                             "*",
                             juce::FileBrowserComponent::openMode | juce::FileBrowserComponent::canSelectDirectories },
                           [self = juce::Component::SafePointer<MainComponent> (this),
                            chosen = std::move (chosen)] (const std::vector<juce::File>& folders) {
        if (self != nullptr && self->hasWork() && ! self->desk.isBusy() && folders.front().isDirectory())
            chosen (folders.front());
    });
}

void MainComponent::exportInto (const juce::File& folder, ExportScope scope)
{
    const auto document = std::make_shared<const SessionDocument> (work.document());
    const auto count = scope == ExportScope::allTakes ? (int) document->takes.size() : 1;
    showStatus ("Exporting " + juce::String (count) + (count == 1 ? " take..." : " takes..."));
    beginProgress (countText (exportingWord, 0, count), 0.0);

    desk.start (
        JobKind::write,
        {},
        [this, folder, scope, document, count, known = combinedFiles] (const JobDesk::Progress& progress) {
        auto run = planInterchange (*document, folder, known);

        if (scope == ExportScope::openTake)
            run = onlyTake (std::move (run), document->batchIndex);

        run.edits.isWanted = progress.wanted;
        return runInterchange (run, takeProgress (progress, exportingWord, count));
        },
        [this, folder] (const InterchangeOutcome& outcome) { showStatus (interchangeSummary (outcome, folder)); },
        [this] (const juce::String& sentence) { fail (sentence); });
}

void MainComponent::soundReportChooser()
{
    chooseOutputFolder ("Choose a folder for the sound report",
                        [this] (const auto& folder) { writeReportInto (folder); });
}

// Of the work as it is now. It reads headers only, but of every file.
void MainComponent::writeReportInto (const juce::File& folder)
{
    const auto document = std::make_shared<const SessionDocument> (work.document());
    const auto page = folder.getChildFile ("SOUND_REPORT_" + folder.getFileName() + ".html");
    showStatus ("Writing the sound report...");

    desk.start (
        JobKind::write,
        {},
        [document, page, known = combinedFiles] (const JobDesk::Progress&) {
        return writeSoundReport (
            describeDay (outcomeOfWork (*document, known), page.getParentDirectory().getFileName()), page);
        },
        [this, page] (const juce::Result& result) {
        showStatus (result.wasOk() ? "Sound report written | " + page.getFileName() : result.getErrorMessage());
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

}    // namespace ld
