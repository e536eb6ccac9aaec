#pragma once

#include "batch/FolderScan.h"

#include <map>

namespace ld
{

/** What is known of the places of a take's files, by the files' full paths: found by a scan or set by the user, or searched
    in vain (needsManual). None of these is searched again. */
using LockedPlacements = std::map<juce::String, Alignment>;

/** Of a file that stands in the take twice, the first one's place. */
[[nodiscard]] LockedPlacements lockedPlacementsOf (const BatchMatch&);

/** The place of a guest: of its own file or, failing that, of the first of its pieces that has one; null where none has. */
[[nodiscard]] const Alignment* findLocked (const LockedPlacements&, const GuestClip&);

}    // namespace ld
