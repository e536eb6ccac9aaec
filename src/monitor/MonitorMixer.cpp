#include "monitor/MonitorMixer.h"

#include "monitor/MixerPanelLayout.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int contentWidth = 720, panelWidth = 760, panelHeight = 560;

juce::Font fontOf (const LookAndFeel* theme, float size, int style)
{
    return theme != nullptr ? theme->uiFont (size, style) : juce::Font (juce::FontOptions (size, style));
}

Palette paletteOf (const LookAndFeel* theme)
{
    return theme != nullptr ? theme->palette : Palette {};
}

}    // namespace

MonitorMixer::MonitorMixer (
    Session& sessionToMix, juce::CriticalSection& lock, LookAndFeel* theme, Position position, IsPlaying playing)
    : session (sessionToMix), sessionLock (lock), lookAndFeel (theme), playheadSample (std::move (position)),
      isPlaying (std::move (playing))
{
    setTitle ("Monitor mix");
    setUp (headlineLabel, "MONITOR MIX", fontOf (lookAndFeel, 17.0f, juce::Font::bold));
    setUp (hintLabel,
           "Route any poly or ISO channel to the selected stereo output",
           fontOf (lookAndFeel, 13.0f, juce::Font::plain));
    allOnButton.onClick = [this] { resetAll(); };
    muteAllButton.onClick = [this] { muteAll(); };

    for (auto* button : { &allOnButton, &muteAllButton })
    {
        button->setHasFocusOutline (true);
        addAndMakeVisible (button);
    }

    viewport.setViewedComponent (&content, false);
    viewport.setScrollBarsShown (true, false);
    addAndMakeVisible (viewport);

    const auto texts = mixerRowTexts (session);
    content.setSize (contentWidth, MixerRowLayout::height * std::max ((int) texts.size(), 1));

    for (const auto& text : texts)
    {
        const auto index = (int) rows.size();
        auto& row = *rows.emplace_back (std::make_unique<ChannelRow> (*this, index, text));
        content.addAndMakeVisible (row);
        row.setBounds (0, MixerRowLayout::height * index, contentWidth, MixerRowLayout::height);
    }

    setSize (panelWidth, panelHeight);
    startTimerHz (20);
}

MonitorMixer::~MonitorMixer() = default;

void MonitorMixer::setUp (juce::Label& label, const juce::String& text, const juce::Font& font)
{
    label.setText (text, juce::dontSendNotification);
    label.setFont (font);
    addAndMakeVisible (label);
}

void MonitorMixer::timerCallback()
{
    for (const auto& row : rows)
        row->syncControls();
}

void MonitorMixer::forEachChannel (const juce::String& what, const std::function<void (int)>& action)
{
    {
        const juce::ScopedLock held (sessionLock);

        for (int i = 0; i < session.mixerCount(); ++i)
            action (i);
    }

    if (onChanged)
        onChanged (what, {});
}

// The recorder's own mix too, which a new mix would have muted.
void MonitorMixer::resetAll()
{
    forEachChannel ("All on / reset", [this] (int i) { session.mixerAt (i) = {}; });
}

void MonitorMixer::muteAll()
{
    const auto position = playheadSample ? playheadSample() : 0;
    const auto isWriting = isPlaying && isPlaying();

    forEachChannel ("Mute all", [&] (int i) {
        session.setMixerMute (i, true, position, isWriting);
        session.mixerAt (i).solo = false;
    });
}

void MonitorMixer::paint (juce::Graphics& g)
{
    g.fillAll (paletteOf (lookAndFeel).background);
}

void MonitorMixer::resized()
{
    const auto at = layOutMixerPanel (getLocalBounds());
    headlineLabel.setBounds (at.headline);
    hintLabel.setBounds (at.hint);
    allOnButton.setBounds (at.allOn);
    muteAllButton.setBounds (at.muteAll);
    viewport.setBounds (at.viewport);
}

LetterSwitch::LetterSwitch (const juce::String& letter,
                            const LookAndFeel* themeOrNull,
                            juce::Colour Palette::*colourWhenOn)
    : juce::ToggleButton (letter), theme (themeOrNull), onColour (colourWhenOn)
{
}

void LetterSwitch::paintButton (juce::Graphics& g, bool isHighlighted, bool isDown)
{
    constexpr float verticalInset = 4.0f, corner = 3.0f;
    const auto palette = paletteOf (theme);
    const auto ground = getToggleState() ? palette.*onColour : palette.raised;
    g.setColour (isDown ? ground.darker (0.12f) : isHighlighted ? ground.brighter (0.08f) : ground);
    g.fillRoundedRectangle (getLocalBounds().toFloat().reduced (0.0f, verticalInset), corner);
    g.setColour (getToggleState() ? palette.background : palette.text);
    g.setFont (fontOf (theme, 13.0f, juce::Font::bold));
    g.drawText (getButtonText(), getLocalBounds(), juce::Justification::centred);
}

