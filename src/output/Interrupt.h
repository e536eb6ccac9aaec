#pragma once

namespace ld
{

/** From here on Ctrl-C and a polite kill end the process at once, with no partial file left behind. To be called ahead
    of the first further thread. */
void cleanUpOnInterrupt();

}    // namespace ld
