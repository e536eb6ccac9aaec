#pragma once

#include "clocks/PairProof.h"

namespace ld
{

/** What a channel of the host says near a jump. */
struct JumpWitness
{
    int hostChannel = 0;
    LagWindow window;
};

/** Takes out of a proof's line the jumps that the other channels of the host do not confirm: they must jump by as much, as
    a clock does, and not by something else, as the way of another talker's sound does.
    Returns true where it took one out. */
bool dropUnconfirmedJumps (PairProof&, const std::vector<JumpWitness>&);

/** Where between two stretches of a line the clock jumped, guest samples: the place from which on the sound fits the later
    stretch better than the earlier one. Reads both files there. */
[[nodiscard]] double findCut (const std::vector<LagSource>&, const PairProof&, size_t stretch);

}    // namespace ld
