#pragma once

#include "app/LodestrandWindow.h"

/** The application object: several may run side by side, each with a window of its own. Quitting waits for nothing: what
    a job has begun to write is removed. Where it is the system that ends the program, nothing is asked either: what is not
    saved is offered at the next start. */
class LodestrandApp : public juce::JUCEApplication
{
public:
    const juce::String getApplicationName() override { return "Lodestrand"; }
    const juce::String getApplicationVersion() override { return JUCE_APPLICATION_VERSION_STRING; }
    bool moreThanOneInstanceAllowed() override { return true; }

    void initialise (const juce::String&) override;
    void shutdown() override;
    void systemRequestedQuit() override { quit(); }

protected:
    /** Asked before the first question can arise. */
    [[nodiscard]] virtual ld::UserQuestions questions() { return ld::systemQuestions(); }

private:
    std::unique_ptr<LodestrandWindow> window;
};
