#include "workspace/MainComponent.h"

// The session file: what the work is saved to and opened from.

namespace ld
{
namespace
{

constexpr auto waitBeforeOpening = "Wait for the current scan or export to finish before opening a session.";

}    // namespace

void MainComponent::askToSave (std::function<void()> goOn)
{
    if (! work.isUnsaved() || work.document().takes.empty())
        return goOn();

    const auto name = work.file() == juce::File() ? juce::String ("the work") : work.file().getFileName();
    questions.choose (
        { "Save changes", "Save the changes to " + name + "?", { "Save", "Discard", "Cancel" } },
        this,
        [self = juce::Component::SafePointer<MainComponent> (this), goOn = std::move (goOn)] (int answer) {
        if (self == nullptr || answer == 2)
            return;

        if (answer == 1)
            return goOn();

        if (self->work.file() == juce::File())
            return self->saveSessionAs (goOn);

        self->saveSessionTo (self->work.file());

        if (! self->work.isUnsaved())
            goOn();
        });
}

void MainComponent::saveSessionTo (const juce::File& file)
{
    if (const auto result = writeSessionDocument (file, work.document()); result.failed())
    {
        showStatus (result.getErrorMessage());
        return;
    }

    work.markSaved (file);
    removeRecovery();
    showStatus ("Session saved | " + file.getFileName());
    showWork();
}

void MainComponent::loadSessionFile (const juce::File& file)
{
    if (desk.isBusy())
    {
        showStatus (waitBeforeOpening);
        return;
    }

    SessionDocument document;

    if (const auto result = readSessionDocument (file, document); result.failed())
    {
        showStatus (result.getErrorMessage());
        return;
    }

    askToSave ([self = juce::Component::SafePointer<MainComponent> (this), document, file] {
        if (self != nullptr)
            self->openDocument (document, file);
    });
}

void MainComponent::openDocument (SessionDocument document, const juce::File& file)
{
    preview.stop();
    resetPlayhead();
    document.version = sessionVersion;
    document.batchIndex = juce::jlimit (0, std::max ((int) document.takes.size(), 1) - 1, document.batchIndex);
    closeTake();
    showsResults = false;
    work.restart (std::move (document), file);
    showStatus ("Opening session | " + file.getFileName());
    bringSession();
}

}    // namespace ld
