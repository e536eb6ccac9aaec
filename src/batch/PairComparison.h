#pragma once

#include "batch/MatchPlan.h"
#include "batch/SourceAudio.h"
#include "sync/MfccSearch.h"

#include <mutex>
#include <optional>

namespace ld
{

/** One source as the comparison of pairs knows it. What lies in memory, and what is read again from the file when it is
    asked for, makes no difference to what it answers. For any thread. */
class ResidentSource
{
public:
    /** Reads what is to stay, in one pass over the file. Coefficients are made in that pass where coefficientsAtOnce is
        set, otherwise when they are first asked for. Throws std::bad_alloc. */
    ResidentSource (const MatchSource&, const ResidentNeeds&, bool coefficientsAtOnce, OnAudioRead);

    /** False if the file has gone and is still needed. */
    [[nodiscard]] bool canBeRead() const;

    [[nodiscard]] SignalOnDemand mono() const;

    /** A stretch of the mixdown; read at once where it is not in memory and not longer than longestRead samples. */
    [[nodiscard]] SignalOnDemand monoStretch (juce::int64 start, juce::int64 length, juce::int64 longestRead) const;

    /** Coefficients of the mixdown and, of a poly, of each channel behind it. */
    [[nodiscard]] const std::vector<MfccSignal>& coefficients() const;
    [[nodiscard]] std::vector<MfccSignal> coefficientsOf (juce::int64 start, juce::int64 length) const;

    [[nodiscard]] juce::int64 length() const noexcept { return source.length; }
    [[nodiscard]] int rate() const noexcept { return source.rate; }

private:
    using SignalVisitor = std::function<void (size_t signal, std::span<const float>)>;

    [[nodiscard]] bool isInMemory() const noexcept;
    void visitSignals (juce::int64 start, juce::int64 count, const SignalVisitor&) const;

    MatchSource source;
    OnAudioRead onRead;
    bool wasRead = false;
    std::vector<float> monoAudio;                    // empty where it does not stay
    std::vector<std::vector<float>> channelAudio;    // likewise
    mutable std::once_flag analysed;
    mutable std::vector<MfccSignal> signals;
};

/** Where the timecode puts the guest, if the overlap is a second or more. */
[[nodiscard]] std::optional<juce::int64> offsetByTimecode (const TcOverlap&, int rate);

/** The verdict on a pair by its audio: a waveform lock in the shared stretch, then a search for the content, then the
    timecode alone. Confidence is 20 times the correlation (at least 6) after a lock, or the search's score. */
[[nodiscard]] Alignment
comparePair (const MatchPair&, const ResidentSource& host, const ResidentSource& guest, juce::int64 longestRead);

}    // namespace ld
