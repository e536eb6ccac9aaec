#include "monitor/PreviewMix.h"

#include "support/TestSignals.h"

#include <gmock/gmock.h>

#include <cmath>

namespace ld::test
{
namespace
{

using juce::int64;

/** A session in memory and the poly's interleaved frames. */
struct Scene
{
    Scene (int channels, int64 length)
    {
        auto& host = session.host;
        host.format.valid = true;
        host.format.channels = channels;
        host.format.numFrames = length;
        host.tracks.resize ((size_t) channels);
        const auto sound = noise (length * channels, 7);

        for (const auto sample : sound)
            frames.push_back ((juce::int32) (sample * 8388607.0f));
    }

    GuestClip& addGuest (int lanes, int64 length, int64 offset)
    {
        auto& guest = session.guests.emplace_back();
        guest.id = juce::Uuid();
        guest.alignment.offsetSamples = offset;

        for (int lane = 0; lane < lanes; ++lane)
            guest.channelAudio.push_back (noise (length, 100u + (unsigned) lane));

        return guest;
    }

    // What a reader gives for a block: whole frames from a position on, silence past the end.
    [[nodiscard]] std::vector<juce::int32> read (int64 first, int64 count) const
    {
        const auto channels = (int64) session.host.format.channels;
        std::vector<juce::int32> block ((size_t) (count * channels));

        for (int64 i = 0; i < count * channels && first * channels + i < (int64) frames.size(); ++i)
            block[(size_t) i] = frames[(size_t) (first * channels + i)];

        return block;
    }

    Session session;
    std::vector<juce::int32> frames;
};

struct Stereo
{
    std::vector<float> left, right;
    std::array<float, mixerChannelLimit> peaks {};
    float mixPeak = 0.0f;
    double position = 0.0;
    bool hasEnded = false;

