#include "FuzzSeeds.h"

#include "output/SessionDocument.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"

#include <map>

namespace ld::fuzz
{
namespace
{

using juce::MemoryBlock;
using test::Channels;
using test::WaveBuilder;
using test::WaveFormat;
using Seeds = std::vector<MemoryBlock>;

MemoryBlock joined (const std::vector<MemoryBlock>& parts)
{
    MemoryBlock whole;

    for (const auto& part : parts)
        whole.append (part.getData(), part.getSize());

    return whole;
}

template <typename Value>
MemoryBlock bytesOf (Value value)
{
    return { &value, sizeof (value) };
}

MemoryBlock bytesOf (const char* text)
{
    return { text, std::strlen (text) };
}

const test::BextFields bext { .description = "sSCENE=12A",
                              .originator = "Recorder",
                              .date = "2026-03-01",
                              .time = "10:00:00",
                              .timeReference = 1728000000u,
                              .version = 2,
                              .loudness = { -2300, 1000, -100, -2000, -2100 },
                              .history = "A=PCM,F=48000,W=24,M=poly,T=Recorder\r\n" };

const test::IxmlFields ixml { .trackNames = { "Mix", "Boom", "Lav &amp; &lt;Anna&gt;" },
                              .stamp = 1728000000u,
                              .stampRate = 48048.0,
                              .scene = "12A",
                              .take = "3",
                              .timecodeRate = "30000/1001" };

MemoryBlock wave (const WaveFormat& format, int frames)
{
    return WaveBuilder (format, Channels ((size_t) format.channels, test::noise (frames, 1)))
        .chunk ("bext", test::bextBody (bext))
        .chunk ("iXML", test::ixmlBody (ixml))
        .chunk ("MAKR", 7)
        .build();
}

Seeds waveSeeds()
{
    Seeds seeds;

    for (const auto& format : { WaveFormat { .channels = 3 },
                                WaveFormat { .channels = 1, .sampleRate = 44100, .bits = 16 },
                                WaveFormat { .channels = 2, .bits = 8 },
                                WaveFormat { .channels = 2, .bits = 32 },
                                WaveFormat { .channels = 4, .sampleRate = 192000, .bits = 32, .tag = 3 },
                                WaveFormat { .channels = 2, .bits = 64, .tag = 3, .isExtensible = true } })
        seeds.push_back (wave (format, 200));

    const WaveFormat stereo { .channels = 2 };
    const auto audio = test::audioBody (stereo, Channels (2, test::noise (100, 2)));
    seeds.push_back (WaveBuilder()
                         .rf64 (audio.getSize(), 100)
                         .chunk ("fmt ", test::fmtBody (stereo))
                         .chunk ("data", audio, WaveBuilder::sizeInDs64)
                         .build());

    // Cut off in recording.
    seeds.push_back (WaveBuilder().chunk ("fmt ", test::fmtBody (stereo)).chunk ("data", audio, 100000u).build());
    return seeds;
}

Seeds takeSeeds()
{
    Seeds seeds;
    constexpr int rate = 8000, frames = 12000;
    const auto sound = test::speech (frames, rate, 1);

    for (const auto lag : { 1000, -2000 })
    {
        const WaveFormat polyFormat { .channels = 3, .sampleRate = rate, .bits = 16 };
        const WaveFormat guestFormat { .channels = 1, .sampleRate = rate, .bits = 16 };
        const auto poly = WaveBuilder (polyFormat, Channels (3, sound)).chunk ("iXML", test::ixmlBody (ixml)).build();
        const auto guest = WaveBuilder (guestFormat, { test::stretchOf (sound, lag, frames / 2) }).build();
        seeds.push_back (joined ({ bytesOf ((juce::uint32) poly.getSize()), poly, guest }));
    }

    return seeds;
}

Seeds sessionSeeds()
{
    SessionDocument document;
    document.videoFile = juce::File ("/media/picture.mov");
    document.takes.resize (2);
    document.takes[0].host.file = juce::File ("/media/T1.wav");
    document.takes[0].omittedHost = { 1, 4 };
    auto& guest = document.takes[0].guests.emplace_back();
    guest.file = juce::File ("/media/TX.wav");
    guest.alignment = { -4800, Alignment::Method::waveform, 0.9f, false, 1.0e-5, "MFCC z=12.0" };
    document.takes[1].host.file = juce::File ("/media/T2.wav");
    document.mixer["H|BOOM|BOOM|1"] = { -6.0f, 0.5f, true, false, { { 0, -3.0f }, { 256, 1.0f } }, { { 512, true } } };
    document.metadataOverrides["poly\niso"] = { "st:1:iso", { { 2, 3, "Name", "LAV", "note", true } }, "note" };
    document.nameOverrides["st:1:iso"] = { "A", "B" };

    const juce::TemporaryFile file (".ldsession");
    MemoryBlock bytes;

    if (writeSessionDocument (file.getFile(), document).wasOk())
        file.getFile().loadFileAsData (bytes);

    return { bytes, bytesOf (R"({"takes":[{"host":"/a.wav"}]})") };
}

Seeds timecodeSeeds()
{
    Seeds seeds;

    for (const auto* text : { "30000/1001", "25/1", "24", "10:00:00:00", "01;02;03;04", "A001_10182030_x.mov", "" })
        seeds.push_back (
            joined ({ bytesOf ((juce::uint64) 1728000000), bytesOf (48000.0), bytesOf (48048.0), bytesOf (text) }));

    return seeds;
}

Seeds interchangeSeeds()
{
    return { joined ({ bytesOf ((juce::int64) 480000),
                       bytesOf ((juce::int32) 48000),
                       bytesOf ((juce::int32) 6),
                       bytesOf ((juce::uint64) 1728000000),
                       test::ixmlBody (ixml) }) };
}

}    // namespace

std::vector<MemoryBlock> seedsFor (const juce::String& target)
{
    static const std::map<juce::String, Seeds (*)()> makers {
        { "wave", waveSeeds },
        { "bext",
          [] {
        return Seeds { test::bextBody (bext), test::bextBody ({}) };
         } },
        { "ixml",
          [] {
        return Seeds { test::ixmlBody (ixml), test::ixmlBody ({}) };
         } },
        { "session", sessionSeeds }, { "take", takeSeeds }, { "timecode", timecodeSeeds },
        { "interchange", interchangeSeeds },
        };
    const auto at = makers.find (target);
    return at == makers.end() ? Seeds() : at->second();
}

}    // namespace ld::fuzz
