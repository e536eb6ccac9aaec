#include "batch/PairComparison.h"

#include "media/LargeBuffers.h"
#include "sync/PlaceLadder.h"
#include "sync/StreamResampler.h"
#include "sync/WaveformSearch.h"

#include <algorithm>
#include <deque>
#include <optional>

namespace ld
{
namespace
{

using juce::int64;

constexpr int searchSeconds = 4, windowSeconds = 4;
constexpr int64 shortestSearch = 256;    // samples, for a search for the content

MfccResult bestOffset (const std::vector<MfccSignal>& hostSignals, const MfccSignal& guest, int rate, bool bothWays)
{
    MfccResult best;

    for (const auto& host : hostSignals)
        if (const auto result = computeMfccOffset (host, guest, rate, bothWays); result.zScore > best.zScore)
            best = result;

    return best;
}

// What is searched in what, by both routes: the working signals of a pair and where they begin.
struct Working
{
    const MatchPair& pair;
    SignalOnDemand host, guest;
    int rate;

    [[nodiscard]] int64 toWholeLag (int64 lag) const { return pair.hostStart - pair.guestStart + lag; }

    [[nodiscard]] AlignResult refine (int64 roughLag) const
    {
        return refineAround (host, guest, roughLag, { rate, searchSeconds, windowSeconds });
    }
};

std::optional<Alignment> lockInOverlap (const Working& working)
{
    constexpr float leastCorrelation = 0.1f, leastConfidence = 6.0f, confidenceOfOne = 20.0f;
    const auto refined = working.refine (0);
    const auto correlation = refined.found ? correlationAtLag (working.host, working.guest, refined.lag) : 0.0f;

    if (! refined.found || correlation < leastCorrelation)
        return {};

    Alignment result;
    result.method = Alignment::Method::timecodeRefined;
    result.offsetSamples = working.toWholeLag (refined.lag);
    result.confidence = std::max (correlation * confidenceOfOne, leastConfidence);
    result.detail = "Timecode rough-in / waveform locked ncc=" + juce::String (correlation, 2);
    return result;
}

// Coefficients of whole signals are shared by all pairs; those of a shared stretch belong to one pair, unless the stretch
// is the whole poly.
MfccResult findContent (const MatchPair& pair, const ResidentSource& host, const ResidentSource& guest)
{
    const auto rate = host.rate();

    if (pair.route == MatchRoute::whole)
        return std::min (host.length(), guest.length()) < shortestSearch
                   ? MfccResult {}
                   : bestOffset (host.coefficients(), guest.coefficients().front(), rate, false);

    if (pair.length < shortestSearch)
        return {};

    const auto guestPart = guest.coefficientsOf (pair.guestStart, pair.length);

    if (pair.hostStart == 0 && pair.length == host.length())
        return bestOffset (host.coefficients(), guestPart.front(), rate, true);

    return bestOffset (host.coefficientsOf (pair.hostStart, pair.length), guestPart.front(), rate, true);
}

ContentPlace placeByContent (const Working& working, const MfccResult& found)
{
    Alignment result;
    const auto refined = working.refine (found.offsetSamples);
    result.method = Alignment::Method::waveform;
    result.offsetSamples = working.toWholeLag (refined.found ? refined.lag : found.offsetSamples);
    result.confidence = found.zScore;
    result.needsManual = ! found.locked;
    result.detail = "MFCC z=" + juce::String (found.zScore, 1);
    return { std::move (result), found.locked };
}

// Makes the coefficients of several signals of one length, which come in blocks.
class SignalAnalysis
{
public:
    SignalAnalysis (const MatchSource& source, int64 length)
    {
        const auto rate = std::max (source.rate, 100);
        const auto numSamples = resampledLength (length, rate, mfccSampleRate);

        for (int i = 0; i < (source.hasChannels ? 1 + source.channels : 1); ++i)
        {
            resamplers.emplace_back (length, rate, mfccSampleRate);
            builders.emplace_back (numSamples);
        }
    }

    void push (size_t signal, std::span<const float> samples)
    {
        if (signal >= builders.size())
            return;

        at8Khz.clear();
        resamplers[signal].push (samples, at8Khz);
        builders[signal].push (at8Khz);
    }

