#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"
#include "sync/SyncEngine.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using juce::int64;
using Method = Alignment::Method;
using testing::Each;
using testing::ElementsAre;

constexpr int rate = 8000;

Signal louder (Signal signal, float gain)
{
    for (auto& sample : signal)
        sample *= gain;

    return signal;
}

// Pieces of one recorder on disk, and a host that heard the same.
class Pieces : public testing::Test
{
protected:
    Pieces()
    {
        host.format.sampleRate = rate;
        host.file = temp.file ("no poly here.wav");
        host.referenceAudio = source;
    }

    void addPiece (const juce::String& name, const Channels& channels, int sampleRate = rate)
    {
        const WaveFormat format { .channels = (int) channels.size(), .sampleRate = sampleRate, .bits = 32, .tag = 3 };
        GuestPiece piece;
        piece.file = WaveBuilder (format, channels).writeTo (temp.file (name));
        guest.pieces.push_back (piece);
    }

    void addUnreadablePiece()
    {
        GuestPiece piece;
        piece.file = writeBytes (temp.file ("broken.wav"), bodyOf ("no wave"));
        guest.pieces.push_back (piece);
    }

    Alignment place() { return SyncEngine().alignAndPlacePieces (host, guest, 2, {}); }

    const Signal source = speech (40 * rate, rate, 1);
    const TempFolder temp;
    HostTake host;
    GuestClip guest;
};

TEST_F (Pieces, ArePlacedOneByOneAndJoinedOnTheHostsClock)
{
    constexpr int64 first = 2 * rate + 3, length = 10 * rate, second = first + length - 100,
                    third = second + length + 500;
    addPiece ("c.wav", { resampledExactly (source, (double) third, 0.5, 2 * length) }, 2 * rate);
    addUnreadablePiece();
    addPiece ("b.wav", { louder (stretchOf (source, second, length), 0.5f), Signal ((size_t) length, 0.25f) });
    addPiece ("a.wav", { stretchOf (source, first, length) });

    const auto placed = place();
    EXPECT_EQ (placed.offsetSamples, first);
    EXPECT_EQ (placed.method, Method::waveform);
    EXPECT_EQ (placed.detail, "Waveform pieces 3/4");
    EXPECT_EQ (placed.confidence, 1.0f) << "the scores of all three are above";
    EXPECT_FALSE (placed.needsManual);
    EXPECT_EQ (placed.driftSlope, 0.0);

    ASSERT_EQ (guest.pieces.size(), 3U);
    EXPECT_EQ (guest.pieces[0].file.getFileName(), "a.wav");
    EXPECT_EQ (guest.pieces[0].offsetSamples, 0);
    EXPECT_EQ (guest.pieces[1].offsetSamples, second - first);
    EXPECT_EQ (guest.pieces[2].offsetSamples, third - first);
    EXPECT_EQ (guest.file.getFileName(), "a.wav");
    EXPECT_EQ (guest.format.channels, 2);

    ASSERT_EQ (guest.channelAudio.size(), 2U);
    ASSERT_EQ (guest.channelAudio[0].size(), (size_t) (third - first + length));
    ASSERT_EQ (guest.peaks.size(), 2U);
    EXPECT_EQ (guest.monoAudio.size(), guest.channelAudio[0].size());
    const auto expectGain = [&] (int64 from, int64 to, float gain) {
        for (auto i = from; i < to; ++i)
            ASSERT_NEAR (guest.channelAudio[0][(size_t) i], gain * source[(size_t) (first + i)], 1e-5f) << i;
    };
    expectGain (0, length - 100, 1.0f);
    expectGain (length - 100, length, 0.75f);    // the mean of 1 and 0.5
    expectGain (length, 2 * length - 100, 0.5f);
    expectGain (2 * length - 100, 2 * length + 400, 0.0f);
    expectGain (2 * length + 400, 3 * length + 300, 1.0f);
    EXPECT_EQ (guest.channelAudio[1][(size_t) (length - 101)], 0.0f);
    EXPECT_EQ (guest.channelAudio[1][(size_t) (length - 100)], 0.25f)
        << "a piece without the channel has no share in it";
}

