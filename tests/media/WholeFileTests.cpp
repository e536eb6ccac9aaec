#include "media/BwfReader.h"

#include "support/TempFolder.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>

// Curves and whole channels of files of random bytes, held against a slow sum of one sample at a time.

namespace ld::test
{
namespace
{

constexpr juce::int64 curveBlockFrames = 8192;
constexpr juce::int64 channelBlockFrames = 4096;

struct RandomFile
{
    WaveFormat format;
    juce::int64 statedFrames, storedFrames;
    std::string audio;

    [[nodiscard]] int sampleBytes() const { return (format.bits + 7) / 8; }

    // By the weights of the bytes, the highest one signed; floats as they lie.
    [[nodiscard]] float sample (juce::int64 frame, int channel) const
    {
        const auto* at = audio.data() + (frame * format.channels + channel) * sampleBytes();

        if (format.tag == 3)
            return format.bits == 32 ? as<float> (at) : (float) as<double> (at);

        auto value = 0.0;

        for (int i = 0; i < sampleBytes(); ++i)
            value =
                value / 256.0 + (i + 1 == sampleBytes() ? (double) (signed char) at[i] : (double) (juce::uint8) at[i]);

        return format.bits == 8 ? 0.0f : (float) (value / 128.0);
    }

    template <typename Value>
    static Value as (const char* at)
    {
        Value value;
        std::memcpy (&value, at, sizeof (Value));
        return value;
    }
};

RandomFile randomFile (const WaveFormat& format, juce::int64 statedFrames, juce::int64 storedFrames, int seed)
{
    std::mt19937 random ((unsigned) seed);
    RandomFile file { format, statedFrames, storedFrames, {} };
    file.audio.resize ((size_t) (storedFrames * format.channels * file.sampleBytes()));

    for (auto& byte : file.audio)
        byte = (char) random();

    return file;
}

BwfReader openRandom (const TempFolder& temp, const RandomFile& file)
{
    const auto statedBytes = file.statedFrames * file.format.channels * file.sampleBytes();
    const auto wave = WaveBuilder()
                          .chunk ("fmt ", fmtBody (file.format))
                          .chunk ("data", bodyOf (file.audio), (juce::uint32) statedBytes);
    BwfReader reader;
    EXPECT_TRUE (reader.open (wave.writeTo (temp.file ("random.wav"))));
    return reader;
}

// A file that ends early yields only the whole blocks that lie ahead of its end.
juce::int64 deliveredFrames (const RandomFile& file, juce::int64 blockFrames)
{
    return file.storedFrames < file.statedFrames ? file.storedFrames / blockFrames * blockFrames : file.statedFrames;
}

PeakLane slowCurve (const RandomFile& file, int channel, int buckets)
{
    const auto delivered = deliveredFrames (file, curveBlockFrames);
    const auto curve = [&] (size_t size, double framesPerBucket) {
        std::pair values { std::vector<float> (size, 1.0f), std::vector<float> (size, -1.0f) };
        auto& [low, high] = values;

        for (juce::int64 frame = 0; frame < delivered; ++frame)
        {
            const auto value = file.sample (frame, channel);
            const auto bucket = std::min ((size_t) ((double) frame / framesPerBucket), size - 1);
            low[bucket] = value < low[bucket] ? value : low[bucket];
            high[bucket] = value > high[bucket] ? value : high[bucket];
        }

        for (size_t i = 0; i < size; ++i)
            if (high[i] < low[i])
                low[i] = high[i] = 0.0f;

        return values;
    };

    const auto [low, high] = curve ((size_t) buckets, (double) file.statedFrames / buckets);
    PeakLane lane { low, high, file.statedFrames };

    if (delivered > 0 && file.statedFrames > 128 * buckets)
    {
        const auto [fineLow, fineHigh] = curve ((size_t) (delivered + 127) / 128, 128.0);
        lane.levels.push_back ({ 128, fineLow, fineHigh });
    }

    return lane;
}

std::vector<float> slowChannel (const RandomFile& file, int channel)
{
    std::vector<float> audio ((size_t) std::min (file.storedFrames, file.statedFrames));

    for (juce::int64 frame = 0; frame < deliveredFrames (file, channelBlockFrames); ++frame)
        audio[(size_t) frame] = file.sample (frame, channel);

    return audio;
}

// Random bytes hold values that are no number, which differ from themselves.
bool haveSameBits (const std::vector<float>& a, const std::vector<float>& b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp (a.data(), b.data(), a.size() * sizeof (float)) == 0);
}

const struct
{
    int channels;
    juce::int64 statedFrames, storedFrames;
    int buckets;
} shapes[] = {
    { 1, 0, 0, 4 },
    { 1, 1, 1, 1 },
    { 1, 1, 1, 64 },
    { 2, 7, 7, 3 },
    { 3, 100, 100, 333 },
    { 1, 8193, 8193, 4096 },
    { 2, 10007, 10007, 10 },
    { 65, 4097, 4097, 7 },
    { 200, 300, 300, 299 },
    { 1, 30000, 20000, 100 },
    { 2, 9000, 8191, 16 },
    { 3, 12289, 12288, 50 },
    { 5, 16384, 16383, 4096 },
    { 1, 2000000, 10, 2048 },
};

const WaveFormat codings[] = {
    { .bits = 8 }, { .bits = 16 }, { .bits = 24 }, { .bits = 32 }, { .bits = 32, .tag = 3 }, { .bits = 64, .tag = 3 },
};

TEST (WholeFile, CurvesAndChannelsAreThoseOfEverySample)
{
    const TempFolder temp;
    auto seed = 0;

    for (const auto& shape : shapes)
        for (auto format : codings)
        {
            format.channels = shape.channels;
            const auto file = randomFile (format, shape.statedFrames, shape.storedFrames, ++seed);
            const auto reader = openRandom (temp, file);
            const auto channels = reader.readAllChannels();
            const auto last = shape.channels - 1;
            const auto overview = reader.readOverview (last, shape.buckets);
            auto single = std::vector<float> ((size_t) shape.statedFrames + 1);
            const auto isWhole = reader.readChannel (last, 0, shape.statedFrames, single.data(), 1);
            single.resize ((size_t) std::min (shape.storedFrames, shape.statedFrames));
            SCOPED_TRACE (testing::Message() << format.bits << " bit, tag " << format.tag << ", " << shape.channels
                                             << " x " << shape.storedFrames << " of " << shape.statedFrames);

            EXPECT_EQ (isWhole, shape.storedFrames == shape.statedFrames);
            EXPECT_TRUE (haveSameBits (single, slowChannel (file, last)));
            EXPECT_TRUE (haveSameBits (overview.channel, single));
            ASSERT_EQ (channels.size(), (size_t) shape.channels);
            ASSERT_EQ (overview.peaks.size(), (size_t) shape.channels);

            for (const auto c : { 0, last / 2, last })
            {
                EXPECT_TRUE (haveSameBits (channels[(size_t) c], slowChannel (file, c)));
                EXPECT_TRUE (overview.peaks[(size_t) c] == slowCurve (file, c, shape.buckets));
                EXPECT_TRUE (reader.extractPeaks (c, shape.buckets) == overview.peaks[(size_t) c]);
            }
        }
}

TEST (WholeFile, ABucketBeyondFullScaleKeepsFullScaleAsItsOtherBound)
{
    const TempFolder temp;
    const auto wave = WaveBuilder ({ .bits = 32, .tag = 3 }, { { 1.5f, 2.0f, -3.0f, -2.0f, 0.5f } });
    BwfReader reader;
    ASSERT_TRUE (reader.open (wave.writeTo (temp.file ("loud.wav"))));

    // Five frames over three buckets: 1.67 frames each.
    EXPECT_EQ (reader.extractPeaks (0, 3), (PeakLane { { 1.0f, -3.0f, 0.5f }, { 2.0f, -1.0f, 0.5f }, 5 }));
}

}    // namespace
}    // namespace ld::test
