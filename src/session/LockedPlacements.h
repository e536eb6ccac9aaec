#pragma once

#include "batch/FolderScan.h"

#include <map>

namespace ld
{

/** The places that a scan or the user has found for a take's files and that need no search, by the files' full paths. */
using LockedPlacements = std::map<juce::String, Alignment>;

/** Of a file that stands in the take twice, the first one's place. */
[[nodiscard]] LockedPlacements lockedPlacementsOf (const BatchMatch&);

/** The place of a guest: of its own file or, failing that, of the first of its pieces that has one; null where none has. */
[[nodiscard]] const Alignment* findLocked (const LockedPlacements&, const GuestClip&);

}    // namespace ld
