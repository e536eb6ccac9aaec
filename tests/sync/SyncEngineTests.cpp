#include "sync/SyncEngine.h"
#include "sync/WaveformSearch.h"

#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <optional>

namespace ld::test
{
namespace
{

using juce::int64;
using Method = Alignment::Method;
using testing::ElementsAre;

constexpr int rate = 8000;
constexpr juce::uint64 noon = 12ULL * 3600 * rate;

juce::String dotted (std::initializer_list<const char*> parts)
{
    juce::StringArray texts;

    for (const auto* part : parts)
        texts.add (part);

    return texts.joinIntoString (juce::String (juce::CharPointer_UTF8 (" \xc2\xb7 ")));
}

void stamp (IxmlMetadata& ixml, juce::uint64 samples)
{
    ixml.present = ixml.hasTimestamp = true;
    ixml.timestampSamples = samples;
    ixml.timestampSampleRate = rate;
}

// A host at noon and a guest whose timecode gives it the hinted lag; without a hint neither has timecode.
struct Scene
{
    explicit Scene (std::optional<int64> hint = {})
    {
        host.format.sampleRate = guest.format.sampleRate = rate;

        if (hint)
        {
            stamp (host.ixml, noon);
            stamp (guest.ixml, (juce::uint64) ((int64) noon + *hint));
        }
    }

    [[nodiscard]] Alignment align (const Signal& hostSamples, const Signal& guestSamples) const
    {
        return SyncEngine().align (host, guest, hostSamples, guestSamples, 2);
    }

