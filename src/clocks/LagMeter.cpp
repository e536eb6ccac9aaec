#include "clocks/LagMeter.h"

#include "batch/Workers.h"
#include "media/VectorClones.h"
#include "sync/Fft.h"
#include "sync/Signal.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <map>
#include <numbers>
#include <numeric>

namespace ld
{
namespace
{

using juce::int64;

constexpr double lowestHz = 120.0, highestHz = 10000.0;
constexpr int smallestOrder = 12;
constexpr int taperShare = 64;

// Below this a peak is one of the many that chance makes among as many lags.
constexpr float leastOverRms = 5.5f;
constexpr float leastOfHighest = 0.25f;

using Spectrum = std::vector<float>;    // interleaved real and imaginary parts

// The part of a window's spectrum that is compared.
struct Band
{
    Band (int order, int rate)
        : first ((size_t) std::max (1.0, lowestHz * size (order) / rate)),
          last ((size_t) std::min (highestHz * size (order) / rate, 0.45 * size (order)))
    {
        while (decimation < 64 && 0.5 * rate / (2 * decimation) >= highestHz)
            decimation *= 2;

        last = std::min (last, ((size_t) 1 << order) / (size_t) (2 * decimation) - 1);
        first = std::min (first, last);
    }

    static double size (int order) noexcept { return (double) ((int64) 1 << order); }

    [[nodiscard]] size_t numBins() const noexcept { return last - first + 1; }

    size_t first, last;    // bins
    int decimation = 1;    // of the lags, as the bins above are not needed
};

// Takes the edges off, whose step would be a click in every window.
void taper (std::span<float> samples)
{
    const auto length = samples.size() / taperShare;

    for (size_t i = 0; i < length; ++i)
    {
        const auto gain = 0.5f - 0.5f * std::cos (std::numbers::pi_v<float> * ((float) i + 0.5f) / (float) length);
        samples[i] *= gain;
        samples[samples.size() - 1 - i] *= gain;
    }
}

float rmsOf (std::span<const float> samples)
{
    if (samples.empty())
        return 0.0f;

    const auto energy = std::inner_product (samples.begin(), samples.end(), samples.begin(), 0.0);
    return (float) std::sqrt (energy / (double) samples.size());
}

LD_VECTOR_CLONES void whiten (const float* a, const float* b, float* out, std::ptrdiff_t bins, float scale)
{
    constexpr float smallest = 1e-20f;

    for (std::ptrdiff_t k = 0; k < bins; ++k)
    {
        const auto re = a[2 * k] * b[2 * k] + a[2 * k + 1] * b[2 * k + 1];
        const auto im = a[2 * k + 1] * b[2 * k] - a[2 * k] * b[2 * k + 1];
        const auto gain = scale / (std::sqrt (re * re + im * im) + smallest);
        out[2 * k] = re * gain;
        out[2 * k + 1] = im * gain;
    }
}

// A file that queries read stretches of; for one thread.
class StretchReader
{
public:
    StretchReader (const LagSource& source, const OnAudioRead& onRead)
        : audio (source.file, source.rate, onRead, source.clips)
    {
    }

    // Silence where the file has nothing.
    [[nodiscard]] std::vector<float> read (int channel, int64 start, int64 count) const
    {
        std::vector<float> stretch ((size_t) count);
        const auto from = std::clamp<int64> (start, 0, audio.length());
        const auto to = std::clamp<int64> (start + count, from, audio.length());

        if (to == from)
            return stretch;

        const auto part =
            channel == mixdownChannel ? audio.readMono (from, to - from) : audio.readChannel (channel, from, to - from);
        std::copy (part.begin(), part.end(), stretch.begin() + (from - start));
        return stretch;
    }

private:
    SourceAudio audio;
};

// Readers of the files that a run of windows needs.
class Readers
{
public:
    Readers (const std::vector<LagSource>& all, const OnAudioRead& told) : sources (all), onRead (told) {}

