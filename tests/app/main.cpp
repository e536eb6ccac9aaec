#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <cstdlib>

namespace
{

// What programs keep for their next start must neither come from this machine's user nor reach them.
void liveIn (const juce::File& folder)
{
#if JUCE_LINUX || JUCE_BSD
    setenv ("XDG_STATE_HOME", folder.getChildFile ("state").getFullPathName().toRawUTF8(), 1);
    setenv ("XDG_CONFIG_HOME", folder.getChildFile ("config").getFullPathName().toRawUTF8(), 1);
#else
    juce::ignoreUnused (folder);
#endif
}

}    // namespace

// The framework's message manager lives as long as the tests: windows cannot be built without it.
int main (int argc, char** argv)
{
    testing::InitGoogleMock (&argc, argv);
    const ld::test::TempFolder home;
    liveIn (home.folder);

    // Only a program that can make an application object counts as standing alone. The framework then takes a window
    // manager that lacks one of its atoms as the program does, instead of letting the display's library end the process.
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };

    const juce::ScopedJuceInitialiser_GUI framework;
    return RUN_ALL_TESTS();
}
