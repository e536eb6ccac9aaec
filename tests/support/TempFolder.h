#pragma once

#include <juce_core/juce_core.h>

namespace ld::test
{

/** A new empty folder, removed with all that it holds at the end of its scope. */
class TempFolder
{
public:
    TempFolder() { folder.createDirectory(); }
    ~TempFolder() { folder.deleteRecursively(); }
    TempFolder (const TempFolder&) = delete;
    TempFolder& operator= (const TempFolder&) = delete;

    [[nodiscard]] juce::File file (const juce::String& name) const { return folder.getChildFile (name); }

    const juce::File folder =
        juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("ld-test-" + juce::Uuid().toString());
};

}    // namespace ld::test