    HostTake host;
    GuestClip guest;
};

juce::String zText (const Alignment& alignment)
{
    std::array<char, 32> text {};
    std::snprintf (text.data(), text.size(), "MFCC match z=%.1f", (double) alignment.confidence);
    return text.data();
}

TEST (Ladder, TimecodeIsRefinedByTheWaveform)
{
    const auto source = noise (60 * rate, 1);
    const auto host = stretchOf (source, 10 * rate, 40 * rate);

    for (const int64 lag : { 80123, -30001 })
        for (const int64 error : { 0, 300, -15000 })
        {
            const auto found = Scene (lag + error).align (host, stretchOf (source, 10 * rate + lag, 20 * rate));
            EXPECT_EQ (found.offsetSamples, lag) << error;
            EXPECT_EQ (found.method, Method::timecodeRefined);
            EXPECT_EQ (found.detail, dotted ({ "Timecode rough-in", "Waveform locked 5/5" }));
            EXPECT_GT (found.confidence, 0.99f);
            EXPECT_FALSE (found.needsManual);
            EXPECT_EQ (found.driftSlope, 0.0);
        }

    const auto drifting =
        Scene (5000).align (host, resampledExactly (source, 10 * rate + 5000, 1.0 - 80e-6, 20 * rate));
    EXPECT_NEAR (drifting.driftSlope, -80e-6, 8e-6);
    EXPECT_NEAR ((double) drifting.offsetSamples, 5000.0, 1.0);
    std::array<char, 32> ppm {};
    std::snprintf (ppm.data(), ppm.size(), "drift %.1f ppm", drifting.driftSlope * 1e6);
    EXPECT_EQ (drifting.detail, dotted ({ "Timecode rough-in", "Waveform locked 5/5", ppm.data() }));

    const auto brief = Scene (40000).align (host, stretchOf (source, 10 * rate + 40040, rate / 2));
    EXPECT_EQ (brief.offsetSamples, 40040);
    EXPECT_EQ (brief.detail, dotted ({ "Timecode rough-in", "Waveform locked", "strongest region" }))
        << "half a second is too little to measure drift";
    EXPECT_FLOAT_EQ (brief.confidence, 1.0f);
}

// The guest says its parts at lags of their own; which of them is taken depends on how long a stretch is the loudest.
TEST (Ladder, TheLoudestFourSecondsAroundTimecodeAndSixOfContentDecide)
{
    struct Part
    {
        int seconds;
        float gain;
        int64 extraLag;
    };

    const auto source = noise (100 * rate, 12);
    const auto guestOf = [&] (std::initializer_list<Part> parts) {
        Signal guest;

        for (const auto& [seconds, gain, extraLag] : parts)
            for (const auto sample : stretchOf (source, 20 * rate + (int64) guest.size() + extraLag, seconds * rate))
                guest.push_back (gain * sample);

        return guest;
    };

    // In a second, power 9, 4 and 3.24 or 3.61.
    constexpr int64 away = 30 * rate;
    const auto four = guestOf (
        { { 4, 1, away }, { 1, 3, away }, { 4, 1, away }, { 4, 2, -3000 }, { 4, 1, away }, { 8, 1.8f, away } });
    EXPECT_EQ (Scene (20 * rate).align (source, four).offsetSamples, 20 * rate - 3000);

    const auto six = guestOf ({ { 6, 1, 0 }, { 2, 3, 70 }, { 6, 1, 0 }, { 6, 2, -70 }, { 6, 1, 0 }, { 10, 1.9f, 0 } });
    EXPECT_EQ (Scene().align (source, six).offsetSamples, 20 * rate - 70);
}

TEST (Ladder, TimecodeIsRefinedOnlyWhereThePeakStandsOut)
{
    const auto host = noise (20 * rate, 13);
    auto justBelow = 0, justAbove = 0;

    // An echo nearly as loud as the sound itself makes a second peak.
    for (int step = 0; step < 60; ++step)
    {
        const auto guest = sumOf (
            stretchOf (host, 40000, rate / 2), stretchOf (host, 40000 - 300, rate / 2), 0.5f + 0.01f * (float) step);
        const auto peak = refineAround (host, guest, 40000, { rate, 2, 4 });
        const auto found = Scene (40000).align (host, guest);
        EXPECT_EQ (found.detail.startsWith ("Timecode rough-in"), peak.confidence >= 0.45f) << peak.confidence;
        justBelow += peak.confidence > 0.40f && peak.confidence < 0.45f ? 1 : 0;
        justAbove += peak.confidence >= 0.45f && peak.confidence < 0.50f ? 1 : 0;
    }

    EXPECT_GT (justBelow, 0);
    EXPECT_GT (justAbove, 0);
}

TEST (Ladder, SoundDecidesWhereTimecodeIsMissingOrWrong)
{
    const auto source = speech (250 * rate, rate, 2);
    const auto host = stretchOf (source, 40 * rate, 200 * rate);

    struct Case
    {
        const char* what;
        std::optional<int64> hint;
        int startSeconds;
    };

    for (const auto& [what, hint, startSeconds] : {
             Case { "no timecode", {}, 25 },
             Case { "no timecode, ahead of the host", {}, -8 },
             Case { "no timecode, late in a long take", {}, 140 },
             Case { "timecode that is a minute off", 85 * rate, 25 },
             Case { "timecode that puts it outside the host", 900 * rate, 25 },
             Case { "timecode that puts it ahead of the host", -900 * rate, 25 },
         })
    {
        const auto lag = startSeconds * rate + 77;
        const auto found = Scene (hint).align (host, stretchOf (source, 40 * rate + lag, 20 * rate));
        EXPECT_EQ (found.offsetSamples, lag) << what;
        EXPECT_EQ (found.method, Method::waveform) << what;
        EXPECT_GT (found.confidence, 5.0f) << "a z-score, not a fraction";
        EXPECT_EQ (found.detail, zText (found)) << what;
        EXPECT_FALSE (found.needsManual);
    }
}

TEST (Ladder, ShortSoundIsPlacedWithoutCoefficients)
{
    const auto source = noise (2 * rate, 3);
    const auto tiny = Scene().align (source, stretchOf (source, 3333, 700));
    EXPECT_EQ (tiny.offsetSamples, 3333);
    EXPECT_EQ (tiny.method, Method::waveform);
    EXPECT_EQ (tiny.detail, dotted ({ "Waveform locked", "strongest region" }));
    EXPECT_FALSE (tiny.needsManual);

    // A noisy copy: enough for the waveform, too little for the spectrum's shape.
    const auto host = noise (4 * rate, 30);
    const auto noisy = sumOf (stretchOf (host, 150, 2 * rate), noise (2 * rate, 7), 1.5f);
    const auto locked = Scene().align (host, noisy);
    EXPECT_EQ (locked.offsetSamples, 150);
    EXPECT_EQ (locked.method, Method::waveform);
    EXPECT_EQ (locked.detail, "Waveform locked 5/5");
    EXPECT_NEAR (locked.confidence, 1.0 / std::hypot (1.0, 1.5), 0.03) << "the share of the common sound";
    EXPECT_EQ (Scene (20000).align (host, noisy).detail, "Timecode only / no waveform lock")
        << "such a lock does not outweigh timecode";
}

TEST (Ladder, WithoutALockTimecodeStandsAloneOrTheUserMustLook)
{
    const auto host = speech (30 * rate, rate, 4);
    const Signal silence (10 * rate);
    const auto byTimecode = Scene (12345).align (host, silence);
    EXPECT_EQ (byTimecode,
               (Alignment { 12345, Method::timecode, 0.35f, false, 0.0, "Timecode only / no waveform lock" }));

    for (const auto hint : { std::optional<int64>(), std::optional<int64> (900 * rate) })
    {
        const auto lost = Scene (hint).align (host, silence);
        EXPECT_TRUE (lost.needsManual);
        EXPECT_EQ (lost.method, Method::waveform);
        EXPECT_EQ (lost.detail, "No MFCC match (z=0.0)");
    }
}

TEST (Ladder, WithoutAudioTheFilesLengthsDecideAboutTimecode)
{
    struct Case
    {
        int64 hint;
        bool isPlaced;
    };

    for (const auto& [hint, isPlaced] : { Case { 78000, true }, { 78001, false }, { -6000, true }, { -6001, false } })
    {
        Scene scene (hint);
        scene.host.format.numFrames = 80000;
        scene.guest.format.numFrames = 8000;
        const auto found = scene.align (noise (31, 5), noise (5000, 5));
        EXPECT_EQ (found.detail, isPlaced ? "Timecode only / no waveform lock" : "Not enough waveform audio") << hint;
        EXPECT_EQ (found.offsetSamples, isPlaced ? hint : 0);
        EXPECT_EQ (found.needsManual, ! isPlaced);
    }

    const auto found = Scene().align (noise (80000, 5), noise (31, 6));
    EXPECT_EQ (found, (Alignment { 0, Method::none, 0.0f, true, 0.0, "Not enough waveform audio" }));
}

TEST (Ladder, TimecodeNeedsAStampOnBothSidesAndCountsEachAtItsOwnRate)
{
    Scene scene (0);
    int64 offset = 99;
    scene.guest.ixml.timestampSampleRate = 48000.0;
    scene.guest.ixml.timestampSamples = noon * 6 + 48000 * 5 / 2;
    EXPECT_TRUE (timecodeHint (scene.host, scene.guest, offset));
    EXPECT_EQ (offset, 20000);

    scene.guest.ixml = {};
    EXPECT_FALSE (timecodeHint (scene.host, scene.guest, offset));
    scene.guest.bext.present = true;
    scene.guest.bext.timeReference = noon - 100;
    EXPECT_TRUE (timecodeHint (scene.host, scene.guest, offset));
    EXPECT_EQ (offset, -100);
}

juce::File writeWave (const juce::File& file, const Channels& channels, int sampleRate = rate)
{
    return WaveBuilder ({ .channels = (int) channels.size(), .sampleRate = sampleRate, .bits = 32, .tag = 3 }, channels)
        .writeTo (file);
}

struct Heard
{
    std::vector<float> fractions;
    juce::StringArray phases;

