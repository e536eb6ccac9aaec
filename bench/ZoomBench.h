#pragma once

#include "workspace/MainComponent.h"

namespace ld::bench
{

/** How fast the timeline answers the wheel, and how soon a take is seen that is opened; told on the standard output.
    view   on the desktop */
void measureLongTakes (MainComponent& view);

}    // namespace ld::bench
