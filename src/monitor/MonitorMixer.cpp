#include "monitor/MonitorMixer.h"

#include "monitor/MixerPanelLayout.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int panelWidth = 760, panelHeight = 560;

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
    setUp (mixLabel, "MIX", fontOf (lookAndFeel, 13.0f, juce::Font::bold));
    setUp (mixPeakLabel, {}, fontOf (lookAndFeel, 13.0f, juce::Font::plain));
    mixPeakLabel.setJustificationType (juce::Justification::centredRight);
    addAndMakeVisible (mixMeter);
    allOnButton.onClick = [this] { resetAll(); };
    muteAllButton.onClick = [this] { muteAll(); };
    fitButton.onClick = [this] {
        if (onFit)
            onFit();
    };
    fitButton.setTooltip ("Measure the MIX of the whole take and lower all faders until it stays within full scale");

    for (auto* button : { &allOnButton, &muteAllButton, &fitButton })
    {
        button->setHasFocusOutline (true);
        addAndMakeVisible (button);
    }

    viewport.setViewedComponent (&content, false);
    viewport.setScrollBarsShown (true, false);
    addAndMakeVisible (viewport);

    content.setSize (MixerRowLayout::width, MixerRowLayout::height);
    refresh();
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

void MonitorMixer::refresh()
{
    auto texts = mixerRowTexts (session);

    if (texts == rowTexts)
        return;

    rowTexts = std::move (texts);
    rows.clear();
    content.setSize (MixerRowLayout::width, MixerRowLayout::height * std::max ((int) rowTexts.size(), 1));

    for (const auto& text : rowTexts)
    {
        const auto index = (int) rows.size();
        auto& row = *rows.emplace_back (std::make_unique<ChannelRow> (*this, index, text));
        content.addAndMakeVisible (row);
        row.setBounds (0, MixerRowLayout::height * index, MixerRowLayout::width, MixerRowLayout::height);
    }
}

void MonitorMixer::timerCallback()
{
    for (const auto& row : rows)
        row->syncControls();

    showMixLevel();
}

void MonitorMixer::showMixLevel()
{
    mixMeter.show (session.mixMeter.load(), session.mixPeak.exchange (0.0f));
    const auto& held = mixMeter.held();
    mixPeakLabel.setText (held.peak > 0.0f ? peakText (held.peak) : juce::String(), juce::dontSendNotification);
    mixPeakLabel.setColour (juce::Label::textColourId,
                            held.isClipped ? paletteOf (lookAndFeel).bad : paletteOf (lookAndFeel).muted);
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
    fitButton.setBounds (at.fit);
    mixLabel.setBounds (at.mixName);
    mixPeakLabel.setBounds (at.mixPeak);
    mixMeter.setBounds (at.mixMeter);
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
      name (mixerRowName (text)), meter ("Level of " + text, lookAndFeel)
{
    nameLabel.setText (text, juce::dontSendNotification);
    nameLabel.setTooltip (text);
    nameLabel.setJustificationType (juce::Justification::centredLeft);
    nameLabel.setFont (fontOf (lookAndFeel, 13.0f, juce::Font::bold));
    addAndMakeVisible (nameLabel);
    addAndMakeVisible (meter);
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
    panSlider.valueFromTextFunction = panOf;
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
        slider->setDoubleClickReturnValue (true, 0.0);
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
    meter.show (session.mixerMeters[(size_t) index].load(), session.mixerPeaks[(size_t) index].exchange (0.0f));
}

void MonitorMixer::ChannelRow::resized()
{
    const auto at = layOutMixerRow (getLocalBounds());
    nameLabel.setBounds (at.name);
    muteButton.setBounds (at.mute);
    soloButton.setBounds (at.solo);
    gainSlider.setBounds (at.gain);
    panSlider.setBounds (at.pan);
    meter.setBounds (at.meter);
}

void MonitorMixer::ChannelRow::paint (juce::Graphics& g)
{
    const auto palette = paletteOf (lookAndFeel);
    g.fillAll (palette.panel);
    g.setColour (palette.line.withAlpha (0.35f));
    g.fillRect (0, getHeight() - 1, getWidth(), 1);
}

}    // namespace ld
