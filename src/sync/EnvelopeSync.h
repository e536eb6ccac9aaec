#pragma once

#include <juce_core/juce_core.h>

#include <span>
#include <vector>

namespace ld
{

// An estimate of a guest's place and drift from loudness alone, refined at a minute of sound every three minutes. It
// stands beside the searches of WaveformSearch and makes no use of timecode. Lags have the same sign as there. No command
// reaches it.

struct EnvelopeSyncResult
{
    juce::int64 offsetSamples = 0;    // the lag; after a fit, the one at the guest's middle
    double driftSlope = 0.0;          // change of lag per guest sample, within half a percent; 0 without a fit
    float confidence = 0.0f;          // plain correlation of the two envelopes at their lag
    int windowsTried = 0;
    int windowsUsed = 0;      // that gave a place
    bool reliable = false;    // it can be trusted
    juce::String method;      // empty after a fit of three windows or more, else "median" or "coarse"

    bool operator== (const EnvelopeSyncResult&) const = default;
};

struct LogEnvelope
{
    std::vector<float> values;
    float rate = 100.0f;    // values a second
};

struct NormalizedPeak
{
    juce::int64 lag = 0;
    float score = 0.0f;    // a correlation coefficient
    bool valid = false;    // the signals were long enough

    bool operator== (const NormalizedPeak&) const = default;
};

/** sampleRate in Hz, 100 at least. What is too short gives a result that is not reliable, with no method
    and no window tried. Throws std::bad_alloc where the machine's memory does not suffice. */
[[nodiscard]] EnvelopeSyncResult
computeEnvelopeSync (std::span<const float> host, std::span<const float> guest, int sampleRate);

/** The logarithm of the level in windows of 50 ms, every 10 ms, with what changes slower than 0.05 Hz taken out, and up to
    1.5 s at either end, where the filter settles. Empty for 40 ms or less.
    sampleRate   Hz, 8000 as a rule */
[[nodiscard]] LogEnvelope logEnvelope (const std::vector<float>& samples, int sampleRate);

/** The best lag of the z-scored signals in one circular correlation of at most 2^20 samples. Needs 8 samples of each. */
[[nodiscard]] NormalizedPeak correlateNormalized (const std::vector<float>& a, const std::vector<float>& b);

}    // namespace ld
