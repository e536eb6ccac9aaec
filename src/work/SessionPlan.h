#pragma once

#include "output/SessionDocument.h"
#include "session/GuestPlacing.h"

namespace ld
{

/** What is between the open session and the take that it shows. */
struct SessionPlan
{
    struct Move
    {
        juce::Uuid guest;
        std::vector<FilePlace> places;
    };

    std::vector<juce::Uuid> removed;     // guests with a file that the take has no more
    std::vector<Move> moved;             // guests that are only shifted: no audio is read for it
    std::vector<Move> laidOut;           // guests whose files lie differently against each other: to be read again
    std::vector<juce::Uuid> searched;    // guests whose place is to be found
    std::vector<ScanFile> added;         // files that no guest holds
    bool hasOtherChannels = false;       // other channels of the poly are left out

    [[nodiscard]] bool isEmpty() const;
};

/** Compares a session with its take. Guests that wait for their place are left alone where the take has none for them
    either. */
[[nodiscard]] SessionPlan planFor (const Session&, const BatchMatch&);

/** Takes from guests that were put aside those that the plan is to add, if they are shifted at most; the plan says then
    where they lie. */
[[nodiscard]] std::vector<GuestClip> takeFromShelf (SessionPlan&, std::vector<GuestClip>& shelf);

/** Shifts a guest to its places. */
void moveGuest (GuestClip&, const std::vector<FilePlace>&);

/** Leaves out the channels that the take leaves out, orders the guests as the take has their files, and gives names, notes
    and levels as the document has them. */
void dressSession (Session&, const SessionDocument&, const BatchMatch&);

}    // namespace ld
