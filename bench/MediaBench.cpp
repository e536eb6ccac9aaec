#include "BenchInput.h"
#include "media/BwfReader.h"
#include "output/BwfWriter.h"
#include "session/Session.h"

#include <benchmark/benchmark.h>

// Rates are told as bytes of the poly per second and as multiples of real time ("x_real_time").

namespace
{

constexpr int seconds = 60;

const ld::bench::BenchShoot& shoot()
{
    return ld::bench::BenchShoot::ofSeconds (seconds);
}

void tellRates (benchmark::State& state)
{
    state.SetBytesProcessed (state.iterations() * shoot().poly.getSize());
    state.counters["x_real_time"] =
        benchmark::Counter ((double) seconds, benchmark::Counter::kIsIterationInvariantRate);
}

ld::BwfReader openPoly()
{
    ld::BwfReader reader;

    if (! reader.open (shoot().poly))
        std::abort();

    return reader;
}

void readOneChannel (benchmark::State& state)
{
    const auto reader = openPoly();
    std::vector<float> audio ((size_t) reader.framesInFile());

    for (auto _ : state)
        benchmark::DoNotOptimize (reader.readChannel (0, 0, reader.framesInFile(), audio.data(), 1));

    tellRates (state);
}

void readAllChannels (benchmark::State& state)
{
    const auto reader = openPoly();

    for (auto _ : state)
        benchmark::DoNotOptimize (reader.readAllChannels());

    tellRates (state);
}

void readReferenceAndPeaks (benchmark::State& state)
{
    const auto reader = openPoly();

    for (auto _ : state)
        benchmark::DoNotOptimize (reader.readOverview (0, ld::hostPeakBuckets));

    tellRates (state);
}

void stitchGuest (benchmark::State& state)
{
    ld::Session session;

    if (session.loadHost (shoot().poly).failed() || session.addGuest (shoot().guests.front()).failed())
        std::abort();

    for (auto _ : state)
        session.extractGuestAudio (session.guests.front());

    tellRates (state);
}

// range(0): 1 puts gain and mute automation on every channel.
void writeCombined (benchmark::State& state)
{
    ld::Session session;

    if (session.loadHost (shoot().poly).failed())
        std::abort();

    for (const auto& guest : shoot().guests)
        if (session.addGuest (guest).failed())
            std::abort();

    if (state.range (0) != 0)
    {
        for (int i = 0; i < session.mixerCount(); ++i)
        {
            for (int second = 0; second < seconds; ++second)
            {
                session.setMixerGain (i, -(float) (second % 12), second * ld::bench::sampleRate, true);
                session.setMixerMute (i, second % 7 == 0, second * ld::bench::sampleRate, true);
            }
        }
    }

    ld::ExportRequest request;
    request.host = session.host;
    request.guests = session.guests;
    request.mixer = session.mixer;
    request.mixerCount = session.mixerCount();
    request.outputFile = shoot().folder.getChildFile ("COMBINED_poly.wav");

    for (auto _ : state)
        if (ld::PolyExporter::write (request).failed())
            std::abort();

    tellRates (state);
}

BENCHMARK (readOneChannel)->Unit (benchmark::kMillisecond);
BENCHMARK (readAllChannels)->Unit (benchmark::kMillisecond);
BENCHMARK (readReferenceAndPeaks)->Unit (benchmark::kMillisecond);
BENCHMARK (stitchGuest)->Unit (benchmark::kMillisecond);
BENCHMARK (writeCombined)->Arg (0)->Arg (1)->Unit (benchmark::kMillisecond);

}    // namespace
