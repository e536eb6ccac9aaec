#include "work/DocumentChange.h"

#include <algorithm>

namespace ld
{
namespace
{

bool isSameFile (const ScanFile& a, const ScanFile& b)
{
    return a.file == b.file;
}

bool isSamePlacedFile (const ScanFile& a, const ScanFile& b)
{
    return a.file == b.file && a.alignment == b.alignment;
}

template <typename Compare>
bool haveSameGuests (const BatchMatch& a, const BatchMatch& b, Compare&& isSame)
{
    return std::equal (a.guests.begin(), a.guests.end(), b.guests.begin(), b.guests.end(), isSame);
}

bool isSameTakeButForPlaces (const BatchMatch& a, const BatchMatch& b)
{
    return a.host.file == b.host.file && a.reason == b.reason && juce::exactlyEqual (a.score, b.score)
           && a.omittedHost == b.omittedHost && haveSameGuests (a, b, isSameFile);
}

template <typename Takes>
auto* findTake (Takes& takes, const juce::File& poly)
{
    const auto at = std::find_if (takes.begin(), takes.end(), [&] (const auto& t) { return t.host.file == poly; });
    return at == takes.end() ? nullptr : &*at;
}

}    // namespace

bool isSameTake (const BatchMatch& a, const BatchMatch& b)
{
    return isSameTakeButForPlaces (a, b) && haveSameGuests (a, b, isSamePlacedFile);
}

DocumentChange::Scalars DocumentChange::scalarsOf (const SessionDocument& doc)
{
    return { doc.referenceChannel, doc.videoFile, doc.videoTimestampSamples, doc.videoTimecodeRate, doc.recorders };
}

DocumentChange DocumentChange::between (const SessionDocument& from, const SessionDocument& to)
{
    DocumentChange change;

    if (auto scalars = scalarsOf (to); ! (scalars == scalarsOf (from)))
        change.scalars = std::move (scalars);

    change.compareTakes (from.takes, to.takes);
    change.mixer = MapChange<MixerTemplate>::between (from.mixer, to.mixer);
    change.levels = MapChange<TakeLevels>::between (from.levels, to.levels);
    change.metadata = MapChange<MetadataOverrides>::between (from.metadataOverrides, to.metadataOverrides);
    change.names = MapChange<NameOverrides>::between (from.nameOverrides, to.nameOverrides);
    return change;
}

void DocumentChange::compareTakes (const std::vector<BatchMatch>& from, const std::vector<BatchMatch>& to)
{
    if (! std::equal (from.begin(), from.end(), to.begin(), to.end(), [] (const auto& a, const auto& b) {
            return isSameFile (a.host, b.host);
        }))
    {
        takes = to;
        return;
    }

    for (size_t i = 0; i < to.size(); ++i)
    {
        if (! isSameTakeButForPlaces (from[i], to[i]))
        {
            changedTakes.push_back (to[i]);
            continue;
        }

        for (size_t g = 0; g < to[i].guests.size(); ++g)
            if (const auto& guest = to[i].guests[g]; ! isSamePlacedFile (from[i].guests[g], guest))
                places.push_back ({ to[i].host.file, guest.file, guest.alignment });
    }
}

void DocumentChange::exchange (SessionDocument& doc)
{
    if (scalars)
    {
        auto mine = scalarsOf (doc);
        doc.referenceChannel = scalars->referenceChannel;
        doc.videoFile = scalars->videoFile;
        doc.videoTimestampSamples = scalars->videoTimestampSamples;
        doc.videoTimecodeRate = scalars->videoTimecodeRate;
        doc.recorders = scalars->recorders;
        scalars = std::move (mine);
    }

    exchangeTakes (doc.takes);
    mixer.exchange (doc.mixer);
    levels.exchange (doc.levels);
    metadata.exchange (doc.metadataOverrides);
    names.exchange (doc.nameOverrides);
}

void DocumentChange::exchangeTakes (std::vector<BatchMatch>& mine)
{
    if (takes)
        std::swap (*takes, mine);

    for (auto& changed : changedTakes)
        if (auto* const take = findTake (mine, changed.host.file))
            std::swap (*take, changed);

    for (auto& change : places)
        if (auto* const take = findTake (mine, change.poly))
            for (auto& guest : take->guests)
                if (guest.file == change.file)
                {
                    std::swap (guest.alignment, change.place);
                    break;
                }
}

bool DocumentChange::isEmpty() const
{
    return ! scalars && ! takes && changedTakes.empty() && places.empty() && mixer.isEmpty() && levels.isEmpty()
           && metadata.isEmpty() && names.isEmpty();
}

}    // namespace ld
