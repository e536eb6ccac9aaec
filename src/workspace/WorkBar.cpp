#include "workspace/WorkBar.h"

namespace ld
{

WorkBar::WorkBar (double& watchedProgress, const LookAndFeel& themeToUse)
    : juce::ProgressBar (watchedProgress), theme (themeToUse)
{
    setTitle ("Progress");
    setTextToDisplay ({});
    setColour (backgroundColourId, theme.palette.ink);
    setColour (foregroundColourId, theme.palette.line);
}

void WorkBar::setText (const juce::String& newText)
{
    text = newText;
    setHelpText (text);
    repaint();
}

void WorkBar::paintOverChildren (juce::Graphics& g)
{
    constexpr int margin = 12;
    constexpr float leastScale = 0.88f;
    g.setColour (theme.palette.text);
    g.setFont (theme.uiFont (13.0f, juce::Font::plain));
    g.drawFittedText (text, getLocalBounds().reduced (margin, 0), juce::Justification::centred, 1, leastScale);
}

}    // namespace ld
