#pragma once

#include "sync/Mfcc.h"
#include "sync/Signal.h"

#include <memory>
#include <mutex>
#include <span>

namespace ld
{

constexpr float mfccLockZScore = 5.0f;    // a peak this far above the noise floor is a match
constexpr int mfccQueryFrames = 2000;     // the longest query: 32 s

struct MfccResult
{
    juce::int64 offsetSamples = 0;    // lag at the caller's rate: guest sample g lies on host sample g + lag
    float zScore = 0.0f;              // of the peak over the whole correlation; 0 if nothing was computed
    float offsetSeconds = 0.0f;
    bool locked = false;

    bool operator== (const MfccResult&) const = default;
};

/** Half spectra of a matrix of coefficients, cut into blocks: transforms of one size fit queries and searches of any
    length, so that each is made once, whatever it is compared with. */
class ColumnSpectra
{
public:
    /** What a lag of the query is computed from: blocks of the search that overlap by the longest query. */
    [[nodiscard]] static ColumnSpectra ofSearch (std::span<const MfccFrame>);
    [[nodiscard]] static ColumnSpectra ofQuery (std::span<const MfccFrame>);

    [[nodiscard]] size_t numBlocks() const noexcept;
    [[nodiscard]] std::span<const float> spectrum (size_t block, size_t coefficient) const;

private:
    void addBlock (std::span<const MfccFrame>, juce::int64 firstFrame);

    std::vector<float> values;    // by block, then by coefficient
};

/** A signal as the search knows it. Searches and queries of any others share what is computed here. */
class MfccSignal
{
public:
    /** From 8 kHz samples, all of them; they are kept, so that a query of any length can be taken from it. */
    explicit MfccSignal (std::vector<float> samples);

    /** From blocks of 8 kHz samples. Of a long signal the samples are not kept: a query of it must be 2000 frames. */
    class Builder
    {
    public:
        /** numSamples   of the whole signal */
        explicit Builder (juce::int64 numSamples);
        void push (std::span<const float> samples);
        [[nodiscard]] MfccSignal finish();

    private:
        MfccAnalyser analyser;
        LoudestWindow loudest;
        juce::int64 numSamples;
        std::vector<float> samples;
    };

    [[nodiscard]] juce::int64 numSamples() const noexcept { return sampleCount; }
    [[nodiscard]] std::span<const MfccFrame> frames() const noexcept { return coefficients; }

    /** Made when first asked for, and kept; for any thread. */
    [[nodiscard]] const ColumnSpectra& searchSpectra() const;

    /** The loudest stretch of this many frames. The longest is kept, for any thread. */
    struct Query
    {
        size_t startFrame;
        ColumnSpectra spectra;
    };
    [[nodiscard]] std::shared_ptr<const Query> query (size_t numFrames) const;

    /** What one of these takes at most, bytes, with all that it makes when asked. */
    [[nodiscard]] static double bytesFor (double samplesAt8Khz);

private:
    MfccSignal() = default;
    [[nodiscard]] Query makeQuery (size_t numFrames) const;

    struct Made
    {
        std::once_flag searchOnce, queryOnce;
        ColumnSpectra searchSpectra;
        std::shared_ptr<const Query> longestQuery;
    };

    std::vector<MfccFrame> coefficients;
    juce::int64 sampleCount = 0;
    std::vector<float> samples;          // empty if they were not kept
    juce::int64 loudestOfLongest = 0;    // sample at which the loudest window of the longest query begins
    std::unique_ptr<Made> made = std::make_unique<Made>();
};

/** Finds the loudest stretch of a query, at most a third of the search and 32 s long, in the search.
    sampleRate   Hz, the rate of offsetSamples */
[[nodiscard]] MfccResult findQueryInSearch (const MfccSignal& search, const MfccSignal& query, int sampleRate);

/** The same for samples at 8 kHz. */
[[nodiscard]] MfccResult
findQueryInSearch (const std::vector<float>& search, const std::vector<float>& query, int sampleRate);

/** The lag of guest on host; the shorter of the two is the query. With bothWays also the other way round: the higher
    score stands. */
[[nodiscard]] MfccResult
computeMfccOffset (const MfccSignal& host, const MfccSignal& guest, int sampleRate, bool bothWays);

/** The lag of guest on host; the shorter of the two is the query. Needs 256 samples of each. */
[[nodiscard]] MfccResult computeMfccOffset (std::span<const float> host, std::span<const float> guest, int sampleRate);

/** As computeMfccOffset, and once more with the guest as search: the higher score stands. No command reaches it, nor the next:
    a scan makes each signal's coefficients once. */
[[nodiscard]] MfccResult
computeMfccOffsetBothWays (std::span<const float> host, std::span<const float> guest, int sampleRate);

/** The best score over the host's channels of at least 256 samples; the first of equals stands. */
[[nodiscard]] MfccResult computeMfccOffsetBest (const std::vector<std::vector<float>>& hostChannels,
                                                std::span<const float> guest,
                                                int sampleRate,
                                                bool bothWays);

/** The circular correlation of two columns at the transform size of gccPhat, with its cap of 2^20. No command reaches it: a
    search goes by blocks (ColumnSpectra). */
[[nodiscard]] std::vector<float> correlateColumn (const std::vector<float>& a, const std::vector<float>& b);

}    // namespace ld
