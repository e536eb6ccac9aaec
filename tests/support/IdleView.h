#pragma once

#include "workspace/MainComponent.h"

#include "support/MessageLoop.h"

namespace ld::test
{

/** Runs the message loop until the view has no work left. A job that has ended may still have a result under way, which can
    begin the next. */
inline bool pumpUntilIdle (MainComponent& view)
{
    constexpr int limitMs = 600000;
    const auto isIdle = [&] { return ! view.isBusy() && *view.runningJobs() == 0; };

    do
    {
        if (! pumpUntil (isIdle, limitMs))
            return false;

        deliverPostedCalls();
    } while (! isIdle());

    return true;
}

}    // namespace ld::test
