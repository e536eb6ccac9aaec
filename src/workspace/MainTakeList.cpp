#include "workspace/MainComponent.h"

// The list of takes: what it says, and what the disk says of their files.

namespace ld
{
namespace
{

constexpr auto waitBeforeGoing = "Wait for the current scan or export to finish before opening another take.";

std::vector<juce::File> filesOf (const SessionDocument& doc)
{
    std::vector<juce::File> files;

    for (const auto& take : doc.takes)
    {
        files.push_back (take.host.file);

        for (const auto& guest : take.guests)
            files.push_back (guest.file);
    }

    return files;
}

}    // namespace

void MainComponent::setUpTakeList()
{
    takeList.onOpen = [this] (int index) { goToTake (index); };
    addChildComponent (takeList);
}

void MainComponent::refreshTakeList()
{
    const auto& doc = work.document();
    takeList.setTakes (takeRowsOf (doc, survey, combined), doc.batchIndex);
}

// Called by the timer. Which of the files are there is asked again when the work holds others.
void MainComponent::keepUpSurvey()
{
    if (isSurveying || surveyedState == work.state())
        return;

    surveyedState = work.state();
    auto files = filesOf (work.document());

    if (files == surveyedFiles)
        return;

    surveyedFiles = std::move (files);
    isSurveying = true;
    desk.start (
        JobKind::side,
        {},
        [document = work.document()] (const auto&) { return surveyTakes (document); },
        [this] (TakeSurvey found) {
        isSurveying = false;
        survey = std::move (found);
        refreshTakeList();
        },
        [this] (const juce::String& sentence) {
        isSurveying = false;
        showStatus (sentence);
    });
}

void MainComponent::goToTake (int index)
{
    if (desk.isRunning (JobKind::scan) || desk.isRunning (JobKind::write))
        return showStatus (waitBeforeGoing);

    if (index != work.document().batchIndex || hasUnreadTake())
        openTake (index);
}

void MainComponent::noteCombined (const std::shared_ptr<const SessionDocument>& document,
                                  const std::vector<TakeOutcome>& takes)
{
    for (const auto& take : takes)
    {
        if (! take.written)
            continue;

        combined[take.poly.getFullPathName()] = document;
        combinedFiles[take.poly.getFullPathName()] = take.output;
    }

    refreshTakeList();
}

}    // namespace ld