MonitorMixer::ChannelRow::ChannelRow (MonitorMixer& panel, int mixerIndex, const juce::String& text)
    : owner (panel), session (panel.session), lookAndFeel (panel.lookAndFeel), index (mixerIndex),
      name (mixerRowName (text))
{
    nameLabel.setText (text, juce::dontSendNotification);
    nameLabel.setTooltip (text);
    nameLabel.setJustificationType (juce::Justification::centredLeft);
    nameLabel.setFont (fontOf (lookAndFeel, 13.0f, juce::Font::bold));
    addAndMakeVisible (nameLabel);
    setUpButtons();
    setUpSliders();
    muteButton.setTitle ("Mute " + text);
    soloButton.setTitle ("Solo " + text);
    gainSlider.setTitle ("Gain of " + text);
    panSlider.setTitle ("Pan of " + text);
    syncControls();
}

void MonitorMixer::ChannelRow::setUpButtons()
{
    muteButton.onClick = [this] {
        change ("Mute of ",
                [this] { session.setMixerMute (index, muteButton.getToggleState(), position(), isWriting()); });
    };
    soloButton.onClick = [this] {
        change ("Solo of ", [this] { session.mixerAt (index).solo = soloButton.getToggleState(); });
    };

    for (auto* button : { &muteButton, &soloButton })
    {
        button->setHasFocusOutline (true);
        addAndMakeVisible (button);
    }
}

void MonitorMixer::ChannelRow::setUpSliders()
{
    gainSlider.setRange (lowestGainDb, highestGainDb, 0.1);
    gainSlider.setTextBoxStyle (juce::Slider::TextBoxRight, false, 62, 22);
    gainSlider.setTextValueSuffix (" dB");
    gainSlider.onValueChange = [this] {
        change ("Level of ",
                [this] { session.setMixerGain (index, (float) gainSlider.getValue(), position(), isWriting()); });
    };

    panSlider.setRange (-1.0, 1.0, 0.01);
    panSlider.setTextBoxStyle (juce::Slider::TextBoxRight, false, 42, 22);
    panSlider.textFromValueFunction = panText;
    panSlider.updateText();
    panSlider.onValueChange = [this] {
        change ("Pan of ", [this] { session.mixerAt (index).pan = (float) panSlider.getValue(); });
    };

    const auto palette = paletteOf (lookAndFeel);

    for (auto* slider : { &gainSlider, &panSlider })
    {
        slider->setColour (juce::Slider::thumbColourId, palette.accentBright);
        slider->setColour (juce::Slider::trackColourId, palette.line);
        slider->setColour (juce::Slider::backgroundColourId, palette.ink);
        slider->setColour (juce::Slider::textBoxOutlineColourId, palette.line);
        slider->setHasFocusOutline (true);
        slider->onDragEnd = [this] {
            if (owner.onStrokeEnded)
                owner.onStrokeEnded();
        };
        addAndMakeVisible (slider);
    }
}

void MonitorMixer::ChannelRow::change (const juce::String& what, const std::function<void()>& action)
{
    {
        const juce::ScopedLock held (owner.sessionLock);

        if (index >= session.mixerCount())
            return;

        action();
    }

    if (owner.onChanged)
        owner.onChanged (what + name, what + juce::String (index));
}

void MonitorMixer::ChannelRow::syncControls()
{
    if (index >= session.mixerCount())
        return;

    const auto at = position();
    const auto& channel = session.mixerAt (index);
    muteButton.setToggleState (session.mixerMuteAt (index, at), juce::dontSendNotification);
    soloButton.setToggleState (channel.solo, juce::dontSendNotification);
    gainSlider.setValue (session.mixerGainDbAt (index, at), juce::dontSendNotification);
    panSlider.setValue (channel.pan, juce::dontSendNotification);

    const auto meter = meterLevel (session.mixerMeters[(size_t) index].load());

    if (! juce::exactlyEqual (std::exchange (shownMeter, meter), meter))
        repaint (layOutMixerRow (getLocalBounds()).meter.getSmallestIntegerContainer());
}

void MonitorMixer::ChannelRow::resized()
{
    const auto at = layOutMixerRow (getLocalBounds());
    nameLabel.setBounds (at.name);
    muteButton.setBounds (at.mute);
    soloButton.setBounds (at.solo);
    gainSlider.setBounds (at.gain);
    panSlider.setBounds (at.pan);
}

void MonitorMixer::ChannelRow::paint (juce::Graphics& g)
{
    constexpr float corner = 2.0f;
    const auto palette = paletteOf (lookAndFeel);
    g.fillAll (palette.panel);
    g.setColour (palette.line.withAlpha (0.35f));
    g.fillRect (0, getHeight() - 1, getWidth(), 1);

    const auto track = layOutMixerRow (getLocalBounds()).meter;
    g.setColour (palette.line.withAlpha (0.28f));
    g.fillRoundedRectangle (track, corner);

    const auto level = index < session.mixerCount() ? meterLevel (session.mixerMeters[(size_t) index].load()) : 0.0f;
    g.setColour (palette.accent);
    g.fillRoundedRectangle (track.withWidth (level * track.getWidth()), corner);
}

}    // namespace ld
