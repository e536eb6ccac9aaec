#include "workspace/MainComponent.h"

namespace ld
{

MainComponent::MainComponent()
{
    setLookAndFeel (&lookAndFeel);
    setOpaque (true);
}

MainComponent::~MainComponent()
{
    setLookAndFeel (nullptr);
}

void MainComponent::paint (juce::Graphics& g)
{
    g.fillAll (lookAndFeel.palette.background);
}

}    // namespace ld