    SyncProgress listener()
    {
        return [this] (float fraction, const juce::String& phase) {
            fractions.push_back (fraction);
            phases.add (phase);
        };
    }
};

// A poly of three channels on disk, of which the second is what the guest hears.
class BestChannel : public testing::Test
{
protected:
    BestChannel()
    {
        const auto length = 30 * rate;
        scene.host.file =
            writeWave (temp.file ("poly.wav"),
                       { speech (length, rate, 12), stretchOf (source, 5 * rate, length), Signal (length) });
        scene.guest.monoAudio = stretchOf (source, 5 * rate + lag, 12 * rate);
    }

    Alignment search() { return SyncEngine().alignBestChannel (scene.host, scene.guest, 2, heard.listener()); }

    static constexpr int64 lag = 60011;
    const Signal source = speech (50 * rate, rate, 11);
    const TempFolder temp;
    Scene scene;
    Heard heard;
};

TEST_F (BestChannel, IsFoundAmongTheHostsAndNamed)
{
    const auto found = search();
    EXPECT_EQ (found.offsetSamples, lag);
    EXPECT_EQ (found.detail, dotted ({ "Ch 2", zText (found).toRawUTF8() }));
    EXPECT_EQ (heard.phases.joinIntoString (","),
               "Quick waveform scan,Quick waveform scan,Quick waveform scan,Fine sample alignment,"
               "Fine sample alignment,Fine sample alignment,Fine sample alignment complete");
    EXPECT_TRUE (std::is_sorted (heard.fractions.begin(), heard.fractions.end()));
    EXPECT_EQ (heard.fractions.front(), 0.0f);
    EXPECT_FLOAT_EQ (heard.fractions[3], 0.35f);
    EXPECT_EQ (heard.fractions.back(), 1.0f);

    scene.host.tracks.resize (2);
    scene.host.tracks[1].name = "Boom";
    EXPECT_TRUE (search().detail.startsWith (dotted ({ "Boom", "MFCC match z=" })));
}

TEST_F (BestChannel, IsSoughtForEachChannelOfTheGuest)
{
    const auto heardByTheSecond = scene.guest.monoAudio;
    scene.guest.channelAudio = { Signal (12 * rate), heardByTheSecond };
    scene.guest.monoAudio = noise (12 * rate, 13);
    const auto found = search();
    EXPECT_EQ (found.offsetSamples, lag);
    EXPECT_FALSE (found.needsManual);
}

TEST_F (BestChannel, IsNotSoughtWhereTheReferenceFits)
{
    scene.host.referenceAudio = stretchOf (source, 5 * rate, 30 * rate);
    const auto found = search();
    EXPECT_EQ (found.offsetSamples, lag);
    EXPECT_EQ (found.detail, zText (found)) << "no channel's name";
    EXPECT_THAT (heard.fractions, ElementsAre (1.0f));
    EXPECT_EQ (heard.phases[0], "Fine sample alignment complete");

    scene.host.referenceAudio = Signal (30 * rate);
    EXPECT_EQ (search().offsetSamples, lag) << "a reference that fits nothing is dropped";
    EXPECT_GT (heard.fractions.size(), 2U);
}

TEST_F (BestChannel, ALostHostFileLeavesItsReference)
{
    scene.host.file = temp.file ("gone.wav");
    scene.host.referenceAudio = stretchOf (source, 5 * rate, 30 * rate);
    EXPECT_EQ (search().offsetSamples, lag);
    EXPECT_TRUE (heard.fractions.empty());
}

TEST_F (BestChannel, AGuestWithoutSoundIsSaidToHaveNone)
{
    scene.guest.channelAudio = { std::exchange (scene.guest.monoAudio, {}) };    // a single channel is the mixdown
    const auto found = search();
    EXPECT_TRUE (found.needsManual);
    EXPECT_EQ (found.detail, "No ISO waveform audio");
}

}    // namespace
}    // namespace ld::test
