#pragma once

#include "theme/LookAndFeel.h"

namespace ld
{

/** All keys and what they do, on a sheet over the view; a click or the escape key takes it away. */
class KeyPanel : public juce::Component
{
public:
    explicit KeyPanel (const LookAndFeel&);

    /** Where it stands in a view of this size. */
    [[nodiscard]] juce::Rectangle<int> fittedInto (juce::Rectangle<int> view) const;

    void paint (juce::Graphics&) override;
    void mouseUp (const juce::MouseEvent&) override { setVisible (false); }
    bool keyPressed (const juce::KeyPress&) override;

private:
    const LookAndFeel& theme;
};

}    // namespace ld
