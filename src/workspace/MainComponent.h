#pragma once

#include "theme/LookAndFeel.h"

namespace ld
{

/** The one view of the program; an empty ground until the workspace is there. */
class MainComponent : public juce::Component
{
public:
    MainComponent();
    ~MainComponent() override;

    void paint (juce::Graphics&) override;

private:
    LookAndFeel lookAndFeel;
};

}    // namespace ld
