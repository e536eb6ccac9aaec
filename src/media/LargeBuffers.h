#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace ld
{

/** Asks the system to back memory that was not touched yet with large pages, where it has them: whole recordings are
    filled once, and one fault for each 4 KiB costs more than the filling. A hint; smaller blocks are left alone. */
void adviseLargePages (void* memory, size_t bytes) noexcept;

/** Gives back to the system what large pieces of work have freed: the allocator keeps it for the next one otherwise, which
    may be a day away. For the end of such work. */
void returnFreedMemory() noexcept;

/** Zeros for a whole recording. */
template <typename Value>
[[nodiscard]] std::vector<Value> makeZeros (size_t count)
{
    std::vector<Value> values;
    values.reserve (count);
    adviseLargePages (values.data(), count * sizeof (Value));
    values.resize (count);
    return values;
}

/** A whole recording's samples, copied. */
[[nodiscard]] inline std::vector<float> copyOf (std::span<const float> samples)
{
    std::vector<float> values;
    values.reserve (samples.size());
    adviseLargePages (values.data(), samples.size_bytes());
    values.assign (samples.begin(), samples.end());
    return values;
}

}    // namespace ld
