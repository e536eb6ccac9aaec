#pragma once

#include "session/Session.h"
#include "sync/SyncEngine.h"

namespace ld
{

/** A guest with the place that was found for it, and its audio, corrected for drift and joined from its pieces. */
struct PlacedGuest
{
    GuestClip guest;    // without audio where its files have gone
    Alignment alignment;
};

/** Reads the channel that guests are compared with first.
    host   as describeHost gives it
    A file that has gone or does not fit into memory gives no audio: every search then says so. */
[[nodiscard]] HostTake readHostForSearch (HostTake host, int referenceChannel);

/** Reads a guest's audio afresh and finds its place; takes seconds. What does not fit into memory is a guest in doubt,
    with a sentence.
    guest   as describeGuest gives it */
[[nodiscard]] PlacedGuest placeGuest (const HostTake& host, GuestClip guest, const SyncProgress&);

/** Puts a found place and its audio into the live guest; its tracks and notes stay the user's. Returns what it held. */
[[nodiscard]] GuestClip takeOverPlace (GuestClip& live, PlacedGuest);

}    // namespace ld
