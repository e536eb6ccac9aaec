#include "conform/CombineRun.h"

#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"
#include "support/WaveWalker.h"

#include <gmock/gmock.h>

#include <cmath>

// A combined file is a poly itself: what a second run makes of it.

namespace ld::test
{
namespace
{

using testing::IsEmpty;

constexpr int numFrames = 3001;

struct PolyForm
{
    WaveFormat format;
    int oddChunkBytes = 0;
    bool isRf64 = false;
};

std::ostream& operator<< (std::ostream& out, const PolyForm& form)
{
    const auto& format = form.format;
    return out << format.channels << " channels of " << format.bits << (format.tag == 3 ? " bit float at " : " bit at ")
               << format.sampleRate << (form.isRf64 ? " in RF64" : "") << " with a chunk of " << form.oddChunkBytes;
}

// Every width and rate, one channel to forty, chunks of odd sizes behind and ahead of the audio, RIFF and RF64.
std::vector<PolyForm> everyPoly()
{
    std::vector<PolyForm> polys;
    auto index = 0;

    for (const auto& [bits, tag] : { std::pair (16, 1), { 24, 1 }, { 32, 1 }, { 32, 3 }, { 64, 3 } })
        for (const auto channels : { 1, 2, 3, 40 })
            for (const auto rate : { 44100, 48000, 88200, 96000, 192000 })
            {
                ++index;
                polys.push_back ({ { .channels = channels,
                                     .sampleRate = rate,
                                     .bits = bits,
                                     .tag = tag,
                                     .isExtensible = index % 2 == 0 },
                                   index % 4,
                                   index % 3 == 0 });
            }

    return polys;
}

juce::File writePoly (const juce::File& file, const PolyForm& form)
{
    const auto& format = form.format;
    Channels sound;
    IxmlFields ixml { .stamp = 12345678u, .stampRate = (double) format.sampleRate, .scene = "7", .take = "2" };

    for (int c = 0; c < format.channels; ++c)
    {
        sound.push_back (noise (numFrames, 100 * format.bits + c, 1.0f));
        ixml.trackNames.push_back ("Track " + std::to_string (c + 1));
    }

    const auto audio = audioBody (format, sound);
    WaveBuilder builder;

    if (form.isRf64)
        builder.rf64 (audio.getSize(), numFrames);

    const auto claimed = form.isRf64 ? std::optional (WaveBuilder::sizeInDs64) : std::nullopt;
    return builder.chunk ("MAKA", form.oddChunkBytes)
        .chunk ("fmt ", fmtBody (format))
        .chunk ("bext", bextBody ({ .description = "slate", .timeReference = 99, .history = "A=PCM\r\n" }))
        .chunk ("iXML", ixmlBody (ixml))
        .chunk ("data", audio, claimed)
        .chunk ("MAKB", bodyOf (std::string ((size_t) form.oddChunkBytes + 1, 'b')))
        .writeTo (file);
}

juce::File combined (const juce::File& poly, const juce::File& output)
{
    BatchMatch take;
    take.host = inspectAudioFile (poly);
    const auto outcome = combineTake (take, {}, output, {});
    EXPECT_TRUE (outcome.written) << outcome.error;
    return output;
}

// What 24 bits make of a sample, in the terms of its own format: whole steps of the integer, full scale 1.0 of the float.
double through24Bits (const WaveFormat& format, double sample)
{
    constexpr auto fullScale = 8388608.0;

    if (format.tag == 3)
        return std::clamp (std::round (sample * fullScale), -fullScale, fullScale - 1.0) / fullScale;

    return format.bits == 32 ? std::floor (sample / 256.0) * 256.0 : sample;
}

std::string bodyIn (const juce::File& file, const char* id)
{
    const auto walk = walkWave (file);
    const auto* const chunk = walk.find (id);
    return chunk == nullptr ? "absent" : readBody (file, *chunk);
}

void expectSameLane (const std::vector<double>& lane, const std::vector<double>& source, double tolerance)
{
    ASSERT_EQ (lane.size(), source.size());
    auto largest = 0.0;

    for (size_t i = 0; i < lane.size(); ++i)
        largest = std::max (largest, std::abs (lane[i] - source[i]));

    EXPECT_LE (largest, tolerance);
}

TEST (Generations, TheFirstHoldsThePolyAndTheSecondChangesOnlyWhatItMust)
{
    const TempFolder temp;

    for (const auto& form : everyPoly())
    {
        SCOPED_TRACE (form);
        const auto poly = writePoly (temp.file ("poly.wav"), form);
        const auto first = combined (poly, temp.file ("first.wav"));
        const auto second = combined (first, temp.file ("second.wav"));
        EXPECT_THAT (walkWave (first).complaints, IsEmpty());
        EXPECT_THAT (walkWave (second).complaints, IsEmpty());

        auto sources = readLanes (poly);

        for (auto& source : sources)
            for (auto& sample : source)
                sample = through24Bits (form.format, sample);

        const auto lanes = readLanes (first), later = readLanes (second);
        ASSERT_EQ (lanes.size(), sources.size() + 1);
        ASSERT_EQ (later.size(), sources.size() + 2);

        for (size_t c = 0; c < sources.size(); ++c)
        {
            expectSameLane (lanes[c + 1], sources[c], 0.0);
            expectSameLane (later[c + 2], sources[c], 0.0);
        }

        // A mix of floats is finer than 24 bits and reaches full scale, and a host's channel does not.
        expectSameLane (later[1], lanes[0], form.format.tag == 3 ? 1.0 / 8388608.0 : 0.0);

        for (const auto* id : { "bext", "MAKA", "MAKB" })
            EXPECT_EQ (bodyIn (second, id), bodyIn (first, id)) << id;

        // The size in front of the audio of an RF64 file is a placeholder, behind which the reader does not look.
        EXPECT_EQ (bodyIn (first, "MAKB"), form.isRf64 ? "absent" : bodyIn (poly, "MAKB"));
        const auto ixml = inspectAudioFile (second).ixml, before = inspectAudioFile (first).ixml;
        EXPECT_EQ (ixml.timestampSamples, 12345678u);
        EXPECT_EQ (ixml.scene, before.scene);
        EXPECT_EQ (ixml.audioBitDepth, before.audioBitDepth);
        ASSERT_EQ (ixml.tracks.size(), later.size());
        EXPECT_EQ (ixml.tracks[0].name, "MIX");
        EXPECT_EQ (ixml.tracks[1].name, "OLDMIX");
        EXPECT_EQ (ixml.tracks.back().name, before.tracks.back().name);
    }
}

}    // namespace
}    // namespace ld::test
