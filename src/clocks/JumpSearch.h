#pragma once

#include "clocks/LagLine.h"

namespace ld
{

/** The windows of a pair as one pair of its channels hears them. */
struct LagTrack
{
    int hostChannel = 0, guestChannel = 0;
    std::vector<LagWindow> windows;    // in order of time; the same places in every track of a pair
};

/** Finds where the guest's clock jumped. A clock that jumps moves every way of the sound by as much, in all channels; another
    talker only exchanges some ways for others. So the lags ahead of a place are held against those behind it: where they
    are alike once all are moved by one number, and not as they stand, that number is a jump.
    tracks   of the pair, with the windows of each
    slope    of the lag, per guest sample
    Returns the jumps in order, each half way between the windows that it lies between. */
[[nodiscard]] std::vector<LagJump> findJumps (const std::vector<LagTrack>& tracks, double slope, int rate);

/** A jump whose place is sought, and what is heard around it. */
struct CutSearch
{
    const std::vector<LagTrack>& tracks;         // of the whole pair
    const std::vector<LagTrack>& closeTracks;    // short windows around the jump, in the same channels
    const LagLine& line;
    size_t jump = 0;
    double fromX = 0.0, toX = 0.0;    // guest samples between which it lies
    int rate = 48000;
};

/** The guest sample at which the clock jumped: ahead of it the lags of short windows lie on the ways that the sound is known
    to take as they were before, behind it as they are after. */
[[nodiscard]] double findCut (const CutSearch&);

}    // namespace ld
