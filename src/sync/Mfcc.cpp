#include "sync/Mfcc.h"

#include "media/Rounding.h"
#include "media/VectorClones.h"
#include "sync/Fft.h"
#include "sync/Signal.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>

namespace ld
{
namespace
{

using juce::int64;

constexpr int transformOrder = 9;
constexpr double pi = juce::MathConstants<double>::pi;
constexpr int64 shortestSignal = 256;

// The bins in which a triangle is above zero, so that the sums pass over the rest.
struct Triangle
{
    int firstBin, endBin;
};

double melOf (double hertz)
{
    return 2595.0 * std::log10 (1.0 + hertz / 700.0);
}

double hertzOf (double mel)
{
    return 700.0 * (std::pow (10.0, mel / 2595.0) - 1.0);
}

MelFilterBank makeMelFilters()
{
    constexpr auto lowest = 20.0, highest = 4000.0;
    constexpr auto binsPerHertz = (double) (1 << transformOrder) / mfccSampleRate;
    std::array<double, mfccCoefficients + 2> edges {};

    for (size_t i = 0; i < edges.size(); ++i)
    {
        const auto share = (double) i / (double) (edges.size() - 1);
        edges[i] = hertzOf (melOf (lowest) + share * (melOf (highest) - melOf (lowest))) * binsPerHertz;
    }

    // The last edge is the Nyquist bin itself, which the way there and back leaves a hair off.
    edges.back() = highest * binsPerHertz;

    MelFilterBank filters {};

    for (size_t k = 0; k < filters.size(); ++k)
    {
        const auto p0 = edges[k], p1 = edges[k + 1], p2 = edges[k + 2];

        for (int bin = 0; bin < mfccSpectrumBins; ++bin)
        {
            if (bin >= p0 && bin <= p1)
                filters[k][(size_t) bin] = (float) ((bin - p0) / (p1 - p0));
            else if (bin > p1 && bin <= p2)
                filters[k][(size_t) bin] = (float) ((p2 - bin) / (p2 - p1));
        }
    }

    return filters;
}

std::array<Triangle, mfccCoefficients> findTriangles()
{
    std::array<Triangle, mfccCoefficients> triangles {};

    for (size_t k = 0; k < triangles.size(); ++k)
    {
        const auto& row = melFilters()[k];
        const auto isAbove = [] (float weight) { return weight > 0.0f; };
        triangles[k].firstBin = (int) (std::find_if (row.begin(), row.end(), isAbove) - row.begin());
        triangles[k].endBin = (int) (row.rend() - std::find_if (row.rbegin(), row.rend(), isAbove));
    }

    return triangles;
}

std::array<float, mfccFrameSamples> makeHammingWindow()
{
    std::array<float, mfccFrameSamples> window {};

    for (size_t i = 0; i < window.size(); ++i)
        window[i] = 0.54f - 0.46f * std::cos (2.0f * (float) pi * (float) i / 255.0f);

    return window;
}

// The cosine transform's rows lie by filter, so that its inner loop runs over all coefficients at once.
using CosineTable = std::array<std::array<double, mfccCoefficients>, mfccCoefficients>;

CosineTable makeCosines()
{
    CosineTable cosines {};

    for (size_t m = 0; m < mfccCoefficients; ++m)
        for (size_t c = 0; c < mfccCoefficients; ++c)
            cosines[m][c] = std::cos (pi * (double) c * ((double) m + 0.5) / mfccCoefficients);

    return cosines;
}

// Everything that does not depend on the signal.
struct MfccTables
{
    const MelFilterBank& filters = melFilters();
    std::array<float, mfccFrameSamples> window = makeHammingWindow();
    std::array<Triangle, mfccCoefficients> triangles = findTriangles();
    CosineTable cosines = makeCosines();

