#pragma once

#include <functional>

namespace ld
{

/** One fewer than the machine has processors, at least one: so that one is left for the interface. */
[[nodiscard]] int defaultWorkers();

/** Runs job (0) to job (count - 1) on several threads, each taking the next index, and returns when all are done. What a
    job throws first is thrown here then, and the indices that were not begun are left.
    threads   at most this many, at most one for each index */
void runWorkers (int count, const std::function<void (int index)>& job, int threads = defaultWorkers());

}    // namespace ld
