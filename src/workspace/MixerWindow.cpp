#include "workspace/MixerWindow.h"

namespace ld
{

MixerWindow::MixerWindow (std::unique_ptr<MonitorMixer> mixer, LookAndFeel& theme)
    : juce::DocumentWindow ("Monitor mix", theme.palette.background, juce::DocumentWindow::closeButton, true)
{
    constexpr int leastHeight = 200, mostHeight = 4000;
    setLookAndFeel (&theme);
    setUsingNativeTitleBar (true);
    const auto width = mixer->getWidth();
    setContentOwned (mixer.release(), true);
    setResizable (true, false);
    setResizeLimits (width, leastHeight, width, mostHeight);
}

MonitorMixer& MixerWindow::panel() const
{
    return dynamic_cast<MonitorMixer&> (*getContentComponent());
}

void MixerWindow::bring()
{
    setVisible (true);
    toFront (true);
}

bool MixerWindow::keyPressed (const juce::KeyPress& key)
{
    if (key == juce::KeyPress::escapeKey)
    {
        closeButtonPressed();
        return true;
    }

    return onKey && onKey (key);
}

}    // namespace ld
