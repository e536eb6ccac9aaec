#include "workspace/MainComponent.h"

#include "workspace/DroppedPaths.h"

// Files coming in, by a drop or through a chooser.

namespace ld
{
namespace
{

using Chooser = juce::FileBrowserComponent;

constexpr int openOne = Chooser::openMode | Chooser::canSelectFiles;
constexpr int openSeveral = openOne | Chooser::canSelectMultipleItems;
constexpr int openFolder = Chooser::openMode | Chooser::canSelectDirectories;
constexpr int saveOne = Chooser::saveMode | Chooser::canSelectFiles | Chooser::warnAboutOverwriting;

constexpr auto waitBeforeOpening = "Wait for the current scan or export to finish before opening a session.";

// An answer can come after the view is gone.
template <typename Answer>
UserQuestions::FilesAnswer answeredBy (MainComponent* view, Answer&& answer)
{
    return [self = juce::Component::SafePointer<MainComponent> (view),
            answer = std::forward<Answer> (answer)] (std::vector<juce::File> files) {
        if (self != nullptr)
            answer (std::move (files));
    };
}

}    // namespace

bool MainComponent::isInterestedInFileDrag (const juce::StringArray& paths)
{
    return holdsAnythingToOpen (paths);
}

void MainComponent::fileDragEnter (const juce::StringArray&, int, int)
{
    fileDragOver = spine.fileDragOver = true;
    dragPulse = 1.0f;
    repaint();
}

void MainComponent::fileDragExit (const juce::StringArray&)
{
    fileDragOver = spine.fileDragOver = false;
    repaint();
}

void MainComponent::filesDropped (const juce::StringArray& paths, int, int)
{
    fileDragOver = spine.fileDragOver = false;
    handleIncomingFiles (paths);
    repaint();
}

// A running scan or combine run goes first: its result decides what to do with the files.
bool MainComponent::mustWait() const
{
    return desk.isRunning (JobKind::scan) || desk.isRunning (JobKind::write) || desk.isRunning (JobKind::load);
}

void MainComponent::handleIncomingFiles (const juce::StringArray& paths)
{
    auto dropped = sortDroppedPaths (paths);

    if (! dropped.sessions.empty())
        return loadSessionFile (dropped.sessions.front());

    if (mustWait())
        return desk.whenFree ([this, paths] { handleIncomingFiles (paths); });

    if (! dropped.folders.empty())
        return hasWork() ? addIsoFolderAsync (dropped.folders.front()) : runBatchAsync (dropped.folders.front());

    for (const auto& picture : dropped.pictures)
        loadVideo (picture);

    if (dropped.audio.empty())
        return;

    if (hasWork())
        return addDroppedAudio (std::move (dropped.audio));

    const auto host = dropped.audio.front();
    dropped.audio.erase (dropped.audio.begin());
    loadHostAsync (host, std::move (dropped.audio));
}

// Several polys replace the open takes; a single one joins them.
void MainComponent::openPolys (std::vector<juce::File> files)
{
    std::erase_if (files, [] (const auto& file) { return ! file.existsAsFile(); });

    if (desk.isRunning (JobKind::scan) || desk.isRunning (JobKind::write))
        return desk.whenFree ([this, files] { openPolys (files); });

    if (files.size() == 1)
        return loadHostAsync (files.front(), {});

    if (! files.empty())
        askToSave ([self = juce::Component::SafePointer<MainComponent> (this), files] {
            if (self != nullptr)
                self->loadPolyBatchAsync (files);
        });
}

void MainComponent::openHostChooser()
{
    questions.chooseFiles (
        { "Open one or more polyphonic BWFs", {}, "*.wav;*.WAV;*.bwf;*.BWF", openSeveral },
        answeredBy (this, [this] (std::vector<juce::File> files) { openPolys (std::move (files)); }));
}

void MainComponent::openFolderChooser()
{
    questions.chooseFiles ({ "Scan shoot folder and all subfolders", {}, "*", openFolder },
                           answeredBy (this, [this] (const std::vector<juce::File>& folders) {
                               if (folders.front().isDirectory())
                                   handleIncomingFiles ({ folders.front().getFullPathName() });
                           }));
}

void MainComponent::openIsoFolderChooser()
{
    if (! hasWork())
        return;

    questions.chooseFiles (
        { "Add ISO folder (subfolders included)", {}, "*", openFolder },
        answeredBy (this, [this] (const std::vector<juce::File>& folders) { addIsoFolderAsync (folders.front()); }));
}

void MainComponent::openVideoChooser()
{
    questions.chooseFiles ({ "Open picture", {}, "*.mov;*.mp4;*.m4v;*.mxf", openOne },
                           answeredBy (this, [this] (const std::vector<juce::File>& files) {
                               if (files.front().existsAsFile())
                                   loadVideo (files.front());
                           }));
}

void MainComponent::openSessionChooser()
{
    if (desk.isBusy())
        return showStatus (waitBeforeOpening);

    questions.chooseFiles ({ "Open session", work.file(), "*.ldsession", openOne },
                           answeredBy (this, [this] (const std::vector<juce::File>& files) {
                               if (files.front().existsAsFile())
                                   loadSessionFile (files.front());
                           }));
}

void MainComponent::saveSessionChooser()
{
    if (! hasWork())
        return;

    if (work.file() != juce::File())
        return saveSessionTo (work.file());

    saveSessionAs ([] {});
}

// saved   what follows
void MainComponent::saveSessionAs (std::function<void()> saved)
{
    const auto asked = work.file();
    const auto poly = openTakeOf (work.document())->host.file;
    const auto start = asked != juce::File() ? asked : poly.withFileExtension (".ldsession");
    questions.chooseFiles ({ "Save session", start, "*.ldsession", saveOne },
                           answeredBy (this, [this, asked, saved = std::move (saved)] (const auto& files) {
                               // Meanwhile it may have become another work, or none.
                               if (hasWork() && work.file() == asked)
                                   saveUnlessThereIsAnother (files.front(), saved);
                           }));
}

// The dialog has asked already where the name that was typed is that of a file; not where only its ending makes it so.
void MainComponent::saveUnlessThereIsAnother (const juce::File& typed, const std::function<void()>& saved)
{
    const auto isComplete = typed.getFileExtension().isNotEmpty();
    const auto file = isComplete ? typed : typed.withFileExtension ("ldsession");
    const auto save = [this, file, saved] {
        saveSessionTo (file);

        if (! work.isUnsaved())
            saved();
    };

    if (isComplete || file == work.file() || ! file.existsAsFile())
        return save();

    questions.choose (
        { "Save session", file.getFileName() + " is there already. Replace it?", { "Replace", "Cancel" } },
        this,
        [self = juce::Component::SafePointer<MainComponent> (this), save] (int answer) {
        if (self != nullptr && answer == 0)
            save();
        });
}

void MainComponent::combineAllChooser()
{
    const auto* const take = openTakeOf (work.document());

    if (take == nullptr || desk.isBusy())
        return;

    questions.chooseFiles (
        { "Choose a folder for COMBINED WAV files", take->host.file.getParentDirectory(), "*", openFolder },
        answeredBy (this, [this] (const std::vector<juce::File>& folders) {
            if (hasWork() && folders.front().isDirectory())
                combineInto (folders.front());
        }));
}

void MainComponent::findMissingChooser()
{
    const auto* const take = openTakeOf (work.document());

    if (take == nullptr)
        return;

    questions.chooseFiles (
        { "Find missing files in a folder and all below it", take->host.file.getParentDirectory(), "*", openFolder },
        answeredBy (this, [this] (const std::vector<juce::File>& folders) {
            if (hasWork() && folders.front().isDirectory())
                findMissingIn (folders.front());
        }));
}

}    // namespace ld