    bool operator== (const Stereo&) const = default;
};

float valueBetween (const std::vector<float>& lane, double position)
{
    const auto at = (int64) std::floor (position);

    if (at < 0 || at >= (int64) lane.size())
        return 0.0f;

    const auto next = lane[(size_t) std::min (at + 1, (int64) lane.size() - 1)];
    return lane[(size_t) at] + (float) (position - (double) at) * (next - lane[(size_t) at]);
}

// One sample after the other, each channel asked anew for everything.
Stereo mixSlowly (const Scene& scene, double position, double step, int count)
{
    const auto& session = scene.session;
    const auto& host = session.host;
    const auto channels = host.format.channels;
    Stereo out { std::vector<float> ((size_t) count), std::vector<float> ((size_t) count) };
    const auto firstRead = (int64) std::floor (position);
    const auto numRead = (int64) std::ceil (step * count) + 2;
    const auto block = scene.read (firstRead, numRead);

    for (int i = 0; i < count && ! out.hasEnded; ++i)
    {
        const auto frame = (int64) std::floor (position);
        auto left = 0.0f, right = 0.0f, mono = 0.0f;
        const auto add = [&] (int m, float value) {
            const auto& channel = session.mixerAt (m);

            if (m >= session.mixerCount() || ! mixerChannelAudible (channel, session.anySolo(), frame))
                return;

            const auto angle = (channel.pan + 1.0f) * 0.25f * juce::MathConstants<float>::pi;
            const auto loud = value * mixDbToGain (mixerGainDbAt (channel, frame));
            left += loud * std::cos (angle);
            right += loud * std::sin (angle);
            mono += loud;
            out.peaks[(size_t) m] = std::max (out.peaks[(size_t) m], std::abs (loud));
        };
        auto m = 0;

        for (int c = 0; c < channels; ++c)
        {
            if (isChannelOmitted (host, c))
                continue;

            const auto at = frame - firstRead, next = std::min (at + 1, numRead - 1);
            const auto a = (float) block[(size_t) (at * channels + c)] * 0x1p-23f;
            const auto b = (float) block[(size_t) (next * channels + c)] * 0x1p-23f;

            if (! isOriginalMixTrack (host.tracks[(size_t) c]) && frame < host.format.numFrames)
                add (m, a + (float) (position - (double) frame) * (b - a));

            ++m;
        }

        for (const auto& guest : session.guests)
            for (int l = 0; l < (int) guest.channelAudio.size(); ++l, ++m)
                if (! isOriginalMixLane (guest, l))
                    add (m,
                         valueBetween (guest.channelAudio[(size_t) l],
                                       position - (double) guest.alignment.offsetSamples));

        out.mixPeak = std::max (out.mixPeak, std::abs (mono));
        out.left[(size_t) i] = std::clamp (left * 0.55f, -1.0f, 1.0f);
        out.right[(size_t) i] = std::clamp (right * 0.55f, -1.0f, 1.0f);
        position += step;
        out.hasEnded = position >= (double) host.format.numFrames;
    }

    out.position = out.hasEnded ? 0.0 : position;
    return out;
}

Stereo mixFast (PreviewMix& mix, const Scene& scene, double position, double step, int count)
{
    const auto first = (int64) std::floor (position);
    const auto block = scene.read (first, (int64) std::ceil (step * count) + 2);
    const auto outcome =
        mix.mix (scene.session, { block, first, scene.session.host.format.channels }, position, step, count);
    return { { mix.left().begin(), mix.left().end() },
             { mix.right().begin(), mix.right().end() },
             outcome.peaks,
             outcome.mixPeak,
             outcome.position,
             outcome.hasEnded };
}

// All that a mixer can say, on every channel another thing.
void setEverything (Session& session)
{
    for (int m = 0; m < session.mixerCount(); ++m)
    {
        auto& channel = session.mixerAt (m);
        channel.gainDb = -3.0f * (float) m;
        channel.pan = std::clamp (-1.0f + 0.3f * (float) m, -1.0f, 1.0f);

        if (m % 2 == 0)
            channel.automation = { { 256, -20.0f }, { 512, 6.0f }, { 1536, -60.0f }, { 1792, 0.0f } };

        if (m % 3 == 0)
            channel.muteAutomation = { { 0, m == 0 }, { 768, m != 0 }, { 1024, false } };
    }
}

}    // namespace

TEST (PreviewMix, IsThatOfEverySampleMixedByItself)
{
    Scene scene (4, 3000);
    scene.session.host.tracks[0].name = "Mix L";
    scene.session.host.omittedChannels = { 0, 0, 1 };
    scene.addGuest (2, 2500, -700).tracks.resize (2);
    scene.session.guests[0].tracks[1].name = "Mix-R";
    scene.addGuest (1, 900, 1200);
    setEverything (scene.session);
    PreviewMix mix;

    for (const auto step : { 1.0, 44100.0 / 48000.0, 2.0 })
        for (const auto soloed : { -1, 1, 3 })
        {
            for (int m = 0; m < scene.session.mixerCount(); ++m)
                scene.session.mixerAt (m).solo = m == soloed;

            auto position = 0.0;
            auto isHeard = false;

            for (auto block = 0; block < 4; ++block)
            {
                const auto expected = mixSlowly (scene, position, step, 300);
                EXPECT_EQ (mixFast (mix, scene, position, step, 300), expected)
                    << step << " " << soloed << " " << block;
                isHeard = isHeard || expected.left != std::vector<float> (300);
                position = expected.position;
            }

            EXPECT_TRUE (isHeard);
        }
}

TEST (PreviewMix, EndsInMidBlockWithSilenceBehindAndStartsOver)
{
    Scene scene (1, 100);
    scene.addGuest (1, 5000, 0);
    PreviewMix mix;
    const auto end = mixFast (mix, scene, 60.0, 1.0, 64);

    EXPECT_TRUE (end.hasEnded);
    EXPECT_EQ (end.position, 0.0);
    EXPECT_NE (end.left[39], 0.0f);
    EXPECT_THAT (std::vector<float> (end.left.begin() + 40, end.left.end()), testing::Each (0.0f));

    Scene oneFrame (1, 1);
    EXPECT_NE (mixFast (mix, oneFrame, 0.0, 1.0, 8).left[0], 0.0f);
    EXPECT_TRUE (mixFast (mix, oneFrame, 0.0, 1.0, 8).hasEnded);
}

TEST (PreviewMix, NeverPlaysTheRecordersOwnMixNorChannelsWithoutAMixerChannel)
{
    Scene scene (2, 1000);
    scene.session.host.tracks[0].name = "MIX";
    scene.session.mixerAt (1).mute = true;
    PreviewMix mix;
    EXPECT_THAT (mixFast (mix, scene, 0.0, 1.0, 64).left, testing::Each (0.0f));

    scene.session.mixerAt (0).solo = true;
    scene.session.mixerAt (1).mute = false;
    EXPECT_THAT (mixFast (mix, scene, 0.0, 1.0, 64).left, testing::Each (0.0f)) << "its solo silences the others";

    Scene wide (32, 1000);
    wide.addGuest (1, 1000, 0);

    for (int m = 0; m < 32; ++m)
        wide.session.mixerAt (m).mute = true;

    EXPECT_THAT (mixFast (mix, wide, 0.0, 1.0, 64).left, testing::Each (0.0f)) << "the 33rd channel";
}

TEST (PreviewMix, IsSilentWhereThePolyCouldNotBeReadAndPlaysTheGuests)
{
    Scene scene (2, 1000);
    scene.addGuest (1, 1000, 0);
    PreviewMix mix;
    const auto outcome = mix.mix (scene.session, {}, 0.0, 1.0, 16);

    EXPECT_EQ (outcome.peaks[0], 0.0f);
    EXPECT_GT (outcome.peaks[2], 0.0f);
}

}    // namespace ld::test
