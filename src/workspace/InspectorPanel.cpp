#include "workspace/InspectorPanel.h"

namespace ld
{

InspectorPanel::InspectorPanel()
{
    setTitle ("Selected recording");
    setUpLabels();
    setUpEditors();
    setUpButtons();
}

void InspectorPanel::setUpLabels()
{
    const std::pair<juce::Label*, const char*> labels[] = { { &titleLabel, "Woven track" },
                                                            { &summaryLabel, "" },
                                                            { &nameLabel, "Name" },
                                                            { &channelLabel, "Channel" },
                                                            { &notesLabel, "Notes" } };

    for (const auto& [label, text] : labels)
    {
        label->setText (text, juce::dontSendNotification);
        label->setJustificationType (juce::Justification::centredLeft);
        addAndMakeVisible (label);
    }
}

void InspectorPanel::setUpEditors()
{
    constexpr float height = 17.0f;
    const std::pair<juce::TextEditor*, const char*> editors[] = { { &nameEditor, "Name" },
                                                                  { &channelEditor, "Channel" },
                                                                  { &notesEditor, "Notes" } };

    for (const auto& [editor, title] : editors)
    {
        editor->setFont (juce::Font (juce::FontOptions (height)));
        editor->setTitle (title);
        editor->setJustification (juce::Justification::centredLeft);
        editor->addListener (this);

        // The keys of the main view work again.
        const auto leave = [this] {
            if (auto* const parent = getParentComponent())
                parent->grabKeyboardFocus();
        };
        editor->onReturnKey = leave;
        editor->onEscapeKey = leave;
        addAndMakeVisible (editor);
    }

    channelEditor.setInputRestrictions (3, "0123456789");
    notesEditor.setMultiLine (false, true);
}

void InspectorPanel::setUpButtons()
{
    const auto setUp =
        [this] (juce::Button& button, const char* text, const char* title, std::function<void()> action) {
        button.setButtonText (text);
        button.setTitle (title);
        button.setHasFocusOutline (true);
        button.onClick = std::move (action);
        addAndMakeVisible (button);
    };

    setUp (nudgeFrameBackButton, "-1f", "One frame earlier", [this] { nudge (-samplesPerTimecodeFrame (clock)); });
    setUp (nudgeFrameForwardButton, "+1f", "One frame later", [this] { nudge (samplesPerTimecodeFrame (clock)); });
    setUp (nudgeSampleBackButton, "-1", "One sample earlier", [this] { nudge (-1); });
    setUp (nudgeSampleForwardButton, "+1", "One sample later", [this] { nudge (1); });
    setUp (removeButton, "Remove", "Remove", [this] {
        if (onRemove)
            onRemove();
    });
    setUp (applyToMatching, "Apply name to all matching tracks", "Apply name to all matching tracks", [this] {
        if (applyToMatching.getToggleState() && onMetadataChanged)
            onMetadataChanged();
    });
}

void InspectorPanel::setGuest (GuestClip* clip,
                               int sampleRate,
                               const juce::String& timecodeRate,
                               const juce::String& timecodeFlag)
{
    // The editors tell what is typed by a message, and this call may have come before it.
    if (editsInSight() != edits)
        pushToGuest();

    guest = clip;
    clock = { sampleRate, timecodeRate, timecodeFlag };
    pullFromGuest();
    setVisible (clip != nullptr);
    repaint();
}

void InspectorPanel::pullFromGuest()
{
    const juce::ScopedValueSetter<bool> guard (pulling, true);
    const auto isShown = guest != nullptr && ! guest->tracks.empty();
    const auto edit = isShown ? InspectorEdit { guest->tracks.front().name,
                                                juce::String (guest->tracks.front().channelIndex),
                                                guest->notes }
                              : InspectorEdit {};
    nameEditor.setText (edit.name, false);
    channelEditor.setText (edit.channel, false);
    notesEditor.setText (edit.notes, false);
    edits = editsInSight();

    if (isShown)
        summaryLabel.setText (inspectorSummary (*guest, clock), juce::dontSendNotification);
}

void InspectorPanel::pushToGuest()
{
    if (pulling || guest == nullptr)
        return;

    edits = editsInSight();

    if (applyInspectorEdit (*guest, edits) && onMetadataChanged)
        onMetadataChanged();
}

InspectorEdit InspectorPanel::editsInSight() const
{
    return { nameEditor.getText(), channelEditor.getText(), notesEditor.getText() };
}

void InspectorPanel::textEditorTextChanged (juce::TextEditor&)
{
    pushToGuest();
}

void InspectorPanel::nudge (juce::int64 samples)
{
    if (onNudge)
        onNudge (samples);
}

void InspectorPanel::paint (juce::Graphics& g)
{
    if (lookAndFeel == nullptr)
        return;

    const auto& palette = lookAndFeel->palette;
    g.fillAll (palette.ink);
    g.setColour (palette.accent);
    g.fillRect (0, 0, getWidth(), 2);

    const auto dress = [] (juce::Label& label, const juce::Font& font, juce::Colour colour) {
        label.setFont (font);
        label.setColour (juce::Label::textColourId, colour);
    };
    dress (titleLabel, lookAndFeel->uiFont (16.0f, juce::Font::bold), palette.accentBright);
    dress (summaryLabel, lookAndFeel->monoFont (13.0f), palette.text);

    for (auto* label : { &nameLabel, &channelLabel, &notesLabel })
        dress (*label, lookAndFeel->uiFont (13.0f, juce::Font::bold), palette.text);
}

void InspectorPanel::resized()
{
    const auto at = layOutInspector (getLocalBounds());
    titleLabel.setBounds (at.title);
    summaryLabel.setBounds (at.summary);
    nameLabel.setBounds (at.nameLabel);
    channelLabel.setBounds (at.channelLabel);
    notesLabel.setBounds (at.notesLabel);
    nameEditor.setBounds (at.name);
    channelEditor.setBounds (at.channel);
    notesEditor.setBounds (at.notes);
    nudgeFrameBackButton.setBounds (at.frameBack);
    nudgeFrameForwardButton.setBounds (at.frameForward);
    nudgeSampleBackButton.setBounds (at.sampleBack);
    nudgeSampleForwardButton.setBounds (at.sampleForward);
    removeButton.setBounds (at.remove);
    applyToMatching.setBounds (at.applyToMatching);
}

}    // namespace ld
