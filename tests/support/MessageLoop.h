#pragma once

#include <juce_events/juce_events.h>

#include <functional>

namespace juce::detail
{

// The framework's own step of its message loop; its public loop cannot be left by a condition.
bool dispatchNextMessageOnSystemQueue (bool returnIfNoPendingMessages);

}    // namespace juce::detail

namespace ld::test
{

/** Runs the message loop, timers and posted calls included, until the condition holds. The limit is for a broken program
    only and never decides a result. Returns whether it holds. */
inline bool pumpUntil (const std::function<bool()>& condition, int limitMs = 60000)
{
    const auto end = juce::Time::getMillisecondCounter() + (juce::uint32) limitMs;

    while (! condition())
    {
        if (juce::Time::getMillisecondCounter() > end)
            return false;

        if (! juce::detail::dispatchNextMessageOnSystemQueue (true))
            juce::Thread::sleep (1);
    }

    return true;
}

/** Delivers what has been posted so far. */
inline void deliverPostedCalls()
{
    auto isDelivered = false;
    juce::MessageManager::callAsync ([&isDelivered] { isDelivered = true; });
    pumpUntil ([&isDelivered] { return isDelivered; });
}

}    // namespace ld::test
