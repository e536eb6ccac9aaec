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
    const std::pair<juce::TextEditor*, const char*> editors[] = {
        { &nameEditor, "Name" }, { &channelEditor, "Channel" }, { &notesEditor, "Notes" }, { &nudgeEditor, "Nudge by" }
    };

    for (const auto& [editor, title] : editors)
    {
        editor->setFont (juce::Font (juce::FontOptions (height)));
        editor->setTitle (title);
        editor->setJustification (juce::Justification::centredLeft);
        editor->onReturnKey = [this] { leaveField(); };
        editor->onEscapeKey = [this] { leaveField(); };
        addAndMakeVisible (editor);
    }

    for (auto* editor : { &nameEditor, &channelEditor, &notesEditor })
        editor->addListener (this);

    nudgeEditor.setFont (juce::Font (juce::FontOptions (14.0f)));    // its row is low
    nudgeEditor.setIndents (4, 0);
    nudgeEditor.onReturnKey = [this] { nudgeAsTyped(); };
    nudgeEditor.setTooltip ("Type how far, and press Return: 12 ms, -3 f, 0.5 s or 480 samples. Negative is earlier.");

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
        if (applyToMatching.getToggleState() && onFamilyChosen)
            onFamilyChosen();
    });
    setUp (copyButton, "Copy TC", "Copy the timecode of its place", [this] {
        if (onCopyPlace)
            onCopyPlace();
    });
    setUp (searchButton, "Find place", "Find the place anew", [this] {
        if (onSearch)
            onSearch();
    });
}

void InspectorPanel::setGuest (const GuestClip* clip, int laneToShow, const GuestClock& clockToShow)
{
    // The editors report typing by a message, and this call may come before it.
    tellEdits();

    const auto id = clip != nullptr ? clip->id : juce::Uuid::null();
    const auto isOther = id != guest || laneToShow != lane;
    const auto now = clip != nullptr ? fieldsOf (*clip, laneToShow) : InspectorFields {};
    guest = id;
    lane = laneToShow;
    clock = clockToShow;

    if (isOther)
        told = fieldsInSight();

    show (nameEditor, told.name, now.name);
    show (channelEditor, told.channel, now.channel);
    show (notesEditor, told.note, now.note);
    told = fieldsInSight();

    if (clip != nullptr)
    {
        summaryLabel.setText (inspectorSummary (*clip, clock), juce::dontSendNotification);
        summaryLabel.setTooltip (summaryLabel.getText());
    }

    setVisible (clip != nullptr);
    repaint();
}

void InspectorPanel::editName()
{
    if (! isVisible())
        return;

    nameEditor.grabKeyboardFocus();
    nameEditor.selectAll();
}

// A blank that was just typed behind a name is no reason to take it away again.
void InspectorPanel::show (juce::TextEditor& editor, const juce::String& before, const juce::String& now)
{
    if (now != before.trim() || ! editor.hasKeyboardFocus (true))
        editor.setText (now, false);
}

void InspectorPanel::tellEdits()
{
    const auto now = fieldsInSight();
    const auto before = std::exchange (told, now);

    if (guest.isNull() || ! onEdit)
        return;

    const auto tell = [&] (LaneField field, const juce::String& was, const juce::String& is) {
        if (was != is)
            onEdit (guest, lane, field, is);
    };
    tell (LaneField::name, before.name, now.name);
    tell (LaneField::channel, before.channel, now.channel);
    tell (LaneField::note, before.note, now.note);
}

InspectorFields InspectorPanel::fieldsInSight() const
{
    return { nameEditor.getText(), channelEditor.getText(), notesEditor.getText() };
}

void InspectorPanel::textEditorTextChanged (juce::TextEditor&)
{
    tellEdits();
}

void InspectorPanel::textEditorFocusLost (juce::TextEditor&)
{
    tellEdits();

    if (onEditEnded)
        onEditEnded();
}

void InspectorPanel::nudge (juce::int64 samples)
{
    if (onNudge)
        onNudge (samples);
}

// What is typed stays, so that it can be done again; what is no distance stays marked, to be typed anew.
void InspectorPanel::nudgeAsTyped()
{
    if (const auto samples = nudgeOf (nudgeEditor.getText(), clock))
        nudge (*samples);
    else
        nudgeEditor.selectAll();
}

// The keys of the main view work again.
void InspectorPanel::leaveField()
{
    if (auto* const parent = getParentComponent())
        parent->grabKeyboardFocus();
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
    nudgeEditor.setTextToShowWhenEmpty ("Nudge: 12 ms", palette.muted);

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
    searchButton.setBounds (at.search);
    nudgeEditor.setBounds (at.nudgeBy);
    copyButton.setBounds (at.copyPlace);
}

}    // namespace ld
