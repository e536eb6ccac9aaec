#pragma once

#include "app/LodestrandWindow.h"

/** The application object: several may run side by side, each with a window of its own. Quitting asks nothing. */
class LodestrandApp : public juce::JUCEApplication
{
public:
    const juce::String getApplicationName() override { return "Lodestrand"; }
    const juce::String getApplicationVersion() override { return "1.0.0"; }
    bool moreThanOneInstanceAllowed() override { return true; }

    void initialise (const juce::String&) override { window = std::make_unique<LodestrandWindow>(); }
    void shutdown() override { window.reset(); }
    void systemRequestedQuit() override { quit(); }

private:
    std::unique_ptr<LodestrandWindow> window;
};
