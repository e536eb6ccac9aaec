#include <gmock/gmock.h>
#include <juce_gui_basics/juce_gui_basics.h>

// The framework's message manager lives as long as the tests: windows cannot be built without it.
int main (int argc, char** argv)
{
    testing::InitGoogleMock (&argc, argv);

    // Only a program that can make an application object counts as standing alone. The framework then takes a window
    // manager that lacks one of its atoms as the program does, instead of letting the display's library end the process.
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };

    const juce::ScopedJuceInitialiser_GUI framework;
    return RUN_ALL_TESTS();
}