    [[nodiscard]] std::vector<MfccSignal> finish()
    {
        std::vector<MfccSignal> signals;
        std::transform (builders.begin(), builders.end(), std::back_inserter (signals), [] (auto& builder) {
            return builder.finish();
        });
        return signals;
    }

private:
    std::vector<StreamResampler> resamplers;
    std::deque<MfccSignal::Builder> builders;    // they do not move
    std::vector<float> at8Khz;
};

// Where a block goes in a whole signal; a file that has grown since it was measured does not pass its end.
void place (std::span<const float> block, int64 at, std::vector<float>& whole)
{
    const auto count = std::min ((int64) block.size(), (int64) whole.size() - at);

    if (count > 0)
        std::copy_n (block.begin(), count, whole.begin() + at);
}

SignalOnDemand stretchOf (const SignalOnDemand& whole, int64 start, int64 length)
{
    return { length, [whole, start] (int64 from, int64 count, std::vector<float>& scratch) {
                return whole.read (start + from, count, scratch);
            } };
}

}    // namespace

ResidentSource::ResidentSource (const MatchSource& sourceToUse,
                                const ResidentNeeds& needs,
                                bool coefficientsAtOnce,
                                OnAudioRead told)
    : source (sourceToUse), onRead (std::move (told))
{
    const SourceAudio audio (source.file, source.rate, onRead, source.clips);
    wasRead = audio.isOpen() && audio.numChannels() == source.channels;

    if (! wasRead || ! (needs.mono || needs.channels || coefficientsAtOnce))
        return;

    // Assigned only when complete: until then reads go to the file.
    std::vector<float> mixed;
    std::vector<std::vector<float>> channels ((size_t) (needs.channels ? source.channels : 0));
    std::optional<SignalAnalysis> analysis;

    if (needs.mono)
        mixed = makeZeros<float> ((size_t) source.length);

    for (auto& channel : channels)
        channel = makeZeros<float> ((size_t) source.length);

    if (coefficientsAtOnce)
        analysis.emplace (source, source.length);

    int64 at = 0;

    visitSignals (0, source.length, [&] (size_t signal, std::span<const float> block) {
        if (signal == 0)
            place (block, at, mixed);
        else if (signal <= channels.size())
            place (block, at, channels[signal - 1]);

        if (analysis)
            analysis->push (signal, block);

        if (signal == (size_t) source.channels)
            at += (int64) block.size();
    });

    monoAudio = std::move (mixed);
    channelAudio = std::move (channels);

    if (analysis)
        signals = analysis->finish();
}

bool ResidentSource::isInMemory() const noexcept
{
    return ! monoAudio.empty() && (! source.hasChannels || ! channelAudio.empty());
}

bool ResidentSource::canBeRead() const
{
    return wasRead && (isInMemory() || SourceAudio (source.file, source.rate, {}, source.clips).isOpen());
}

// The mixdown is signal 0, the channels follow it.
void ResidentSource::visitSignals (int64 start, int64 count, const SignalVisitor& visit) const
{
    constexpr int64 blockSamples = 32768;

    if (! isInMemory())
    {
        std::vector<float> mixed;
        SourceAudio (source.file, source.rate, onRead, source.clips)
            .visitBlocks (start, count, [&] (const auto& channels) {
                mixdownBlock (channels, mixed);
                visit (0, mixed);

                for (size_t c = 0; c < channels.size(); ++c)
                    visit (c + 1, channels[c]);
            });
        return;
    }

    for (auto at = start; at < start + count; at += blockSamples)
    {
        const auto size = (size_t) std::min (blockSamples, start + count - at);
        visit (0, std::span (monoAudio).subspan ((size_t) at, size));

        for (size_t c = 0; c < channelAudio.size(); ++c)
            visit (c + 1, std::span (channelAudio[c]).subspan ((size_t) at, size));
    }
}

SignalOnDemand ResidentSource::mono() const
{
    if (! monoAudio.empty())
        return SignalOnDemand::of (monoAudio);

    const auto audio = std::make_shared<const SourceAudio> (source.file, source.rate, onRead, source.clips);
    return { source.length, [audio] (int64 start, int64 count, std::vector<float>& scratch) {
                scratch = audio->readMono (start, count);
                return std::span<const float> (scratch);
            } };
}

SignalOnDemand ResidentSource::monoStretch (int64 start, int64 stretchLength, int64 longestRead) const
{
    if (! monoAudio.empty() || stretchLength > longestRead)
        return stretchOf (mono(), start, stretchLength);

    const auto samples = std::make_shared<std::vector<float>>();
    juce::ignoreUnused (mono().read (start, stretchLength, *samples));
    return { stretchLength, [samples] (int64 from, int64 count, std::vector<float>&) {
                return std::span<const float> (*samples).subspan ((size_t) from, (size_t) count);
            } };
}

const std::vector<MfccSignal>& ResidentSource::coefficients() const
{
    std::call_once (analysed, [this] {
        if (signals.empty())
            signals = coefficientsOf (0, source.length);
    });
    return signals;
}

std::vector<MfccSignal> ResidentSource::coefficientsOf (int64 start, int64 stretchLength) const
{
    SignalAnalysis analysis (source, stretchLength);
    visitSignals (start, stretchLength, [&] (auto signal, auto block) { analysis.push (signal, block); });
    return analysis.finish();
}

std::optional<int64> offsetByTimecode (const TcOverlap& overlap, int rate)
{
    return overlap.valid && overlap.overlapSamples >= rate ? std::optional (overlap.offsetSamples) : std::nullopt;
}

Alignment
comparePair (const MatchPair& pair, const ResidentSource& host, const ResidentSource& guest, int64 longestRead)
{
    const auto isInOverlap = pair.route == MatchRoute::timecode;
    const Working working { pair,
                            isInOverlap ? host.monoStretch (pair.hostStart, pair.length, longestRead) : host.mono(),
                            isInOverlap ? guest.monoStretch (pair.guestStart, pair.length, longestRead) : guest.mono(),
                            host.rate() };
    return climb ({ [&] { return isInOverlap ? lockInOverlap (working) : std::nullopt; },
                    [&] { return placeByContent (working, findContent (pair, host, guest)); },
                    [&] { return offsetByTimecode (pair.overlap, host.rate()); } });
}

}    // namespace ld
