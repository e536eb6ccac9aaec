#pragma once

#include "output/SessionDocument.h"
#include "session/Session.h"

namespace ld
{

// What the user has set on guests outlives the take that is open: their tracks and notes by occurrence, one guest in one
// take; the names of their tracks by family, all guests of one source in all takes.

/** The source of a guest by isoFamilyKey: a key of NameOverrides. */
[[nodiscard]] juce::String guestFamilyKey (const GuestClip&);

/** One set of files under one host, whatever the order in which they were added: a key of MetadataOverrides. */
[[nodiscard]] juce::String guestOccurrenceKey (const HostTake&, const GuestClip&);

/** Lays the user's edits over freshly added guests: names of the family first, then the occurrence. Tracks of an
    occurrence are taken over only where their count is the guest's; its note always is. */
void applyMetadataOverrides (Session&, const MetadataOverrides&, const NameOverrides&);

/** Remembers a guest's tracks and note as they stand; a guest that is not there changes nothing.
    appliesToFamily   gives the names of its tracks to its whole family too: in the session, in what is remembered of
                      other takes, and in takes that are yet to be opened */
void rememberMetadata (
    Session&, MetadataOverrides&, NameOverrides&, const juce::Uuid& editedGuest, bool appliesToFamily);

}    // namespace ld
