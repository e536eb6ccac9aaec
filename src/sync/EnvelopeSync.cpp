#include "sync/EnvelopeSync.h"

#include "media/Rounding.h"
#include "sync/Fft.h"
#include "sync/Signal.h"
#include "sync/WaveformSearch.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <span>

namespace ld
{
namespace
{

using juce::int64;

constexpr int searchRate = 8000;    // Hz; the fine search works on the sound itself at this rate
constexpr int envelopeRate = 100;
constexpr size_t fewestValues = 8;

// A first-order high-pass, once over the values.
void highPass (std::vector<float>& values)
{
    constexpr double cutOffHz = 0.05;
    constexpr double coefficient = 1.0 / (1.0 + 2.0 * std::numbers::pi * cutOffHz / envelopeRate);
    auto previous = values.front();

    for (size_t i = 1; i < values.size(); ++i)
    {
        const auto value = values[i];
        values[i] = (float) (((double) values[i - 1] + value - previous) * coefficient);
        previous = value;
    }
}

// Forward and backward, which leaves every phase in its place.
void takeOutSlowChanges (std::vector<float>& values)
{
    for (int pass = 0; pass < 2; ++pass)
    {
        highPass (values);
        std::reverse (values.begin(), values.end());
    }
}

void trimEnds (std::vector<float>& values)
{
    constexpr size_t mostTrimmed = 150;    // 1.5 s
    const auto trim = std::min (values.size() / 5, mostTrimmed);

    if (trim > 0 && 2 * trim + fewestValues <= values.size() - 1)
        values = std::vector<float> (values.begin() + (std::ptrdiff_t) trim, values.end() - (std::ptrdiff_t) trim);
}

// Running sums of the squares at every hop: entry k is the sum of the first k hops. The last one is the whole signal's.
std::vector<double> sumsOfSquares (const std::vector<float>& samples, size_t hop)
{
    std::vector<double> sums { 0.0 };
    sums.reserve (samples.size() / hop + 2);
    auto sum = 0.0;

    for (size_t start = 0; start < samples.size(); start += hop)
    {
        for (size_t i = start; i < std::min (start + hop, samples.size()); ++i)
            sum += (double) samples[i] * samples[i];

        sums.push_back (sum);
    }

    return sums;
}

// The logarithm of the level in each window.
std::vector<float> logLevels (const std::vector<float>& samples, int sampleRate)
{
    constexpr size_t hopsOfWindow = 5;
    const auto hop = (size_t) std::max (sampleRate, 0) / envelopeRate, window = hopsOfWindow * hop;
    const auto shortest = 4 * hop;
    std::vector<float> levels;

    if (hop < 1 || samples.size() <= shortest)
        return levels;

    constexpr double leastPower = 1e-9, floorLevel = 0.001;
    const auto sums = sumsOfSquares (samples, hop);
    const auto frames = (std::max (samples.size(), window) - window) / hop + 1;
    levels.reserve (frames);

    for (size_t i = 0; i < frames; ++i)
    {
        const auto end = std::min (i + hopsOfWindow, sums.size() - 1);
        const auto power = (sums[end] - sums[i]) / (double) window;
        levels.push_back ((float) std::log (std::sqrt (std::max (power, leastPower)) + floorLevel));
    }

    return levels;
}

// As much of the signal as the buffer holds is loaded, the whole of it having a mean of 0 and a deviation of 1. A constant
// becomes silence.
void loadZScored (RealFft::Buffer& buffer, std::vector<float> signal)
{
    constexpr double smallestDeviation = 1e-12;
    const auto count = (double) signal.size();
    auto sum = 0.0, squares = 0.0;

    for (const auto value : signal)
        sum += value;

    const auto mean = sum / count;

    for (auto& value : signal)
    {
        const auto difference = value - mean;
        squares += difference * difference;
        value = (float) difference;
    }

    if (const auto deviation = std::sqrt (squares / count); deviation > smallestDeviation)
        for (auto& value : signal)
            value *= (float) (1.0 / deviation);

    buffer.load (signal);
}

// Replaces the spectrum of a by the cross-spectrum of a and b.
void multiplyByConjugate (std::span<float> a, std::span<const float> b)
{
    for (size_t k = 0; k < a.size(); k += 2)
    {
        const auto re = a[k] * b[k] + a[k + 1] * b[k + 1];
        a[k + 1] = a[k + 1] * b[k] - a[k] * b[k + 1];
        a[k] = re;
    }
}

/** Where the guest lies by one window: both in seconds, the place in the guest and the offset on the host. */
struct WindowPlace
{
    double at = 0.0, offset = 0.0;
};

/** The two signals at searchRate, and the rough place that the windows start from. */
struct WindowSearch
{
    const std::vector<float>& host;
    const std::vector<float>& guest;
    double roughSeconds = 0.0;

