#include "sync/SyncEngine.h"

#include "media/BextIxml.h"
#include "media/BwfReader.h"
#include "media/ClockStretches.h"
#include "media/LargeBuffers.h"
#include "media/SoundFile.h"
#include "sync/MfccSearch.h"
#include "sync/PlaceLadder.h"
#include "sync/Signal.h"
#include "sync/WaveformSearch.h"

#include <cmath>
#include <limits>

namespace ld
{
namespace
{

using juce::int64;

constexpr int64 shortestSignal = 32;    // samples

const juce::String& separator()
{
    static const juce::String text (juce::CharPointer_UTF8 (" \xc2\xb7 "));
    return text;
}

int64 rateOf (const HostTake& host)
{
    return std::max (host.format.sampleRate, 1);
}

Alignment unplaced (const juce::String& detail)
{
    Alignment alignment;
    alignment.needsManual = true;
    alignment.detail = detail;
    return alignment;
}

// The two signals of one run of the ladder.
struct SignalPair
{
    const HostTake& host;
    const GuestClip& guest;
    std::span<const float> hostSamples, guestSamples;

    [[nodiscard]] int64 hostLength() const { return (int64) hostSamples.size(); }
    [[nodiscard]] int64 guestLength() const { return (int64) guestSamples.size(); }

