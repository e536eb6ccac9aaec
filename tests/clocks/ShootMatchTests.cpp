#include "clocks/ShootMatch.h"

#include "conform/CombineRun.h"
#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"

#include <gmock/gmock.h>

#include <numbers>

// Small days at 8 kHz, from files to the verdict on each.

namespace ld::test
{
namespace
{

using juce::int64;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

constexpr int rate = 8000;
constexpr int takeSeconds = 30;
constexpr int64 takeLength = takeSeconds * rate;

/** Files of a day; stamps are seconds behind ten o'clock. */
struct Day
{
    juce::File add (const juce::String& name, const Channels& channels, std::optional<double> stamp = {}) const
    {
        WaveBuilder wave ({ .channels = (int) channels.size(), .sampleRate = rate, .bits = 32, .tag = 3 }, channels);

        if (stamp)
            wave.chunk ("iXML",
                        ixmlBody ({ .stamp = (juce::uint64) ((36000.0 + *stamp) * rate), .stampRate = (double) rate }));

        return wave.writeTo (temp.file (name));
    }

    void addPoly (const juce::String& name, const Signal& sound, double stamp) const
    {
        const auto length = (int64) sound.size();
        add (name, { sound, stretchOf (sound, -3, length), sumOf (sound, noise (length, 77), 0.1f) }, stamp);
    }

    [[nodiscard]] std::vector<ScanFile> scans() const
    {
        std::vector<ScanFile> all;

        for (const auto& file : collectMediaFiles (temp.folder))
            all.push_back (inspectAudioFile (file));

        return all;
    }

    const TempFolder temp;
};

const ProvedPair& verdictOn (const ShootMatch& shoot, const juce::String& poly, const juce::String& guest)
{
    static const ProvedPair none;

    for (const auto& pair : shoot.comparisons)
        if (pair.poly.getFileName() == poly && pair.guest.file.getFileName() == guest)
            return pair;

    ADD_FAILURE() << guest << " was not compared with " << poly;
    return none;
}

// Where the last stretch that begins at or ahead of it puts a sample of a file.
double placeOf (const Alignment& place, double sample)
{
    auto at = 0.0;

    for (const auto& stretch : place.stretches)
        if ((double) stretch.fromSample <= sample)
            at = (double) stretch.hostSample + (sample - (double) stretch.fromSample) * (1.0 + stretch.slope);

    return at;
}

Signal joined (Signal first, const Signal& second)
{
    first.insert (first.end(), second.begin(), second.end());
    return first;
}

Signal clicksEvery (int64 period)
{
    Signal clicks ((size_t) takeLength);

    for (int64 i = period / 2; i < takeLength; i += period)
        clicks[(size_t) i] = 0.5f;

    return clicks;
}

Signal sine()
{
    Signal signal ((size_t) takeLength);

    for (size_t i = 0; i < signal.size(); ++i)
        signal[i] = 0.3f * (float) std::sin (2.0 * std::numbers::pi * 440.0 * (double) i / rate);

    return signal;
}

/** Two takes in which one song is played, and what machines of every kind recorded; matched once. */
struct MatchedDay
{
    MatchedDay()
    {
        const auto song = speech (14 * rate, rate, 50);
        const auto first = joined (speech (16 * rate, rate, 1), song),
                   second = joined (song, speech (16 * rate, rate, 2));
        day.addPoly ("A1.wav", first, 0.0);
        day.addPoly ("A2.wav", second, 300.0);
        day.add ("fast.wav", { resampledExactly (first, 2.0 * rate, 1.0 + 150e-6, 27 * rate) }, 2.1);
        day.add (
            "cut.wav",
            { joined (stretchOf (first, 0, cutAt), stretchOf (first, cutAt + dropped, takeLength - cutAt - dropped)) },
            0.0);
        day.add ("hour_01.wav", { stretchOf (first, 4 * rate, 20 * rate) }, 3604.0);
        day.add ("hour_02.wav", { Signal (20 * rate) }, 3905.0);
        day.add ("singer.wav", { stretchOf (first, 3 * rate, 26 * rate) });
        day.add ("stranger.wav", { speech (20 * rate, rate, 9) }, 5.0);
        day.add ("hiss.wav", { noise (takeLength, 3) }, 0.0);
        day.add ("nothing.wav", { Signal ((size_t) takeLength) });
        day.add ("hum.wav", { sine() }, 0.0);
        day.add ("click.wav", { clicksEvery (rate / 4) }, 0.0);

        // The comparison takes the song for what it is; a worse one would not.
        auto compared = compareBatch (day.scans(), {});

        for (auto& pair : compared.comparisons)
            if (pair.poly.getFileName() == "A2.wav" && pair.guest.file.getFileName() == "singer.wav")
                pair.guest.alignment = { -13 * rate, Alignment::Method::waveform, 6.0f, false, 0.0, "a song" };

        shoot = proveMatches (compared.matches, compared.comparisons, {});
    }