    const StretchReader& of (size_t source)
    {
        return readers.try_emplace (source, sources[source], onRead).first->second;
    }

private:
    const std::vector<LagSource>& sources;
    const OnAudioRead& onRead;
    std::map<size_t, StretchReader> readers;
};

struct WindowSpectrum
{
    Spectrum bins;    // of the band
    float level = 0.0f;
};

WindowSpectrum spectrumOf (std::vector<float> samples, std::span<const float> levelled, int order, const Band& band)
{
    WindowSpectrum window;
    window.level = rmsOf (levelled);

    if (window.level <= 0.0f)
        return window;

    taper (samples);
    RealFft::Buffer buffer (order);
    buffer.load (samples);
    buffer.forward();
    const auto all = buffer.spectrum();
    window.bins.assign (all.begin() + (std::ptrdiff_t) (2 * band.first),
                        all.begin() + (std::ptrdiff_t) (2 * (band.last + 1)));
    return window;
}

double parabolicShift (float before, float at, float after)
{
    const auto curvature = (double) before - 2.0 * (double) at + (double) after;
    return curvature < 0.0 ? std::clamp (0.5 * ((double) before - (double) after) / curvature, -0.5, 0.5) : 0.0;
}

// The highest peaks of a correlation by size, apart from each other by the guard.
std::vector<LagPeak> findPeaks (std::span<const float> r, size_t guard)
{
    std::vector<LagPeak> peaks;
    const auto rms = rmsOf (r);
    std::vector<float> sizes (r.size());
    std::transform (r.begin(), r.end(), sizes.begin(), [] (float value) { return std::abs (value); });

    while (peaks.size() < maxLagPeaks && rms > 0.0f)
    {
        const auto at = (size_t) (std::max_element (sizes.begin(), sizes.end()) - sizes.begin());
        const auto least =
            std::max (leastOverRms * rms, peaks.empty() ? 0.0f : leastOfHighest * std::abs (peaks.front().height));

        if (sizes[at] < least)
            break;

        const auto isInside = at > 0 && at + 1 < r.size();
        const auto sign = r[at] < 0.0f ? -1.0f : 1.0f;
        const auto shift = isInside ? parabolicShift (sign * r[at - 1], sizes[at], sign * r[at + 1]) : 0.0;

        if (isInside && sizes[at] > 0.0f)
            peaks.push_back ({ (double) at + shift, r[at], sizes[at] / rms });

        const auto from = at - std::min (at, guard), to = std::min (at + guard + 1, sizes.size());
        std::fill (sizes.begin() + (std::ptrdiff_t) from, sizes.begin() + (std::ptrdiff_t) to, 0.0f);
    }

    return peaks;
}

// One window of a host and every query about it.
class WindowJob
{
public:
    WindowJob (const std::vector<LagSource>& allSources, const LagQuery& first, Readers& readersToUse)
        : sources (allSources), readers (readersToUse), host (first.host), start (first.hostStart), order (first.order),
          reach (first.reach), rate (allSources[first.host].rate), band (first.order, rate)
    {
    }

    [[nodiscard]] LagAnswer answer (const LagQuery& query)
    {
        const auto length = ((int64) 1 << order) - 2 * reach;
        const auto guestStart = start + reach - query.roughLag;
        LagAnswer answer;
        answer.guestCentre = guestStart + length / 2;
        std::vector<WindowSpectrum> guests;

        for (const auto channel : query.guestChannels)
        {
            auto samples = readers.of (query.guest).read (channel, guestStart, length);
            const auto all = std::span<const float> (samples);
            const auto copy = std::vector<float> (all.begin(), all.end());
            guests.push_back (spectrumOf (std::move (samples), copy, order, band));
            answer.guestLevels.push_back (guests.back().level);
        }

        for (const auto channel : query.hostChannels)
        {
            const auto& hostWindow = hostSpectrum (channel);
            answer.hostLevels.push_back (hostWindow.level);

            for (size_t g = 0; g < guests.size(); ++g)
                answer.readings.push_back (
                    { channel, query.guestChannels[g], peaksOf (hostWindow, guests[g], query.roughLag) });
        }

        return answer;
    }

private:
    const WindowSpectrum& hostSpectrum (int channel)
    {
        const auto at = hostSpectra.find (channel);

        if (at != hostSpectra.end())
            return at->second;

        const auto size = (int64) 1 << order;
        auto samples = readers.of (host).read (channel, start, size);
        const std::vector<float> middle (samples.begin() + (std::ptrdiff_t) reach,
                                         samples.end() - (std::ptrdiff_t) reach);
        return hostSpectra.emplace (channel, spectrumOf (std::move (samples), middle, order, band)).first->second;
    }

