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
        setResizeLimits (1024, 640, 16384, 16384);
        setContentOwned (new ld::MainComponent, true);
        view().onTitleChanged = [this] (const juce::String& work) {
            setName (work.isEmpty() ? getApplicationName() : work + " - " + getApplicationName());
        };
        centreWithSize (1440, 900);
        setVisible (true);
    }

    [[nodiscard]] ld::MainComponent& view() const { return dynamic_cast<ld::MainComponent&> (*getContentComponent()); }

    /** Nothing is lost by it: what is not saved is asked for first. */
    void closeButtonPressed() override
    {
        view().askToSave ([this] {
            view().endRecovery();
            juce::JUCEApplication::getInstance()->systemRequestedQuit();
        });
    }

private:
    static juce::String getApplicationName() { return juce::JUCEApplication::getInstance()->getApplicationName(); }
};
