#pragma once

#include "session/LockedPlacements.h"
#include "session/Session.h"
#include "sync/SyncEngine.h"

#include <functional>
#include <memory>
#include <optional>

namespace ld
{

// What workers do for the open take, on values: nothing here knows the window. All of it reads files and may take long;
// what does not fit into memory leaves as std::bad_alloc where nothing else is said.

/** A take to be opened, as the work has it. */
struct LoadRequest
{
    BatchMatch take;
    std::optional<int> referenceChannel;                     // none: chosen by its name
    std::function<bool()> isWanted = [] { return true; };    // asked between guests; false ends the work early
};

struct LoadedTake
{
    juce::Result result = juce::Result::ok();
    std::unique_ptr<Session> session;    // empty where the host could not be read
    std::vector<juce::Uuid> pending;     // guests that wait for their place
};

/** Opens the host and adds the guests, each at the place that is known for it; those without wait for theirs. A guest that
    is not there or cannot be read stands as one that is missing. */
[[nodiscard]] LoadedTake loadTake (const LoadRequest&);

/** A host without its audio and curves: what describes it. */
[[nodiscard]] HostTake describeHost (const HostTake&);

/** A guest without its audio and curves. */
[[nodiscard]] GuestClip describeGuest (const GuestClip&);

/** Guests that took files, with their audio. */
struct AddedGuests
{
    std::vector<GuestClip> guests;      // new ones, those that were there and got more files, and missing ones
    std::vector<juce::Uuid> pending;    // of these, the ones that wait for their place
};

/** Adds files to a take, each to the guest that it belongs to or as a new one, at the place that is known for it. A file
    that is not there or cannot be read stands as a missing guest; what cannot be held in memory stands without audio and
    says so.
    host, guests   of the take, as described
    isWanted       asked between guests; false ends the work early */
[[nodiscard]] AddedGuests addGuests (const HostTake& host,
                                     const std::vector<GuestClip>& guests,
                                     const std::vector<ScanFile>& files,
                                     const std::function<bool()>& isWanted);

/** Files of a folder that can belong to a take: those that run at its time, and those of which that is not known. */
struct FilesForTake
{
    std::vector<ScanFile> files;
    int skipped = 0;    // outside the take
};

[[nodiscard]] FilesForTake filesForTake (const HostTake&, const juce::File& folder);

}    // namespace ld
