#include "batch/Workers.h"

#include <juce_core/juce_core.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace ld
{

int defaultWorkers()
{
    return std::max (juce::SystemStats::getNumCpus() - 1, 1);
}

void runWorkers (int count, const std::function<void (int)>& job, int threads)
{
    if (count < 1)
        return;

    std::atomic<int> next { 0 };
    std::exception_ptr thrown;
    std::mutex thrownMutex;

    const auto work = [&] {
        try
        {
            for (auto index = next++; index < count; index = next++)
                job (index);
        }
        catch (...)
        {
            next = count;
            const std::scoped_lock lock (thrownMutex);

            if (thrown == nullptr)
                thrown = std::current_exception();
        }
    };

    std::vector<std::jthread> workers;

    for (int i = 0; i < std::min (std::max (threads, 1), count); ++i)
        workers.emplace_back (work);

    workers.clear();

    if (thrown != nullptr)
        std::rethrow_exception (thrown);
}

}    // namespace ld
