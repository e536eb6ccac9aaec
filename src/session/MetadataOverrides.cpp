#include "session/MetadataOverrides.h"

#include "batch/FolderScan.h"

#include <algorithm>

namespace ld
{
namespace
{

std::vector<juce::String> namesOf (const std::vector<TrackInfo>& tracks)
{
    std::vector<juce::String> names;
    names.reserve (tracks.size());

    for (const auto& track : tracks)
        names.push_back (track.name);

    return names;
}

// Tracks that no name is given for keep theirs.
void rename (std::vector<TrackInfo>& tracks, const std::vector<juce::String>& names)
{
    for (size_t i = 0; i < std::min (tracks.size(), names.size()); ++i)
        tracks[i].name = names[i];
}

bool isFileOf (const GuestClip& guest, const juce::String& path)
{
    return std::ranges::any_of (filesOf (guest), [&] (const auto& file) { return file.getFullPathName() == path; });
}

// The edits of a guest; after it got or lost files, those of the set of files with which it shares the most.
const SavedGuestMeta* findSaved (const MetadataOverrides& overrides, const HostTake& host, const GuestClip& guest)
{
    if (const auto exact = overrides.find (guestOccurrenceKey (host, guest)); exact != overrides.end())
        return &exact->second;

    const auto prefix = host.file.getFullPathName() + "\n";
    const SavedGuestMeta* best = nullptr;
    auto mostShared = 0;

    for (auto at = overrides.lower_bound (prefix); at != overrides.end() && at->first.startsWith (prefix); ++at)
    {
        auto shared = 0;

        for (const auto& path : juce::StringArray::fromLines (at->first.substring (prefix.length())))
            shared += isFileOf (guest, path) ? 1 : 0;

        if (shared > mostShared)
        {
            mostShared = shared;
            best = &at->second;
        }
    }

    return best;
}

// Names that differ in nothing but capitals have an order too, or the order of adding would show.
bool precedes (const juce::String& a, const juce::String& b)
{
    const auto order = a.compareIgnoreCase (b);
    return order != 0 ? order < 0 : a.compare (b) < 0;
}

}    // namespace

juce::String guestFamilyKey (const GuestClip& guest)
{
    if (! guest.pieces.empty())
        return isoFamilyKey (scanFromPiece (guest.pieces.front()));

    ScanFile scan;
    copyIdentity (guest, scan);
    return isoFamilyKey (scan);
}

juce::String guestOccurrenceKey (const HostTake& host, const GuestClip& guest)
{
    std::vector<juce::String> paths;

    for (const auto& file : filesOf (guest))
        paths.push_back (file.getFullPathName());

    std::sort (paths.begin(), paths.end(), precedes);
    auto key = host.file.getFullPathName();

    for (const auto& path : paths)
        key << "\n" << path;

    return key;
}

void applyMetadataOverrides (Session& session, const MetadataOverrides& overrides, const NameOverrides& names)
{
    for (auto& guest : session.guests)
    {
        // Names that were taken back again are those of the files.
        if (! guest.givenTracks.empty())
            guest.tracks = guest.givenTracks;

        guest.notes.clear();

        if (const auto family = names.find (guestFamilyKey (guest)); family != names.end())
            rename (guest.tracks, family->second);

        const auto* const saved = findSaved (overrides, session.host, guest);

        if (saved == nullptr)
            continue;

        guest.notes = saved->notes;

        if (saved->tracks.size() == guest.tracks.size())
            guest.tracks = saved->tracks;
    }
}

void rememberMetadata (Session& session,
                       MetadataOverrides& overrides,
                       NameOverrides& nameOverrides,
                       const juce::Uuid& editedGuest,
                       bool appliesToFamily)
{
    const auto* edited = session.findGuest (editedGuest);

    if (edited == nullptr)
        return;

    const auto family = guestFamilyKey (*edited);
    const auto names = namesOf (edited->tracks);

    if (appliesToFamily)
    {
        nameOverrides[family] = names;

        for (auto& [key, saved] : overrides)
            if (saved.familyKey == family)
                rename (saved.tracks, names);
    }

    for (auto& guest : session.guests)
    {
        const auto isRelated = appliesToFamily && guestFamilyKey (guest) == family;

        if (isRelated)
            rename (guest.tracks, names);

        if (isRelated || guest.id == editedGuest)
            overrides[guestOccurrenceKey (session.host, guest)] = { family, guest.tracks, guest.notes };
    }
}

}    // namespace ld
