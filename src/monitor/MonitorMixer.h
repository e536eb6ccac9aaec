#pragma once

#include "monitor/LevelMeter.h"
#include "session/Session.h"
#include "theme/LookAndFeel.h"

#include <functional>
#include <memory>

namespace ld
{

/** The panel of the monitor mix: a row for each mixer channel in use, and the meter of the new MIX. It holds no mix of its
    own: its controls read and write the session under its lock, and follow it, so that recorded automation moves them. A
    control that is moved while it plays writes automation. */
class MonitorMixer : public juce::Component, private juce::Timer
{
public:
    using Position = std::function<juce::int64()>;
    using IsPlaying = std::function<bool()>;

    /** playheadSample   host samples; empty counts as 0
        isPlaying        empty counts as false */
    MonitorMixer (
        Session&, juce::CriticalSection& sessionLock, LookAndFeel*, Position playheadSample, IsPlaying isPlaying);
    ~MonitorMixer() override;

    /** Told what was changed ("Pan of Boom"), by which stroke: changes of one stroke belong together. */
    std::function<void (const juce::String& what, const juce::String& stroke)> onChanged;
    std::function<void()> onStrokeEnded;

    /** The MIX of the take is to be brought within full scale. */
    std::function<void()> onFit;

    /** Another take, other guests, other names: the rows are made anew where they would be others. */
    void refresh();

    void paint (juce::Graphics&) override;
    void resized() override;

    class ChannelRow;

private:
    void timerCallback() override;
    void setUp (juce::Label&, const juce::String& text, const juce::Font&);
    void forEachChannel (const juce::String& what, const std::function<void (int index)>&);
    void resetAll();
    void muteAll();
    void showMixLevel();

    Session& session;
    juce::CriticalSection& sessionLock;
    LookAndFeel* const lookAndFeel;
    const Position playheadSample;
    const IsPlaying isPlaying;

    juce::Label headlineLabel, hintLabel, mixLabel, mixPeakLabel;
    LevelMeter mixMeter { "Level of MIX", lookAndFeel };
    juce::TextButton allOnButton { "All on / reset" }, muteAllButton { "Mute all" }, fitButton { "Fit MIX" };
    juce::Component content;
    juce::Viewport viewport;
    std::vector<juce::String> rowTexts;
    std::vector<std::unique_ptr<ChannelRow>> rows;
};

/** A switch that is nothing but its letter; the stock one has no room for it beside its box. */
class LetterSwitch : public juce::ToggleButton
{
public:
    LetterSwitch (const juce::String& letter, const LookAndFeel*, juce::Colour Palette::*colourWhenOn);

private:
    void paintButton (juce::Graphics&, bool isHighlighted, bool isDown) override;

    const LookAndFeel* const theme;
    juce::Colour Palette::*const onColour;
};

/** One mixer channel. Where its index is not in use any more it does nothing. */
class MonitorMixer::ChannelRow : public juce::Component
{
public:
    ChannelRow (MonitorMixer&, int index, const juce::String& text);

    /** Shows what the session says at the playhead, and the meter. On the message thread, which alone writes the session:
        it reads without the lock. */
    void syncControls();

    void paint (juce::Graphics&) override;
    void resized() override;

private:
    void setUpButtons();
    void setUpSliders();
    void change (const juce::String& what, const std::function<void()>&);
    [[nodiscard]] juce::int64 position() const { return owner.playheadSample ? owner.playheadSample() : 0; }
    [[nodiscard]] bool isWriting() const { return owner.isPlaying && owner.isPlaying(); }

    MonitorMixer& owner;
    Session& session;
    LookAndFeel* const lookAndFeel;
    const int index;
    const juce::String name;
    LevelMeter meter;

    juce::Label nameLabel;
    LetterSwitch muteButton { "M", lookAndFeel, &Palette::bad }, soloButton { "S", lookAndFeel, &Palette::accent };
    juce::Slider gainSlider { juce::Slider::LinearHorizontal, juce::Slider::TextBoxRight };
    juce::Slider panSlider { juce::Slider::LinearHorizontal, juce::Slider::TextBoxRight };
};

}    // namespace ld
