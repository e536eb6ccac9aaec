#include "media/BwfReader.h"
#include "support/DirectLag.h"
#include "support/WrittenShoot.h"

#include <gmock/gmock.h>

#include <cmath>

namespace ld::test
{
namespace
{

constexpr juce::int64 windowSamples = 72000;    // 1.5 s
constexpr double samplesPerMs = 48.0;

/** Two takes, so that the poly's layout differs; 12 s let a clock of 18 ppm go astray by 10 samples. */
const ShootTruth& truth()
{
    static const WrittenShoot written (12, 2, 2);
    EXPECT_TRUE (written.result.wasOk()) << written.result.getErrorMessage();
    return written.truth;
}

std::vector<float> channelOf (const juce::File& file, int channel)
{
    BwfReader reader;
    EXPECT_TRUE (reader.open (file));
    return reader.readAllChannels().at ((size_t) channel);
}

int channelNamed (const juce::File& poly, const juce::String& name)
{
    BwfReader reader;
    EXPECT_TRUE (reader.open (poly));

    for (const auto& track : reader.resolvedTracks())
        if (track.name == name)
            return track.interleaveIndex - 1;

    ADD_FAILURE() << name;
    return 0;
}

// A guest's channel on the poly's timeline, by a cubic through four of its samples.
std::vector<float>
guestWindow (const std::vector<float>& guest, const TruePiece& piece, juce::int64 start, juce::int64 length)
{
    std::vector<float> window ((size_t) length);

    for (juce::int64 i = 0; i < length; ++i)
    {
        const auto at = ((double) (start + i) - piece.startSamples) / piece.hostSamplesPerFrame;
        const auto whole = (juce::int64) std::floor (at);

        if (whole < 1 || whole + 2 >= (juce::int64) guest.size())
            continue;

        const auto* s = guest.data() + whole;
        const auto x = (float) (at - (double) whole);
        const auto bend = 2.0f * s[-1] - 5.0f * s[0] + 4.0f * s[1] - s[2];
        const auto twist = 3.0f * (s[0] - s[1]) + s[2] - s[-1];
        window[(size_t) i] = s[0] + 0.5f * x * (s[1] - s[-1] + x * (bend + x * twist));
    }

    return window;
}

// Windows at the start, in the middle and at the end of what the two have in common.
std::vector<juce::int64> windowsOf (const TrueTake& take, const TruePiece& piece)
{
    const auto end = piece.startSamples + (double) piece.frames * piece.hostSamplesPerFrame;
    const auto from = std::max<juce::int64> ((juce::int64) piece.startSamples, 0) + widestLag;
    const auto to = std::min (take.frames, (juce::int64) end) - widestLag - windowSamples;
    EXPECT_GT (to, from);
    return { from, (from + to) / 2, to };
}

int loudestOf (const std::vector<std::vector<float>>& channels, int firstChannel, juce::int64 start)
{
    auto loudest = firstChannel;
    auto most = 0.0;

    for (auto c = (size_t) firstChannel; c < channels.size(); ++c)
    {
        auto energy = 0.0;

        for (auto i = start; i < start + windowSamples; ++i)
            energy += (double) channels[c][(size_t) i] * (double) channels[c][(size_t) i];

        if (energy > most)
        {
            most = energy;
            loudest = (int) c;
        }
    }

    return loudest;
}

}    // namespace

TEST (DemoShootSound, EveryGuestSoundsWithinTheStatedSpanOfItsStatedPlace)
{
    constexpr auto mixChannels = 2;
    constexpr auto toleranceMs = 0.5;

    for (const auto& take : truth().takes)
    {
        BwfReader poly;
        ASSERT_TRUE (poly.open (take.poly));
        auto host = poly.readAllChannels();
        std::transform (host.begin(), host.end(), host.begin(), slopeOf);

        for (const auto& guest : take.guests)
            for (const auto& piece : guest.pieces)
            {
                const auto audio = slopeOf (channelOf (piece.file, 0));

                for (const auto start : windowsOf (take, piece))
                    for (const auto channel : { 0, loudestOf (host, mixChannels, start) })
                    {
                        const auto window = guestWindow (audio, piece, start, windowSamples);
                        const auto lagMs = bestLag (host[(size_t) channel], start, window) / samplesPerMs;
                        EXPECT_GE (lagMs, guest.lowestLagMs - toleranceMs) << piece.file.getFileName() << " " << start;
                        EXPECT_LE (lagMs, guest.highestLagMs + toleranceMs) << piece.file.getFileName() << " " << start;
                    }
            }
    }
}

TEST (DemoShootSound, APackStaysInStepWithItsOwnMicrophonesChannelFromStartToEnd)
{
    const std::pair<const char*, const char*> sameMicrophones[] = { { "Pack A", "Lav 1" }, { "Pack B", "Lav 2" } };

    for (const auto& take : truth().takes)
        for (const auto& [source, track] : sameMicrophones)
        {
            const auto host = slopeOf (channelOf (take.poly, channelNamed (take.poly, track)));

            for (const auto& piece : take.find (source)->pieces)
            {
                const auto audio = slopeOf (channelOf (piece.file, 0));

                for (const auto start : windowsOf (take, piece))
                    EXPECT_EQ (bestLag (host, start, guestWindow (audio, piece, start, windowSamples)), 0)
                        << piece.file.getFileName() << " " << start;
            }
        }
}

TEST (DemoShootSound, EveryMachineDriftsByItsOwnFewPartsInAMillion)
{
    const auto ppmOf = [] (const TrueTake& take, const juce::String& source) {
        const auto& piece = take.find (source)->pieces[0];
        return (48000.0 / (piece.hostSamplesPerFrame * piece.sampleRate) - 1.0) * 1.0e6;
    };

    for (const auto& take : truth().takes)
    {
        EXPECT_NEAR (ppmOf (take, "Pack A"), 18.0, 3.0);
        EXPECT_NEAR (ppmOf (take, "Pack B"), -25.0, 3.0);
        EXPECT_NEAR (ppmOf (take, "Recorder"), 8.0, 3.0);
        EXPECT_NEAR (ppmOf (take, "Camera"), -13.0, 4.0);
    }
}

TEST (DemoShootSound, TheTakesAndTheLoneFileShareNoSound)
{
    // Against its own take a pack's normalised correlation is near 1; against others it is that of strangers.
    const auto& takes = truth().takes;
    const auto alike = [] (const std::vector<float>& a, const std::vector<float>& b) {
        auto product = 0.0, energyA = 1.0e-9, energyB = 1.0e-9;

        for (size_t i = 0; i < std::min (a.size(), b.size()); ++i)
        {
            product += (double) a[i] * (double) b[i];
            energyA += (double) a[i] * (double) a[i];
            energyB += (double) b[i] * (double) b[i];
        }

        return product / std::sqrt (energyA * energyB);
    };

    const auto lone = slopeOf (channelOf (truth().unrelated.at (0), 0));
    const auto& piece = takes[0].find ("Pack A")->pieces[0];
    const auto own = slopeOf (channelOf (takes[0].poly, channelNamed (takes[0].poly, "Lav 1")));
    const auto other = slopeOf (channelOf (takes[1].poly, channelNamed (takes[1].poly, "Lav 1")));
    const auto pack = slopeOf (guestWindow (channelOf (piece.file, 0), piece, 0, takes[0].frames));
    EXPECT_GT (alike (own, pack), 0.9);
    EXPECT_LT (std::abs (alike (other, pack)), 0.1);
    EXPECT_LT (std::abs (alike (other, own)), 0.1);
    EXPECT_LT (std::abs (alike (lone, own)), 0.1);
}

}    // namespace ld::test