    static const MfccTables& get()
    {
        static const MfccTables tables;
        return tables;
    }
};

// The power of the bins below the Nyquist bin, whose place stays at zero: it contributes nothing.
LD_VECTOR_CLONES void powerOf (const float* bins, double* power)
{
    power[0] = (double) bins[0] * bins[0];

    for (size_t k = 1; k < mfccSpectrumBins - 1; ++k)
        power[k] = (double) bins[2 * k] * bins[2 * k] + (double) bins[2 * k + 1] * bins[2 * k + 1];
}

double energyIn (const Triangle& triangle, const float* weights, const double* power)
{
    auto energy = 0.0;

    for (auto bin = triangle.firstBin; bin < triangle.endBin; ++bin)
        energy += (double) weights[bin] * power[bin];

    return energy;
}

LD_VECTOR_CLONES void cosineTransform (const double* logEnergies, const CosineTable& cosines, float* coefficients)
{
    std::array<double, mfccCoefficients> sums {};

    for (size_t m = 0; m < mfccCoefficients; ++m)
        for (size_t c = 0; c < mfccCoefficients; ++c)
            sums[c] += logEnergies[m] * cosines[m][c];

    for (size_t c = 0; c < mfccCoefficients; ++c)
        coefficients[c] = (float) sums[c];
}

MfccFrame cepstrumOf (std::span<const double> power, const MfccTables& tables)
{
    constexpr double floorEnergy = 1e-10;
    std::array<double, mfccCoefficients> logEnergies;

    for (size_t m = 0; m < mfccCoefficients; ++m)
    {
        const auto energy = energyIn (tables.triangles[m], tables.filters[m].data(), power.data());
        logEnergies[m] = (double) (float) std::log (energy + floorEnergy);
    }

    MfccFrame frame;
    cosineTransform (logEnergies.data(), tables.cosines, frame.data());
    return frame;
}

void normaliseOverTime (std::vector<MfccFrame>& frames)
{
    constexpr double flat = 1e-12;
    const auto count = (double) frames.size();
    std::array<double, mfccCoefficients> means {}, squares {};

    for (const auto& frame : frames)
        for (size_t c = 0; c < frame.size(); ++c)
            means[c] += frame[c];

    for (auto& mean : means)
        mean /= count;

    for (const auto& frame : frames)
        for (size_t c = 0; c < frame.size(); ++c)
            squares[c] += (frame[c] - means[c]) * (frame[c] - means[c]);

    MfccFrame scales;

    for (size_t c = 0; c < scales.size(); ++c)
        scales[c] = squares[c] > flat ? (float) (1.0 / std::sqrt (squares[c] / count)) : 0.0f;

    for (auto& frame : frames)
        for (size_t c = 0; c < frame.size(); ++c)
            frame[c] = (float) (scales[c] * (frame[c] - means[c]));
}

std::vector<float> columnOf (std::span<const MfccFrame> frames, size_t coefficient)
{
    std::vector<float> column (frames.size());
    std::transform (
        frames.begin(), frames.end(), column.begin(), [=] (const MfccFrame& frame) { return frame[coefficient]; });
    return column;
}

// a becomes the spectrum of the correlation: A times the conjugate of B.
void multiplyByConjugate (std::span<float> a, std::span<const float> b)
{
    for (size_t k = 0; k < a.size(); k += 2)
    {
        const auto re = a[k] * b[k] + a[k + 1] * b[k + 1];
        const auto im = a[k + 1] * b[k] - a[k] * b[k + 1];
        a[k] = re;
        a[k + 1] = im;
    }
}

void correlateInto (RealFft::Buffer& a, RealFft::Buffer& b)
{
    a.forward();
    b.forward();
    multiplyByConjugate (a.spectrum(), b.spectrum());
    a.inverse();
}

// How strongly the two agree at each lag, whatever the sign of a coefficient: the root of the sum of the squares of all
// columns' correlations.
std::vector<double> combinedCorrelation (std::span<const MfccFrame> search, std::span<const MfccFrame> query)
{
    RealFft::Buffer a (RealFft::orderFor ((double) (search.size() + query.size())));
    RealFft::Buffer b (a.order());
    std::vector<double> total ((size_t) a.size());

    for (size_t c = 0; c < mfccCoefficients; ++c)
    {
        a.load (columnOf (search, c));
        b.load (columnOf (query, c));
        correlateInto (a, b);
        const auto r = a.samples();

        for (size_t i = 0; i < total.size(); ++i)
            total[i] += (double) r[i] * r[i];
    }

    for (auto& value : total)
        value = std::sqrt (value);

    return total;
}

float zScoreOf (double best, const std::vector<double>& values)
{
    constexpr double flat = 1e-10;
    const auto count = (double) values.size();
    auto mean = 0.0, squares = 0.0;

    for (const auto value : values)
        mean += value;

    mean /= count;

    for (const auto value : values)
        squares += (value - mean) * (value - mean);

    const auto deviation = std::sqrt (squares / count);
    return deviation > flat ? (float) ((best - mean) / deviation) : 0.0f;
}

// Both signals at 8 kHz.
struct PreparedPair
{
    std::vector<float> host, guest;
    int rate;
};

std::optional<PreparedPair>
prepare (const float* host, int64 hostLength, const float* guest, int64 guestLength, int sampleRate)
{
    if (host == nullptr || guest == nullptr || std::min (hostLength, guestLength) < shortestSignal)
        return {};

    const auto rate = std::max (sampleRate, 100);
    const auto at8k = [rate] (const float* samples, int64 length) {
        return resampleTo (std::span (samples, (size_t) length), rate, mfccSampleRate);
    };
    return PreparedPair { at8k (host, hostLength), at8k (guest, guestLength), rate };
}

MfccResult findHostInGuest (const PreparedPair& pair)
{
    auto result = findQueryInSearch (pair.guest, pair.host, pair.rate);
    result.offsetSamples = -result.offsetSamples;
    result.offsetSeconds = -result.offsetSeconds;
    return result;
}

MfccResult offsetOf (const PreparedPair& pair)
{
    if (pair.host.size() + mfccFrameSamples < pair.guest.size())
        return findHostInGuest (pair);

    return findQueryInSearch (pair.host, pair.guest, pair.rate);
}

}    // namespace

const MelFilterBank& melFilters()
{
    static const auto filters = makeMelFilters();
    return filters;
}

std::vector<MfccFrame> computeMfcc (const std::vector<float>& samples)
{
    if (samples.size() <= mfccFrameSamples)
        return {};

    const auto& tables = MfccTables::get();
    std::vector<MfccFrame> frames ((samples.size() - mfccFrameSamples) / mfccHopSamples + 1);
    RealFft::Buffer transform (transformOrder);

    std::array<double, mfccSpectrumBins> power {};

    for (size_t f = 0; f < frames.size(); ++f)
    {
        const auto* at = samples.data() + f * mfccHopSamples;
        const auto buffer = transform.samples();

        for (size_t i = 0; i < mfccFrameSamples; ++i)
            buffer[i] = at[i] * tables.window[i];

        std::fill (buffer.begin() + mfccFrameSamples, buffer.end(), 0.0f);
        transform.forward();
        powerOf (transform.spectrum().data(), power.data());
        frames[f] = cepstrumOf (power, tables);
    }

    normaliseOverTime (frames);
    return frames;
}

std::vector<float> correlateColumn (const std::vector<float>& a, const std::vector<float>& b)
{
    RealFft::Buffer first (RealFft::orderFor ((double) (a.size() + b.size())));
    RealFft::Buffer second (first.order());
    first.load (a);
    second.load (b);
    correlateInto (first, second);
    const auto r = first.samples();
    return { r.begin(), r.end() };
}

MfccResult findQueryInSearch (const std::vector<float>& search, const std::vector<float>& query, int sampleRate)
{
    constexpr size_t fewestFrames = 10;
    constexpr size_t mostQueryFrames = 2000;

    const auto searchFrames = computeMfcc (search);
    const auto queryFrames = computeMfcc (query);

    if (std::min (searchFrames.size(), queryFrames.size()) < fewestFrames)
        return {};

    const auto length = std::min ({ queryFrames.size(), searchFrames.size() / 3, mostQueryFrames });

    if (length < fewestFrames)
        return {};

    const auto loudest = (size_t) loudestWindowStart (query, (int64) length * mfccHopSamples) / mfccHopSamples;
    const auto startFrame = std::min (queryFrames.size() - length, loudest);
    const auto total = combinedCorrelation (searchFrames, std::span (queryFrames).subspan (startFrame, length));
    const auto best = std::max_element (total.begin(), total.end());
    const auto lagFrames =
        lagFromIndex (best - total.begin(), (int64) total.size(), (int64) length) - (int64) startFrame;

    MfccResult result;
    result.zScore = zScoreOf (*best, total);
    result.offsetSeconds = (float) lagFrames * (float) mfccHopSamples / (float) mfccSampleRate;
    result.offsetSamples = roundToSamples ((double) sampleRate * result.offsetSeconds);
    result.locked = result.zScore >= mfccLockZScore;
    return result;
}

MfccResult
computeMfccOffset (const float* host, int64 hostLength, const float* guest, int64 guestLength, int sampleRate)
{
    const auto pair = prepare (host, hostLength, guest, guestLength, sampleRate);
    return pair ? offsetOf (*pair) : MfccResult {};
}

MfccResult
computeMfccOffsetBothWays (const float* host, int64 hostLength, const float* guest, int64 guestLength, int sampleRate)
{
    const auto pair = prepare (host, hostLength, guest, guestLength, sampleRate);

    if (! pair)
        return {};

    const auto oneWay = offsetOf (*pair);
    const auto otherWay = findHostInGuest (*pair);
    return otherWay.zScore > oneWay.zScore ? otherWay : oneWay;
}

MfccResult computeMfccOffsetBest (const std::vector<std::vector<float>>& hostChannels,
                                  const float* guest,
                                  int64 guestLength,
                                  int sampleRate,
                                  bool bothWays)
{
    MfccResult best;

    for (const auto& channel : hostChannels)
    {
        const auto search = bothWays ? computeMfccOffsetBothWays : computeMfccOffset;
        const auto result = search (channel.data(), (int64) channel.size(), guest, guestLength, sampleRate);

        if (result.zScore > best.zScore)
            best = result;
    }

    return best;
}

}    // namespace ld
