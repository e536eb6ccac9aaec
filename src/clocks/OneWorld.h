#pragma once

#include "clocks/ShootTable.h"

namespace ld
{

/** A file ran once, and a recorder has one clock: of places whose sound lies on a line, those are refused, with a sentence
    that says by how much they contradict, that the other places of the file or the clock of its recorder rule out. The song
    that is played in many takes is why. */
void refuseContradictions (DayTable&);

/** Files of one recorder that follow one another all but without a gap are one recording that was split: each is moved by
    these few samples to where the surest of them lies, so that they join. */
void joinContinuations (DayTable&);

/** A converter that drops samples does so again and again. Where a recorder's many files show one jump only, and one that
    people who walk can make too, there is none. */
void forgetLoneJumps (DayTable&);

}    // namespace ld
