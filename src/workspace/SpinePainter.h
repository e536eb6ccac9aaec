#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/SpineLayout.h"

namespace ld
{

/** What the timeline shows beside the session. */
struct SpineView
{
    juce::int64 playhead = 0;    // host samples
    bool isDrawing = false;      // of fader lines
    bool isFileOver = false;
};

void paintSpine (juce::Graphics&, const LookAndFeel&, const Session&, juce::Rectangle<float> bounds, const SpineView&);

/** The ground where there is no session or host. */
void paintEmptySpine (juce::Graphics&, const LookAndFeel&);

}    // namespace ld
