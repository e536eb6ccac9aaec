#include "workspace/MainComponent.h"

#include "workspace/MainText.h"

// "Combine all tracks": one file for each take, each from a session of its own; the open one is not touched.

namespace ld
{

void MainComponent::combineInto (const juce::File& folder)
{
    syncCurrentTakeIntoBatch();
    rememberMixer();
    busy = true;
    const auto count = (int) batch.size();
    showStatus ("Combining " + juce::String (count) + (count == 1 ? " take..." : " takes..."));
    beginProgress (countText ("Examining and combining  ", 0, count), 0.0);

    jobs.start (
        [this,
         folder,
         count,
         takes = batch,
         edits = TakeEdits { metadataOverrides, nameOverrides, mixerTemplate, {}, false }] (
            const JobRunner::Progress& progress) {
        return combineTakes (takes, edits, folder, [&] (int index, float fraction, const juce::String& phase) {
            progress.post ([this, number = index + 1, fraction, phase, count] {
                showCombineProgress (number, count, fraction, phase);
            });
        });
        },
        [this, count] (const std::vector<TakeOutcome>& takes) {
        auto written = 0, rejected = 0;

        for (const auto& take : takes)
        {
            written += take.written ? 1 : 0;
            rejected += take.rejected;
        }

        busy = false;
        finishProgress();
        showStatus (combineSummary (written, count, rejected));
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

}    // namespace ld