    /** Nothing where the window's sound, with what surrounds it on the host, is not there, or is not alike. */
    [[nodiscard]] std::optional<WindowPlace> placeOf (double at) const;
};

constexpr double windowSeconds = 60.0, marginSeconds = 1.5;

std::optional<WindowPlace> WindowSearch::placeOf (double at) const
{
    constexpr auto windowSamples = (int64) windowSeconds * searchRate;
    constexpr float leastScore = 0.05f;
    const auto onHost = roughSeconds + at;
    const auto hostLength = (int64) host.size();
    const auto guestStart = roundToSamples (at * searchRate);

    if (onHost < marginSeconds || onHost + windowSeconds + marginSeconds > (double) hostLength / searchRate
        || guestStart + windowSamples > (int64) guest.size())
        return {};

    const auto from = std::max<int64> (roundToSamples ((onHost - marginSeconds) * searchRate), 0);
    const auto to =
        std::min<int64> (roundToSamples ((onHost + windowSeconds + marginSeconds) * searchRate), hostLength);

    if (to - from < windowSamples)
        return {};

    const auto stretch = [] (const std::vector<float>& signal, int64 start, int64 end) {
        return std::vector<float> (signal.begin() + start, signal.begin() + end);
    };
    const auto peak =
        correlateNormalized (stretch (host, from, to), stretch (guest, guestStart, guestStart + windowSamples));

    if (! peak.valid || std::abs (peak.score) <= leastScore)
        return {};

    return WindowPlace { at, (double) (peak.lag + from) / searchRate - at };
}

struct Line
{
    double slope = 0.0, meanAt = 0.0, meanOffset = 0.0;

