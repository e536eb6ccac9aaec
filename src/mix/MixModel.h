#pragma once

#include "media/Records.h"

#include <algorithm>
#include <map>
#include <span>

namespace ld
{

// One fixed row of channels spans every host channel that is not omitted, then every lane of every guest. Positions are
// host samples from the start of the take; automation lies on a grid of automationGrid samples.

constexpr int mixerChannelLimit = 32;
constexpr float lowestGainDb = -60.0f;    // and silence
constexpr float highestGainDb = 12.0f;
constexpr juce::int64 automationGrid = 256;

struct MixAutomationPoint
{
    juce::int64 sample = 0;
    float gainDb = 0.0f;

    bool operator== (const MixAutomationPoint&) const = default;
};

struct MixMutePoint
{
    juce::int64 sample = 0;
    bool mute = false;    // from this sample on

    bool operator== (const MixMutePoint&) const = default;
};

struct MixerChannel
{
    float gainDb = 0.0f;    // used where automation is empty; also the last value written
    float pan = 0.0f;       // -1 left to 1 right
    bool mute = false;      // used where muteAutomation is empty
    bool solo = false;
    std::vector<MixAutomationPoint> automation;    // ascending, no two at one sample
    std::vector<MixMutePoint> muteAutomation;

    bool operator== (const MixerChannel&) const = default;
};

using MixerBank = std::array<MixerChannel, mixerChannelLimit>;

/** A mix that is carried from take to take: by a source key, not by a channel's position in the bank. */
using MixerTemplate = std::map<juce::String, MixerChannel>;

/** True for a recorder's own mix: by its function ("MIX", "L-MIX" and the like, "OLDMIX" of an earlier combined file), or by
    one of the usual names, once case, blanks and punctuation are taken off. */
[[nodiscard]] bool isOriginalMixTrack (const TrackInfo&);
[[nodiscard]] bool isMixSourceTrack (const TrackInfo&);

/** Gives a recorder's mix track the name and function that tell it from the new mix. */
void renameMixToOldMix (TrackInfo&);

[[nodiscard]] float mixDbToGain (float db) noexcept;

/** The state at a sample: mute steps from point to point, gain runs in a straight line of dB between them. */
[[nodiscard]] bool mixerMuteAt (const MixerChannel&, juce::int64 sample) noexcept;
[[nodiscard]] float mixerGainDbAt (const MixerChannel&, juce::int64 sample) noexcept;
/** Walks along a channel's curves: the values of mixerGainDbAt and mixerMuteAt without a search for each sample where the
    samples rise slowly, as in playing. The channel must not change meanwhile. */
class AutomationCursor
{
public:
    explicit AutomationCursor (const MixerChannel& channelToFollow) noexcept : channel (&channelToFollow) {}

    [[nodiscard]] float gainDbAt (juce::int64 sample) noexcept;
    [[nodiscard]] bool isMutedAt (juce::int64 sample) noexcept;

    [[nodiscard]] bool hasGainCurve() const noexcept { return ! channel->automation.empty(); }
    [[nodiscard]] bool hasMuteCurve() const noexcept { return ! channel->muteAutomation.empty(); }

private:
    const MixerChannel* channel;
    size_t gainPoint = 0, mutePoint = 0;    // the last one at or before the sample asked for last
};

[[nodiscard]] bool mixerChannelAudible (const MixerChannel&, bool anySolo, juce::int64 sample) noexcept;

[[nodiscard]] bool anySoloIn (std::span<const MixerChannel>) noexcept;

/** The first count channels of a bank: those that are in use. */
template <typename Bank>
[[nodiscard]] auto channelsInUse (Bank& bank, int count) noexcept
{
    return std::span (bank).first ((size_t) std::clamp (count, 0, mixerChannelLimit));
}

/** The lanes that a guest has in the bank: those of its audio; without any, one. */
[[nodiscard]] inline int lanesOf (const GuestClip& guest) noexcept
{
    return std::max ((int) guest.channelAudio.size(), 1);
}

/** The track of a guest's lane; the first one where the lane has none of its own. */
[[nodiscard]] TrackInfo guestTrackAt (const GuestClip&, int lane);

/** "H|" or "G|", function, "|", name, "|", index; in capitals. */
[[nodiscard]] juce::String mixerSourceKey (bool isHost, const TrackInfo&, int index);

/** The source key of a mixer index; empty if there is none. Host channels are told by their place in the poly. */
[[nodiscard]] juce::String keyAt (const HostTake&, const std::vector<GuestClip>&, int mixerIndex);

/** What applyMixerTemplate takes, of a bank. No command reaches it: the work holds levels by take (session/TakeLevels). */
[[nodiscard]] MixerTemplate
captureMixerTemplate (const HostTake&, const std::vector<GuestClip>&, std::span<const MixerChannel>);

/** Mutes the recorder's mix, then gives every channel whose source the template knows its settings. */
void applyMixerTemplate (const HostTake&, const std::vector<GuestClip>&, std::span<MixerChannel>, const MixerTemplate&);

/** Sets the static mute of every channel that is a recorder's own mix, the poly's and the guests'. */
void muteOriginalMixChannels (const HostTake&, const std::vector<GuestClip>&, std::span<MixerChannel>);

/** True for a lane of a guest that is its recorder's own mix. */
[[nodiscard]] bool isOriginalMixLane (const GuestClip&, int lane);

/** Moves the fader and every point of its curve, as far as a fader goes. */
void shiftMixerGain (MixerChannel&, float db);

/** A fader move. Outside a write pass it wipes the curve; in one it replaces everything from its position on. */
void writeMixerGain (MixerChannel&, float db, juce::int64 sample, bool automationWrite);
void writeMixerMute (MixerChannel&, bool mute, juce::int64 sample, bool automationWrite);

/** A stroke of the pencil: replaces only the stretch from previousSample (negative if there is none) to sample. */
void drawMixerGain (MixerChannel&, float db, juce::int64 sample, juce::int64 previousSample);

}    // namespace ld
