#pragma once

#include "theme/LookAndFeel.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace ld
{

/** The progress bar in the theme's colours. It writes its own text: the stock bar picks a colour that neither of its own
    two swallows, and between two dark ones that is a grey. */
class WorkBar : public juce::ProgressBar
{
public:
    /** progress   0 to 1, or -1 where nothing can be counted; watched by the bar */
    WorkBar (double& progress, const LookAndFeel&);

    void setText (const juce::String&);
    void paintOverChildren (juce::Graphics&) override;

private:
    const LookAndFeel& theme;
    juce::String text;
};

}    // namespace ld
