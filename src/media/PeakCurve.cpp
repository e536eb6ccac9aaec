#include "media/PeakCurve.h"

#include "media/VectorClones.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace ld
{
namespace
{

constexpr size_t levelFactor = 4;
constexpr size_t fewestBuckets = 4096;    // of a level; coarser ones would not be quicker to draw

// Ahead of the first sample; samples beyond full scale on one side alone leave the other at full scale.
constexpr PeakRange nothingYet { 1.0f, -1.0f };

// The first frame of a bucket: the lowest whose index, cut to a whole bucket, is the bucket's own.
juce::int64 firstFrameOf (juce::int64 bucket, double framesPerBucket) noexcept
{
    auto frame = (juce::int64) ((double) bucket * framesPerBucket);

    while (frame > 0 && (juce::int64) ((double) (frame - 1) / framesPerBucket) >= bucket)
        --frame;

    while ((juce::int64) ((double) frame / framesPerBucket) < bucket)
        ++frame;

    return frame;
}

// NaNs are ignored.
LD_VECTOR_CLONES PeakRange widened (std::span<const float> samples, PeakRange range) noexcept
{
    for (const auto sample : samples)
    {
        range.low = sample < range.low ? sample : range.low;
        range.high = sample > range.high ? sample : range.high;
    }

    return range;
}

size_t bucketsFor (juce::int64 samples, juce::int64 perBucket) noexcept
{
    return (size_t) ((samples + perBucket - 1) / perBucket);
}

PeakLevel emptyLevel (juce::int64 samples, juce::int64 perBucket)
{
    const auto count = bucketsFor (samples, perBucket);
    return { perBucket, std::vector<float> (count), std::vector<float> (count) };
}

PeakLevel coarserThan (const PeakLevel& finer)
{
    const auto count = finer.minValues.size();
    PeakLevel level { finer.samplesPerBucket * (juce::int64) levelFactor, {}, {} };
    level.minValues.reserve (count / levelFactor + 1);
    level.maxValues.reserve (count / levelFactor + 1);

    for (size_t from = 0; from < count; from += levelFactor)
    {
        const auto to = (std::ptrdiff_t) std::min (from + levelFactor, count);
        const auto& [low, high] = std::tie (finer.minValues, finer.maxValues);
        level.minValues.push_back (*std::min_element (low.begin() + (std::ptrdiff_t) from, low.begin() + to));
        level.maxValues.push_back (*std::max_element (high.begin() + (std::ptrdiff_t) from, high.begin() + to));
    }

    return level;
}

void addCoarserLevels (PeakLane& lane)
{
    while (lane.levels.back().minValues.size() > fewestBuckets)
        lane.levels.push_back (coarserThan (lane.levels.back()));
}

PeakLane emptyLane (juce::int64 samples, juce::int64 held, int buckets)
{
    PeakLane lane { std::vector<float> ((size_t) buckets), std::vector<float> ((size_t) buckets), samples };

    if (held > 0 && samples > finestPeakBucket * buckets)
        lane.levels.push_back (emptyLevel (held, finestPeakBucket));

    return lane;
}

}    // namespace

std::optional<PeakRange> rangeOfSamples (std::span<const float> samples) noexcept
{
    constexpr auto most = std::numeric_limits<float>::max();
    const auto range = widened (samples, { most, -most });
    return range.low <= range.high ? std::optional (range) : std::nullopt;
}

PeakLevel levelOf (std::span<const float> audio, juce::int64 samplesPerBucket)
{
    auto level = emptyLevel ((juce::int64) audio.size(), samplesPerBucket);

    for (size_t i = 0; i < level.minValues.size(); ++i)
    {
        const auto from = i * (size_t) samplesPerBucket;
        const auto block = audio.subspan (from, std::min ((size_t) samplesPerBucket, audio.size() - from));

        if (const auto range = rangeOfSamples (block))
        {
            level.minValues[i] = range->low;
            level.maxValues[i] = range->high;
        }
    }

    return level;
}

const PeakLevel* levelFor (const PeakLane& lane, double samplesPerPixel) noexcept
{
    const PeakLevel* best = lane.levels.empty() ? nullptr : &lane.levels.front();

    for (const auto& level : lane.levels)
        if ((double) level.samplesPerBucket * 2.0 <= samplesPerPixel)
            best = &level;

    return best;
}

std::optional<PeakRange> rangeOver (const PeakLevel& level, double fromSample, double toSample) noexcept
{
    const auto perBucket = (double) level.samplesPerBucket;
    const auto count = (double) level.minValues.size();
    const auto from = (size_t) std::clamp (std::floor (fromSample / perBucket), 0.0, count);
    const auto to = (size_t) std::clamp (std::ceil (toSample / perBucket), 0.0, count);

    if (from >= to)
        return {};

    PeakRange range { level.minValues[from], level.maxValues[from] };

    for (auto i = from + 1; i < to; ++i)
        range = { std::min (range.low, level.minValues[i]), std::max (range.high, level.maxValues[i]) };

    return range;
}

PeakLane peaksOf (std::span<const float> audio, int buckets)
{
    auto lane = emptyLane ((juce::int64) audio.size(), (juce::int64) audio.size(), buckets);
    const auto step = audio.empty() ? 1.0 : (double) audio.size() / buckets;

    for (size_t bucket = 0; bucket < (size_t) buckets; ++bucket)
    {
        const auto from = (size_t) (step * (double) bucket);
        const auto to = std::min ((size_t) (step * (double) (bucket + 1)), audio.size());
        const auto range = to > from ? widened (audio.subspan (from, to - from), {}) : PeakRange {};
        lane.minValues[bucket] = range.low;
        lane.maxValues[bucket] = range.high;
    }

    if (! lane.levels.empty())
    {
        lane.levels.front() = levelOf (audio, finestPeakBucket);
        addCoarserLevels (lane);
    }

    return lane;
}

PeakCollector::PeakCollector (size_t channels, juce::int64 frames, juce::int64 held, int bucketCount)
    : lanes (channels, emptyLane (frames, held, bucketCount)), coarse (channels, nothingYet),
      fine (channels, nothingYet), numFrames (frames), heldFrames (held), buckets (bucketCount),
      framesPerBucket ((double) frames / bucketCount)
{
    findBucketAt (0);
    fineEnd = lanes.empty() || lanes.front().levels.empty() ? frames : std::min (finestPeakBucket, held);
}

void PeakCollector::extend (PeakRange& range, const PeakRange& by) noexcept
{
    range = { std::min (range.low, by.low), std::max (range.high, by.high) };
}

void PeakCollector::findBucketAt (juce::int64 frame) noexcept
{
    if (framesPerBucket <= 0.0)
        return;

    bucket = std::min<juce::int64> ((juce::int64) ((double) frame / framesPerBucket), buckets - 1);
    bucketEnd = bucket == buckets - 1 ? numFrames : firstFrameOf (bucket + 1, framesPerBucket);
}

void PeakCollector::endBucket (juce::int64 frame)
{
    for (size_t i = 0; i < lanes.size(); ++i)
        store (coarse[i], lanes[i].minValues[(size_t) bucket], lanes[i].maxValues[(size_t) bucket]);

    findBucketAt (frame);
}

void PeakCollector::endFineBucket()
{
    const auto index = (size_t) ((fineEnd - 1) / finestPeakBucket);

    for (size_t i = 0; i < lanes.size(); ++i)
        if (auto& levels = lanes[i].levels; ! levels.empty())
            store (fine[i], levels.front().minValues[index], levels.front().maxValues[index]);

    fineEnd = std::min (fineEnd + finestPeakBucket, heldFrames);
}

// Starts the range again. A bucket of NaNs alone stays at 0.
void PeakCollector::store (PeakRange& range, float& low, float& high) noexcept
{
    if (range.low <= range.high)
    {
        low = range.low;
        high = range.high;
    }

    range = nothingYet;
}

std::vector<PeakLane> PeakCollector::finish()
{
    const auto isBegun = [] (const std::vector<PeakRange>& ranges) {
        return std::ranges::any_of (ranges, [] (const auto& range) { return range != nothingYet; });
    };

    if (isBegun (coarse))
        endBucket (numFrames);

    if (isBegun (fine))
        endFineBucket();

    for (auto& lane : lanes)
        if (! lane.levels.empty())
            addCoarserLevels (lane);

    return std::move (lanes);
}

}    // namespace ld
