#include "work/SessionPlan.h"

#include "media/ClockStretches.h"
#include "session/MetadataOverrides.h"
#include "session/TakeLevels.h"

#include <algorithm>
#include <map>

namespace ld
{
namespace
{

using juce::int64;

using PlaceByPath = std::map<juce::String, const ScanFile*>;

PlaceByPath scansByPath (const std::vector<ScanFile>& scans)
{
    PlaceByPath byPath;

    for (const auto& scan : scans)
        byPath.try_emplace (scan.file.getFullPathName(), &scan);

    return byPath;
}

// The places that the take has for a guest's files; none if it lacks one of them.
std::optional<std::vector<FilePlace>> placesIn (const PlaceByPath& take, const GuestClip& guest)
{
    std::vector<FilePlace> places;

    for (const auto& file : filesOf (guest))
    {
        const auto at = take.find (file.getFullPathName());

        if (at == take.end())
            return {};

        places.push_back ({ file, at->second->alignment });
    }

    return places;
}

// Nothing of how the file lies but where: words and confidence count as much as the place.
bool isShifted (const Alignment& from, const Alignment& to)
{
    const auto moved = movedBy (from, to.offsetSamples - from.offsetSamples);
    return moved.stretches == to.stretches && juce::exactlyEqual (moved.driftSlope, to.driftSlope);
}

// Whether all files of a guest lie as before, or all are shifted by as much.
bool isShifted (const std::vector<FilePlace>& from, const std::vector<FilePlace>& to, size_t laidOut)
{
    for (size_t i = 0; i < from.size(); ++i)
    {
        // Files that were left out have no audio to be shifted, but one that is to be heard now must be read.
        if (i >= laidOut)
        {
            if (from[i].place.needsManual != to[i].place.needsManual)
                return false;

            continue;
        }

        if (! isShifted (from[i].place, to[i].place)
            || to[i].place.offsetSamples - from[i].place.offsetSamples
                   != to[0].place.offsetSamples - from[0].place.offsetSamples)
            return false;
    }

    // A clip lies by its stamps while no file is sure of its place, and by the places of those that are.
    const auto isDoubtful = [] (const FilePlace& file) { return file.place.needsManual; };
    const auto all = (std::ptrdiff_t) laidOut;
    const auto doubtfulBefore = std::count_if (from.begin(), from.begin() + all, isDoubtful);
    const auto doubtfulAfter = std::count_if (to.begin(), to.begin() + all, isDoubtful);
    return doubtfulBefore == doubtfulAfter || doubtfulAfter == 0 || doubtfulAfter == all;
}

bool areUnsearched (const std::vector<FilePlace>& places)
{
    return std::ranges::all_of (places, [] (const auto& file) { return isUnsearched (file.place); });
}

void compareGuest (const GuestClip& guest, std::vector<FilePlace> places, SessionPlan& plan)
{
    const auto saved = filePlacesOf (guest);

    if (areUnsearched (places) && ! guest.isMissing)
    {
        if (! guest.matchPending)
            plan.searched.push_back (guest.id);
    }
    else if (guest.matchPending)
        plan.laidOut.push_back ({ guest.id, std::move (places) });
    else if (saved == places)
        return;
    else if (guest.isMissing || (! guest.channelAudio.empty() && isShifted (saved, places, guest.pieces.size())))
        plan.moved.push_back ({ guest.id, std::move (places) });
    else
        plan.laidOut.push_back ({ guest.id, std::move (places) });
}

std::vector<int> omittedIn (const HostTake& host)
{
    std::vector<int> omitted;

    for (int c = 0; c < host.format.channels; ++c)
        if (isChannelOmitted (host, c))
            omitted.push_back (c);

    return omitted;
}

std::vector<int> omittedIn (const HostTake& host, const BatchMatch& take)
{
    auto omitted = take.omittedHost;
    std::erase_if (omitted, [&] (int c) { return ! juce::isPositiveAndBelow (c, host.format.channels); });
    std::ranges::sort (omitted);
    omitted.erase (std::unique (omitted.begin(), omitted.end()), omitted.end());
    return omitted;
}

}    // namespace

bool SessionPlan::isEmpty() const
{
    return removed.empty() && moved.empty() && laidOut.empty() && searched.empty() && added.empty()
           && ! hasOtherChannels;
}

SessionPlan planFor (const Session& session, const BatchMatch& take)
{
    SessionPlan plan;
    auto open = scansByPath (take.guests);

    for (const auto& guest : session.guests)
    {
        auto places = placesIn (open, guest);

        if (! places)
        {
            plan.removed.push_back (guest.id);
            continue;
        }

        for (const auto& file : *places)
            open.erase (file.file.getFullPathName());

        compareGuest (guest, std::move (*places), plan);
    }

    for (const auto& scan : take.guests)
        if (const auto at = open.find (scan.file.getFullPathName());
            at != open.end() && at->second == &scan && scan.file != session.host.file)
            plan.added.push_back (scan);

    plan.hasOtherChannels = omittedIn (session.host) != omittedIn (session.host, take);
    return plan;
}

std::vector<GuestClip> takeFromShelf (SessionPlan& plan, std::vector<GuestClip>& shelf)
{
    std::vector<GuestClip> taken;

    // The one put aside last is the one that is wanted back.
    for (auto clip = shelf.rbegin(); clip != shelf.rend(); ++clip)
    {
        auto places = placesIn (scansByPath (plan.added), *clip);
        SessionPlan own;

        if (! places)
            continue;

        compareGuest (*clip, *places, own);

        if (! own.laidOut.empty() || ! own.searched.empty())
            continue;

        std::erase_if (plan.added, [&] (const auto& scan) {
            return std::ranges::any_of (*places, [&] (const auto& file) { return file.file == scan.file; });
        });
        plan.moved.insert (plan.moved.end(), own.moved.begin(), own.moved.end());
        taken.push_back (std::move (*clip));
        clip->id = juce::Uuid::null();
    }

    std::erase_if (shelf, [] (const auto& clip) { return clip.id.isNull(); });
    return taken;
}

void moveGuest (GuestClip& guest, const std::vector<FilePlace>& places)
{
    const auto placeOf = [&] (const juce::File& file) -> const Alignment* {
        const auto at = std::ranges::find_if (places, [&] (const auto& place) { return place.file == file; });
        return at == places.end() ? nullptr : &at->place;
    };
    int64 shift = 0;

    for (auto* pieces : { &guest.pieces, &guest.leftOut })
        for (auto& piece : *pieces)
            if (const auto* const place = placeOf (piece.file))
            {
                shift = pieces == &guest.pieces ? place->offsetSamples - piece.saved.offsetSamples : shift;
                auto laidOut = movedBy (piece.alignment, place->offsetSamples - piece.saved.offsetSamples);
                piece.alignment = *place;
                piece.alignment.offsetSamples = laidOut.offsetSamples;
                piece.alignment.stretches = std::move (laidOut.stretches);
                piece.saved = *place;
            }

    if (! guest.pieces.empty())
        guest.alignment = placeOfClip (guest, guest.alignment.offsetSamples + shift);
}

void dressSession (Session& session, const SessionDocument& doc, const BatchMatch& take)
{
    const auto& channels = session.host.format.channels;
    session.host.omittedChannels.assign ((size_t) std::max (channels, 0), 0);

    for (const auto channel : omittedIn (session.host, take))
        session.host.omittedChannels[(size_t) channel] = 1;

    std::map<juce::String, size_t> order;

    for (const auto& scan : take.guests)
        order.try_emplace (scan.file.getFullPathName(), order.size());

    const auto rankOf = [&] (const GuestClip& guest) {
        auto rank = order.size();

        for (const auto& file : filesOf (guest))
            if (const auto at = order.find (file.getFullPathName()); at != order.end())
                rank = std::min (rank, at->second);

        return rank;
    };
    const auto isAhead = [&] (const auto& a, const auto& b) { return rankOf (a) < rankOf (b); };

    if (! std::is_sorted (session.guests.begin(), session.guests.end(), isAhead))
        std::stable_sort (session.guests.begin(), session.guests.end(), isAhead);

    applyMetadataOverrides (session, doc.metadataOverrides, doc.nameOverrides);
    auto bank = bankOf (session.host, session.guests, doc.levels, doc.mixer);

    if (! (bank == session.mixer))
        session.mixer = std::move (bank);
}

}    // namespace ld
