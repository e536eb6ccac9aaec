#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/MainLayout.h"

#include <optional>

namespace ld
{

// status: what the last action came to; empty where something else stands in its place.

/** The ground of the welcome face.
    at      for bounds
    hover   0 to 1 while files hover over the window; none: they do not */
void paintWelcome (juce::Graphics&,
                   const LookAndFeel&,
                   juce::Rectangle<int> bounds,
                   const MainLayout& at,
                   const juce::String& status,
                   std::optional<float> hover);

/** The ground of the workspace: the top band with the headline, the status line at the bottom.
    at   for bounds */
void paintWorkspace (juce::Graphics&,
                     const LookAndFeel&,
                     juce::Rectangle<int> bounds,
                     const MainLayout& at,
                     const juce::String& headline,
                     const juce::String& status);

}    // namespace ld
