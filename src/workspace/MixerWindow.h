#pragma once

#include "monitor/MonitorMixer.h"

namespace ld
{

/** The monitor mix in a window of its own, beside the work: it stays while takes come and go, and what its own controls do
    not take of the keyboard goes to the main view. */
class MixerWindow : public juce::DocumentWindow
{
public:
    /** mixer   owned by the window */
    MixerWindow (std::unique_ptr<MonitorMixer> mixer, LookAndFeel&);

    /** Told what no control of the panel has taken; true where the key had a meaning. */
    std::function<bool (const juce::KeyPress&)> onKey;

    [[nodiscard]] MonitorMixer& panel() const;

    /** Opens it, or brings it to the front. */
    void bring();

    bool keyPressed (const juce::KeyPress&) override;
    void closeButtonPressed() override { setVisible (false); }
};

}    // namespace ld