    [[nodiscard]] double valueAt (double at) const { return meanOffset + slope * (at - meanAt); }
};

// Least squares.
Line fitLine (const std::vector<WindowPlace>& places)
{
    constexpr double smallestSpread = 1e-9;
    const auto count = (double) places.size();
    Line line;

    for (const auto& place : places)
    {
        line.meanAt += place.at / count;
        line.meanOffset += place.offset / count;
    }

    auto products = 0.0, squares = 0.0;

    for (const auto& place : places)
    {
        products += (place.at - line.meanAt) * (place.offset - line.meanOffset);
        squares += (place.at - line.meanAt) * (place.at - line.meanAt);
    }

    line.slope = squares > smallestSpread ? products / squares : 0.0;
    return line;
}

double upperMedianOf (const std::vector<WindowPlace>& places)
{
    std::vector<double> offsets;
    offsets.reserve (places.size());

    for (const auto& place : places)
        offsets.push_back (place.offset);

    std::sort (offsets.begin(), offsets.end());
    return offsets[offsets.size() / 2];
}

// What the windows say of the place; without any, the envelopes' own stands.
void decide (EnvelopeSyncResult& result, const std::vector<WindowPlace>& places, double guestSeconds, int rate)
{
    constexpr size_t fewestOfALine = 3;
    constexpr double steepest = 0.005;
    constexpr float leastConfidence = 0.05f;

    if (places.size() >= fewestOfALine)
    {
        const auto line = fitLine (places);
        result.driftSlope = std::clamp (line.slope, -steepest, steepest);
        result.offsetSamples = roundToSamples (line.valueAt (guestSeconds / 2.0) * rate);
        result.reliable = true;
        return;
    }

    result.method = places.empty() ? "coarse" : "median";

    if (places.empty())
        return;

    result.offsetSamples = roundToSamples (upperMedianOf (places) * rate);
    result.reliable = result.confidence >= leastConfidence;
}

// Two flat recordings are not trusted however well they correlate. The levels are checked too: the filter starts from the
// level itself and needs seconds to forget it, so that even silence leaves an envelope that falls.
bool isFlat (const std::vector<float>& sound, const LogEnvelope& envelope)
{
    constexpr float leastDeviation = 0.04f;
    return stdDev (envelope.values) < leastDeviation || stdDev (logLevels (sound, searchRate)) < leastDeviation;
}

}    // namespace

LogEnvelope logEnvelope (const std::vector<float>& samples, int sampleRate)
{
    constexpr size_t fewestToFilter = 3;
    LogEnvelope envelope;
    envelope.values = logLevels (samples, sampleRate);

    if (envelope.values.size() >= fewestToFilter)
        takeOutSlowChanges (envelope.values);

    trimEnds (envelope.values);
    return envelope;
}

NormalizedPeak correlateNormalized (const std::vector<float>& a, const std::vector<float>& b)
{
    if (std::min (a.size(), b.size()) < fewestValues)
        return {};

    const auto order = RealFft::orderFor ((double) a.size() + (double) b.size());
    RealFft::Buffer correlation (order), placed (order);
    loadZScored (correlation, a);
    loadZScored (placed, b);
    correlation.forward();
    placed.forward();
    multiplyByConjugate (correlation.spectrum(), placed.spectrum());
    correlation.inverse();

    const auto values = correlation.samples();
    const auto best = std::max_element (values.begin(), values.end());
    const auto size = (int64) values.size(), used = std::min ((int64) b.size(), size);
    return { .lag = lagFromIndex (best - values.begin(), size, used),
             .score = (float) ((double) *best / (double) used),
             .valid = true };
}

EnvelopeSyncResult computeEnvelopeSync (std::span<const float> host, std::span<const float> guest, int sampleRate)
{
    constexpr size_t shortest = 32;
    constexpr size_t shortestToSearch = 64;
    constexpr int lowestRate = 100;
    constexpr double firstWindow = 60.0, windowDistance = 180.0;
    constexpr float leastConfidence = 0.25f;
    EnvelopeSyncResult result;

    if (std::min (host.size(), guest.size()) < shortest)
        return result;

    const auto rate = std::max (sampleRate, lowestRate);
    const auto hostSound = resampleTo (host, rate, searchRate);
    const auto guestSound = resampleTo (guest, rate, searchRate);

    if (std::min (hostSound.size(), guestSound.size()) < shortestToSearch)
        return result;

    const auto hostLevels = logEnvelope (hostSound, searchRate), guestLevels = logEnvelope (guestSound, searchRate);

    if (std::min (hostLevels.values.size(), guestLevels.values.size()) < fewestValues)
        return result;

    const auto rough = correlateNormalized (hostLevels.values, guestLevels.values);
    const WindowSearch search { hostSound, guestSound, (double) rough.lag / hostLevels.rate };
    const auto guestSeconds = (double) guestSound.size() / searchRate;
    result.offsetSamples = roundToSamples (search.roughSeconds * rate);
    result.confidence = correlationAtLag (hostLevels.values, guestLevels.values, rough.lag);
    std::vector<WindowPlace> places;

    for (int i = 0; firstWindow + i * windowDistance < guestSeconds - windowSeconds; ++i)
    {
        ++result.windowsTried;

        if (const auto place = search.placeOf (firstWindow + i * windowDistance))
            places.push_back (*place);
    }

    result.windowsUsed = (int) places.size();
    decide (result, places, guestSeconds, rate);

    if (places.empty())
        result.reliable = result.confidence >= leastConfidence && ! isFlat (hostSound, hostLevels)
                          && ! isFlat (guestSound, guestLevels);

    return result;
}

}    // namespace ld
