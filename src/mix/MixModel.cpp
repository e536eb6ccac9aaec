#include "mix/MixModel.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

using juce::int64;

juce::String normalised (const juce::String& text)
{
    return text.trim().toUpperCase();
}

// Without blanks and punctuation: "Mix-L" and "MIX L" are one name.
juce::String lettersOf (const juce::String& text)
{
    const auto capitals = text.toUpperCase();
    juce::String letters;

    for (auto at = capitals.getCharPointer(); ! at.isEmpty(); ++at)
        if (juce::CharacterFunctions::isLetterOrDigit (*at))
            letters += *at;

    return letters;
}

constexpr std::array leftMixNames { "MIXL", "LMIX", "MIXLEFT", "LEFTMIX" };
constexpr std::array rightMixNames { "MIXR", "RMIX", "MIXRIGHT", "RIGHTMIX" };
constexpr std::array otherMixNames { "MIX", "MIXLR", "MIXMONO", "MONOMIX", "MIXSTEREO", "STEREOMIX" };

bool isOneOf (std::span<const char* const> names, const juce::String& letters)
{
    return std::ranges::any_of (names, [&] (const auto* name) { return letters == name; });
}

bool isMixName (const juce::String& letters)
{
    return isOneOf (leftMixNames, letters) || isOneOf (rightMixNames, letters) || isOneOf (otherMixNames, letters);
}

int64 gridPosition (int64 sample) noexcept
{
    return sample < 0 ? 0 : sample / automationGrid * automationGrid;
}

float clampedGain (float db) noexcept
{
    return juce::jlimit (lowestGainDb, highestGainDb, db);
}

// The last point at or before a sample that lies between the first and the last. The guess is tried first.
template <typename Point>
size_t pointBefore (const std::vector<Point>& points, int64 sample, size_t guess) noexcept
{
    if (guess + 1 < points.size() && points[guess].sample <= sample && sample < points[guess + 1].sample)
        return guess;

    size_t low = 0;
    auto high = points.size() - 1;

    while (high - low > 1)
    {
        const auto middle = (low + high) / 2;
        (points[middle].sample > sample ? high : low) = middle;
    }

    return low;
}

// Writing drops all that lies behind its position. The first write of a pass leaves the old value at the start of the
// take, and so a ramp up to the written position.
template <typename Point, typename Value>
void overwriteFrom (std::vector<Point>& points, Value previous, Value value, int64 sample)
{
    const auto position = gridPosition (sample);

    if (points.empty())
    {
        points.push_back ({ 0, previous });

        if (position >= automationGrid)
            points.push_back ({ position, previous });
    }

    while (! points.empty() && points.back().sample > position)
        points.pop_back();

    if (! points.empty() && points.back().sample == position)
        points.back() = { position, value };
    else
        points.push_back ({ position, value });
}

int guestLaneCount (const GuestClip& guest)
{
    if (! guest.channelAudio.empty())
        return (int) guest.channelAudio.size();

    return std::max (guest.format.channels, 1);
}

}    // namespace

TrackInfo guestTrackAt (const GuestClip& guest, int lane)
{
    if ((size_t) lane < guest.tracks.size())
        return guest.tracks[(size_t) lane];

    return guest.tracks.empty() ? TrackInfo() : guest.tracks.front();
}

bool isOriginalMixTrack (const TrackInfo& track)
{
    const auto function = lettersOf (track.function);
    const auto words = juce::StringArray::fromTokens (normalised (track.function), " -_/.", {});
    return words.contains ("MIX") || function == "OLDMIX" || isMixName (function) || isMixName (lettersOf (track.name));
}

bool isOriginalMixLane (const GuestClip& guest, int lane)
{
    return (size_t) lane < guest.tracks.size() && isOriginalMixTrack (guest.tracks[(size_t) lane]);
}

bool isMixSourceTrack (const TrackInfo& track)
{
    return ! isOriginalMixTrack (track);
}

void renameMixToOldMix (TrackInfo& track)
{
    const auto letters = lettersOf (track.name);

    if (isOneOf (leftMixNames, letters))
        track.name = "OLDMIX L";
    else if (isOneOf (rightMixNames, letters))
        track.name = "OLDMIX R";
    else if (letters == "MIX" || normalised (track.name).isEmpty())
        track.name = "OLDMIX";
    else if (! normalised (track.name).contains ("OLDMIX"))
        track.name = "OLDMIX " + track.name;

    track.function = "OLDMIX";
}

float mixDbToGain (float db) noexcept
{
    return db <= lowestGainDb ? 0.0f : std::pow (10.0f, db / 20.0f);
}

bool AutomationCursor::isMutedAt (int64 sample) noexcept
{
    const auto& points = channel->muteAutomation;

    if (points.empty())
        return channel->mute;

    if (sample <= points.front().sample)
        return points.front().mute;

    if (sample >= points.back().sample)
        return points.back().mute;

    mutePoint = pointBefore (points, sample, mutePoint);
    return points[mutePoint].mute;
}

float AutomationCursor::gainDbAt (int64 sample) noexcept
{
    const auto& points = channel->automation;

    if (points.empty())
        return channel->gainDb;

    if (sample <= points.front().sample)
        return points.front().gainDb;

    if (sample >= points.back().sample)
        return points.back().gainDb;

    gainPoint = pointBefore (points, sample, gainPoint);
    const auto& low = points[gainPoint];
    const auto& high = points[gainPoint + 1];
    const auto t = (float) ((double) (sample - low.sample) / (double) std::max<int64> (1, high.sample - low.sample));
    return low.gainDb + t * (high.gainDb - low.gainDb);
}

