#include "monitor/MixerPanelLayout.h"
#include "monitor/MonitorMixer.h"

#include "support/MessageLoop.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using juce::int64;
using testing::ElementsAre;
using testing::IsEmpty;

/** A poly of some channels, and a playhead that the test moves. */
struct Scene
{
    explicit Scene (int channels)
    {
        session.host.format = { .channels = channels, .sampleRate = 48000, .numFrames = 480000, .valid = true };
        session.host.tracks.resize ((size_t) channels);
    }

    void open()
    {
        panel = std::make_unique<MonitorMixer> (
            session, lock, &theme, [this] { return playhead; }, [this] { return isPlaying; });
    }

    [[nodiscard]] juce::Component& content() const
    {
        for (auto* child : panel->getChildren())
            if (auto* const viewport = dynamic_cast<juce::Viewport*> (child))
                return *viewport->getViewedComponent();

        throw std::runtime_error ("no viewport");
    }

    [[nodiscard]] MonitorMixer::ChannelRow& row (int index) const
    {
        return dynamic_cast<MonitorMixer::ChannelRow&> (*content().getChildComponent (index));
    }

    template <typename Control>
    [[nodiscard]] Control& control (juce::Component& parent, const juce::String& startOfTitle) const
    {
        for (auto* child : parent.getChildren())
            if (auto* const found = dynamic_cast<Control*> (child))
                if (found->getTitle().startsWith (startOfTitle) || found->getName() == startOfTitle)
                    return *found;

        throw std::runtime_error ("no control " + startOfTitle.toStdString());
    }

    void press (const juce::String& button) const
    {
        for (auto* child : panel->getChildren())
            if (auto* const found = dynamic_cast<juce::TextButton*> (child); found && found->getButtonText() == button)
                return found->onClick();

        throw std::runtime_error ("no button " + button.toStdString());
    }

    void toggle (int index, const juce::String& title, bool isOn) const
    {
        control<juce::ToggleButton> (row (index), title).setToggleState (isOn, juce::sendNotificationSync);
        control<juce::ToggleButton> (row (index), title).onClick();
    }

    void slide (int index, const juce::String& title, double value) const
    {
        control<juce::Slider> (row (index), title).setValue (value, juce::sendNotificationSync);
    }

    LookAndFeel theme;
    Session session;
    juce::CriticalSection lock;
    int64 playhead = 0;
    bool isPlaying = false;
    std::unique_ptr<MonitorMixer> panel;
};

TEST (MonitorMixer, NamesItsRowsByTheSourceThatTheyPlay)
{
    Scene scene (4);
    scene.session.host.tracks[0].name = "Boom";
    scene.session.omitHostChannel (1);
    scene.session.host.tracks[3].name = "Lav Anna";
    auto& guest = scene.session.guests.emplace_back();
    guest.file = juce::File ("/pack/TX_001.wav");
    guest.channelAudio.resize (2);
    guest.tracks.resize (2);
    guest.tracks[0].name = juce::String::fromUTF8 ("音声");
    scene.session.guests.emplace_back().file = juce::File ("/pack/CAM.wav");

    const auto dot = juce::String::fromUTF8 ("  ·  ");
    EXPECT_THAT (mixerRowTexts (scene.session),
                 ElementsAre ("POLY 1" + dot + "Boom",
                              "POLY 3" + dot + "Channel 3",
                              "POLY 4" + dot + "Lav Anna",
                              "ISO" + dot + juce::String::fromUTF8 ("音声"),
                              "ISO" + dot + "TX_001 2",
                              "ISO" + dot + "CAM 1"));
}

TEST (MonitorMixer, HasARowForEachMixerChannelThatThereIs)
{
    for (const auto& [channels, rows, height] : { std::tuple (0, 0, 42), { 3, 3, 126 }, { 40, 32, 1344 } })
    {
        Scene scene (channels);
        scene.open();
        EXPECT_EQ (scene.content().getNumChildComponents(), rows);
        EXPECT_EQ (scene.content().getBounds().withZeroOrigin(), juce::Rectangle<int> (720, height));
        EXPECT_EQ (scene.panel->getBounds(), juce::Rectangle<int> (760, 560));
    }
}

