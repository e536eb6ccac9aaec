#include "clocks/PairWindows.h"

#include <algorithm>
#include <cmath>

namespace ld
{

using juce::int64;

int64 reachOf (int order) noexcept
{
    return ((int64) 1 << order) / 8;
}

LagQuery queryFor (const PairProof& proof, int order, int64 centre)
{
    const auto rough = proof.task.roughLag;
    LagQuery query;
    query.host = proof.task.host;
    query.guest = proof.task.guest;
    query.hostStart = centre - ((int64) 1 << order) / 2;
    query.order = order;
    query.reach = reachOf (order);
    query.roughLag = proof.line ? (int64) std::llround (proof.line->lagAt ((double) (centre - rough))) : rough;
    return query;
}

void askTracks (LagQuery& query, const PairProof& proof)
{
    query.guestChannels = { proof.tracks.front().guestChannel };

    for (const auto& track : proof.tracks)
        query.hostChannels.push_back (track.hostChannel);
}

void keepWindow (PairProof& proof, int64 centre, LagAnswer answer)
{
    const auto at = std::lower_bound (proof.centres.begin(), proof.centres.end(), centre) - proof.centres.begin();
    const auto isKnown = at < (std::ptrdiff_t) proof.centres.size() && proof.centres[(size_t) at] == centre;

    if (! isKnown)
        proof.centres.insert (proof.centres.begin() + at, centre);

    for (auto& track : proof.tracks)
        for (auto& reading : answer.readings)
            if (reading.hostChannel == track.hostChannel && reading.guestChannel == track.guestChannel)
            {
                if (! isKnown)
                    track.windows.insert (track.windows.begin() + at, LagWindow {});

                auto& window = track.windows[(size_t) at];
                window.x = (double) answer.guestCentre;
                window.peaks = std::move (reading.peaks);
            }
}

}    // namespace ld
