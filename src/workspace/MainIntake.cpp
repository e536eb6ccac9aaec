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

// An answer can come after the view has gone.
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

void MainComponent::handleIncomingFiles (const juce::StringArray& paths)
{
    auto dropped = sortDroppedPaths (paths);
    const auto hasHost = session.host.format.valid;

    if (! dropped.sessions.empty())
        return loadSessionFile (dropped.sessions.front());

    if (! dropped.folders.empty())
        return hasHost ? addIsoFolderAsync (dropped.folders.front()) : runBatchAsync (dropped.folders.front());

    for (const auto& picture : dropped.pictures)
        loadVideo (picture);

    if (dropped.audio.empty())
        return;

    if (hasHost)
        return addDroppedAudio (std::move (dropped.audio));

    const auto host = dropped.audio.front();
    dropped.audio.erase (dropped.audio.begin());
    loadHostAsync (host, std::move (dropped.audio), false);
}

void MainComponent::openHostChooser()
{
    questions.chooseFiles ({ "Open one or more polyphonic BWFs", {}, "*.wav;*.WAV;*.bwf;*.BWF", openSeveral },
                           answeredBy (this, [this] (std::vector<juce::File> files) {
                               std::erase_if (files, [] (const auto& file) { return ! file.existsAsFile(); });

                               if (files.size() == 1)
                                   loadHostAsync (files.front(), {}, false);
                               else if (files.size() > 1)
                                   loadPolyBatchAsync (files);
                           }));
}

void MainComponent::openFolderChooser()
{
    questions.chooseFiles ({ "Scan shoot folder and all subfolders", {}, "*", openFolder },
                           answeredBy (this, [this] (const std::vector<juce::File>& folders) {
                               if (folders.front().isDirectory())
                                   runBatchAsync (folders.front());
                           }));
}

void MainComponent::openIsoFolderChooser()
{
    if (! session.host.format.valid)
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
    if (busy)
    {
        showStatus (waitBeforeOpening);
        return;
    }

    questions.chooseFiles ({ "Open session", sessionFile, "*.ldsession", openOne },
                           answeredBy (this, [this] (const std::vector<juce::File>& files) {
                               if (files.front().existsAsFile())
                                   loadSessionFile (files.front());
                           }));
}

void MainComponent::saveSessionChooser()
{
    if (! session.host.format.valid || busy)
        return;

    if (sessionFile != juce::File())
        return saveSessionTo (sessionFile);

    const auto& host = session.host.file;
    questions.chooseFiles ({ "Save session", host.withFileExtension (".ldsession"), "*.ldsession", saveOne },
                           answeredBy (this, [this] (const std::vector<juce::File>& files) {
                               const auto& file = files.front();
                               saveSessionTo (file.getFileExtension().isEmpty() ? file.withFileExtension ("ldsession")
                                                                                : file);
                           }));
}

void MainComponent::combineAllChooser()
{
    if (! session.host.format.valid || busy)
        return;

    questions.chooseFiles (
        { "Choose a folder for COMBINED WAV files", session.host.file.getParentDirectory(), "*", openFolder },
        answeredBy (this, [this] (const std::vector<juce::File>& folders) {
            if (folders.front().isDirectory())
                combineInto (folders.front());
        }));
}

}    // namespace ld
