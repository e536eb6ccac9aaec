#include "output/BwfWriter.h"

#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>

#include <cmath>

// Every sample of a written file against a sum that the tests make themselves, one by one.

namespace ld::test
{
namespace
{

using juce::int64;
using testing::IsEmpty;

constexpr int64 hostFrames = 4099;    // two full blocks of the writer and three frames; odd, as takes are
constexpr double fullScale24 = 8388608.0;

struct Form
{
    int bits, tag;
};

constexpr Form everyForm[] = { { 8, 1 }, { 16, 1 }, { 24, 1 }, { 32, 1 }, { 32, 3 }, { 64, 3 } };

// Samples on the format's own scale, its extremes and the neighbourhood of its rounding among them.
std::vector<double> hostSamples (const WaveFormat& format)
{
    const auto scale = format.tag == 3 ? 1.0 : std::ldexp (1.0, format.bits - 1);
    const auto highest = format.tag == 3 ? 1.25 : scale - 1.0;
    std::vector<double> samples;

    for (const auto value : noise (hostFrames * format.channels, format.bits * 100 + format.channels, 0.1f))
        samples.push_back (format.tag == 3 ? (double) value : std::round ((double) value * scale));

    const double special[] = { highest,
                               format.tag == 3 ? -1.25 : -scale,
                               255.0 / fullScale24 * scale,
                               0.5 / fullScale24,
                               -1.5 / fullScale24,
                               -0.4 / fullScale24 };

    for (size_t i = 0; i < std::size (special); ++i)
        samples[i * samples.size() / std::size (special)] = format.tag == 3 ? special[i] : std::round (special[i]);

    return samples;
}

// The signed 24-bit scale, on which all host audio travels. Audio of 8 bits is not read.
double to24Bit (const WaveFormat& format, double sample)
{
    switch (format.bits)
    {
        case 8: return 0.0;
        case 16: return sample * 256.0;
        case 24: return sample;
        default: break;
    }

    return format.tag == 3 ? std::clamp (std::round (sample * fullScale24), -fullScale24, fullScale24 - 1.0)
                           : std::floor (sample / 256.0);
}

// A value of the 24-bit scale in the terms of the written file.
double coded (const WaveFormat& host, double value24)
{
    if (host.tag == 3)
        return value24 / fullScale24;

    return host.bits <= 16 ? std::floor (value24 / 256.0) : host.bits == 24 ? value24 : value24 * 256.0;
}

double codedFloat (const WaveFormat& host, double value)
{
    if (host.tag == 3)
        return value;

    return coded (host, std::clamp (std::round (value * fullScale24), -fullScale24, fullScale24 - 1.0));
}

// One step of the written file, but never less than 2 of the 24-bit scale: the order of a float sum is the writer's own.
double toleranceOfMix (const WaveFormat& host)
{
    return host.tag == 3 ? 2.0 / fullScale24 : host.bits <= 16 ? 1.0 : host.bits == 24 ? 2.0 : 512.0;
}

GuestClip makeGuest (int64 offset, int64 length, int channels)
{
    GuestClip guest;
    guest.alignment.offsetSamples = offset;
    guest.format.channels = channels;
    guest.tracks.resize ((size_t) channels);
    guest.tracks.back().name = channels == 2 ? "Mix-R" : "Boom";

    for (int c = 0; c < channels; ++c)
        guest.channelAudio.push_back (noise (length, (int) (offset + length) + c, c == 0 ? 0.1f : 1.5f));

    return guest;
}

// Ahead of the host, across its start, within, across its end, behind it, of one sample, and far out of range.
std::vector<GuestClip> guestsEverywhere()
{
    return { makeGuest (-100, 700, 1),      makeGuest (-500, 400, 1),    makeGuest (0, hostFrames, 2),
             makeGuest (2047, 6000, 1),     makeGuest (1, 1, 1),         makeGuest (hostFrames - 1, 50, 1),
             makeGuest (hostFrames, 50, 1), makeGuest (1LL << 40, 9, 1), makeGuest (-(1LL << 40), 9, 1),
             makeGuest (-5000, 20000, 1) };
}

// The second channel of a guest of two is its recorder's own mix.
bool isGuestsMix (const GuestClip& guest, const std::vector<float>& channel)
{
    return guest.channelAudio.size() == 2 && &channel == &guest.channelAudio[1];
}

MixerBank variedBank()
{
    MixerBank bank {};

    for (int m = 0; m < mixerChannelLimit; ++m)
    {
        auto& channel = bank[(size_t) m];
        channel.gainDb = m == 6 ? -60.0f : -3.0f - (float) (m % 7);
        channel.mute = m % 5 == 3;
        channel.pan = -1.0f;    // the mix is mono

        if (m % 4 == 1)
            channel.automation = { { 256, -10.0f }, { 1024, 6.0f }, { 3072, -60.0f } };

        if (m % 6 == 2)
            channel.muteAutomation = { { 512, true }, { 2304, false }, { 3840, true } };
    }

    return bank;
}

// What a fader and a mute button let through at a sample, told from the points one after another.
double gainAt (const MixerChannel& channel, int64 p)
{
    auto db = (double) (channel.automation.empty() ? channel.gainDb : channel.automation.front().gainDb);
    auto isMuted = channel.muteAutomation.empty() ? channel.mute : channel.muteAutomation.front().mute;

    for (size_t i = 0; i < channel.automation.size(); ++i)
    {
        const auto& point = channel.automation[i];

        if (point.sample > p)
            continue;

        db = point.gainDb;

        if (i + 1 < channel.automation.size())
        {
            const auto& next = channel.automation[i + 1];
            db += (double) (next.gainDb - point.gainDb) * (double) (p - point.sample)
                  / (double) (next.sample - point.sample);
        }
    }

    for (const auto& point : channel.muteAutomation)
        if (point.sample <= p)
            isMuted = point.mute;

    return isMuted || db <= -60.0 ? 0.0 : std::pow (10.0, db / 20.0);
}

// One poly with its request, and what its lanes must hold.
class Export
{
public:
    Export (const WaveFormat& format, bool withMix, bool withSolo) : host (format), samples (hostSamples (format))
    {
        IxmlFields ixml;

        for (int c = 0; c < host.channels; ++c)
            ixml.trackNames.push_back (c == mixChannel ? "Mix L" : "Track " + std::to_string (c + 1));

        const auto source = WaveBuilder()
                                .chunk ("fmt ", fmtBody (host))
                                .chunk ("iXML", ixmlBody (ixml))
                                .chunk ("data", audioBody (host, samples))
                                .writeTo (temp.file ("poly.wav"));
        request.host = readTake (source);
        request.guests = guestsEverywhere();
        request.includeMix = withMix;
        request.mixer = variedBank();
        request.outputFile = temp.file ("out/COMBINED_poly.wav");
        request.progress = [this] (float fraction) { told.push_back (fraction); };

        if (host.channels > omittedChannel)
            request.host.omittedChannels = { 0, 0, 0, 1 };

        if (withSolo)
            request.mixer[1].solo = request.mixer[2].solo = true;

        request.mixerCount = std::min (mixerChannelLimit, countSources());
    }

