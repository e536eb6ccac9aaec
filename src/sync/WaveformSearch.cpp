#include "sync/WaveformSearch.h"

#include "media/Rounding.h"
#include "media/VectorClones.h"
#include "sync/Fft.h"
#include "sync/Signal.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ld
{
namespace
{

using juce::int64;

using Samples = std::span<const float>;

int64 lengthOf (Samples samples) noexcept
{
    return (int64) samples.size();
}

// The guest samples that lie on the host at a lag; length is negative where the two do not meet.
struct Overlap
{
    int64 start, length;
};

Overlap overlapAt (int64 hostLength, int64 guestLength, int64 lag) noexcept
{
    const auto start = std::max<int64> (-lag, 0);
    return { start, std::min (hostLength - lag, guestLength) - start };
}

// Replaces the spectrum of a by the whitened cross-spectrum of a and b.
LD_VECTOR_CLONES void whitenCrossSpectrum (float* a, const float* b, std::ptrdiff_t bins)
{
    constexpr float smallestMagnitude = 1e-12f;
    constexpr float regulariser = 1e-6f;

    for (std::ptrdiff_t k = 0; k < bins; ++k)
    {
        const auto re = a[2 * k] * b[2 * k] + a[2 * k + 1] * b[2 * k + 1];
        const auto im = a[2 * k + 1] * b[2 * k] - a[2 * k] * b[2 * k + 1];

        // The squares are exact in double, which makes this the correctly rounded hypot of two floats.
        const auto magnitude = (float) std::sqrt ((double) re * re + (double) im * im);
        const auto divisor = magnitude + regulariser;
        const auto isAudible = magnitude > smallestMagnitude;
        a[2 * k] = isAudible ? re / divisor : 0.0f;
        a[2 * k + 1] = isAudible ? im / divisor : 0.0f;
    }

    a[0] = a[1] = 0.0f;
}

struct Peak
{
    float best = -1.0f, second = -1.0f;
    int64 bestIndex = 0;
};

float largestOf (std::span<const float> values) noexcept
{
    auto largest = values.front();

    for (const auto value : values)
        largest = value > largest ? value : largest;

    return largest;
}

// The highest value and the runner-up beyond a guard distance. The flank that rises into a new best counts as runner-up,
// however near it lies.
Peak findPeak (std::span<const float> r)
{
    constexpr size_t blockSize = 64;
    const auto size = (int64) r.size();
    const auto guard = std::max<int64> (size / 64, 8);
    Peak peak;

    for (size_t blockStart = 0; blockStart < r.size(); blockStart += blockSize)
    {
        const auto block = r.subspan (blockStart, std::min (blockSize, r.size() - blockStart));

        // The runner-up is never above the best: a block that does not pass it changes neither.
        if (largestOf (block) <= peak.second)
            continue;

        for (size_t i = 0; i < block.size(); ++i)
        {
            const auto k = (int64) blockStart + (int64) i;

            if (block[i] > peak.best)
            {
                peak.second = peak.best;
                peak.best = block[i];
                peak.bestIndex = k;
            }
            else if (block[i] > peak.second)
            {
                const auto distance = std::abs (k - peak.bestIndex);

                if (std::min (distance, size - distance) > guard)
                    peak.second = block[i];
            }
        }
    }

    return peak;
}

std::vector<float> energyEnvelope (Samples signal, int64 hop)
{
    std::vector<float> envelope (signal.size() / (size_t) hop);

    for (size_t i = 0; i < envelope.size(); ++i)
    {
        auto sum = 0.0;

        for (const auto sample : signal.subspan (i * (size_t) hop, (size_t) hop))
            sum += (double) sample * sample;

        envelope[i] = (float) std::log1p (sum / (double) hop);
    }

    return envelope;
}

std::vector<float> everyNth (const std::vector<float>& values, int64 stride)
{
    std::vector<float> taken;
    taken.reserve (values.size() / (size_t) stride + 1);

    for (size_t i = 0; i < values.size(); i += (size_t) stride)
        taken.push_back (values[i]);

    return taken;
}

// A stretch of the guest and the host around the place where a lag puts it.
struct WindowBounds
{
    int64 hostStart, hostLength, guestStart, guestLength;

    [[nodiscard]] bool isShorterThan (int64 samples) const { return std::min (hostLength, guestLength) < samples; }
    [[nodiscard]] int64 toWholeLag (int64 local) const { return hostStart - guestStart + local; }
};

// Windows of a guest against the host around the place where a lag puts them.
struct WindowGrid
{
    int64 hostLength, guestLength, lag;
    int64 window, radius;    // of the guest, and beyond it on the host to either side

    [[nodiscard]] WindowBounds at (int64 guestStart) const noexcept
    {
        const auto length = std::min (guestLength - guestStart, window);
        const auto hostStart = std::max<int64> (guestStart + lag - radius, 0);
        const auto hostEnd = std::min (guestStart + lag + radius + length, hostLength);
        return { hostStart, hostEnd - hostStart, guestStart, length };
    }
};

struct MeasuredWindow
{
    Samples host, guest;
    int64 guestStart;
    AlignResult local;
    int64 lag;

    [[nodiscard]] float correlation() const { return correlationAtLag (host, guest, local.lag); }
};

// Which windows are measured: those at these fractions of the overlap that are long enough.
struct WindowPlan
{
    std::span<const double> fractions;
    int64 window, radius, shortest;
};

std::vector<MeasuredWindow> measureWindows (Samples host, Samples guest, int64 lag, const WindowPlan& plan)
{
    const auto overlap = overlapAt (lengthOf (host), lengthOf (guest), lag);
    const auto span = (double) std::max<int64> (overlap.length - plan.window, 0);
    const WindowGrid grid { lengthOf (host), lengthOf (guest), lag, plan.window, plan.radius };
    std::vector<MeasuredWindow> measured;

    for (const auto fraction : plan.fractions)
    {
        const auto guestStart = overlap.start + roundToSamples (fraction * span);
        const auto bounds = grid.at (guestStart);

        if (bounds.isShorterThan (plan.shortest))
            continue;

        const auto hostPart = host.subspan ((size_t) bounds.hostStart, (size_t) bounds.hostLength);
        const auto guestPart = guest.subspan ((size_t) bounds.guestStart, (size_t) bounds.guestLength);
        const auto local = gccPhat (hostPart, guestPart);
        measured.push_back ({ hostPart, guestPart, guestStart, local, bounds.toWholeLag (local.lag) });
    }

    return measured;
}

struct LagPoint
{
    int64 guestPosition, lag;
};

// Least squares; the slope's share of the result is the lag's change per guest sample.
void fitLine (const std::vector<LagPoint>& points, int64 rate, DriftResult& result)
{
    constexpr double steepest = 0.005;
    const auto count = (double) points.size();
    auto meanX = 0.0, meanY = 0.0, sxx = 0.0, sxy = 0.0, worst = 0.0;

    for (const auto& point : points)
    {
        meanX += (double) point.guestPosition;
        meanY += (double) point.lag;
    }

    meanX /= count;
    meanY /= count;

    for (const auto& point : points)
    {
        const auto dx = (double) point.guestPosition - meanX;
        sxx += dx * dx;
        sxy += dx * ((double) point.lag - meanY);
    }

    const auto slope = sxx > 1.0 ? sxy / sxx : 0.0;
    const auto intercept = meanY - slope * meanX;

    for (const auto& point : points)
        worst = std::max (worst, std::abs ((double) point.lag - (intercept + slope * (double) point.guestPosition)));

    const auto limit = (double) std::max<int64> (rate / 50, 64);
    result.offsetSamples = roundToSamples (intercept);
    result.driftSlope = worst > limit ? 0.0 : std::clamp (slope, -steepest, steepest);
}

}    // namespace

AlignResult gccPhat (Samples a, Samples b)
{
    constexpr size_t shortest = 16;

    if (std::min (a.size(), b.size()) < shortest)
        return {};

    const auto order = RealFft::orderFor ((double) a.size() + (double) b.size());
    RealFft::Buffer correlation (order), placed (order);
    correlation.load (a);
    placed.load (b);
    correlation.forward();
    placed.forward();
    whitenCrossSpectrum (correlation.spectrum().data(), placed.spectrum().data(), correlation.size() / 2 + 1);
    correlation.inverse();

    constexpr float noRunnerUp = 1e-8f;
    const auto peak = findPeak (correlation.samples());
    const auto size = (int64) correlation.size();

    AlignResult result;
    result.lag = lagFromIndex (peak.bestIndex, size, std::min (lengthOf (b), size));
    result.confidence =
        peak.second > noRunnerUp ? std::clamp ((peak.best / peak.second - 1.0f) * 2.0f, 0.0f, 1.0f) : 1.0f;
    result.found = peak.best > 0.0f;
    return result;
}

AlignResult envelopeCoarse (Samples a, Samples b, int sampleRate)
{
    constexpr int valuesPerSecond = 80;
    constexpr int64 hopWithoutRate = 600;
    constexpr size_t fewestValues = 8;
    constexpr int64 mostValues = 262144;

    const auto hop = sampleRate >= 100 ? std::max (sampleRate / valuesPerSecond, 1) : hopWithoutRate;
    const auto envelopeA = energyEnvelope (a, hop);
    const auto envelopeB = energyEnvelope (b, hop);

    if (std::min (envelopeA.size(), envelopeB.size()) < fewestValues)
        return gccPhat (a, b);

    const auto longest = (int64) std::max (envelopeA.size(), envelopeB.size());
    const auto stride = longest > mostValues ? longest / mostValues + 1 : 1;
    auto result = stride == 1 ? gccPhat (envelopeA, envelopeB)
                              : gccPhat (everyNth (envelopeA, stride), everyNth (envelopeB, stride));
    result.lag *= stride * hop;
    return result;
}

AlignResult refineAround (Samples host, Samples guest, int64 roughLag, const RefineRange& range)
{
    return refineAround (SignalOnDemand::of (host), SignalOnDemand::of (guest), roughLag, range);
}

AlignResult
refineAround (const SignalOnDemand& host, const SignalOnDemand& guest, int64 roughLag, const RefineRange& range)
{
    constexpr int64 shortest = 32;
    constexpr int64 shortestSlide = 256;
    const AlignResult tooShort { roughLag, 0.15f, true };
    const AlignResult noPeak { roughLag, 0.1f, true };
    const auto overlap = overlapAt (host.length, guest.length, roughLag);

    if (overlap.length < shortest)
        return tooShort;

    const auto rate = (int64) (range.sampleRate < 1 ? 48000 : range.sampleRate);
    const auto window = std::min (range.windowSeconds * rate, overlap.length);
    const auto radius = rate * range.searchSeconds;

    // The raised width may exceed the overlap; then the scan has nothing to slide over.
    LoudestWindow loudest (std::max (window, shortestSlide));
    guest.visitBlocks (overlap.start, overlap.length, [&] (int64, auto samples) { loudest.push (samples); });
    const WindowGrid grid { host.length, guest.length, roughLag, window, radius };
    const auto bounds = grid.at (overlap.start + loudest.finish());

    if (bounds.isShorterThan (shortest))
        return tooShort;

    std::vector<float> hostScratch, guestScratch;
    const auto hostPart = host.read (bounds.hostStart, bounds.hostLength, hostScratch);
    const auto guestPart = guest.read (bounds.guestStart, bounds.guestLength, guestScratch);
    auto result = gccPhat (hostPart, guestPart);
    result.lag = bounds.toWholeLag (result.lag);

    if (! result.found || std::abs (result.lag - roughLag) >= radius - 1)
        return noPeak;

    return result;
}

float correlationAtLag (Samples host, Samples guest, int64 lag)
{
    return correlationAtLag (SignalOnDemand::of (host), SignalOnDemand::of (guest), lag);
}

float correlationAtLag (const SignalOnDemand& host, const SignalOnDemand& guest, int64 lag)
{
    constexpr int64 shortest = 32;
    constexpr int64 mostPairs = 200000;
    constexpr double silence = 1e-12;

    const auto overlap = overlapAt (host.length, guest.length, lag);

    if (overlap.length < shortest)
        return 0.0f;

    const auto stride = std::max<int64> (overlap.length / mostPairs, 1);
    auto hostEnergy = 0.0, guestEnergy = 0.0, product = 0.0;
    auto next = overlap.start;
    std::vector<float> hostScratch;

    guest.visitBlocks (overlap.start, overlap.length, [&] (int64 blockStart, auto guestPart) {
        const auto hostPart = host.read (blockStart + lag, (int64) guestPart.size(), hostScratch);

        for (; next < blockStart + (int64) guestPart.size(); next += stride)
        {
            const auto h = (double) hostPart[(size_t) (next - blockStart)];
            const auto g = (double) guestPart[(size_t) (next - blockStart)];
            hostEnergy += h * h;
            guestEnergy += g * g;
            product += h * g;
        }
    });

    const auto norm = std::sqrt (hostEnergy * guestEnergy);
    return norm > silence ? (float) std::min (std::abs (product) / norm, 1.0) : 0.0f;
}

DriftResult measureDrift (Samples host, Samples guest, int64 lag, int sampleRate)
{
    constexpr double anchors[] = { 0.12, 0.3, 0.5, 0.7, 0.88 };
    constexpr int64 shortest = 64;
    constexpr float leastConfidence = 0.18f;
    constexpr float leastCorrelation = 0.12f;

    DriftResult result;
    result.offsetSamples = lag;
    const auto rate = (int64) std::max (sampleRate, 100);
    const auto overlap = overlapAt (lengthOf (host), lengthOf (guest), lag);

    if (overlap.length < rate)
        return result;

    const auto window = std::min (std::max (overlap.length / 8, rate / 2), 2 * rate);
    const auto wanderRadius = rate / 20 + roundToSamples ((double) overlap.length * 0.005);
    const auto radius = wanderRadius < 256 ? 256 : std::min (wanderRadius, 2 * rate);
    std::vector<LagPoint> points;
    auto correlationSum = 0.0f;

    for (const auto& measured : measureWindows (host, guest, lag, { anchors, window, radius, shortest }))
    {
        const auto correlation = measured.correlation();

        if (measured.local.found && measured.local.confidence >= leastConfidence && correlation >= leastCorrelation
            && std::abs (measured.lag - lag) <= 3 * radius)
        {
            points.push_back ({ measured.guestStart, measured.lag });
            correlationSum += correlation;
        }
    }

    result.windowsTried = (int) std::size (anchors);
    result.windowsAccepted = (int) points.size();

    if (points.size() < 2)
        return result;

    fitLine (points, rate, result);
    result.meanCorrelation = correlationSum / (float) points.size();
    result.reliable = true;
    return result;
}

VerifyResult verifyAlignment (Samples host, Samples guest, int64 lag, int sampleRate)
{
    constexpr double fractions[] = { 0.1, 0.5, 0.9 };
    constexpr int64 shortestSignal = 4096;
    constexpr int64 shortest = 32;
    constexpr float leastConfidence = 0.2f;

    VerifyResult result;
    const auto overlap = overlapAt (lengthOf (host), lengthOf (guest), lag);

    if (std::min ({ lengthOf (host), lengthOf (guest), overlap.length }) < shortestSignal)
        return result;

    const auto rate = (int64) std::max (sampleRate, 100);
    const auto window = std::min (std::max<int64> (overlap.length / 5, 2048), 2 * rate);
    const auto margin = std::max<int64> (rate / 10, 64);
    std::vector<int64> lags;
    auto confidenceSum = 0.0f;

    for (const auto& measured : measureWindows (host, guest, lag, { fractions, window, margin, shortest }))
    {
        const auto& local = measured.local;

        if (local.found && local.confidence >= leastConfidence && std::abs (measured.lag - lag) <= margin)
        {
            lags.push_back (measured.lag);
            confidenceSum += local.confidence;
        }
    }

    result.windowsChecked = (int) std::size (fractions);

    if (lags.empty())
        return result;

    std::sort (lags.begin(), lags.end());
    result.medianLag = lags[lags.size() / 2];
    result.meanConfidence = confidenceSum / (float) lags.size();
    result.maxDeviation = std::max (result.medianLag - lags.front(), lags.back() - result.medianLag);

    const auto tolerance = std::max<int64> (rate / 1000, 8);
    const auto agrees = [&] (int64 windowLag) { return std::abs (windowLag - result.medianLag) <= tolerance; };
    result.windowsAgreeing = (int) std::count_if (lags.begin(), lags.end(), agrees);
    result.verified =
        result.maxDeviation <= tolerance && result.windowsAgreeing == (int) lags.size() && lags.size() >= 2;
    return result;
}

}    // namespace ld
