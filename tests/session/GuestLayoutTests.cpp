#include "session/GuestLayout.h"

#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

namespace ld::test
{
namespace
{

using juce::int64;

constexpr int rate = 8000;
constexpr int64 fadeSamples = 16;    // 2 ms

/** A guest of files at 8 kHz under a host of that rate. */
class LaidOutGuest : public testing::Test
{
protected:
    LaidOutGuest() { host.format.sampleRate = rate; }

    void add (const Signal& sound, Alignment place, int fileRate = rate)
    {
        const auto name = juce::String ((int) guest.pieces.size()) + ".wav";
        GuestPiece piece;
        piece.file =
            WaveBuilder ({ .sampleRate = fileRate, .bits = 32, .tag = 3 }, { sound }).writeTo (temp.file (name));
        piece.alignment = std::move (place);
        guest.pieces.push_back (piece);
    }

    static Alignment at (std::vector<ClockStretch> stretches)
    {
        Alignment place;
        place.offsetSamples = stretches.front().hostSample;
        place.stretches = std::move (stretches);
        return place;
    }

    const Signal& laidOut()
    {
        start = layOutGuest (host, guest);
        return guest.channelAudio.front();
    }

    const TempFolder temp;
    HostTake host;
    GuestClip guest;
    int64 start = 0;
};

Signal tone (size_t length)
{
    Signal signal (length);

    for (size_t i = 0; i < length; ++i)
        signal[i] = 0.5f * (float) std::sin (2.0 * std::numbers::pi * 50.0 * (double) i / rate);

    return signal;
}

}    // namespace

TEST_F (LaidOutGuest, IsSilentWhereItsClockDroppedSamplesAndBothEndsFade)
{
    add (Signal (9000, 0.5f), at ({ { 0, -700, 0.0 }, { 4000, 3700, 0.0 } }));
    const auto& audio = laidOut();
    EXPECT_EQ (start, -700);
    ASSERT_EQ (audio.size(), 9400u);

    for (int64 i = 0; i < 9400; ++i)
    {
        const auto fromGap = i < 4000 ? 4000 - i : i - 4399;    // 1 beside it
        const auto value = audio[(size_t) i];

        if (fromGap > fadeSamples)
            ASSERT_EQ (value, 0.5f) << i;
        else if (i >= 4000 && i < 4400)
            ASSERT_EQ (value, 0.0f) << i;
        else
            ASSERT_NEAR (value, 0.5 * (double) (fromGap - 1) / fadeSamples, 0.08) << i << ": a fade without a step";
    }
}

TEST_F (LaidOutGuest, SaysOnceWhatItsClockSaidTwice)
{
    const auto whole = tone (9000);
    auto repeated = stretchOf (whole, 0, 4000);
    repeated.insert (repeated.end(), whole.begin() + 3400, whole.end());
    add (repeated, at ({ { 0, 50, 0.0 }, { 4000, 3450, 0.0 } }));
    const auto& audio = laidOut();
    ASSERT_EQ (audio.size(), whole.size());

    for (size_t i = 0; i < whole.size(); ++i)
        ASSERT_NEAR (audio[i], whole[i], 1e-5) << i;
}

TEST_F (LaidOutGuest, CrossfadesWhatDoesNotContinue)
{
    auto sound = Signal (4050, 0.5f);
    sound.resize (8000, -0.5f);
    add (sound, at ({ { 0, 0, 0.0 }, { 4100, 4000, 0.0 } }));
    const auto& audio = laidOut();
    ASSERT_EQ (audio.size(), 7900u);

    for (size_t i = 1; i < audio.size(); ++i)
        ASSERT_LE (std::abs (audio[i] - audio[i - 1]), i >= 4000 && i <= 4016 ? 0.12f : 1e-6f) << i;
}

TEST_F (LaidOutGuest, IsItsFileSampleForSampleWhereNothingDrifts)
{
    const auto sound = noise (5001, 3);
    add (sound, at ({ { 0, 123, 0.0 } }));
    EXPECT_EQ (laidOut(), sound);
    EXPECT_EQ (start, 123);

    guest.pieces.clear();
    add (sound, at ({ { 0, 77, 100e-6 } }));
    const auto& slow = laidOut();
    EXPECT_EQ (slow.size(), 5002u) << "rounded from 5001.5";
    EXPECT_NE (slow, sound);
}

TEST_F (LaidOutGuest, JoinsFilesThatFollowEachOtherAllButWithoutAGap)
{
    const auto whole = tone (9000);

    for (const auto& [apart, isJoined] : { std::pair { 5, true }, { -5, true }, { 30, false } })
    {
        guest.pieces.clear();
        add (stretchOf (whole, 4000, 5000), at ({ { 0, 4100 + apart, 0.0 } }));
        add (stretchOf (whole, 0, 4000), at ({ { 0, 100, 0.0 } }));
        const auto& audio = laidOut();
        EXPECT_EQ (start, 100);
        ASSERT_EQ (guest.pieces.size(), 2u);
        EXPECT_EQ (guest.pieces[1].offsetSamples, isJoined ? 4000 : 4000 + apart);
        EXPECT_EQ (guest.pieces[1].alignment.stretches.front().hostSample, isJoined ? 4100 : 4100 + apart);
        EXPECT_EQ (audio == whole, isJoined) << apart;
    }
}

}    // namespace ld::test
