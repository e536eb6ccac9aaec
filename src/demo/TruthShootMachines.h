#pragma once

#include "demo/DemoShootMachines.h"
#include "demo/TruthShootPlan.h"

namespace ld
{

/** A machine of a shooting day and its habits. */
struct DayMachine
{
    Machine machine;
    std::vector<Jam> jams;    // in order of time
    SoundTreatment treatment {};
    double attendance = 0.85;    // share of the takes that it records
    int mostFiles = 1;           // of one recording
    int numJumps = 0;            // of the day

    /** Sets the clock to the last jam before this moment. */
    void setClock (double secondsOfDay);
};

/** All machines beside the poly; the order is fixed. */
struct DayMachines
{
    enum Role
    {
        packA,    // files in pieces
        packB,    // re-jammed at midday
        packC,    // wrong by an hour
        packD,    // polarity inverted, files in pieces
        array,
        second,    // runs through several takes
        table,
        camera,
        recorder,    // unstamped, files in pieces
        numRoles
    };

    std::array<DayMachine, numRoles> all;
};

/** What a day's machines are to be like. */
struct MachineWishes
{
    double jamSeconds = 0.0;      // of the day, when all are set
    double rejamSeconds = 0.0;    // when one is re-jammed
    bool jumps = true;            // machines lose and repeat samples
};

[[nodiscard]] DayMachines planDayMachines (const MachineWishes&, DemoRandom);

/** What the truth says of a machine.
    jams   those of its day; of a machine without timecode nobody is to know any */
[[nodiscard]] TruthSource sourceOf (const Machine&, const std::vector<Jam>& jams);

/** Spreads a machine's jumps over the time that it runs on a day. */
void planJumps (TruthPlan&, const DayMachine&, DemoRandom);

}    // namespace ld
