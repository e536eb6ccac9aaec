#include "sync/Mfcc.h"

#include "media/LargeBuffers.h"
#include "media/VectorClones.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr int transformOrder = 9;
constexpr double pi = juce::MathConstants<double>::pi;

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

}    // namespace

const MelFilterBank& melFilters()
{
    static const auto filters = makeMelFilters();
    return filters;
}

MfccAnalyser::MfccAnalyser (juce::int64 expectedSamples) : transform (transformOrder), numSamples (expectedSamples)
{
    frames.reserve (numSamples <= mfccFrameSamples ? 1 : (size_t) (numSamples - mfccFrameSamples) / mfccHopSamples + 1);
    adviseLargePages (frames.data(), frames.capacity() * sizeof (MfccFrame));
}

void MfccAnalyser::push (std::span<const float> samples)
{
    pending.insert (pending.end(), samples.begin(), samples.end());
    size_t used = 0;

    for (; used + mfccFrameSamples <= pending.size(); used += mfccHopSamples)
        addFrame (pending.data() + used);

    pending.erase (pending.begin(), pending.begin() + (std::ptrdiff_t) used);
}

void MfccAnalyser::addFrame (const float* samples)
{
    const auto& tables = MfccTables::get();
    const auto buffer = transform.samples();
    std::array<double, mfccSpectrumBins> power {};

    for (size_t i = 0; i < mfccFrameSamples; ++i)
        buffer[i] = samples[i] * tables.window[i];

    std::fill (buffer.begin() + mfccFrameSamples, buffer.end(), 0.0f);
    transform.forward();
    powerOf (transform.spectrum().data(), power.data());
    frames.push_back (cepstrumOf (power, tables));
}

std::vector<MfccFrame> MfccAnalyser::finish()
{
    if (numSamples <= mfccFrameSamples || frames.empty())
        return {};

    normaliseOverTime (frames);
    return std::move (frames);
}

std::vector<MfccFrame> computeMfcc (const std::vector<float>& samples)
{
    constexpr size_t blockSamples = 1 << 16;
    const std::span<const float> signal (samples);
    MfccAnalyser analyser ((juce::int64) samples.size());

    for (size_t start = 0; start < signal.size(); start += blockSamples)
        analyser.push (signal.subspan (start, std::min (blockSamples, signal.size() - start)));

    return analyser.finish();
}

}    // namespace ld
