#include "monitor/PreviewMix.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

using juce::int64;

constexpr float headroom = 0.55f;    // there is no master fader
constexpr float fullScale = 0x1p-23f;

float between (float a, float b, float t) noexcept
{
    return a + t * (b - a);
}

}    // namespace

void PreviewMix::prepare (int numSamples)
{
    length = (size_t) std::max (numSamples, 0);

    if (positions.size() >= length)
        return;

    positions.resize (length);
    frames.resize (length);
    values.resize (length);
    leftSums.resize (length);
    rightSums.resize (length);
    monoSums.resize (length);
}

PreviewMix::Outcome
PreviewMix::mix (const Session& session, const HostFrames& host, double position, double step, int numSamples)
{
    prepare (numSamples);
    std::fill_n (leftSums.begin(), length, 0.0f);
    std::fill_n (rightSums.begin(), length, 0.0f);
    std::fill_n (monoSums.begin(), length, 0.0f);

    Outcome outcome;
    lay (position, step, session.host.format.numFrames, outcome);
    mixHost (session, host, outcome);
    mixGuests (session, outcome);
    limit (outcome);
    return outcome;
}

// Where each sample of the block lies on the host.
void PreviewMix::lay (double position, double step, int64 takeLength, Outcome& outcome)
{
    outcome.position = position;

    for (heard = 0; heard < length && ! outcome.hasEnded; ++heard)
    {
        positions[heard] = outcome.position;
        frames[heard] = (int64) std::floor (outcome.position);
        outcome.position += step;
        outcome.hasEnded = outcome.position >= (double) takeLength;
    }

    if (outcome.hasEnded)
        outcome.position = 0.0;
}

void PreviewMix::mixHost (const Session& session, const HostFrames& host, Outcome& outcome)
{
    const auto& take = session.host;
    auto mixerIndex = 0;

    for (int c = 0; c < take.format.channels; ++c)
    {
        if (isChannelOmitted (take, c))
            continue;

        const auto isRecordersMix = (size_t) c < take.tracks.size() && isOriginalMixTrack (take.tracks[(size_t) c]);

        if (! isRecordersMix && mixerIndex < session.mixerCount() && c < host.channels)
        {
            readHostChannel (host, c, take.format.numFrames);
            addChannel (session, mixerIndex, outcome);
        }

        ++mixerIndex;
    }
}

// Outside the take and outside what was read there is nothing to hear.
void PreviewMix::readHostChannel (const HostFrames& host, int channel, int64 takeLength)
{
    const auto count = host.count();
    const auto sampleOf = [&] (int64 frame) {
        return (float) host.samples[(size_t) (frame * host.channels + channel)] * fullScale;
    };

    for (size_t i = 0; i < heard; ++i)
    {
        const auto frame = frames[i], at = frame - host.firstFrame;

        if (frame < 0 || frame >= takeLength || at < 0 || at >= count)
            values[i] = 0.0f;
        else
            values[i] = between (
                sampleOf (at), sampleOf (std::min (at + 1, count - 1)), (float) (positions[i] - (double) frame));
    }
}

void PreviewMix::mixGuests (const Session& session, Outcome& outcome)
{
    const auto count = session.mixerCount();
    auto mixerIndex = 0;

    for (int c = 0; c < session.host.format.channels; ++c)
        mixerIndex += isChannelOmitted (session.host, c) ? 0 : 1;

    for (const auto& guest : session.guests)
    {
        const auto& lanes = guest.channelAudio;
        const auto numLanes = std::max ((int) lanes.size(), 1);

        for (int lane = 0; lane < numLanes && mixerIndex + lane < count; ++lane)
        {
            // As in the new mix: no recorder's mix, neither a guest's nor the poly's.
            if (isOriginalMixLane (guest, lane))
                continue;

            readGuestLane (lanes.empty() ? guest.monoAudio : lanes[(size_t) lane], guest.alignment.offsetSamples);
            addChannel (session, mixerIndex + lane, outcome);
        }

        mixerIndex += numLanes;
    }
}

void PreviewMix::readGuestLane (const std::vector<float>& lane, int64 offset)
{
    const auto count = (int64) lane.size();

    for (size_t i = 0; i < heard; ++i)
    {
        const auto position = positions[i] - (double) offset;
        const auto at = (int64) std::floor (position);

        if (at < 0 || at >= count)
            values[i] = 0.0f;
        else
            values[i] = between (
                lane[(size_t) at], lane[(size_t) std::min (at + 1, count - 1)], (float) (position - (double) at));
    }
}

// Adds the values at the channel's gain and pan. Gain and mute are those of the host's position, a guest's too.
void PreviewMix::addChannel (const Session& session, int mixerIndex, Outcome& outcome)
{
    const auto& channel = session.mixerAt (mixerIndex);
    AutomationCursor automation (channel);

    if ((session.anySolo() && ! channel.solo) || (! automation.hasMuteCurve() && channel.mute))
        return;

    const auto angle = (channel.pan + 1.0f) * 0.25f * juce::MathConstants<float>::pi;
    const auto toLeft = std::cos (angle), toRight = std::sin (angle);
    const auto constantGain = mixDbToGain (channel.gainDb);
    auto& peak = outcome.peaks[(size_t) mixerIndex];

    for (size_t i = 0; i < heard; ++i)
    {
        if (automation.hasMuteCurve() && automation.isMutedAt (frames[i]))
            continue;

        const auto gain = automation.hasGainCurve() ? mixDbToGain (automation.gainDbAt (frames[i])) : constantGain;
        const auto value = values[i] * gain;
        leftSums[i] += value * toLeft;
        rightSums[i] += value * toRight;
        monoSums[i] += value;
        peak = std::max (peak, std::abs (value));
    }
}

void PreviewMix::limit (Outcome& outcome)
{
    for (size_t i = 0; i < heard; ++i)
        outcome.mixPeak = std::max (outcome.mixPeak, std::abs (monoSums[i]));

    for (auto* sums : { &leftSums, &rightSums })
        for (size_t i = 0; i < heard; ++i)
            (*sums)[i] = std::clamp ((*sums)[i] * headroom, -1.0f, 1.0f);
}

}    // namespace ld
