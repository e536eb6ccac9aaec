#include "FuzzTargets.h"

namespace ld::fuzz
{

std::span<const Target> targets()
{
    static constexpr Target all[] = {
        { "wave", readWave },
        { "bext", readBext },
        { "ixml", readIxml },
        { "session", openSession },
        { "take", conformTake },
        { "timecode", countTimecode },
        { "interchange", writeInterchange },
    };
    return all;
}

}    // namespace ld::fuzz
