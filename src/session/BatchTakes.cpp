#include "session/BatchTakes.h"

#include "media/ClockStretches.h"
#include "session/Session.h"

#include <algorithm>

namespace ld
{
namespace
{

auto hasHost (const juce::File& file)
{
    return [&file] (const BatchMatch& take) { return take.host.file == file; };
}

}    // namespace

BatchMatch describeTake (const Session& session)
{
    BatchMatch take;
    copyIdentity (session.host, take.host);

    for (const auto& guest : session.guests)
    {
        const auto add = [&] (const auto& source, Alignment place) {
            auto& scan = take.guests.emplace_back();
            copyIdentity (source, scan);
            scan.alignment = std::move (place);
        };

        for (const auto& piece : guest.pieces)
            add (piece, placeOnHost (guest.alignment, piece));

        if (guest.pieces.empty())
            add (guest, guest.alignment);
    }

    for (int channel = 0; channel < session.host.format.channels; ++channel)
        if (isChannelOmitted (session.host, channel))
            take.omittedHost.push_back (channel);

    return take;
}

int mergeTake (std::vector<BatchMatch>& batch, BatchMatch take)
{
    auto at = std::find_if (batch.begin(), batch.end(), hasHost (take.host.file));

    if (at == batch.end())
    {
        batch.push_back (std::move (take));
        return (int) batch.size() - 1;
    }

    take.reason = at->reason;
    take.score = at->score;
    *at = std::move (take);
    return (int) (at - batch.begin());
}

std::vector<BatchMatch> mergeMatches (const std::vector<BatchMatch>& batch, const std::vector<BatchMatch>& matches)
{
    std::vector<BatchMatch> merged;

    for (const auto& take : batch)
    {
        const auto at = std::find_if (matches.begin(), matches.end(), hasHost (take.host.file));
        auto& entry = merged.emplace_back();

        if (at == matches.end())
            entry.host = take.host;
        else
            entry = *at;
    }

    return merged;
}

std::vector<ScanFile> scansForBatch (const std::vector<BatchMatch>& batch, const juce::File& folder)
{
    std::vector<ScanFile> scans;
    scans.reserve (batch.size());

    // A session document does not hold what the headers say.
    for (const auto& take : batch)
        scans.push_back (take.host.format.channels > 0 ? take.host : inspectAudioFile (take.host.file));

    for (const auto& file : collectMediaFiles (folder))
        if (std::none_of (batch.begin(), batch.end(), hasHost (file)))
            if (auto scan = inspectAudioFile (file); scan.format.valid)
                scans.push_back (std::move (scan));

    return scans;
}

}    // namespace ld
