#pragma once

#include "session/LockedPlacements.h"
#include "session/Session.h"
#include "sync/SyncEngine.h"

#include <memory>
#include <optional>

namespace ld
{

// What workers do for the open take, on values: nothing here knows the window. All of it reads files and may take long;
// what does not fit into memory leaves as std::bad_alloc where nothing else is said.

/** A take to be opened, with all that it has earned before. */
struct LoadRequest
{
    juce::File host;
    std::vector<juce::File> guests;
    bool removesUnmatched = false;    // guests are not shown until they are placed
    LockedPlacements locked;
    std::vector<int> omittedHost;    // channels
    std::optional<int> referenceChannel;
};

struct LoadedTake
{
    juce::Result result = juce::Result::ok();
    std::unique_ptr<Session> session;    // empty where the host could not be read
    std::vector<juce::Uuid> pending;     // guests that wait for their place
};

/** Opens the host and adds the guests; a guest that cannot be read is passed over. */
[[nodiscard]] LoadedTake loadTake (const LoadRequest&);

/** A host without its audio and curves: what describes it. */
[[nodiscard]] HostTake describeHost (const HostTake&);

/** A guest without its audio and curves. */
[[nodiscard]] GuestClip describeGuest (const GuestClip&);

/** Guests that took files, with their audio. */
struct AddedFiles
{
    std::vector<GuestClip> guests;    // new ones, and those that were there and got more pieces
    int added = 0;                    // files
};

/** Adds files to a take, each to the guest that it belongs to or as a new one. What cannot be read is passed over; what
    cannot be held in memory stands without audio and says so.
    host, guests   of the take, as described */
[[nodiscard]] AddedFiles
addFiles (const HostTake& host, const std::vector<GuestClip>& guests, const std::vector<juce::File>& files);

/** Replaces in a session the guests that took files, and appends the new ones. A guest that was there keeps its tracks,
    notes and place. Returns what was replaced, to be freed elsewhere. */
[[nodiscard]] std::vector<GuestClip> takeOverAddedFiles (Session&, std::vector<GuestClip>);

/** Removes a guest and hands it back: freeing its audio takes time that no lock may wait for. */
[[nodiscard]] GuestClip takeOutGuest (Session&, const juce::Uuid&);

/** Files of a folder that can belong to a take: those that run at its time, and those of which that is not known. */
struct FilesForTake
{
    std::vector<juce::File> files;
    int skipped = 0;    // outside the take
};

[[nodiscard]] FilesForTake filesForTake (const HostTake&, const juce::File& folder);

}    // namespace ld
