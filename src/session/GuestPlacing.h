#pragma once

#include "session/LockedPlacements.h"
#include "session/Session.h"
#include "sync/SyncEngine.h"

namespace ld
{

/** A guest with the place that was found for it, and its audio, each file at its own place and on the host's clock. */
struct PlacedGuest
{
    GuestClip guest;    // without audio where its files have gone or none was placed
    Alignment alignment;
};

/** Reads the channel that guests are compared with first.
    host   as describeHost gives it
    A file that has gone or does not fit into memory gives no audio: every search then says so. */
[[nodiscard]] HostTake readHostForSearch (HostTake host, int referenceChannel);

/** Reads a guest's audio and places it, file by file: where the file's place is known it is laid out there;
    otherwise the place is searched (SyncEngine::alignBestChannel) and proved along the whole stretch (proveMatches), which
    takes seconds. Files that are not placed beside others that are, are left out. What does not fit into memory is a guest
    in doubt, with a sentence.
    guest   as describeGuest gives it
    The only way to place a guest: what is heard in the window is what a combine run writes. */
[[nodiscard]] PlacedGuest
placeGuest (const HostTake& host, GuestClip guest, const LockedPlacements& known, const SyncProgress&);

/** The place of a whole clip: that of its first file, with the weakest evidence of any of them.
    first   host sample of the clip's first sample */
[[nodiscard]] Alignment placeOfClip (const GuestClip&, juce::int64 first);

/** One file of a take and its place. */
struct FilePlace
{
    juce::File file;
    Alignment place;

    bool operator== (const FilePlace&) const = default;
};

/** The places of a placed guest's files as they are to be saved, those of the files that were left out too. */
[[nodiscard]] std::vector<FilePlace> filePlacesOf (const GuestClip&);

/** Puts a found place and its audio into the live guest; its tracks and notes stay the user's. Returns what it held. */
[[nodiscard]] GuestClip takeOverPlace (GuestClip& live, PlacedGuest);

}    // namespace ld
