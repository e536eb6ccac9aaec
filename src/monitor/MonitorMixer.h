#pragma once

#include "session/Session.h"
#include "theme/LookAndFeel.h"

#include <functional>
#include <memory>

namespace ld
{

/** The panel of the monitor mix: a row for each mixer channel in use when it is built. It holds no mix of its own: its
    controls read and write the session under its lock, and follow it, so that recorded automation moves them. A control
    that is moved while it plays writes automation. */
class MonitorMixer : public juce::Component
{
public:
    using Position = std::function<juce::int64()>;
    using IsPlaying = std::function<bool()>;

    /** playheadSample   host samples; empty counts as 0
        isPlaying        empty counts as false */
    MonitorMixer (
        Session&, juce::CriticalSection& sessionLock, LookAndFeel*, Position playheadSample, IsPlaying isPlaying);
    ~MonitorMixer() override;

    void paint (juce::Graphics&) override;
    void resized() override;

    class ChannelRow;

private:
    void setUp (juce::Label&, const juce::String& text, const juce::Font&);
    void forEachChannel (const std::function<void (int index)>&);
    void resetAll();
    void muteAll();

    Session& session;
    juce::CriticalSection& sessionLock;
    LookAndFeel* const lookAndFeel;
    const Position playheadSample;
    const IsPlaying isPlaying;

    juce::Label headlineLabel, hintLabel;
    juce::TextButton allOnButton { "All on / reset" }, muteAllButton { "Mute all" };
    juce::Component content;
    juce::Viewport viewport;
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
class MonitorMixer::ChannelRow : public juce::Component, private juce::Timer
{
public:
    ChannelRow (Session&,
                juce::CriticalSection& sessionLock,
                LookAndFeel*,
                int index,
                const juce::String& text,
                Position playheadSample,
                IsPlaying isPlaying);

    /** Shows what the session says at the playhead. */
    void syncControls();

    void paint (juce::Graphics&) override;
    void resized() override;

private:
    void timerCallback() override;
    void setUpButtons();
    void setUpSliders();
    void change (const std::function<void()>&);
    [[nodiscard]] juce::int64 position() const { return playheadSample ? playheadSample() : 0; }
    [[nodiscard]] bool isWriting() const { return isPlaying && isPlaying(); }

    Session& session;
    juce::CriticalSection& sessionLock;
    LookAndFeel* const lookAndFeel;
    const int index;
    const Position playheadSample;
    const IsPlaying isPlaying;

    juce::Label nameLabel;
    LetterSwitch muteButton { "M", lookAndFeel, &Palette::bad }, soloButton { "S", lookAndFeel, &Palette::accent };
    juce::Slider gainSlider { juce::Slider::LinearHorizontal, juce::Slider::TextBoxRight };
    juce::Slider panSlider { juce::Slider::LinearHorizontal, juce::Slider::TextBoxRight };
};

}    // namespace ld
