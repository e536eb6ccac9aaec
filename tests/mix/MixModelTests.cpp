#include "mix/MixModel.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::FloatNear;
using testing::IsEmpty;
using testing::Key;

using Gain = MixAutomationPoint;
using Mute = MixMutePoint;

TrackInfo track (const juce::String& name, const juce::String& function = "OTHER")
{
    TrackInfo info;
    info.name = name;
    info.function = function;
    return info;
}

HostTake hostWith (const std::vector<TrackInfo>& tracks)
{
    HostTake host;
    host.format.channels = (int) tracks.size();
    host.tracks = tracks;
    return host;
}

GuestClip guestWith (const std::vector<TrackInfo>& tracks, size_t lanes, int formatChannels = 0)
{
    GuestClip guest;
    guest.tracks = tracks;
    guest.channelAudio.resize (lanes);
    guest.format.channels = formatChannels;
    return guest;
}

TEST (MixTracks, AreToldByWhatTheyAreAndRenamed)
{
    struct Case
    {
        const char *name, *function;
        bool isMix;
        const char* renamed;
    };

    for (const auto& [name, function, isMix, renamed] : {
             Case { "Mix", "OTHER", true, "OLDMIX" },
             Case { " mix l ", "OTHER", true, "OLDMIX L" },
             Case { "MIXL", "OTHER", true, "OLDMIX L" },
             Case { "Mix-L", "OTHER", true, "OLDMIX L" },
             Case { "r_mix", "OTHER", true, "OLDMIX R" },
             Case { "Desk", "L-MIX", true, "OLDMIX Desk" },
             Case { "Kept", "OLDMIX", true, "OLDMIX Kept" },
             Case { "Mixer", "MIXED", false, "OLDMIX Mixer" },
             Case { "MIX 2", "OTHER", false, "OLDMIX MIX 2" },
             Case { "OLDMIX", "OTHER", false, "OLDMIX" },
             Case { " Boom ", " mix ", true, "OLDMIX  Boom " },
             Case { "", "MIX", true, "OLDMIX" },
             Case { "  ", "OTHER", false, "OLDMIX" },
         })
    {
        auto info = track (name, function);
        EXPECT_EQ (isOriginalMixTrack (info), isMix) << name << ", " << function;
        EXPECT_EQ (isMixSourceTrack (info), ! isMix) << name << ", " << function;
        renameMixToOldMix (info);
        EXPECT_EQ (info.name, renamed);
        EXPECT_EQ (info.function, "OLDMIX");
    }
}

TEST (Automation, GainRunsInLinesBetweenThePointsAndIsHeldOutside)
{
    MixerChannel channel;
    channel.gainDb = -7.0f;
    EXPECT_EQ (mixerGainDbAt (channel, 100), -7.0f);

    channel.automation = { { 256, -60.0f }, { 512, 0.0f }, { 1536, 8.0f }, { 4096, 1.0f } };
    const std::pair<int, float> expected[] = { { -5, -60.0f }, { 256, -60.0f }, { 384, -30.0f },      { 512, 0.0f },
                                               { 1024, 4.0f }, { 1536, 8.0f },  { 1535, 7.9921875f }, { 9999, 1.0f } };

    for (const auto& [sample, gainDb] : expected)
        EXPECT_FLOAT_EQ (mixerGainDbAt (channel, sample), gainDb) << sample;

    EXPECT_EQ (mixDbToGain (-60.0f), 0.0f) << "silence, not a thousandth";
    EXPECT_THAT (mixDbToGain (-59.9f), FloatNear (0.0010116f, 1e-6f));
    EXPECT_THAT (mixDbToGain (12.0f), FloatNear (3.98107f, 1e-5f));
}

TEST (Automation, MuteStepsAtItsPointsAndSoloNeverOverridesIt)
{
    MixerChannel channel;
    channel.mute = true;
    EXPECT_TRUE (mixerMuteAt (channel, 0));

    channel.muteAutomation = { { 0, false }, { 256, true }, { 512, true }, { 768, false }, { 1024, true } };
    const std::pair<int, bool> expected[] = { { -1, false },   { 0, false },   { 255, false },
                                              { 256, true },   { 767, true },  { 768, false },
                                              { 1023, false }, { 1024, true }, { 5000, true } };

    for (const auto& [sample, isMuted] : expected)
        EXPECT_EQ (mixerMuteAt (channel, sample), isMuted) << sample;

    EXPECT_TRUE (mixerChannelAudible (channel, false, 100));
    EXPECT_FALSE (mixerChannelAudible (channel, true, 100)) << "another channel is soloed";
    channel.solo = true;
    EXPECT_TRUE (mixerChannelAudible (channel, true, 100));
    EXPECT_FALSE (mixerChannelAudible (channel, true, 300));
}