TEST_F (Pieces, ThoseThatFitNowhereAreLeftOut)
{
    addUnreadablePiece();
    addPiece ("silent.wav", { Signal (8 * rate) });
    const auto untouched = guest.pieces.size();
    guest.monoAudio = { 1, 2, 3 };
    const auto lost = place();
    EXPECT_TRUE (lost.needsManual);
    EXPECT_EQ (lost.detail, "No ISO pieces waveform-matched this poly");
    EXPECT_EQ (guest.pieces.size(), untouched);
    EXPECT_THAT (guest.monoAudio, ElementsAre (1, 2, 3)) << "the clip is left as it was";

    addPiece ("good.wav", { stretchOf (source, 70000, 12 * rate) });
    const auto placed = place();
    EXPECT_EQ (placed.detail, "Waveform pieces 1/3");
    EXPECT_EQ (placed.offsetSamples, 70000);
    EXPECT_EQ (guest.pieces.size(), 1U);
}

TEST (ClipAudio, IsTheMeanOfAllThatCoverASample)
{
    const Channels threes { { 3, 3, 3, 3 } }, sixes { { 6, 6, 6 }, { 60 } }, nines { { 9, 9, 9, 9 } };
    const auto clip = layOutAudio ({ { &threes, 0 }, { &sixes, 1 }, { &nines, 2 }, { &nines, 7 } }, 2, 9);
    ASSERT_EQ (clip.size(), 2U);
    EXPECT_THAT (clip[0], ElementsAre (3, 4.5f, 6, 6, 9, 9, 0, 9, 9)) << "the last is cut off at the length";
    EXPECT_THAT (clip[1], ElementsAre (0, 60, 0, 0, 0, 0, 0, 0, 0));
}

TEST (ClipAudio, ItsCurvesAlwaysReachZero)
{
    GuestClip guest;
    guest.channelAudio = { Signal (4096, 0.5f), Signal (4096, -0.5f), { 0.1f, -0.2f, 0.3f } };
    guest.channelAudio[0][4095] = -1.0f;
    rebuildGuestPeaks (guest);
    ASSERT_EQ (guest.peaks.size(), 3U);
    EXPECT_EQ (guest.peaks[0].minValues[0], 0.0f);
    EXPECT_EQ (guest.peaks[0].maxValues[0], 0.5f);
    EXPECT_EQ (guest.peaks[0].minValues[2047], -1.0f);
    EXPECT_THAT (guest.peaks[1].maxValues, Each (0.0f));
    EXPECT_EQ (guest.peaks[2].sourceSamples, 3);
    EXPECT_EQ (guest.peaks[2].maxValues[682], 0.1f) << "three samples fall into three of the buckets";
    EXPECT_EQ (guest.peaks[2].maxValues[2047], 0.3f);
}

TEST (LockedAlignment, IsStretchedByItsDriftUnlessInDoubt)
{
    for (const auto needsManual : { false, true })
        for (const size_t channels : { 0U, 2U })
        {
            GuestClip guest;
            guest.matchPending = true;
            guest.monoAudio = noise (20000, 3);
            guest.channelAudio.resize (channels, guest.monoAudio);
            const Alignment alignment { -77, Method::timecodeRefined, 0.9f, needsManual, 0.001, "detail" };
            SyncEngine::applyLockedAlignment (guest, alignment);
            EXPECT_EQ (guest.alignment, alignment);
            EXPECT_FALSE (guest.matchPending);
            EXPECT_EQ (guest.monoAudio.size(), needsManual ? 20000U : 20020U);
            EXPECT_EQ (guest.peaks.size(), needsManual ? 0U : channels);

            for (const auto& channel : guest.channelAudio)
                EXPECT_EQ (channel.size(), guest.monoAudio.size());
        }
}

TEST (LockedAlignment, ANudgeIsManualAndNoLongerInDoubt)
{
    const auto nudged =
        SyncEngine::applyNudge ({ 100, Method::waveform, 7.5f, true, 1e-5, "No MFCC match (z=1.0)" }, -250);
    EXPECT_EQ (nudged, (Alignment { -150, Method::manual, 7.5f, false, 1e-5, "Manual" }));
}

}    // namespace
}    // namespace ld::test
