#include "workspace/MainComponent.h"

#include "workspace/MainText.h"

// "Combine all tracks": one file for each take, each from a session of its own; the open one is not touched.

namespace ld
{

void MainComponent::combineInto (const juce::File& folder)
{
    const auto document = std::make_shared<const SessionDocument> (work.document());
    const auto& doc = *document;
    const auto count = (int) doc.takes.size();
    showStatus ("Combining " + juce::String (count) + (count == 1 ? " take..." : " takes..."));
    beginProgress (countText ("Examining and combining  ", 0, count), 0.0);

    desk.start (
        JobKind::write,
        {},
        [this, folder, count, document, edits = editsOf (doc)] (const JobDesk::Progress& progress) mutable {
        edits.isWanted = progress.wanted;
        ConformOutcome outcome;
        outcome.takes =
            combineTakes (document->takes, edits, folder, [&] (int index, float fraction, const juce::String& phase) {
                progress.post ([this, number = index + 1, fraction, phase, count] {
                    showCombineProgress (number, count, fraction, phase);
                });
            });
        accountForFiles (outcome, filesOfTakes (document->takes));
        return outcome;
        },
        [this, document] (const ConformOutcome& outcome) {
        noteCombined (document, outcome.takes);
        auto table = tableOfCombine (outcome);
        const auto leftOut = namesOfLeftOut (outcome.takes);
        const auto sentence = table.summary + (leftOut.isEmpty() ? "" : " Left out: " + leftOut);
        showStatus (sentence);
        showResults (std::move (table), sentence);
    },
        [this] (const juce::String& sentence) { fail (sentence); });
}

// number   of the take, from 1
void MainComponent::showCombineProgress (int number, int count, float fraction, const juce::String& phase)
{
    if (phase.isNotEmpty())
        progressBar.setText (phase + juce::String::fromUTF8 (" · take ") + juce::String (number) + "/"
                             + juce::String (count));
    else if (fraction >= 1.0f)
        updateProgress ((double) number / count, countText ("Examining and combining  ", number, count));
}

// What a job has finished stays; what it was at is as it was before.
void MainComponent::cancelJobs()
{
    const auto wasLoading = desk.isRunning (JobKind::load);

    if (! desk.cancel())
        return;

    showStatus ("Cancelled.");

    // The take that is still open is shown again as the open one.
    const auto& takes = work.document().takes;
    const auto shown =
        std::ranges::find_if (takes, [this] (const auto& take) { return take.host.file == session.host.file; });

    if (wasLoading && shown != takes.end())
        work.openTake ((int) (shown - takes.begin()));

    showWork();
}

}    // namespace ld
