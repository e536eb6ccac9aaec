#pragma once

#include "clocks/PairProof.h"

namespace ld
{

// How the windows of a pair are asked for, and where what they say is kept.

/** How far to either side of the expected lag a window sees, samples. */
[[nodiscard]] juce::int64 reachOf (int order) noexcept;

/** A window of a pair, where its line puts the guest or, while it has none, its rough place; channels are left to be said.
    centre   host sample in its middle */
[[nodiscard]] LagQuery queryFor (const PairProof&, int order, juce::int64 centre);

/** Asks for the channels of the pair's tracks. */
void askTracks (LagQuery&, const PairProof&);

/** Puts an answer among the windows of the tracks, in the place of an earlier one with that centre. */
void keepWindow (PairProof&, juce::int64 centre, LagAnswer);

}    // namespace ld