    static constexpr int64 cutAt = 14 * rate + 300, dropped = rate / 25;
    const Day day;
    ShootMatch shoot;
};

const ShootMatch& matched()
{
    static const MatchedDay day;
    return day.shoot;
}

}    // namespace

TEST (MatchedShoot, FollowsAClockThatRunsAwayFromStartToEnd)
{
    const auto& fast = verdictOn (matched(), "A1.wav", "fast.wav");
    ASSERT_TRUE (fast.accepted) << fast.guest.alignment.detail;

    for (const auto seconds : { 0.0, 13.0, 27.0 })
        EXPECT_NEAR (placeOf (fast.guest.alignment, seconds * rate), (2.0 + seconds * (1.0 + 150e-6)) * rate, 2.0);
}

TEST (MatchedShoot, FindsWhereAFileLacksSamplesAndHowMany)
{
    const auto& cut = verdictOn (matched(), "A1.wav", "cut.wav");
    ASSERT_TRUE (cut.accepted) << cut.guest.alignment.detail;
    const auto& stretches = cut.guest.alignment.stretches;
    ASSERT_THAT (stretches, SizeIs (2)) << cut.guest.alignment.evidence;
    const auto from = (double) stretches[1].fromSample;
    EXPECT_NEAR (from, (double) MatchedDay::cutAt, 0.5 * rate);
    EXPECT_NEAR ((double) stretches[1].hostSample - from * (1.0 + stretches[0].slope)
                     - (double) stretches[0].hostSample,
                 (double) MatchedDay::dropped,
                 0.0005 * rate);
}

TEST (MatchedShoot, FindsARecorderAnHourOffAndPutsItsSilentFileByItsClock)
{
    const auto& heard = verdictOn (matched(), "A1.wav", "hour_01.wav").guest.alignment;
    EXPECT_NEAR ((double) heard.offsetSamples, 4.0 * rate, 1.0) << heard.detail;

    const auto& silent = verdictOn (matched(), "A2.wav", "hour_02.wav");
    ASSERT_TRUE (silent.accepted) << silent.guest.alignment.detail;
    EXPECT_NEAR ((double) silent.guest.alignment.offsetSamples, 5.0 * rate, 2.0);
    EXPECT_EQ (silent.guest.alignment.method, Alignment::Method::timecode);
    EXPECT_FALSE (verdictOn (matched(), "A1.wav", "hour_02.wav").accepted);
}

TEST (MatchedShoot, KeepsASongOnlyInTheTakeWithTheRestOfItsSound)
{
    const auto& own = verdictOn (matched(), "A1.wav", "singer.wav");
    ASSERT_TRUE (own.accepted) << own.guest.alignment.detail;
    EXPECT_EQ (own.guest.alignment.offsetSamples, 3 * rate);

    const auto& other = verdictOn (matched(), "A2.wav", "singer.wav");
    EXPECT_FALSE (other.accepted);
    EXPECT_THAT (other.guest.alignment.detail.toStdString(),
                 StartsWith ("Its sound fits here, but the file ran at another time: A1.wav proves it"));
}

TEST (MatchedShoot, RefusesWhatLiesOnNoLine)
{
    for (const auto* poly : { "A1.wav", "A2.wav" })
        for (const auto* name : { "stranger.wav", "hiss.wav", "hum.wav", "click.wav", "nothing.wav" })
        {
            const auto& pair = verdictOn (matched(), poly, name);
            EXPECT_FALSE (pair.accepted) << name << ": " << pair.guest.alignment.detail;
            EXPECT_TRUE (pair.guest.alignment.needsManual) << name;
        }

    EXPECT_THAT (verdictOn (matched(), "A1.wav", "stranger.wav").guest.alignment.detail.toStdString(),
                 HasSubstr ("lies on no line with this take"));

    EXPECT_THAT (matched().recorders, SizeIs (4)) << "cut, fast, hour and singer: none of these has shown a clock";
}

TEST (MatchedShoot, FilesOfOneRecorderKeepTheirOwnPlacesInTheWrittenGuest)
{
    const Day day;
    const auto sound = speech (takeLength, rate, 4);
    day.addPoly ("A1.wav", sound, 0.0);
    day.add ("rec_001.wav", { stretchOf (sound, 5 * rate, 6 * rate) });
    day.add ("rec_002.wav", { stretchOf (sound, 12 * rate, 9 * rate) });
    const auto shoot = matchShoot (day.scans(), {});
    ASSERT_THAT (shoot.matches, SizeIs (1));
    const TempFolder out;
    const auto done = combineTake (shoot.matches[0], {}, out.file ("out.wav"), {});
    ASSERT_TRUE (done.written) << done.error;
    ASSERT_THAT (done.guests, SizeIs (1));
    ASSERT_FALSE (done.guests[0].rejected) << done.guests[0].alignment.detail;
    const auto lane = readLanes (done.output).back();
    ASSERT_EQ (lane.size(), sound.size());

    for (size_t i = 0; i < lane.size(); ++i)
    {
        const auto seconds = (double) i / rate;
        const auto isThere = (seconds >= 5.0 && seconds < 11.0) || (seconds >= 12.0 && seconds < 21.0);
        ASSERT_NEAR (lane[i], isThere ? sound[i] : 0.0, 0.01) << i;
    }
}

}    // namespace ld::test
