#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/SpineLayout.h"

namespace ld
{

/** Samples of the poly's channels that were read for a close look. */
struct HostSamples
{
    juce::File file;
    juce::int64 start = 0;                       // host samples
    std::vector<std::vector<float>> channels;    // all of one length
    std::vector<PeakLevel> curves {};            // of each, closeBucket samples a bucket

    [[nodiscard]] SpineSpan span() const noexcept
    {
        return { start, channels.empty() ? 0 : (juce::int64) channels.front().size() };
    }
};

/** What the timeline shows beside the session. */
struct SpineView
{
    juce::int64 playhead = 0;    // host samples
    bool isDrawing = false;      // of fader lines
    bool isFileOver = false;
    TimelineView timeline {};
    const HostSamples* samples = nullptr;
    int chosenChannel = -1;    // of the selected guest, else of the poly; -1: no lane is chosen
};

constexpr float wordPlateAlpha = 0.75f;    // of the plate below words that stand on a wave

void paintSpine (juce::Graphics&, const LookAndFeel&, const Session&, juce::Rectangle<float> bounds, const SpineView&);

/** The ground where there is no session or host. */
void paintEmptySpine (juce::Graphics&, const LookAndFeel&);

}    // namespace ld
