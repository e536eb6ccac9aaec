#include "session/LockedPlacements.h"

namespace ld
{

LockedPlacements lockedPlacementsOf (const BatchMatch& take)
{
    LockedPlacements locked;

    for (const auto& scan : take.guests)
        if (! isUnsearched (scan.alignment))
            locked.try_emplace (scan.file.getFullPathName(), scan.alignment);

    return locked;
}

const Alignment* findLocked (const LockedPlacements& locked, const GuestClip& guest)
{
    const auto find = [&] (const juce::File& file) {
        const auto at = locked.find (file.getFullPathName());
        return at == locked.end() ? nullptr : &at->second;
    };

    if (const auto* alignment = find (guest.file))
        return alignment;

    for (const auto& piece : guest.pieces)
        if (const auto* alignment = find (piece.file))
            return alignment;

    return nullptr;
}

}    // namespace ld
