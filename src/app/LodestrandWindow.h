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
        setContentOwned (view, true);
        centreWithSize (1440, 900);
        setVisible (true);
    }

    [[nodiscard]] ld::JobRunner::Count runningJobs() const { return view->runningJobs(); }

    void closeButtonPressed() override { juce::JUCEApplication::getInstance()->systemRequestedQuit(); }

private:
    ld::MainComponent* const view = new ld::MainComponent;    // the base owns it as its content
};