bool mixerMuteAt (const MixerChannel& channel, int64 sample) noexcept
{
    return AutomationCursor (channel).isMutedAt (sample);
}

float mixerGainDbAt (const MixerChannel& channel, int64 sample) noexcept
{
    return AutomationCursor (channel).gainDbAt (sample);
}

bool mixerChannelAudible (const MixerChannel& channel, bool anySolo, int64 sample) noexcept
{
    return ! mixerMuteAt (channel, sample) && (! anySolo || channel.solo);
}

bool anySoloIn (std::span<const MixerChannel> channels) noexcept
{
    return std::ranges::any_of (channels, &MixerChannel::solo);
}

juce::String mixerSourceKey (bool isHost, const TrackInfo& track, int index)
{
    return (isHost ? "H|" : "G|") + normalised (track.function) + "|" + normalised (track.name) + "|"
           + juce::String (index);
}

juce::String keyAt (const HostTake& host, const std::vector<GuestClip>& guests, int mixerIndex)
{
    auto count = 0;

    for (int c = 0; c < host.format.channels; ++c)
    {
        if (isChannelOmitted (host, c))
            continue;

        if (count++ == mixerIndex)
            return mixerSourceKey (true, (size_t) c < host.tracks.size() ? host.tracks[(size_t) c] : TrackInfo(), c);
    }

    for (const auto& guest : guests)
    {
        const auto lane = mixerIndex - count;
        const auto lanes = guestLaneCount (guest);

        if (lane >= 0 && lane < lanes)
            return mixerSourceKey (false, guestTrackAt (guest, lane), lane);

        count += lanes;
    }

    return {};
}

MixerTemplate captureMixerTemplate (const HostTake& host,
                                    const std::vector<GuestClip>& guests,
                                    std::span<const MixerChannel> channels)
{
    MixerTemplate captured;

    for (size_t i = 0; i < channels.size(); ++i)
        if (const auto key = keyAt (host, guests, (int) i); key.isNotEmpty())
            captured[key] = channels[i];

    return captured;
}

void applyMixerTemplate (const HostTake& host,
                         const std::vector<GuestClip>& guests,
                         std::span<MixerChannel> channels,
                         const MixerTemplate& mixerTemplate)
{
    muteOriginalMixChannels (host, guests, channels);

    for (size_t i = 0; i < channels.size(); ++i)
    {
        const auto key = keyAt (host, guests, (int) i);

        if (const auto entry = mixerTemplate.find (key); key.isNotEmpty() && entry != mixerTemplate.end())
            channels[i] = entry->second;
    }
}

void muteOriginalMixChannels (const HostTake& host,
                              const std::vector<GuestClip>& guests,
                              std::span<MixerChannel> channels)
{
    size_t index = 0;
    const auto visit = [&] (bool isMix) {
        if (isMix && index < channels.size())
            channels[index].mute = true;

        ++index;
    };

    for (int c = 0; c < host.format.channels; ++c)
        if (! isChannelOmitted (host, c))
            visit ((size_t) c < host.tracks.size() && isOriginalMixTrack (host.tracks[(size_t) c]));

    for (const auto& guest : guests)
        for (int lane = 0; lane < lanesOf (guest); ++lane)
            visit (isOriginalMixLane (guest, lane));
}

void shiftMixerGain (MixerChannel& channel, float db)
{
    const auto shift = [db] (float& gain) { gain = std::clamp (gain + db, lowestGainDb, highestGainDb); };
    shift (channel.gainDb);

    for (auto& point : channel.automation)
        shift (point.gainDb);
}

void writeMixerGain (MixerChannel& channel, float db, int64 sample, bool automationWrite)
{
    const auto previous = std::exchange (channel.gainDb, clampedGain (db));

    if (automationWrite)
        overwriteFrom (channel.automation, previous, channel.gainDb, sample);
    else
        channel.automation.clear();
}

void writeMixerMute (MixerChannel& channel, bool mute, int64 sample, bool automationWrite)
{
    const auto previous = std::exchange (channel.mute, mute);

    if (automationWrite)
        overwriteFrom (channel.muteAutomation, previous, mute, sample);
    else
        channel.muteAutomation.clear();
}

void drawMixerGain (MixerChannel& channel, float db, int64 sample, int64 previousSample)
{
    auto& points = channel.automation;
    const auto position = gridPosition (sample);
    const auto previous = std::exchange (channel.gainDb, clampedGain (db));

    if (points.empty())
        points.push_back ({ 0, previous });

    if (previousSample >= 0)
    {
        const auto [from, to] = std::minmax ({ gridPosition (previousSample), position });
        std::erase_if (points,
                       [from = from, to = to] (const auto& point) { return point.sample > from && point.sample < to; });
    }

    const auto isBefore = [] (const auto& point, int64 at) { return point.sample < at; };
    const auto at = std::lower_bound (points.begin(), points.end(), position, isBefore);

    if (at != points.end() && at->sample == position)
        at->gainDb = channel.gainDb;
    else
        points.insert (at, { position, channel.gainDb });
}

}    // namespace ld
