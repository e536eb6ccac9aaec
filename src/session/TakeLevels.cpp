#include "session/TakeLevels.h"

#include <algorithm>

namespace ld
{
namespace
{

juce::File firstFileOf (const GuestClip& guest)
{
    const auto files = filesOf (guest);
    return *std::min_element (files.begin(), files.end(), [] (const auto& a, const auto& b) {
        return a.getFullPathName().compare (b.getFullPathName()) < 0;
    });
}

// A drawn curve stays with its take: the value that it ended at is no level for another.
MixerChannel carriedOn (const MixerChannel& set, const MixerChannel& before)
{
    MixerChannel carried = before;
    carried.pan = set.pan;
    carried.solo = set.solo;

    if (set.automation.empty())
    {
        carried.gainDb = set.gainDb;
        carried.automation.clear();
    }

    if (set.muteAutomation.empty())
    {
        carried.mute = set.mute;
        carried.muteAutomation.clear();
    }

    return carried;
}

}    // namespace

juce::String guestLaneKey (const juce::File& firstFile, int lane)
{
    return "G|" + juce::String (lane) + "|" + firstFile.getFullPathName();
}

std::vector<LaneKeys> laneKeys (const HostTake& host, const std::vector<GuestClip>& guests)
{
    std::vector<LaneKeys> keys;
    const auto add = [&] (juce::String lane, juce::String source) {
        if (keys.size() < mixerChannelLimit)
            keys.push_back ({ std::move (lane), std::move (source) });
    };

    for (int c = 0; c < host.format.channels; ++c)
        if (! isChannelOmitted (host, c))
            add ("H|" + juce::String (c),
                 mixerSourceKey (true, (size_t) c < host.tracks.size() ? host.tracks[(size_t) c] : TrackInfo(), c));

    for (const auto& guest : guests)
    {
        const auto first = firstFileOf (guest);

        for (int lane = 0; lane < lanesOf (guest); ++lane)
            add (guestLaneKey (first, lane), mixerSourceKey (false, guestTrackAt (guest, lane), lane));
    }

    return keys;
}

MixerBank bankOf (const HostTake& host,
                  const std::vector<GuestClip>& guests,
                  const TakeLevels& levels,
                  const MixerTemplate& others)
{
    MixerBank bank {};
    const auto take = host.file.getFullPathName();
    const auto keys = laneKeys (host, guests);
    muteOriginalMixChannels (host, guests, channelsInUse (bank, (int) keys.size()));

    for (size_t i = 0; i < keys.size(); ++i)
    {
        if (const auto own = levels.find ({ take, keys[i].lane }); own != levels.end())
            bank[i] = own->second;
        else if (const auto carried = others.find (keys[i].source); carried != others.end())
            bank[i] = carried->second;
    }

    return bank;
}

bool rememberLevels (TakeLevels& levels,
                     MixerTemplate& others,
                     const HostTake& host,
                     const std::vector<GuestClip>& guests,
                     std::span<const MixerChannel> bank)
{
    const auto before = bankOf (host, guests, levels, others);
    const auto take = host.file.getFullPathName();
    const auto keys = laneKeys (host, guests);
    const auto count = std::min (keys.size(), bank.size());

    if (std::equal (bank.begin(), bank.begin() + (std::ptrdiff_t) count, before.begin()))
        return false;

    for (size_t i = 0; i < count; ++i)
    {
        levels[{ take, keys[i].lane }] = bank[i];

        if (bank[i] != before[i] && keys[i].source.isNotEmpty())
            others[keys[i].source] = carriedOn (bank[i], others[keys[i].source]);
    }

    return true;
}

}    // namespace ld