    // False where the writer refuses.
    [[nodiscard]] bool write() const
    {
        const auto result = PolyExporter::write (request);
        EXPECT_TRUE (result.wasOk()) << result.getErrorMessage();
        return result.wasOk();
    }

    void check() const
    {
        const auto written = readLanes (request.outputFile);
        const auto walk = walkWave (request.outputFile);
        EXPECT_EQ (walk.numFrames, hostFrames);

        // Without a new mix the tracks keep their numbers, and an omitted channel leaves a gap in them.
        if (request.includeMix || host.channels <= omittedChannel)
        {
            EXPECT_THAT (walk.complaints, IsEmpty());
        }

        size_t lane = request.includeMix ? 1 : 0;
        ASSERT_EQ (written.size(), lane + (size_t) countSources());

        if (request.includeMix)
            checkLane (written[0], toleranceOfMix (host), [&] (int64 p) { return codedFloat (host, mixAt (p)); });

        for (int c = 0; c < host.channels; ++c)
            if (! isOmitted (c))
                checkLane (written[lane++], 0.0, [&] (int64 p) { return coded (host, hostAt (c, p)); });

        for (const auto& guest : request.guests)
            for (const auto& channel : guest.channelAudio)
                checkLane (
                    written[lane++], 0.0, [&] (int64 p) { return codedFloat (host, guestAt (guest, channel, p)); });
    }

    ExportRequest request;
    std::vector<float> told;

private:
    static constexpr int mixChannel = 2, omittedChannel = 3;

    [[nodiscard]] bool isOmitted (int c) const { return c == omittedChannel; }

    [[nodiscard]] int countSources() const
    {
        auto count = host.channels - (host.channels > omittedChannel ? 1 : 0);

        for (const auto& guest : request.guests)
            count += (int) guest.channelAudio.size();

        return count;
    }

    [[nodiscard]] double hostAt (int c, int64 p) const
    {
        return to24Bit (host, samples[(size_t) (p * host.channels + c)]);
    }

    static double guestAt (const GuestClip& guest, const std::vector<float>& channel, int64 p)
    {
        const auto local = p - guest.alignment.offsetSamples;
        return local < 0 || local >= (int64) channel.size() ? 0.0 : (double) channel[(size_t) local];
    }

    [[nodiscard]] double gainOf (int m, int64 p) const
    {
        const auto& channel = request.mixer[(size_t) std::min (m, mixerChannelLimit - 1)];
        const auto anySolo = request.mixer[1].solo;
        return m >= request.mixerCount || (anySolo && ! channel.solo) ? 0.0 : gainAt (channel, p);
    }

