#include <gmock/gmock.h>
#include <juce_gui_basics/juce_gui_basics.h>

// The framework's message manager lives as long as the tests: windows cannot be built without it.
int main (int argc, char** argv)
{
    testing::InitGoogleMock (&argc, argv);
    const juce::ScopedJuceInitialiser_GUI framework;
    return RUN_ALL_TESTS();
}
