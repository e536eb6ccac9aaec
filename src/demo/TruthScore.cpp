#include "demo/TruthScore.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

namespace ld
{
namespace
{

constexpr double pointSeconds = 10.0;
constexpr double jumpSeconds = 2.0, quietJumpSeconds = 5.0;    // by how much the moment may be off
constexpr double jumpSizeMs = 0.5, leastJumpMs = 1.0;
constexpr double provableSeconds = 5.0;
constexpr double samplesPerMs = demoSampleRate / 1000.0;

using PairKey = std::pair<juce::String, juce::String>;

PairKey keyOf (const juce::File& poly, const juce::File& file)
{
    return { poly.getFullPathName(), file.getFullPathName() };
}

bool isClose (double error) noexcept
{
    return std::abs (error) <= rightWithinSamples;
}

struct FrameSpan
{
    double from = 0.0, to = 0.0;
};

// The frames that were captured while the poly ran.
FrameSpan commonFrames (const TruePiece& piece, juce::int64 hostFrames)
{
    FrameSpan common { std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest() };

    for (size_t i = 0; i < piece.stretches.size(); ++i)
    {
        const auto& stretch = piece.stretches[i];
        const auto step = (double) demoSampleRate / piece.sampleRate * (1.0 + stretch.slope);
        const auto start = (double) stretch.fromSample;
        const auto end = (double) (i + 1 < piece.stretches.size() ? piece.stretches[i + 1].fromSample : piece.frames);
        const auto from = std::max (start, start - stretch.hostSample / step);
        const auto to = std::min (end, start + ((double) hostFrames - stretch.hostSample) / step);

        if (from < to)
            common = { std::min (common.from, from), std::max (common.to, to) };
    }

    return common;
}

double errorAt (const TruePiece& piece, const std::vector<TrueStretch>& told, double frame)
{
    const auto lag =
        hostSampleAt (told, piece.sampleRate, frame) - hostSampleAt (piece.stretches, piece.sampleRate, frame);
    return distanceFromPaths (lag, piece.paths);
}

double jumpMsAt (const std::vector<TrueStretch>& stretches, size_t index, int sampleRate)
{
    const auto frame = (double) stretches[index].fromSample;
    const auto before =
        hostSampleAt ({ stretches.begin(), stretches.begin() + (std::ptrdiff_t) index }, sampleRate, frame);
    return (stretches[index].hostSample - before) / samplesPerMs;
}

std::vector<JumpMoment> jumpsOf (const std::vector<TrueStretch>& stretches, int sampleRate)
{
    std::vector<JumpMoment> jumps;

    for (size_t i = 1; i < stretches.size(); ++i)
        jumps.push_back ({ (double) stretches[i].fromSample / sampleRate, jumpMsAt (stretches, i, sampleRate) });

    return jumps;
}

// The nearest in time of those that show this jump.
std::vector<JumpMoment>::iterator findTold (std::vector<JumpMoment>& told, const JumpMoment& jump, double withinSeconds)
{
    auto best = told.end();

    for (auto i = told.begin(); i != told.end(); ++i)
        if (std::abs (i->ms - jump.ms) <= jumpSizeMs && std::abs (i->seconds - jump.seconds) <= withinSeconds)
            if (best == told.end() || std::abs (i->seconds - jump.seconds) < std::abs (best->seconds - jump.seconds))
                best = i;

    return best;
}

bool isWithin (const FrameSpan& span, const TrueStretch& stretch) noexcept
{
    return (double) stretch.fromSample > span.from && (double) stretch.fromSample < span.to;
}

bool isProvableAt (double frame, const TruePiece& piece, const FrameSpan& common)
{
    const auto margin = provableSeconds * piece.sampleRate;
    return frame >= common.from + margin && frame <= common.to - margin;
}

// What lies between the jumps near the ends.
FrameSpan provenFrames (const TruePiece& piece, const FrameSpan& common)
{
    auto proven = common;

    for (size_t i = 1; i < piece.stretches.size(); ++i)
    {
        const auto frame = (double) piece.stretches[i].fromSample;

        if (! isWithin (common, piece.stretches[i]) || isProvableAt (frame, piece, common))
            continue;

        if (frame < 0.5 * (common.from + common.to))
            proven.from = std::max (proven.from, frame);
        else
            proven.to = std::min (proven.to, frame);
    }

    return proven;
}

void scoreJumps (const TruePiece& piece,
                 const std::vector<TrueStretch>& stretches,
                 const FrameSpan& common,
                 LaneScore& lane)
{
    auto told = jumpsOf (stretches, piece.sampleRate);
    std::erase_if (told, [] (const auto& jump) { return std::abs (jump.ms) < leastJumpMs; });
    const auto real = jumpsOf (piece.stretches, piece.sampleRate);

    for (size_t i = 0; i < real.size(); ++i)
    {
        const auto isProvable = isProvableAt ((double) piece.stretches[i + 1].fromSample, piece, common);
        const auto match = findTold (told, real[i], piece.quietJumps[i + 1] ? quietJumpSeconds : jumpSeconds);

        if (isProvable)
            (match != told.end() ? lane.found : lane.missed).push_back (real[i]);
        else if (isWithin (common, piece.stretches[i + 1]))
            lane.unprovable.push_back (real[i]);

        if (match != told.end())
            told.erase (match);
    }

    lane.invented = told;
}

double toldPpmOf (const std::vector<TrueStretch>& stretches, juce::int64 frames)
{
    auto sum = 0.0, length = 0.0;

    for (size_t i = 0; i < stretches.size(); ++i)
    {
        const auto end = i + 1 < stretches.size() ? stretches[i + 1].fromSample : frames;
        const auto weight = (double) std::max<juce::int64> (end - stretches[i].fromSample, 0);
        sum -= weight * stretches[i].slope * 1.0e6;
        length += weight;
    }

    return length > 0.0 ? sum / length : 0.0;
}

void scorePlace (const TrueTake& take, const TruePiece& piece, const ToldFile& told, LaneScore& lane)
{
    const auto common = commonFrames (piece, take.frames);
    const auto error = [&] (double frame) { return errorAt (piece, told.stretches, frame); };
    lane.isPlaced = true;
    lane.seconds = (double) piece.frames / piece.sampleRate;
    lane.confidence = told.confidence;
    lane.startError = error (common.from);
    lane.middleError = error (0.5 * (common.from + common.to));
    lane.endError = error (common.to - 1.0);
    const auto proven = provenFrames (piece, common);
    lane.firstProvenError = error (proven.from);
    lane.lastProvenError = error (proven.to - 1.0);
    lane.toldPpm = toldPpmOf (told.stretches, piece.frames);

    for (int i = 0; common.from + i * pointSeconds * piece.sampleRate < common.to; ++i)
        lane.pointErrors.push_back (error (common.from + i * pointSeconds * piece.sampleRate));

    scoreJumps (piece, told.stretches, common, lane);
}

/** The report's words on each pair. */
struct ToldIndex
{
    std::map<PairKey, const ToldFile*> placed;
    std::map<PairKey, juce::String> details;
};

ToldIndex indexOf (const ToldShoot& told)
{
    ToldIndex index;

    for (const auto& pair : told.pairs)
        index.details[keyOf (pair.poly, pair.file)] = pair.detail;

    for (const auto& file : told.files)
    {
        const auto key = keyOf (file.poly, file.file);
        index.details[key] = file.detail;

        if (file.isPlaced)
            index.placed[key] = &file;
    }

    return index;
}

LaneScore scoreLane (const TrueTake& take, const TrueGuest& guest, const TruePiece& piece, const ToldIndex& told)
{
    LaneScore lane;
    const auto key = keyOf (take.poly, piece.file);
    lane.poly = take.poly;
    lane.file = piece.file;
    lane.source = guest.source;
    lane.isSilent = piece.isSilent;

    if (const auto found = told.placed.find (key); found != told.placed.end())
        scorePlace (take, piece, *found->second, lane);

    const auto detail = told.details.find (key);
    lane.detail = detail != told.details.end() ? detail->second : "not judged";
    return lane;
}

std::vector<ClockScore> scoreClocks (const ShootTruth& truth, const std::vector<LaneScore>& lanes)
{
    std::vector<ClockScore> clocks;

    for (const auto& source : truth.sources)
    {
        auto sum = 0.0, weight = 0.0;
        const auto isOwn = [&source] (const LaneScore& lane) { return lane.source == source.source; };

        if (std::none_of (lanes.begin(), lanes.end(), isOwn))
            continue;

        for (const auto& lane : lanes)
            if (lane.isPlaced && isOwn (lane))
            {
                sum += lane.toldPpm * lane.seconds;
                weight += lane.seconds;
            }

        clocks.push_back ({ source.source, source.ppm, weight > 0.0 ? std::optional (sum / weight) : std::nullopt });
    }

    return clocks;
}

/** The true pieces by pair. */
using TruePairs = std::map<PairKey, std::pair<const TrueTake*, const TruePiece*>>;

TruePairs truePairsOf (const ShootTruth& truth)
{
    TruePairs pairs;

    for (const auto& take : truth.takes)
        for (const auto& guest : take.guests)
            for (const auto& piece : guest.pieces)
                pairs[keyOf (take.poly, piece.file)] = { &take, &piece };

    return pairs;
}

bool isRightPlace (const TruePairs& pairs, const PairKey& key, const std::vector<TrueStretch>& stretches)
{
    const auto found = pairs.find (key);

    if (found == pairs.end())
        return false;

    const auto& [take, piece] = found->second;
    const auto common = commonFrames (*piece, take->frames);
    const auto isRightAt = [&, &truePiece = *piece] (double frame) {
        return isClose (errorAt (truePiece, stretches, frame));
    };
    return isRightAt (common.from) && isRightAt (0.5 * (common.from + common.to)) && isRightAt (common.to - 1.0);
}

}    // namespace

bool LaneScore::isRight() const noexcept
{
    return isPlaced && isClose (startError) && isClose (middleError) && isClose (endError);
}

bool LaneScore::isRightWherePossible() const noexcept
{
    return isPlaced && isClose (firstProvenError) && isClose (middleError) && isClose (lastProvenError);
}

double distanceFromPaths (double lag, const std::vector<LagRange>& paths) noexcept
{
    auto nearest = std::numeric_limits<double>::max();

    for (const auto& path : paths)
    {
        const auto beyond = lag - std::clamp (lag, path.low, path.high);

        if (std::abs (beyond) < std::abs (nearest))
            nearest = beyond;
    }

    return nearest;
}

TruthScore scoreReport (const ShootTruth& truth, const ToldShoot& told)
{
    TruthScore score;
    score.kind = truth.kind;
    score.seed = truth.seed;
    score.unrelatedPairs = (int) (truth.takes.size() * truth.unrelated.size());
    const auto index = indexOf (told);
    const auto pairs = truePairsOf (truth);

    for (const auto& take : truth.takes)
        for (const auto& guest : take.guests)
            for (const auto& piece : guest.pieces)
                score.lanes.push_back (scoreLane (take, guest, piece, index));

    for (const auto& file : told.files)
    {
        const auto key = keyOf (file.poly, file.file);

        if (! file.isPlaced)
            continue;

        score.placed.push_back ({ file.confidence, isRightPlace (pairs, key, file.stretches) });

        if (! pairs.contains (key))
            score.wrongPairs.push_back (
                { file.poly,
                  file.file,
                  std::find (truth.unrelated.begin(), truth.unrelated.end(), file.file) != truth.unrelated.end(),
                  file.confidence,
                  file.detail });
    }

    for (const auto& pair : told.pairs)
        score.compared.push_back (
            { pair.confidence, isRightPlace (pairs, keyOf (pair.poly, pair.file), { pair.place }) });

    score.clocks = scoreClocks (truth, score.lanes);
    return score;
}

}    // namespace ld
