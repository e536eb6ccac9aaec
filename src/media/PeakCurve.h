#pragma once

#include <juce_core/juce_core.h>

#include <algorithm>
#include <optional>
#include <span>
#include <vector>

namespace ld
{

/** Lowest and highest sample of a stretch. */
struct PeakRange
{
    float low = 0.0f, high = 0.0f;

    bool operator== (const PeakRange&) const = default;
};

/** Lowest and highest sample of stretches of one length, one after the other. */
struct PeakLevel
{
    juce::int64 samplesPerBucket = 1;
    std::vector<float> minValues, maxValues;

    bool operator== (const PeakLevel&) const = default;
};

/** The drawn curves of one channel: lowest and highest sample of each bucket, a fixed number of them for the whole channel.
    For a closer look there are levels of fixed bucket lengths, finest first, each four times as long as the one before; none
    where a channel is so short that the buckets say it all. Together they take about 2 % of what the audio takes as floats. */
struct PeakLane
{
    std::vector<float> minValues, maxValues;
    juce::int64 sourceSamples = 0;    // samples that the lane spans
    std::vector<PeakLevel> levels {};

    bool operator== (const PeakLane&) const = default;
};

constexpr int hostPeakBuckets = 4096;
constexpr int guestPeakBuckets = 2048;
constexpr juce::int64 finestPeakBucket = 128;    // samples

/** The level for pixels of so many samples: the coarsest of which two buckets or more lie in a pixel, else the finest.
    Null where there is none. */
[[nodiscard]] const PeakLevel* levelFor (const PeakLane&, double samplesPerPixel) noexcept;

/** The range of all buckets that a stretch of samples meets; nothing where it meets none. */
[[nodiscard]] std::optional<PeakRange> rangeOver (const PeakLevel&, double fromSample, double toSample) noexcept;

/** The range of samples; nothing where none of them is a number. */
[[nodiscard]] std::optional<PeakRange> rangeOfSamples (std::span<const float> samples) noexcept;

/** Samples in memory as a level of such buckets; a bucket without a number is at 0. */
[[nodiscard]] PeakLevel levelOf (std::span<const float> audio, juce::int64 samplesPerBucket);

/** The lane of a channel in memory: buckets from at most 0 to at least 0, and its levels. */
[[nodiscard]] PeakLane peaksOf (std::span<const float> audio, int buckets);

/** Collects the lanes of several channels while their frames go by. */
class PeakCollector
{
public:
    /** heldFrames   that there are to be added, at most numFrames: no level is longer, whatever a header promises */
    PeakCollector (size_t channels, juce::int64 numFrames, juce::int64 heldFrames, int buckets);

    /** Where the next range has to end, frames. */
    [[nodiscard]] juce::int64 nextEdge() const noexcept { return std::min (bucketEnd, fineEnd); }

    /** Takes the ranges of all channels since the last edge, up to this frame; it is no further than nextEdge. */
    template <typename RangeOfChannel>
    void add (juce::int64 endFrame, const RangeOfChannel& rangeOf)
    {
        for (size_t i = 0; i < lanes.size(); ++i)
        {
            const PeakRange range = rangeOf ((int) i);
            extend (coarse[i], range);
            extend (fine[i], range);
        }

        if (endFrame == bucketEnd)
            endBucket (endFrame);

        if (endFrame == fineEnd)
            endFineBucket();
    }

    /** The lanes; what was not added is at 0. */
    [[nodiscard]] std::vector<PeakLane> finish();

private:
    static void extend (PeakRange&, const PeakRange&) noexcept;
    static void store (PeakRange&, float& low, float& high) noexcept;
    void endBucket (juce::int64 frame);
    void endFineBucket();
    void findBucketAt (juce::int64 frame) noexcept;

    std::vector<PeakLane> lanes;
    std::vector<PeakRange> coarse, fine;    // of the current buckets
    const juce::int64 numFrames, heldFrames;
    const int buckets;
    const double framesPerBucket;
    juce::int64 bucket = 0, bucketEnd = 0, fineEnd = 0;
};

}    // namespace ld