TEST (Automation, AWriteLeavesTheOldValueAtTheStartAndDropsAllBehindIt)
{
    MixerChannel channel;
    channel.gainDb = -3.0f;
    writeMixerGain (channel, 5.0f, 1000, true);
    EXPECT_THAT (channel.automation, ElementsAre (Gain { 0, -3.0f }, Gain { 768, 5.0f }));
    EXPECT_EQ (channel.gainDb, 5.0f);

    writeMixerGain (channel, 20.0f, 2048, true);
    writeMixerGain (channel, -90.0f, 2303, true);
    EXPECT_THAT (channel.automation, ElementsAre (Gain { 0, -3.0f }, Gain { 768, 5.0f }, Gain { 2048, -60.0f }));

    writeMixerGain (channel, 1.0f, 600, true);
    EXPECT_THAT (channel.automation, ElementsAre (Gain { 0, -3.0f }, Gain { 512, 1.0f }));

    writeMixerGain (channel, 2.0f, -5, true);
    EXPECT_THAT (channel.automation, ElementsAre (Gain { 0, 2.0f }));

    writeMixerGain (channel, 20.0f, 5000, false);
    EXPECT_THAT (channel.automation, IsEmpty()) << "a move outside a write pass wipes the curve";
    EXPECT_EQ (channel.gainDb, 12.0f);

    for (const auto& [sample, position] : { std::pair (255, 0), std::pair (256, 256) })
    {
        MixerChannel fresh;
        writeMixerGain (fresh, 4.0f, sample, true);
        EXPECT_EQ (fresh.automation.back(), (Gain { position, 4.0f }));
        EXPECT_EQ (fresh.automation.size(), position == 0 ? 1U : 2U);
    }

    writeMixerMute (channel, true, 1000, true);
    EXPECT_THAT (channel.muteAutomation, ElementsAre (Mute { 0, false }, Mute { 768, true }));
    writeMixerMute (channel, true, 100, true);
    EXPECT_THAT (channel.muteAutomation, ElementsAre (Mute { 0, true }));
    writeMixerMute (channel, false, 100, false);
    EXPECT_THAT (channel.muteAutomation, IsEmpty());
}

TEST (Automation, APencilReplacesOnlyWhatItPassesOver)
{
    const std::vector<Gain> curve { { 0, 0.0f }, { 512, 1.0f }, { 1024, 2.0f }, { 1536, 3.0f } };

    const std::tuple<int, int, std::vector<Gain>> strokes[] = {
        { 1300, 100, { { 0, 0.0f }, { 1280, -9.0f }, { 1536, 3.0f } } },
        { 600, 1600, { { 0, 0.0f }, { 512, -9.0f }, { 1536, 3.0f } } },    // backwards; both ends stay
        { 800, -1, { { 0, 0.0f }, { 512, 1.0f }, { 768, -9.0f }, { 1024, 2.0f }, { 1536, 3.0f } } },
        { 9000, 1024, { { 0, 0.0f }, { 512, 1.0f }, { 1024, 2.0f }, { 8960, -9.0f } } },
        { -40, 1535, { { 0, -9.0f }, { 1536, 3.0f } } },
    };

    for (const auto& [sample, previous, expected] : strokes)
    {
        MixerChannel channel;
        channel.automation = curve;
        drawMixerGain (channel, -9.0f, sample, previous);
        EXPECT_EQ (channel.automation, expected) << sample << " from " << previous;
    }

    MixerChannel fresh;
    fresh.gainDb = -1.0f;
    drawMixerGain (fresh, 99.0f, 1000, -1);
    EXPECT_THAT (fresh.automation, ElementsAre (Gain { 0, -1.0f }, Gain { 768, 12.0f }));
    EXPECT_EQ (fresh.gainDb, 12.0f);
}