TEST (MonitorMixer, WritesAutomationWhilePlayingAndAStaticValueOtherwise)
{
    Scene scene (2);
    scene.open();
    scene.playhead = 48000;
    scene.isPlaying = true;
    scene.slide (1, "Gain", -12.0);
    scene.toggle (1, "Mute", true);
    auto& channel = scene.session.mixerAt (1);
    EXPECT_FALSE (channel.automation.empty());
    EXPECT_FALSE (channel.muteAutomation.empty());
    EXPECT_TRUE (scene.session.mixerMuteAt (1, 50000));
    EXPECT_FLOAT_EQ (scene.session.mixerGainDbAt (1, 50000), -12.0f);
    EXPECT_EQ (scene.session.mixerAt (0), MixerChannel());

    scene.isPlaying = false;
    scene.slide (1, "Gain", -6.0);
    scene.toggle (1, "Mute", false);
    EXPECT_THAT (channel.automation, IsEmpty());
    EXPECT_THAT (channel.muteAutomation, IsEmpty());
    EXPECT_FLOAT_EQ (channel.gainDb, -6.0f);
    EXPECT_FALSE (channel.mute);

    scene.isPlaying = true;
    scene.slide (0, "Pan", -0.25);
    scene.toggle (0, "Solo", true);
    MixerChannel panned;
    panned.pan = -0.25f;
    panned.solo = true;
    EXPECT_EQ (scene.session.mixerAt (0), panned) << "never automated";
}

TEST (MonitorMixer, FollowsWhatHasBeenRecorded)
{
    Scene scene (1);
    scene.session.mixerAt (0).automation = { { 0, 0.0f }, { 96000, -20.0f } };
    scene.session.mixerAt (0).muteAutomation = { { 0, false }, { 48000, true } };
    scene.open();
    auto& gain = scene.control<juce::Slider> (scene.row (0), "Gain");
    auto& mute = scene.control<juce::ToggleButton> (scene.row (0), "Mute");
    EXPECT_DOUBLE_EQ (gain.getValue(), 0.0);
    EXPECT_FALSE (mute.getToggleState());

    const auto before = scene.session.mixerAt (0);
    scene.playhead = 48000;
    EXPECT_TRUE (pumpUntil ([&] { return mute.getToggleState(); })) << "by its own timer";
    EXPECT_DOUBLE_EQ (gain.getValue(), -10.0);
    EXPECT_EQ (scene.session.mixerAt (0), before) << "following writes nothing";

    scene.session.clear();
    scene.row (0).syncControls();
    scene.slide (0, "Gain", -3.0);
    EXPECT_FLOAT_EQ (scene.session.mixerAt (0).gainDb, 0.0f) << "a channel that is not there any more";
}

TEST (MonitorMixer, SetsAllChannelsAtOnce)
{
    Scene scene (2);
    scene.session.host.tracks[0].name = "MIX";
    scene.session.resetMixer();
    ASSERT_TRUE (scene.session.mixerAt (0).mute);
    scene.session.mixerAt (1).solo = true;
    scene.session.mixerAt (1).muteAutomation = { { 0, false }, { 48000, true } };
    scene.open();

    scene.press ("Mute all");
    MixerChannel muted;
    muted.mute = true;
    EXPECT_EQ (scene.session.mixerAt (1), muted);

    scene.isPlaying = true;
    scene.press ("All on / reset");
    EXPECT_EQ (scene.session.mixerAt (0), MixerChannel()) << "the recorder's mix too";
    EXPECT_EQ (scene.session.mixerAt (1), MixerChannel());

    scene.press ("Mute all");
    EXPECT_FALSE (scene.session.mixerAt (1).muteAutomation.empty()) << "written while it plays";
}

