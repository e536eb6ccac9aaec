#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/MainComponent.h"

/** The program's one window, around the one view. */
class LodestrandWindow : public juce::DocumentWindow
{
public:
    LodestrandWindow()
        : juce::DocumentWindow ("Lodestrand", ld::Palette {}.background, juce::DocumentWindow::allButtons, true)
    {
        setUsingNativeTitleBar (true);
        setResizable (true, true);
        setContentOwned (new ld::MainComponent, true);
        centreWithSize (1440, 900);
        setVisible (true);
    }

    [[nodiscard]] ld::JobRunner::Count runningJobs() const
    {
        return dynamic_cast<ld::MainComponent&> (*getContentComponent()).runningJobs();
    }

    void closeButtonPressed() override { juce::JUCEApplication::getInstance()->systemRequestedQuit(); }
};
