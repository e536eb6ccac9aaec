#pragma once

#include "sync/SignalOnDemand.h"

namespace ld
{

// Lags between two signals of one rate. The first is the longer reference (the host), the second is placed on it (the
// guest): a lag L puts guest sample g on host sample g + L; negative means that the guest starts before the host.
// Lengths and lags are samples, rates Hz. Signals that are too short give an all-zero result, never an error; only the
// allocation of transform buffers can throw.

struct AlignResult
{
    juce::int64 lag = 0;
    float confidence = 0.0f;    // 0 to 1: how far the peak stands above the runner-up
    bool found = false;         // the correlation had a positive peak

    bool operator== (const AlignResult&) const = default;
};

struct DriftResult
{
    juce::int64 offsetSamples = 0;    // the fitted lag at guest sample 0, or the lag that was asked about
    double driftSlope = 0.0;          // change of lag per guest sample, within half a percent; 0 where the fit is poor
    int windowsTried = 0;
    int windowsAccepted = 0;
    float meanCorrelation = 0.0f;    // plain correlation, over the accepted windows
    bool reliable = false;           // at least two windows were accepted
};

struct VerifyResult
{
    int windowsChecked = 0;
    int windowsAgreeing = 0;    // accepted windows within tolerance of the median
    juce::int64 medianLag = 0;
    juce::int64 maxDeviation = 0;    // samples from the median
    float meanConfidence = 0.0f;
    bool verified = false;
};

/** Cross-correlation with phase transform (Knapp and Carter, 1976), on at most 2^20 samples: longer inputs are cut there
    and the correlation wraps around. Needs 16 samples of each. */
[[nodiscard]] AlignResult gccPhat (std::span<const float> a, std::span<const float> b);

/** A rough lag between whole recordings from their energy envelopes of 80 values a second. */
[[nodiscard]] AlignResult envelopeCoarse (std::span<const float> a, std::span<const float> b, int sampleRate);

/** How far a lag is refined. */
struct RefineRange
{
    int sampleRate = 48000;
    int searchSeconds = 4;    // to either side of the rough lag
    int windowSeconds = 4;    // of the guest that are correlated
};

/** Takes a rough lag to sample accuracy: one correlation of the guest's loudest stretch with the host around it.
    Always answers found. A confidence of 0.15 (too little overlap) or 0.1 (no peak, or only one at the edge of the
    search, where the ends of the stretches met and not their sound) marks the rough lag, unrefined. */
[[nodiscard]] AlignResult
refineAround (std::span<const float> host, std::span<const float> guest, juce::int64 roughLag, const RefineRange&);
[[nodiscard]] AlignResult
refineAround (const SignalOnDemand& host, const SignalOnDemand& guest, juce::int64 roughLag, const RefineRange&);

/** The plain normalised correlation at a lag, 0 to 1; the sign is ignored, so that an inverted microphone scores. */
[[nodiscard]] float correlationAtLag (std::span<const float> host, std::span<const float> guest, juce::int64 lag);
[[nodiscard]] float correlationAtLag (const SignalOnDemand& host, const SignalOnDemand& guest, juce::int64 lag);

/** Measures the lag at five places around the given one and fits a line: the offset and the clock drift. */
[[nodiscard]] DriftResult
measureDrift (std::span<const float> host, std::span<const float> guest, juce::int64 lag, int sampleRate);

/** Checks a lag at three places. No command reaches it: places are proved along the whole stretch (proveMatches). */
[[nodiscard]] VerifyResult
verifyAlignment (std::span<const float> host, std::span<const float> guest, juce::int64 lag, int sampleRate);

}    // namespace ld
