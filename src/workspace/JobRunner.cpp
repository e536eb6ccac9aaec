#include "workspace/JobRunner.h"

#include "media/LargeBuffers.h"

#include <new>
#include <thread>

namespace ld
{

void JobRunner::launch (std::function<void()> job)
{
    ++*count;
    std::thread ([job = std::move (job), running = count]() mutable {
        job();
        job = nullptr;
        returnFreedMemory();
        --*running;
    }).detach();
}

juce::String JobRunner::runGuarded (const std::function<void()>& work)
{
    try
    {
        work();
    }
    catch (const std::bad_alloc&)
    {
        return "Not enough memory to go on.";
    }
    catch (const std::exception& error)
    {
        return "Could not go on: " + juce::String (error.what());
    }

    return {};
}

}    // namespace ld
