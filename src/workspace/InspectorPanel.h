#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/InspectorEdits.h"

#include <functional>

namespace ld
{

/** The strip that shows the selected guest and edits its names and note in place. The guest must live until the next
    setGuest has returned. */
class InspectorPanel : public juce::Component, private juce::TextEditor::Listener
{
public:
    InspectorPanel();

    std::function<void()> onMetadataChanged;              // an edit has reached the guest
    std::function<void (juce::int64 samples)> onNudge;    // host samples; negative is earlier
    std::function<void()> onRemove;
    LookAndFeel* lookAndFeel = nullptr;    // the owner's

    /** Shows a guest; hides the panel where there is none. */
    void setGuest (GuestClip*, int sampleRate, const juce::String& timecodeRate, const juce::String& timecodeFlag);

    /** True if a name is meant for all guests of its source. */
    [[nodiscard]] bool appliesToFamily() const { return applyToMatching.getToggleState(); }

    void paint (juce::Graphics&) override;
    void resized() override;

private:
    void textEditorTextChanged (juce::TextEditor&) override;
    void setUpLabels();
    void setUpEditors();
    void setUpButtons();
    void pullFromGuest();
    void pushToGuest();
    [[nodiscard]] InspectorEdit editsInSight() const;
    void nudge (juce::int64 samples);

    GuestClip* guest = nullptr;
    GuestClock clock;
    InspectorEdit edits;     // that the guest has
    bool pulling = false;    // what the panel writes into its editors is no edit

    juce::Label titleLabel, summaryLabel, nameLabel, channelLabel, notesLabel;
    juce::TextEditor nameEditor, channelEditor, notesEditor;
    juce::TextButton nudgeFrameBackButton, nudgeFrameForwardButton, nudgeSampleBackButton, nudgeSampleForwardButton,
        removeButton;
    juce::ToggleButton applyToMatching { "Apply name to all matching tracks" };
};

}    // namespace ld