    [[nodiscard]] AlignResult refine (int64 roughLag, int searchSeconds, int windowSeconds) const
    {
        const RefineRange range { host.format.sampleRate, searchSeconds, windowSeconds };
        return refineAround (hostSamples, guestSamples, roughLag, range);
    }
};

// The timecode's lag, if both have one and it leaves at least a quarter of a second of common sound.
std::optional<int64> overlappingHint (const HostTake& host, const GuestClip& guest, int64 hostLength, int64 guestLength)
{
    int64 hint = 0;

    if (! timecodeHint (host, guest, hint))
        return {};

    const auto overlap = std::min (guestLength + hint, hostLength) - std::max<int64> (hint, 0);
    return overlap >= std::max (rateOf (host) / 4, shortestSignal) ? std::optional (hint) : std::nullopt;
}

std::optional<int64> overlappingHint (const SignalPair& pair)
{
    return overlappingHint (pair.host, pair.guest, pair.hostLength(), pair.guestLength());
}

// Where there is hardly any audio in memory the files' lengths count.
Alignment placeWithoutAudio (const SignalPair& pair)
{
    const auto hint = overlappingHint (pair.host,
                                       pair.guest,
                                       std::max (framesHeld (pair.host.format), pair.hostLength()),
                                       std::max (framesHeld (pair.guest.format), pair.guestLength()));
    return hint ? placedByTimecode (*hint) : unplaced ("Not enough waveform audio");
}

juce::String describeLock (const DriftResult& drift)
{
    constexpr double smallestToldDrift = 1e-7;
    constexpr double partsPerMillion = 1e6;
    auto text = "Waveform locked " + juce::String (drift.windowsAccepted) + "/" + juce::String (drift.windowsTried);

    if (std::abs (drift.driftSlope) >= smallestToldDrift)
        text << separator() << "drift " << juce::String (drift.driftSlope * partsPerMillion, 1) << " ppm";

    return text;
}

// Checks a refined lag on the waveform and words the outcome.
Alignment judge (const SignalPair& pair,
                 const AlignResult& refined,
                 int64 fallbackLag,
                 Alignment::Method method,
                 const juce::String& prefix)
{
    constexpr float leastMeanCorrelation = 0.12f;
    constexpr float leastConfidence = 0.45f;
    constexpr float leastCorrelation = 0.05f;

    Alignment a;
    a.offsetSamples = refined.found ? refined.lag : fallbackLag;
    a.method = method;

    const auto told = [&prefix] (const juce::String& text) {
        return prefix.isEmpty() ? text : prefix + separator() + text;
    };
    const auto drift = measureDrift (pair.hostSamples, pair.guestSamples, a.offsetSamples, pair.host.format.sampleRate);

    if (drift.reliable && drift.meanCorrelation >= leastMeanCorrelation)
    {
        a.offsetSamples = drift.offsetSamples;
        a.driftSlope = drift.driftSlope;
        a.confidence = drift.meanCorrelation;
        a.detail = told (describeLock (drift));
        return a;
    }

    a.confidence = correlationAtLag (pair.hostSamples, pair.guestSamples, a.offsetSamples);

    if (refined.found && refined.confidence >= leastConfidence && a.confidence >= leastCorrelation)
    {
        a.detail = told ("Waveform locked" + separator() + "strongest region");
        return a;
    }

    a.needsManual = true;
    a.detail = told ("Waveform checks disagree (check by ear)");
    return a;
}

juce::String zScoreText (float zScore)
{
    return juce::String (zScore, 1);
}

// The waveform around where the timecode puts the guest.
std::optional<Alignment> alignInOverlap (const SignalPair& pair, int searchSeconds)
{
    constexpr int leastSearchSeconds = 2;
    constexpr int windowSeconds = 4;
    const auto hint = overlappingHint (pair);

    if (! hint)
        return {};

    const auto refined = pair.refine (*hint, std::max (searchSeconds, leastSearchSeconds), windowSeconds);
    auto judged = judge (pair, refined, *hint, Alignment::Method::timecodeRefined, "Timecode rough-in");
    return judged.needsManual ? std::nullopt : std::optional (std::move (judged));
}

// The sound alone.
ContentPlace alignByContent (const SignalPair& pair, int searchSeconds)
{
    constexpr int leastSearchSeconds = 4;
    constexpr int windowSeconds = 6;
    const auto rate = pair.host.format.sampleRate;
    const auto mfcc = computeMfccOffset (pair.hostSamples, pair.guestSamples, rate);
    const auto coarse =
        mfcc.zScore > 0.0f ? mfcc.offsetSamples : envelopeCoarse (pair.hostSamples, pair.guestSamples, rate).lag;
    const auto refined = pair.refine (coarse, std::max (searchSeconds, leastSearchSeconds), windowSeconds);
    auto a = judge (pair, refined, coarse, Alignment::Method::waveform, {});

    if (mfcc.locked)
    {
        a.needsManual = false;
        a.confidence = mfcc.zScore;
        a.offsetSamples = refined.found ? refined.lag : mfcc.offsetSamples;
        a.detail = "MFCC match z=" + zScoreText (mfcc.zScore);
    }
    else if (a.needsManual)
        a.detail = "No MFCC match (z=" + zScoreText (mfcc.zScore) + ")";

    return { std::move (a), mfcc.locked };
}

bool hasDrift (const Alignment& alignment)
{
    return std::abs (alignment.driftSlope) >= smallestDrift;
}

std::vector<const std::vector<float>*> searchSignalsOf (const GuestClip& guest)
{
    std::vector<const std::vector<float>*> signals;

    if (! guest.monoAudio.empty())
        signals.push_back (&guest.monoAudio);

    if (guest.channelAudio.size() >= 2)
        for (const auto& channel : guest.channelAudio)
            if (! channel.empty())
                signals.push_back (&channel);

    return signals;
}

// One channel of the host, whole. Frames that cannot be read are silence.
std::vector<float> readWholeChannel (const BwfReader& reader, int channel)
{
    auto audio = makeZeros<float> ((size_t) reader.framesInFile());
    juce::ignoreUnused (reader.readChannel (channel, 0, (int64) audio.size(), audio.data(), 1));
    return audio;
}

// Shares of a search's progress.
constexpr float scanShare = 0.35f, fineShare = 0.65f;
const juce::String finePhase = "Fine sample alignment";

void tell (const SyncProgress& progress, float fraction, const juce::String& phase)
{
    if (progress)
        progress (fraction, phase);
}

struct RankedChannel
{
    int channel;
    float confidence;
};

std::vector<RankedChannel>
rankHostChannels (const BwfReader& reader, const std::vector<float>& guestSignal, const SyncProgress& progress)
{
    std::vector<RankedChannel> ranked;

    for (int c = 0; c < reader.format.channels; ++c)
    {
        tell (progress, (float) c * scanShare / (float) reader.format.channels, "Quick waveform scan");
        const auto audio = readWholeChannel (reader, c);
        const auto coarse = envelopeCoarse (audio, guestSignal, reader.format.sampleRate);
        ranked.push_back ({ c, coarse.confidence });
    }

    const auto moreConfident = [] (const auto& a, const auto& b) { return a.confidence > b.confidence; };
    std::stable_sort (ranked.begin(), ranked.end(), moreConfident);
    return ranked;
}

// What is searched for in all channels of a host that is open.
struct ChannelSearch
{
    const HostTake& host;
    const GuestClip& guest;
    const BwfReader& reader;
    int searchSeconds;
};

// The host's most promising channels against each of the guest's signals; the best answer says its channel.
Alignment alignBestPair (const SyncEngine& engine, const ChannelSearch& search, const SyncProgress& progress)
{
    constexpr size_t mostChannels = 4;
    constexpr float placedBonus = 2.0f;
    const auto& [host, guest, reader, searchSeconds] = search;
    const auto signals = searchSignalsOf (guest);
    auto ranked = rankHostChannels (reader, *signals.front(), progress);
    ranked.resize (std::min (ranked.size(), mostChannels));

    const auto total = (float) std::max<size_t> (ranked.size() * signals.size(), 1);
    auto step = 0;
    auto best = -std::numeric_limits<float>::infinity();
    Alignment result;
    result.needsManual = true;

    for (const auto& candidate : ranked)
    {
        const auto audio = readWholeChannel (reader, candidate.channel);

        for (const auto* signal : signals)
        {
            tell (progress, (float) step++ * fineShare / total + scanShare, finePhase);
            auto found = engine.align (host, guest, audio, *signal, searchSeconds);
            const auto score = found.confidence + (found.needsManual ? 0.0f : placedBonus);

            if (score > best)
            {
                best = score;
                found.detail = channelName (host, candidate.channel) + separator() + found.detail;
                result = std::move (found);
            }
        }
    }

    return result;
}

struct AlignedPiece
{
    GuestPiece piece;
    std::vector<std::vector<float>> channels;    // at the host's rate, drift corrected
    Alignment alignment;
};

// Nothing where the file cannot be opened or placed.
std::optional<AlignedPiece> alignPiece (const SyncEngine& engine,
                                        const HostTake& host,
                                        const GuestPiece& source,
                                        int searchSeconds,
                                        const SyncProgress& progress)
{
    SoundFile sound;

    if (sound.open (source.file).failed())
        return {};

    auto clip = readForSearch (sound, (int) rateOf (host));
    AlignedPiece aligned;
    copyIdentity (sound, aligned.piece);
    aligned.alignment = engine.alignBestChannel (host, clip, searchSeconds, progress);

    if (aligned.alignment.needsManual)
        return {};

    aligned.channels = std::move (clip.channelAudio);

    if (hasDrift (aligned.alignment))
        for (auto& channel : aligned.channels)
            channel = applyClockDrift (channel, aligned.alignment.driftSlope);

    return aligned;
}

// Joins the placed pieces to one clip on the host's clock; returns its first sample's place on the host.
int64 joinPieces (GuestClip& guest, std::vector<AlignedPiece> aligned)
{
    const auto earlier = [] (const auto& a, const auto& b) {
        return a.alignment.offsetSamples < b.alignment.offsetSamples;
    };
    std::stable_sort (aligned.begin(), aligned.end(), earlier);

    const auto first = aligned.front().alignment.offsetSamples;
    std::vector<PlacedAudio> placed;
    size_t channelCount = 1;
    int64 length = 1;
    guest.pieces.clear();

    for (auto& piece : aligned)
    {
        piece.piece.offsetSamples = piece.alignment.offsetSamples - first;
        guest.pieces.push_back (piece.piece);
        placed.push_back ({ &piece.channels, piece.piece.offsetSamples });
        channelCount = std::max (channelCount, piece.channels.size());
        length = std::max (length, piece.piece.offsetSamples + (int64) piece.channels.front().size());
    }

    guest.channelAudio = layOutAudio (placed, channelCount, length);
    copyIdentity (guest.pieces.front(), guest);
    guest.format.channels = (int) channelCount;
    guest.monoAudio = mixdown (guest.channelAudio);
    rebuildGuestPeaks (guest);
    return first;
}

}    // namespace

bool timecodeHint (const HostTake& host, const GuestClip& guest, int64& offset)
{
    const auto byStamps = offsetByStamps (host, guest);
    offset = byStamps.value_or (offset);
    return byStamps.has_value();
}

Alignment SyncEngine::align (const HostTake& host,
                             const GuestClip& guest,
                             const std::vector<float>& hostSamples,
                             const std::vector<float>& guestSamples,
                             int searchSeconds) const
{
    const SignalPair pair { host, guest, hostSamples, guestSamples };

    if (std::min (pair.hostLength(), pair.guestLength()) < shortestSignal)
        return placeWithoutAudio (pair);

    return climb ({ [&] { return alignInOverlap (pair, searchSeconds); },
                    [&] { return alignByContent (pair, searchSeconds); },
                    [&] { return overlappingHint (pair); } });
}

Alignment SyncEngine::alignBestChannel (const HostTake& host,
                                        const GuestClip& guest,
                                        int searchSeconds,
                                        const SyncProgress& progress) const
{
    BwfReader reader;

    if (! reader.open (host.file))
        return align (host, guest, host.referenceAudio, guest.monoAudio, searchSeconds);

    const auto signals = searchSignalsOf (guest);

    if (signals.empty())
        return unplaced ("No ISO waveform audio");

    const auto findPlace = [&] {
        if (! host.referenceAudio.empty())
            if (auto quick = align (host, guest, host.referenceAudio, *signals.front(), searchSeconds);
                ! quick.needsManual)
                return quick;

        return alignBestPair (*this, { host, guest, reader, searchSeconds }, progress);
    };
    auto found = findPlace();
    tell (progress, 1.0f, finePhase + " complete");
    return found;
}

Alignment SyncEngine::alignAndPlacePieces (const HostTake& host,
                                           GuestClip& guest,
                                           int searchSeconds,
                                           const SyncProgress& progress) const
{
    if (guest.pieces.size() <= 1)
    {
        const auto alignment = alignBestChannel (host, guest, searchSeconds, progress);

        if (! alignment.needsManual && hasDrift (alignment))
            stretchGuest (guest, alignment.driftSlope);

        return alignment;
    }

    std::vector<AlignedPiece> aligned;
    const auto total = (int) guest.pieces.size();
    auto confidence = 1.0f;

    for (int i = 0; i < total; ++i)
    {
        SyncProgress pieceProgress;

        if (progress)
            pieceProgress = [&progress, i, total] (float fraction, const juce::String& text) {
                progress ((fraction + (float) i) / (float) total,
                          text + separator() + "piece " + juce::String (i + 1) + "/" + juce::String (total));
            };

        if (auto piece = alignPiece (*this, host, guest.pieces[(size_t) i], searchSeconds, pieceProgress))
        {
            confidence = std::min (confidence, piece->alignment.confidence);
            aligned.push_back (std::move (*piece));
        }
    }

    if (aligned.empty())
        return unplaced ("No ISO pieces waveform-matched this poly");

    Alignment result;
    result.detail = "Waveform pieces " + juce::String ((int) aligned.size()) + "/" + juce::String (total);
    result.offsetSamples = joinPieces (guest, std::move (aligned));
    result.method = Alignment::Method::waveform;
    result.confidence = confidence;
    return result;
}

Alignment SyncEngine::applyNudge (const Alignment& alignment, int64 deltaSamples)
{
    auto nudged = movedBy (alignment, deltaSamples);
    nudged.method = Alignment::Method::manual;
    nudged.detail = "Manual";
    nudged.evidence.clear();    // it spoke for the place that it was
    nudged.needsManual = false;
    return nudged;
}

void SyncEngine::applyLockedAlignment (GuestClip& guest, const Alignment& alignment)
{
    guest.alignment = alignment;
    guest.matchPending = false;

    if (! alignment.needsManual && hasDrift (alignment))
        stretchGuest (guest, alignment.driftSlope);
}

}    // namespace ld
