#include "sync/MfccSearch.h"

#include "media/LargeBuffers.h"
#include "media/Rounding.h"
#include "media/VectorClones.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace ld
{
namespace
{

using juce::int64;

constexpr int64 shortestSignal = 256;
constexpr size_t fewestFrames = 10;

// A block of the search answers for as many lags as the longest query leaves it: 8192 - 2000 + 1, cut to a round figure.
constexpr int blockOrder = 13;
constexpr int64 blockFrames = 1 << blockOrder;
constexpr int64 lagsPerBlock = 6144;
constexpr size_t spectrumFloats = blockFrames + 2;

// The first block begins ahead of the search by more than the longest query, for lags at which the query hangs over.
constexpr int64 firstLag = -2048;

// Correlations are circular, on transforms of at most this size: longer searches are cut there and wrap around.
constexpr int64 largestCircle = (int64) 1 << RealFft::largestOrder;

// A query under the longest is only taken from a signal that is not longer than its search, give or take a frame or
// two, and the search is then shorter than three of the longest.
constexpr int64 mostKeptSamples = ((int64) 3 * mfccQueryFrames + 8) * mfccHopSamples;

LD_VECTOR_CLONES void
multiplyByConjugate (const float* a, const float* b, float* product, std::ptrdiff_t floats) noexcept
{
    for (std::ptrdiff_t k = 0; k < floats; k += 2)
    {
        const auto re = a[k] * b[k] + a[k + 1] * b[k + 1];
        const auto im = a[k + 1] * b[k] - a[k] * b[k + 1];
        product[k] = re;
        product[k + 1] = im;
    }
}

LD_VECTOR_CLONES void addSquares (const float* values, double* sums, std::ptrdiff_t count) noexcept
{
    for (std::ptrdiff_t i = 0; i < count; ++i)
        sums[i] += (double) values[i] * values[i];
}

// How strongly the two agree at each lag of a block, whatever the sign of a coefficient: the root of the sum of the
// squares of all columns' correlations.
class BlockCorrelation
{
public:
    BlockCorrelation() : transform (blockOrder), totals ((size_t) lagsPerBlock) {}

    std::span<const double> operator() (const ColumnSpectra& search, size_t block, const ColumnSpectra& query)
    {
        std::fill (totals.begin(), totals.end(), 0.0);

        for (size_t c = 0; c < mfccCoefficients; ++c)
        {
            multiplyByConjugate (search.spectrum (block, c).data(),
                                 query.spectrum (0, c).data(),
                                 transform.spectrum().data(),
                                 (std::ptrdiff_t) spectrumFloats);
            transform.inverse();
            addSquares (transform.samples().data(), totals.data(), lagsPerBlock);
        }

        for (auto& total : totals)
            total = std::sqrt (total);

        return totals;
    }

private:
    RealFft::Buffer transform;
    std::vector<double> totals;
};

// The combined correlation on the circle that gccPhat would take for these lengths: lags ahead of the search stand at its
// end, and what no frame reaches is zero.
std::vector<double>
combinedCorrelation (const ColumnSpectra& search, int64 searchFrames, const ColumnSpectra& query, int64 queryFrames)
{
    const auto size = (int64) 1 << RealFft::orderFor ((double) (searchFrames + queryFrames));
    const auto used = std::min (searchFrames, size);
    const auto overhang = std::min (queryFrames - 1, size - used);
    std::vector<double> circle ((size_t) size);
    BlockCorrelation correlate;

    for (size_t block = 0; block < search.numBlocks(); ++block)
    {
        const auto totals = correlate (search, block, query);
        const auto blockLag = firstLag + (int64) block * lagsPerBlock;

        for (int64 i = 0; i < lagsPerBlock; ++i)
        {
            const auto lag = blockLag + i;

            if (lag >= -overhang && lag < used)
                circle[(size_t) (lag < 0 ? lag + size : lag)] = totals[(size_t) i];
        }
    }

    return circle;
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

MfccSignal signalOf (std::span<const float> samples, int rate)
{
    return MfccSignal (resampleTo (samples, rate, mfccSampleRate));
}

MfccResult findHostInGuest (const MfccSignal& host, const MfccSignal& guest, int rate)
{
    auto result = findQueryInSearch (guest, host, rate);
    result.offsetSamples = -result.offsetSamples;
    result.offsetSeconds = -result.offsetSeconds;
    return result;
}

MfccResult offsetOfSamples (std::span<const float> host, std::span<const float> guest, int sampleRate, bool bothWays)
{
    if ((int64) std::min (host.size(), guest.size()) < shortestSignal)
        return {};

    const auto rate = std::max (sampleRate, 100);
    return computeMfccOffset (signalOf (host, rate), signalOf (guest, rate), rate, bothWays);
}

}    // namespace

size_t ColumnSpectra::numBlocks() const noexcept
{
    return values.size() / (spectrumFloats * mfccCoefficients);
}

std::span<const float> ColumnSpectra::spectrum (size_t block, size_t coefficient) const
{
    return std::span (values).subspan ((block * mfccCoefficients + coefficient) * spectrumFloats, spectrumFloats);
}

void ColumnSpectra::addBlock (std::span<const MfccFrame> frames, int64 firstFrame)
{
    RealFft::Buffer transform (blockOrder);
    const auto count = std::min ((int64) frames.size(), largestCircle);

    for (size_t c = 0; c < mfccCoefficients; ++c)
    {
        const auto column = transform.samples();

        for (int64 i = 0; i < blockFrames; ++i)
        {
            const auto frame = (firstFrame + i + largestCircle) % largestCircle;
            column[(size_t) i] = frame < count ? frames[(size_t) frame][c] : 0.0f;
        }

        transform.forward();
        const auto bins = transform.spectrum();
        values.insert (values.end(), bins.begin(), bins.end());
    }
}

ColumnSpectra ColumnSpectra::ofSearch (std::span<const MfccFrame> frames)
{
    const auto count = std::min ((int64) frames.size(), largestCircle);
    const auto blocks = (count - firstLag + lagsPerBlock - 1) / lagsPerBlock;
    ColumnSpectra spectra;
    spectra.values.reserve ((size_t) blocks * mfccCoefficients * spectrumFloats);
    adviseLargePages (spectra.values.data(), spectra.values.capacity() * sizeof (float));

    for (int64 block = 0; block < blocks; ++block)
        spectra.addBlock (frames, firstLag + block * lagsPerBlock);

    return spectra;
}

ColumnSpectra ColumnSpectra::ofQuery (std::span<const MfccFrame> frames)
{
    jassert (frames.size() <= mfccQueryFrames);
    ColumnSpectra spectra;
    spectra.values.reserve (mfccCoefficients * spectrumFloats);
    spectra.addBlock (frames, 0);
    return spectra;
}

MfccSignal::MfccSignal (std::vector<float> allSamples)
    : coefficients (computeMfcc (allSamples)), sampleCount ((int64) allSamples.size()), samples (std::move (allSamples))
{
}

MfccSignal::Builder::Builder (int64 expectedSamples)
    : analyser (expectedSamples), loudest ((int64) mfccQueryFrames * mfccHopSamples), numSamples (expectedSamples)
{
    if (numSamples <= mostKeptSamples)
        samples.reserve ((size_t) numSamples);
}

void MfccSignal::Builder::push (std::span<const float> block)
{
    analyser.push (block);
    loudest.push (block);

    if (numSamples <= mostKeptSamples)
        samples.insert (samples.end(), block.begin(), block.end());
}

MfccSignal MfccSignal::Builder::finish()
{
    MfccSignal signal;
    signal.coefficients = analyser.finish();
    signal.sampleCount = numSamples;
    signal.samples = std::move (samples);
    signal.loudestOfLongest = loudest.finish();
    return signal;
}

const ColumnSpectra& MfccSignal::searchSpectra() const
{
    std::call_once (made->searchOnce, [this] { made->searchSpectra = ColumnSpectra::ofSearch (coefficients); });
    return made->searchSpectra;
}

MfccSignal::Query MfccSignal::makeQuery (size_t numFrames) const
{
    const auto window = (int64) numFrames * mfccHopSamples;
    const auto isKept = (int64) samples.size() == sampleCount;
    jassert (isKept || numFrames == mfccQueryFrames);
    const auto start = (size_t) (isKept ? loudestWindowStart (samples, window) : loudestOfLongest) / mfccHopSamples;
    const auto startFrame = std::min (coefficients.size() - numFrames, start);
    return { startFrame, ColumnSpectra::ofQuery (frames().subspan (startFrame, numFrames)) };
}

std::shared_ptr<const MfccSignal::Query> MfccSignal::query (size_t numFrames) const
{
    if (numFrames != mfccQueryFrames)
        return std::make_shared<const Query> (makeQuery (numFrames));

    std::call_once (made->queryOnce,
                    [&] { made->longestQuery = std::make_shared<const Query> (makeQuery (numFrames)); });
    return made->longestQuery;
}

double MfccSignal::bytesFor (double samplesAt8Khz)
{
    constexpr auto spectrumBytes = (double) (spectrumFloats * mfccCoefficients * sizeof (float));
    const auto numFrames = samplesAt8Khz / mfccHopSamples;
    const auto blocks = numFrames / (double) lagsPerBlock + 2.0;    // those of the search, and the query's
    return numFrames * sizeof (MfccFrame) + blocks * spectrumBytes
           + std::min (samplesAt8Khz, (double) mostKeptSamples) * sizeof (float);
}

MfccResult findQueryInSearch (const MfccSignal& search, const MfccSignal& query, int sampleRate)
{
    const auto searchFrames = search.frames().size(), queryFrames = query.frames().size();

    if (std::min (searchFrames, queryFrames) < fewestFrames)
        return {};

    const auto length = std::min ({ queryFrames, searchFrames / 3, (size_t) mfccQueryFrames });

    if (length < fewestFrames)
        return {};

    const auto placed = query.query (length);
    const auto circle =
        combinedCorrelation (search.searchSpectra(), (int64) searchFrames, placed->spectra, (int64) length);
    const auto best = std::max_element (circle.begin(), circle.end());
    const auto lagFrames =
        lagFromIndex (best - circle.begin(), (int64) circle.size(), (int64) length) - (int64) placed->startFrame;

    MfccResult result;
    result.zScore = zScoreOf (*best, circle);
    result.offsetSeconds = (float) lagFrames * (float) mfccHopSamples / (float) mfccSampleRate;
    result.offsetSamples = roundToSamples ((double) sampleRate * result.offsetSeconds);
    result.locked = result.zScore >= mfccLockZScore;
    return result;
}

MfccResult findQueryInSearch (const std::vector<float>& search, const std::vector<float>& query, int sampleRate)
{
    return findQueryInSearch (MfccSignal (search), MfccSignal (query), sampleRate);
}

MfccResult computeMfccOffset (const MfccSignal& host, const MfccSignal& guest, int sampleRate, bool bothWays)
{
    const auto rate = std::max (sampleRate, 100);
    const auto guestIsLonger = host.numSamples() + mfccFrameSamples < guest.numSamples();
    const auto oneWay = guestIsLonger ? findHostInGuest (host, guest, rate) : findQueryInSearch (host, guest, rate);

    if (! bothWays)
        return oneWay;

    const auto otherWay = findHostInGuest (host, guest, rate);
    return otherWay.zScore > oneWay.zScore ? otherWay : oneWay;
}

MfccResult computeMfccOffset (std::span<const float> host, std::span<const float> guest, int sampleRate)
{
    return offsetOfSamples (host, guest, sampleRate, false);
}

MfccResult computeMfccOffsetBothWays (std::span<const float> host, std::span<const float> guest, int sampleRate)
{
    return offsetOfSamples (host, guest, sampleRate, true);
}

MfccResult computeMfccOffsetBest (const std::vector<std::vector<float>>& hostChannels,
                                  std::span<const float> guest,
                                  int sampleRate,
                                  bool bothWays)
{
    MfccResult best;

    for (const auto& channel : hostChannels)
    {
        const auto result = offsetOfSamples (channel, guest, sampleRate, bothWays);

        if (result.zScore > best.zScore)
            best = result;
    }

    return best;
}

std::vector<float> correlateColumn (const std::vector<float>& a, const std::vector<float>& b)
{
    RealFft::Buffer first (RealFft::orderFor ((double) (a.size() + b.size())));
    RealFft::Buffer second (first.order());
    first.load (a);
    second.load (b);
    first.forward();
    second.forward();
    const auto bins = first.spectrum();
    multiplyByConjugate (bins.data(), second.spectrum().data(), bins.data(), (std::ptrdiff_t) bins.size());
    first.inverse();
    const auto r = first.samples();
    return { r.begin(), r.end() };
}

}    // namespace ld
