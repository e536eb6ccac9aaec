#include "BenchInput.h"
#include "sync/EnvelopeSync.h"
#include "sync/MfccSearch.h"
#include "sync/Signal.h"
#include "sync/SyncEngine.h"
#include "sync/WaveformSearch.h"

#include <benchmark/benchmark.h>
#include <fftw3.h>

// Each search stands beside the bare transforms that it cannot do without, made with the same planner setting.

namespace
{

using ld::bench::makeSignal;
using ld::bench::sampleRate;

// Real transforms of one size, made as the framework's front makes them: in place, for any alignment, estimated.
// The signal comes from a copy each time, so that it stays within range.
class BareTransforms
{
public:
    explicit BareTransforms (int n)
        : data (fftwf_alloc_real ((size_t) n + 2)),
          forward (fftwf_plan_dft_r2c_1d (n, data, spectrum(), FFTW_ESTIMATE | FFTW_UNALIGNED)),
          inverse (fftwf_plan_dft_c2r_1d (n, spectrum(), data, FFTW_ESTIMATE | FFTW_UNALIGNED)),
          signal (makeSignal ((size_t) n, 3))
    {
    }

    ~BareTransforms()
    {
        fftwf_destroy_plan (forward);
        fftwf_destroy_plan (inverse);
        fftwf_free (data);
    }

    BareTransforms (const BareTransforms&) = delete;
    BareTransforms& operator= (const BareTransforms&) = delete;

    void load() const { std::copy (signal.begin(), signal.end(), data); }
    void runForward() const { fftwf_execute (forward); }
    void runInverse() const { fftwf_execute (inverse); }

private:
    [[nodiscard]] fftwf_complex* spectrum() const { return reinterpret_cast<fftwf_complex*> (data); }

    float* data;
    fftwf_plan forward, inverse;
    std::vector<float> signal;
};

constexpr int phaseTransformSize = 1 << 20;

void gccPhat (benchmark::State& state)
{
    const auto a = makeSignal (phaseTransformSize / 2, 1);
    const auto b = makeSignal (phaseTransformSize / 2, 2);

    for (auto _ : state)
        benchmark::DoNotOptimize (ld::gccPhat (a, b));
}

// Two forward, one inverse.
void gccPhatBareTransforms (benchmark::State& state)
{
    const BareTransforms first (phaseTransformSize), second (phaseTransformSize);

    for (auto _ : state)
    {
        state.PauseTiming();
        first.load();
        second.load();
        state.ResumeTiming();
        first.runForward();
        second.runForward();
        first.runInverse();
        benchmark::ClobberMemory();
    }
}

constexpr size_t mfccSeconds = 600;

void computeMfcc (benchmark::State& state)
{
    const auto signal = makeSignal (mfccSeconds * ld::mfccSampleRate, 1);

    for (auto _ : state)
        benchmark::DoNotOptimize (ld::computeMfcc (signal));

    state.counters["x_real_time"] =
        benchmark::Counter ((double) mfccSeconds, benchmark::Counter::kIsIterationInvariantRate);
}

// One forward transform of 512 for each frame of the same signal, its 512 samples copied in.
void computeMfccBareTransforms (benchmark::State& state)
{
    const BareTransforms transforms (512);
    const auto frames = (mfccSeconds * ld::mfccSampleRate - ld::mfccFrameSamples) / ld::mfccHopSamples + 1;

    for (auto _ : state)
    {
        for (size_t i = 0; i < frames; ++i)
        {
            transforms.load();
            transforms.runForward();
        }

        benchmark::ClobberMemory();
    }
}

void correlateColumn (benchmark::State& state)
{
    const auto a = makeSignal ((size_t) state.range (0), 1);
    const auto b = makeSignal (2000, 2);

    for (auto _ : state)
        benchmark::DoNotOptimize (ld::correlateColumn (a, b));
}

void resampleToEightKilohertz (benchmark::State& state)
{
    constexpr size_t seconds = 300;
    const auto signal = makeSignal (seconds * sampleRate, 1);

    for (auto _ : state)
        benchmark::DoNotOptimize (ld::resampleTo (signal, sampleRate, ld::mfccSampleRate));

    state.counters["x_real_time"] =
        benchmark::Counter ((double) seconds, benchmark::Counter::kIsIterationInvariantRate);
}

// One guest on one host without timecode: the content rung of the ladder.
void alignOnePair (benchmark::State& state)
{
    constexpr size_t seconds = 300;
    const auto hostAudio = makeSignal (seconds * sampleRate, 1);
    const std::vector<float> guestAudio (hostAudio.begin() + 40 * sampleRate, hostAudio.end() - 20 * sampleRate);
    ld::HostTake host;
    host.format.numFrames = (juce::int64) hostAudio.size();

    for (auto _ : state)
        benchmark::DoNotOptimize (ld::SyncEngine().align (host, {}, hostAudio, guestAudio, 2));

    state.counters["x_real_time"] =
        benchmark::Counter ((double) seconds, benchmark::Counter::kIsIterationInvariantRate);
}

// A guest of an hour: twenty windows of a minute, each a correlation of 2^20 points.
void computeEnvelopeSync (benchmark::State& state)
{
    constexpr size_t seconds = 3600;
    constexpr int rate = 8000;
    const auto signal = makeSignal (seconds * rate, 5);

    for (auto _ : state)
        benchmark::DoNotOptimize (ld::computeEnvelopeSync (signal, signal, rate));

    state.counters["x_real_time"] =
        benchmark::Counter ((double) seconds, benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK (gccPhat)->Unit (benchmark::kMillisecond);
BENCHMARK (gccPhatBareTransforms)->Unit (benchmark::kMillisecond);
BENCHMARK (computeMfcc)->Unit (benchmark::kMillisecond);
BENCHMARK (computeMfccBareTransforms)->Unit (benchmark::kMillisecond);
BENCHMARK (correlateColumn)->Arg (20000)->Arg (225000)->Unit (benchmark::kMillisecond);
BENCHMARK (resampleToEightKilohertz)->Unit (benchmark::kMillisecond);
BENCHMARK (computeEnvelopeSync)->Unit (benchmark::kMillisecond);
BENCHMARK (alignOnePair)->Unit (benchmark::kMillisecond);

}    // namespace