    [[nodiscard]] double mixAt (int64 p) const
    {
        auto sum = 0.0;
        auto m = 0;

        for (int c = 0; c < host.channels; ++c)
            if (! isOmitted (c))
                sum += gainOf (m++, p) * (c == mixChannel ? 0.0 : hostAt (c, p) / fullScale24);

        for (const auto& guest : request.guests)
            for (const auto& channel : guest.channelAudio)
                sum += gainOf (m++, p) * (isGuestsMix (guest, channel) ? 0.0 : guestAt (guest, channel, p));

        return std::clamp (sum, -1.0, 1.0);
    }

    template <typename Expected>
    static void checkLane (const std::vector<double>& lane, double tolerance, Expected&& expected)
    {
        ASSERT_EQ ((int64) lane.size(), hostFrames);

        for (int64 p = 0; p < hostFrames; ++p)
            if (std::abs (lane[(size_t) p] - expected (p)) > tolerance)
                FAIL() << "frame " << p << ": " << lane[(size_t) p] << " instead of " << expected (p);
    }

    const TempFolder temp;
    const WaveFormat host;
    const std::vector<double> samples;
};

}    // namespace

TEST (PolyWriter, EveryLaneOfEveryFormHoldsTheSamplesOfItsSourceAtItsPlace)
{
    for (const auto [bits, tag] : everyForm)
        for (const auto channels : { 1, 2, 7, 40 })
            for (const auto withMix : { false, true })
            {
                SCOPED_TRACE (std::to_string (bits) + " bit, form " + std::to_string (tag) + ", "
                              + std::to_string (channels) + (withMix ? " channels and mix" : " channels"));
                Export poly ({ .channels = channels, .bits = bits, .tag = tag }, withMix, channels == 7);

                if (poly.write())
                    poly.check();
            }
}

TEST (PolyWriter, ProgressIsToldAfterEachBlockAndEndsAtOne)
{
    Export poly ({ .channels = 3 }, true, false);
    ASSERT_TRUE (poly.write());
    EXPECT_THAT (poly.told, testing::ElementsAre (2048.0f / 4099.0f, 4096.0f / 4099.0f, 1.0f));
}

TEST (PolyWriter, AGuestWithoutAudioIsReadFromItsOneFileAndBroughtToTheHostsRate)
{
    const TempFolder temp;
    std::vector<float> ramp (100);

    for (size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = (float) i / 128.0f;

    ExportRequest request;
    request.host = readTake (
        WaveBuilder ({ .channels = 3 }, Channels (3, std::vector<float> (300))).writeTo (temp.file ("poly.wav")));
    request.outputFile = temp.file ("COMBINED.wav");

    for (const auto rate : { 24000, 48000 })
    {
        auto& guest = request.guests.emplace_back();
        guest.file =
            WaveBuilder ({ .sampleRate = rate, .bits = 16 }, { ramp }).writeTo (temp.file (juce::String (rate)));
        guest.format.channels = 1;
        guest.alignment.offsetSamples = 10;
    }

    ASSERT_TRUE (PolyExporter::write (request).wasOk());
    const auto lanes = readLanes (request.outputFile);
    ASSERT_EQ (lanes.size(), 6u);

    // Half the rate: between two samples lies their mean. 65536 steps of the 24-bit scale make 1/128.
    for (size_t i = 0; i < 190; ++i)
    {
        EXPECT_EQ (lanes[4][10 + i], 32768.0 * (double) i);
        EXPECT_EQ (lanes[5][10 + i], i < 100 ? 65536.0 * (double) i : 0.0);
    }

    EXPECT_EQ (lanes[4][9], 0.0);
    EXPECT_EQ (lanes[4][210], 0.0);
}

TEST (PolyWriter, ATakeCutShortIsAsLongAsItsHeaderSaysOrAsItsFileWhereThatSaysNothing)
{
    const TempFolder temp;
    const WaveFormat format { .channels = 3, .bits = 16 };
    const Channels audio (3, noise (3000, 1, 0.5f));
    const auto whole = readLanes (WaveBuilder (format, audio).writeTo (temp.file ("whole.wav")));

    for (const auto& [claimed, frames] : { std::pair (5000u * 6u, 5000u), { WaveBuilder::sizeInDs64, 3000u } })
    {
        ExportRequest request;
        request.host = readTake (WaveBuilder()
                                     .chunk ("fmt ", fmtBody (format))
                                     .chunk ("data", audioBody (format, audio), claimed)
                                     .writeTo (temp.file ("poly.wav")));
        request.outputFile = temp.file ("COMBINED.wav");
        ASSERT_TRUE (PolyExporter::write (request).wasOk());
        auto expected = whole.at (1);
        expected.resize (frames);
        EXPECT_EQ (readLanes (request.outputFile).at (2), expected);
    }
}

}    // namespace ld::test
