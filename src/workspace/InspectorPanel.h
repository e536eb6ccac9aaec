#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/InspectorEdits.h"

#include <functional>

namespace ld
{

/** One field of a lane. */
enum class LaneField
{
    name,
    channel,
    note
};

/** The strip that shows the selected lane of a guest. It changes nothing itself: what is typed goes to its owner, field by
    field, and comes back with the next setGuest. */
class InspectorPanel : public juce::Component, private juce::TextEditor::Listener
{
public:
    InspectorPanel();

    std::function<void (const juce::Uuid& guest, int lane, LaneField, const juce::String& text)> onEdit;
    std::function<void()> onEditEnded;                    // a field was left: what comes next is another edit
    std::function<void()> onFamilyChosen;                 // the name is now meant for the guest's whole source
    std::function<void (juce::int64 samples)> onNudge;    // host samples; negative is earlier
    std::function<void()> onRemove;
    std::function<void()> onSearch;        // its place is to be searched again
    std::function<void()> onCopyPlace;     // its timecode is wanted elsewhere
    LookAndFeel* lookAndFeel = nullptr;    // the owner's

    /** Shows a lane of a guest; hides the panel where there is none. What has been typed meanwhile is reported first. */
    void setGuest (const GuestClip*, int lane, const GuestClock&);

    /** True if a name is meant for all guests of its source. */
    [[nodiscard]] bool appliesToFamily() const { return applyToMatching.getToggleState(); }

    /** Puts the cursor into the name of the lane that is shown. */
    void editName();

    void paint (juce::Graphics&) override;
    void resized() override;

private:
    void textEditorTextChanged (juce::TextEditor&) override;
    void textEditorFocusLost (juce::TextEditor&) override;
    void setUpLabels();
    void setUpEditors();
    void setUpButtons();
    void show (juce::TextEditor&, const juce::String& told, const juce::String& now);
    void tellEdits();
    [[nodiscard]] InspectorFields fieldsInSight() const;
    void nudge (juce::int64 samples);
    void nudgeAsTyped();
    void leaveField();

    juce::Uuid guest = juce::Uuid::null();
    int lane = 0;
    GuestClock clock;
    InspectorFields told;    // to or by the owner

    juce::Label titleLabel, summaryLabel, nameLabel, channelLabel, notesLabel;
    juce::TextEditor nameEditor, channelEditor, notesEditor, nudgeEditor;
    juce::TextButton nudgeFrameBackButton, nudgeFrameForwardButton, nudgeSampleBackButton, nudgeSampleForwardButton,
        removeButton, searchButton, copyButton;
    juce::ToggleButton applyToMatching { "Apply name to all matching tracks" };
};

}    // namespace ld
