#include "workspace/MainComponent.h"

// What happened in the last run, beside the work.

namespace ld
{

void MainComponent::setUpResults()
{
    runPanel.onOpen = [this] (const juce::File& poly) { goToPoly (poly); };
    runPanel.onClose = [this] { bringResults (false); };
    addChildComponent (runPanel);
}

// sentence   of the status line, which the next action will overwrite
void MainComponent::showResults (RunTable table, const juce::String& sentence)
{
    runPanel.show (std::move (table), sentence);
    showsResults = true;
    resized();
}

// The user asks for the results, or has seen them.
void MainComponent::bringResults (bool areShown)
{
    const auto hadFocus = runPanel.hasKeyboardFocus (true);
    showsResults = areShown;
    resized();

    if (areShown)
        runPanel.takeFocus();
    else if (hadFocus)
        grabKeyboardFocus();
}

void MainComponent::goToPoly (const juce::File& poly)
{
    const auto& takes = work.document().takes;
    const auto at = std::ranges::find_if (takes, [&] (const auto& take) { return take.host.file == poly; });

    if (at == takes.end())
        return showStatus (poly.getFileName() + " is not among the takes any more.");

    goToTake ((int) (at - takes.begin()));
}

}    // namespace ld
