#pragma once

namespace ld
{

/** Throws std::bad_alloc where one piece of work would need more than three quarters of the machine's memory.
    Systems that hand out memory they do not have end the process later instead of refusing; a long gap between two
    stamps or an absurd sample rate must end as that job's error. */
void requireMemory (double bytes);

}    // namespace ld
