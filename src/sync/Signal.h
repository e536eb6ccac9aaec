#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace ld
{

/** Brings a signal to another rate by linear interpolation, without a filter. Rates in Hz; a rate not above 0, or equal
    rates, give a copy. The length is scaled and rounded; a length below 2 becomes 1. The last sample is held.
    Throws std::bad_alloc where the result would not fit the machine's memory. */
[[nodiscard]] std::vector<float> resampleTo (std::span<const float> samples, double sourceRate, double targetRate);
[[nodiscard]] std::vector<float> resampleTo (std::vector<float>&& samples, double sourceRate, double targetRate);

/** True also for rates that make no sense: the signal is left as it is. */
[[nodiscard]] bool isSameRate (double sourceRate, double targetRate);

/** How many samples resampleTo makes of this many. */
[[nodiscard]] std::int64_t resampledLength (std::int64_t samples, double sourceRate, double targetRate);

/** A stretch of what resampleTo gives.
    samples       a stretch of the signal that holds both neighbours of every output, or ends with the signal
    firstSample   its place in the signal
    firstOutput   place of out in the result
    ratio         source rate by target rate */
void resampleStretch (std::span<const float> samples,
                      std::int64_t firstSample,
                      std::span<float> out,
                      std::int64_t firstOutput,
                      double ratio);

/** Sums the channels at a gain of 1 / sqrt (number of channels); one channel is copied as it stands.
    The result is as long as the longest channel. */
[[nodiscard]] std::vector<float> mixdown (const std::vector<std::vector<float>>& channels);

/** The mixdown of a block, whose channels are all of one length, into memory that is used again. */
void mixdownBlock (const std::vector<std::vector<float>>& channels, std::vector<float>& mono);

/** Stretches a signal whose lag against its host grows by driftSlope samples a sample onto the host's clock.
    The stretch is limited to half a percent either way; below 1e-8 the signal is copied. */
[[nodiscard]] std::vector<float> applyClockDrift (const std::vector<float>& samples, double driftSlope);

/** The population standard deviation; 0 for fewer than two samples. */
[[nodiscard]] float stdDev (const std::vector<float>& samples);

/** Where the loudest window of this many samples begins, by its sum of squares; the first of equals. Where it is not the
    signal's start it is given one sample early: the index before the step that made it the loudest. */
[[nodiscard]] std::int64_t loudestWindowStart (std::span<const float> signal, std::int64_t windowSamples);

/** The same of a signal that comes in blocks. */
class LoudestWindow
{
public:
    static constexpr size_t blockSamples = 256;

    explicit LoudestWindow (std::int64_t windowSamples);
    void push (std::span<const float>);

    /** To be called once, behind the signal's last sample. */
    [[nodiscard]] std::int64_t finish();

private:
    void slideOver (std::span<const float> block);
    void slideOneStep (float sample);

    size_t windowSamples;
    std::vector<float> window;     // the last samples; once it is full, a ring
    std::vector<float> waiting;    // the beginning of a block
    double energy = 0.0, bestEnergy = 0.0;
    std::int64_t steps = 0, bestStart = 0;
};

/** Drift slopes smaller than this are no drift: they move an hour at 48 kHz by under two samples. */
constexpr double smallestDrift = 1e-8;

}    // namespace ld
