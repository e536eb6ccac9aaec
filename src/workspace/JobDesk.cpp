#include "workspace/JobDesk.h"

#include <algorithm>

namespace ld
{

bool JobDesk::isBusy() const noexcept
{
    return std::ranges::any_of (active, [] (const auto& job) { return job.kind != JobKind::side; });
}

bool JobDesk::isRunning (JobKind kind) const noexcept
{
    return std::ranges::any_of (active, [kind] (const auto& job) { return job.kind == kind; });
}

bool JobDesk::isAt (const juce::File& file) const
{
    return std::ranges::any_of (active, [&] (const auto& job) { return std::ranges::count (job.files, file) > 0; });
}

void JobDesk::leave (const std::vector<juce::File>& files)
{
    for (auto& job : active)
        std::erase_if (job.files, [&] (const auto& file) { return std::ranges::count (files, file) > 0; });
}

bool JobDesk::giveUp (const std::function<bool (const Job&)>& isMeant)
{
    const auto count = std::erase_if (active, [&] (const auto& job) {
        if (isMeant (job))
            *job.wanted.flag = false;

        return ! job.wanted();
    });
    return count > 0;
}

bool JobDesk::cancel()
{
    const auto hasWaiting = ! waiting.empty();
    waiting.clear();
    const auto hasGivenUp = giveUp ([] (const auto& job) { return job.kind != JobKind::side; });
    changed();
    return hasGivenUp || hasWaiting;
}

void JobDesk::giveUpTake()
{
    giveUp ([] (const auto& job) { return job.kind == JobKind::load || job.kind == JobKind::search; });
    changed();
}

void JobDesk::whenFree (std::function<void()> action)
{
    waiting.push_back (std::move (action));
    runWaiting();
}

void JobDesk::runWaiting()
{
    while (! isBusy() && ! waiting.empty())
    {
        const auto action = std::move (waiting.front());
        waiting.pop_front();
        action();
    }
}

void JobDesk::changed() const
{
    if (onChanged)
        onChanged();
}

}    // namespace ld