TEST (SourceKeys, NameAHostChannelByItsPlaceInThePolyAndAGuestByItsLane)
{
    EXPECT_EQ (mixerSourceKey (true, track (" boom ", "other "), 3), "H|OTHER|BOOM|3");

    auto host = hostWith ({ track ("A"), track ("B"), track ("C") });
    host.format.channels = 4;    // the last has no track
    host.omittedChannels = { 0, 1 };
    const std::vector<GuestClip> guests { guestWith ({ track ("Lav") }, 2),
                                          guestWith ({}, 0, 2),
                                          guestWith ({ track ("X"), track ("Y") }, 0),
                                          guestWith ({ track ("Z", "MIX") }, 1, 5) };
    const char* expected[] = { "H|OTHER|A|0", "H|OTHER|C|2", "H|OTHER||3",  "G|OTHER|LAV|0", "G|OTHER|LAV|1",
                               "G|OTHER||0",  "G|OTHER||1",  "G|OTHER|X|0", "G|MIX|Z|0",     "" };

    for (int i = 0; i < (int) std::size (expected); ++i)
        EXPECT_EQ (keyAt (host, guests, i), expected[i]) << i;

    EXPECT_EQ (keyAt (host, guests, -1), "");
}

TEST (Templates, FollowTheSourceNotThePositionAndOverrideTheMixsMute)
{
    auto host = hostWith ({ track ("Mix L"), track ("Boom"), track ("Lav") });
    std::vector<GuestClip> guests { guestWith ({ track ("Cam") }, 1), guestWith ({ track ("Cam") }, 1) };
    MixerBank bank;

    for (size_t i = 0; i < 5; ++i)
        bank[i].gainDb = (float) i;

    bank[2].pan = -0.5f;
    bank[2].automation = { { 0, 1.0f } };
    bank[2].muteAutomation = { { 256, true } };
    const auto kept = captureMixerTemplate (host, guests, std::span (bank).first (5));
    EXPECT_THAT (
        kept,
        ElementsAre (Key ("G|OTHER|CAM|0"), Key ("H|OTHER|BOOM|1"), Key ("H|OTHER|LAV|2"), Key ("H|OTHER|MIX L|0")));
    EXPECT_EQ (kept.at ("G|OTHER|CAM|0").gainDb, 4.0f) << "of two guests with one key the later is kept";

    host.omittedChannels = { 0, 1, 0 };
    MixerBank next;
    next[3].gainDb = -11.0f;
    guests.back() = guestWith ({ track ("Another") }, 1);
    applyMixerTemplate (host, guests, std::span (next).first (4), kept);
    EXPECT_EQ (next[0], bank[0]) << "the template unmutes the recorder's mix";
    EXPECT_EQ (next[1], bank[2]) << "the lavalier moved up by one";
    EXPECT_EQ (next[2], bank[4]);
    EXPECT_EQ (next[3].gainDb, -11.0f) << "an unknown source stays as it is";

    MixerBank muted;
    applyMixerTemplate (host, guests, std::span (muted).first (4), {});
    EXPECT_TRUE (muted[0].mute);
}

TEST (Templates, MutingTheRecordersMixCountsOnlyIncludedChannelsAndStopsAtTheLimit)
{
    auto host = hostWith ({ track ("A"), track ("B"), track ("MIX L"), track ("C"), track ("x", "Mix") });
    host.omittedChannels = { 1 };
    MixerBank bank;
    bank[1].muteAutomation = { { 0, false } };
    std::vector<GuestClip> guests (1);
    guests[0].tracks = { track ("Lav"), track ("Mix-R") };
    guests[0].channelAudio.resize (2);
    muteOriginalMixChannels (host, guests, std::span (bank).first (3));
    EXPECT_FALSE (bank[0].mute);
    EXPECT_TRUE (bank[1].mute);
    EXPECT_EQ (bank[1].muteAutomation.size(), 1U) << "its curve stays";
    EXPECT_FALSE (bank[3].mute) << "beyond the limit";
    muteOriginalMixChannels (host, guests, bank);
    EXPECT_TRUE (bank[3].mute);
    EXPECT_FALSE (bank[4].mute) << "a guest's own track";
    EXPECT_TRUE (bank[5].mute) << "a guest's mix";
}

}    // namespace
}    // namespace ld::test
