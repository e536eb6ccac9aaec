#include "workspace/MainComponent.h"

#include "workspace/MainText.h"

// "Combine all tracks": one file for each take, each from a session of its own; the open one is not touched.

namespace ld
{
namespace
{

constexpr auto combiningWord = "Examining and combining  ";

}    // namespace

void MainComponent::combineInto (const juce::File& folder)
{
    const auto document = std::make_shared<const SessionDocument> (work.document());
    const auto count = (int) document->takes.size();
    showStatus ("Combining " + juce::String (count) + (count == 1 ? " take..." : " takes..."));
    beginProgress (countText (combiningWord, 0, count), 0.0);

    desk.start (
        JobKind::write,
        {},
        [this, folder, count, document] (const JobDesk::Progress& progress) {
        auto edits = editsOf (*document);
        edits.isWanted = progress.wanted;
        ConformOutcome outcome;
        outcome.takes = combineTakes (document->takes, edits, folder, takeProgress (progress, combiningWord, count));
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

// For a run over takes, which calls it on its own thread.
CombineProgress MainComponent::takeProgress (const JobDesk::Progress& progress, const juce::String& what, int count)
{
    return [=, this] (int index, float fraction, const juce::String& phase) {
        progress.post ([=, this] {
            if (phase.isNotEmpty())
                progressBar.setText (phase + juce::String::fromUTF8 (" · take ") + juce::String (index + 1) + "/"
                                     + juce::String (count));
            else if (fraction >= 1.0f)
                updateProgress ((double) (index + 1) / count, countText (what, index + 1, count));
        });
    };
}

// Finished files stay; the one in progress is left as it was.
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
