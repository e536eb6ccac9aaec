#pragma once

#include "session/TakeSketch.h"

#include <deque>

namespace ld
{

/** Sketches of takes that are not open, with their curves: of those that were left and of those that may come next. Only the
    latest few are kept. */
class TakeSketches
{
public:
    /** A sketch of a take as it stands in the work; empty ones say that there is none to be had. */
    void keep (const BatchMatch&, std::unique_ptr<Session>);

    /** Whether one of this take, as it stands, was kept; an empty one too. */
    [[nodiscard]] bool knows (const BatchMatch&) const;

    /** Gives it away; empty where there is none. */
    [[nodiscard]] std::unique_ptr<Session> give (const BatchMatch&);

    void clear() { kept.clear(); }

private:
    struct Kept
    {
        BatchMatch take;
        std::unique_ptr<Session> sketch;
    };

    std::deque<Kept> kept;    // the latest first
};

}    // namespace ld