TEST (MonitorMixer, SaysPanAndLevelAsAnEditorReadsThem)
{
    EXPECT_EQ (panText (-0.25), "25L");
    EXPECT_EQ (panText (1.0), "100R");
    EXPECT_EQ (panText (0.004), "C");

    for (const auto& [typed, pan] : { std::pair ("25L", -0.25),
                                      { "l 25", -0.25 },
                                      { "-25", -0.25 },
                                      { "-0.25", -0.25 },
                                      { "100R", 1.0 },
                                      { "0,5", 0.5 },
                                      { "300", 1.0 },
                                      { "C", 0.0 },
                                      { "", 0.0 } })
        EXPECT_DOUBLE_EQ (panOf (typed), pan) << typed;

    EXPECT_FLOAT_EQ (meterLevel (0.0f), 0.0f);
    EXPECT_FLOAT_EQ (meterLevel (0.0001f), 0.0f);
    EXPECT_NEAR (meterLevel (0.0316228f), 0.5f, 1e-5f);    // -30 dB
    EXPECT_FLOAT_EQ (meterLevel (2.0f), 1.0f);

    Scene scene (1);
    scene.session.mixerMeters[0] = 0.0316228f;
    scene.open();
    auto& row = scene.row (0);
    auto& pan = scene.control<juce::Slider> (row, "Pan");
    EXPECT_EQ (scene.control<juce::Label> (pan, "").getText(), "C") << "as it opens";
    pan.setValue (0.5);
    EXPECT_EQ (scene.control<juce::Label> (pan, "").getText(), "50R");
    const auto picture = row.createComponentSnapshot (row.getLocalBounds());
    const auto meterLeft = 720 - 94;
    EXPECT_EQ (picture.getPixelAt (meterLeft + 30, 20), scene.theme.palette.accent);
    EXPECT_NE (picture.getPixelAt (meterLeft + 45, 20), scene.theme.palette.accent);
}

TEST (MonitorMixer, AClipIsSeenUntilItIsClickedAndAPeakForAWhile)
{
    Scene scene (1);
    scene.open();
    auto& meter = scene.control<LevelMeter> (scene.row (0), "Level");
    auto& mix = scene.control<LevelMeter> (*scene.panel, "Level of MIX");
    scene.session.mixerPeaks[0] = 0.5f;
    scene.session.mixPeak = 1.25f;
    EXPECT_TRUE (pumpUntil ([&] { return mix.held().isClipped; }))
        << "between two ticks, when the meter has fallen again";
    EXPECT_FALSE (meter.held().isClipped);
    EXPECT_FLOAT_EQ (meter.held().peak, 0.5f);
    EXPECT_EQ (scene.session.mixPeak, 0.0f) << "taken";

    HeldPeak held;

    for (const auto newest : { 0.5f, 0.1f, 1.5f, 0.2f, 0.3f })
        held.note (newest, 2);

    EXPECT_FLOAT_EQ (held.peak, 0.3f) << "for two ticks";
    EXPECT_TRUE (held.isClipped);
    mix.reset();
    EXPECT_FALSE (mix.held().isClipped);
}

TEST (MonitorMixer, StaysAndHasTheRowsOfWhateverIsThere)
{
    Scene scene (1);
    scene.open();
    scene.session.host.format.channels = 2;
    scene.session.host.tracks.resize (2);
    scene.session.guests.emplace_back().file = juce::File ("/pack/CAM.wav");
    scene.panel->refresh();
    EXPECT_EQ (scene.content().getNumChildComponents(), 3);
    scene.slide (2, "Gain of ISO", -3.0);
    EXPECT_FLOAT_EQ (scene.session.mixerAt (2).gainDb, -3.0f);
    scene.session.clear();
    scene.panel->refresh();
    EXPECT_EQ (scene.content().getNumChildComponents(), 0);
}

}    // namespace
}    // namespace ld::test