    [[nodiscard]] std::vector<LagPeak>
    peaksOf (const WindowSpectrum& hostWindow, const WindowSpectrum& guest, int64 roughLag) const
    {
        if (hostWindow.bins.empty() || guest.bins.empty())
            return {};

        const auto log2Decimation = (int) std::lround (std::log2 (band.decimation));
        RealFft::Buffer correlation (order - log2Decimation);
        const auto bins = correlation.spectrum();
        std::fill (bins.begin(), bins.end(), 0.0f);
        const auto scale = (float) correlation.size() / (2.0f * (float) band.numBins());
        whiten (hostWindow.bins.data(),
                guest.bins.data(),
                bins.data() + 2 * band.first,
                (std::ptrdiff_t) band.numBins(),
                scale);
        correlation.inverse();

        constexpr double guardSeconds = 0.0003;
        const auto decimation = (double) band.decimation;
        const auto guard = (size_t) std::max (2.0, guardSeconds * rate / decimation);
        const auto lags = correlation.samples().first ((size_t) (2 * reach / band.decimation));
        auto peaks = findPeaks (lags, guard);

        for (auto& peak : peaks)
            peak.lag = peak.lag * decimation - (double) reach + (double) roughLag;

        return peaks;
    }

    const std::vector<LagSource>& sources;
    Readers& readers;
    size_t host;
    int64 start;
    int order;
    int64 reach;
    int rate;
    Band band;
    std::map<int, WindowSpectrum> hostSpectra;
};

// Queries by host, then by time: runs of windows that one worker answers, with the files open.
struct QueryOrder
{
    explicit QueryOrder (const std::vector<LagQuery>& queries) : indices (queries.size())
    {
        std::iota (indices.begin(), indices.end(), (size_t) 0);
        const auto keyOf = [&] (size_t i) {
            return std::tuple (queries[i].host, queries[i].hostStart, queries[i].order, queries[i].reach);
        };
        std::stable_sort (indices.begin(), indices.end(), [&] (auto a, auto b) { return keyOf (a) < keyOf (b); });

        for (size_t i = 0; i < indices.size(); ++i)
        {
            const auto isNewHost = i == 0 || queries[indices[i]].host != queries[indices[i - 1]].host;
            const auto isNewWindow = i == 0 || keyOf (indices[i]) != keyOf (indices[i - 1]);

            if (isNewWindow)
            {
                if (isNewHost || windowsInRun == windowsOfARun)
                {
                    runs.push_back (i);
                    windowsInRun = 0;
                }

                ++windowsInRun;
            }
        }

        runs.push_back (indices.size());
    }

    static constexpr int windowsOfARun = 12;
    std::vector<size_t> indices;    // of queries
    std::vector<size_t> runs;       // where each begins in the indices; the last is their end

private:
    int windowsInRun = 0;
};

}    // namespace

LagSource describeLagSource (const juce::File& file, int rate, const std::shared_ptr<ClipSounds>& clips)
{
    const SourceAudio audio (file, rate, {}, clips);
    return { file, rate, audio.isOpen() ? audio.numChannels() : 0, audio.length(), clips };
}

int lagWindowOrder (double seconds, int rate) noexcept
{
    const auto order = (int) std::lround (std::log2 (std::max (seconds * rate, 1.0)));
    return std::clamp (order, smallestOrder, RealFft::largestOrder);
}

std::vector<LagAnswer> measureLags (const std::vector<LagSource>& sources,
                                    const std::vector<LagQuery>& queries,
                                    int workers,
                                    const LagProgress& progress,
                                    const OnAudioRead& onRead)
{
    std::vector<LagAnswer> answers (queries.size());

    if (queries.empty())
        return answers;

    const QueryOrder order (queries);
    std::atomic<int> done { 0 };

    runWorkers (
        (int) order.runs.size() - 1,
        [&] (int run) {
        Readers readers (sources, onRead);
        std::optional<WindowJob> job;

        for (auto i = order.runs[(size_t) run]; i < order.runs[(size_t) run + 1]; ++i)
        {
            const auto& query = queries[order.indices[i]];
            const auto* before = i > order.runs[(size_t) run] ? &queries[order.indices[i - 1]] : nullptr;

            if (before == nullptr || before->hostStart != query.hostStart || before->order != query.order
                || before->reach != query.reach)
                job.emplace (sources, query, readers);

            answers[order.indices[i]] = job->answer (query);
            const auto count = ++done;

            if (progress)
                progress (count, (int) queries.size(), query.guest);
        }
        },
        workers);
    return answers;
}

}    // namespace ld
