#pragma once

#include <juce_events/juce_events.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace ld
{

/** Runs the slow work of its owner on threads of their own and brings their results back to the message thread. A job
    never touches its owner: it gets values, and hands one back. What arrives after the owner has gone is dropped, so
    that the program can end under a running job. All functions but Progress are for the message thread. */
class JobRunner
{
    struct Link
    {
        bool isOpen = true;    // the message thread's
    };

public:
    /** How many jobs have not ended yet; it outlives its runner. */
    using Count = std::shared_ptr<std::atomic<int>>;

    /** Progress calls of a job, from any thread: they reach the message thread in their order. */
    class Progress
    {
    public:
        void post (std::function<void()> call) const
        {
            juce::MessageManager::callAsync ([owner = link, call = std::move (call)] {
                if (owner->isOpen)
                    call();
            });
        }

    private:
        friend class JobRunner;
        explicit Progress (std::shared_ptr<Link> owner) : link (std::move (owner)) {}

        std::shared_ptr<Link> link;
    };

    JobRunner() = default;
    ~JobRunner() { link->isOpen = false; }
    JobRunner (const JobRunner&) = delete;
    JobRunner& operator= (const JobRunner&) = delete;

    /** Starts work on a thread of its own.
        work     Result (const Progress&); may take minutes
        commit   void (Result), on the message thread
        failed   on the message thread: the sentence of what work threw, out of memory most likely */
    template <typename Work, typename Commit>
    void start (Work work, Commit commit, std::function<void (const juce::String&)> failed)
    {
        const Progress progress (link);

        launch (
            [work = std::move (work), commit = std::move (commit), failed = std::move (failed), progress]() mutable {
            using Result = decltype (work (progress));

            // A call must be copyable to be posted, a result need not be.
            const auto result = std::make_shared<std::optional<Result>>();
            const auto fault = runGuarded ([&] { result->emplace (work (progress)); });

            progress.post ([result, fault, commit = std::move (commit), failed = std::move (failed)]() mutable {
                if (*result)
                    commit (std::move (**result));
                else
                    failed (fault);
            });
        });
    }

    /** Frees what takes long to free. */
    template <typename Value>
    void discard (Value value)
    {
        launch ([held = std::make_shared<Value> (std::move (value))]() mutable { held.reset(); });
    }

    [[nodiscard]] Count running() const { return count; }

private:
    void launch (std::function<void()>);

    /** Empty, or the sentence of what was thrown. */
    [[nodiscard]] static juce::String runGuarded (const std::function<void()>&);

    std::shared_ptr<Link> link = std::make_shared<Link>();
    Count count = std::make_shared<std::atomic<int>> (0);
};

}    // namespace ld
