#pragma once

#include "workspace/JobRunner.h"

#include <deque>
#include <vector>

namespace ld
{

/** What the user's slow work consists of. */
enum class JobKind
{
    load,      // a take
    scan,      // a folder or polys
    search,    // reads guests and finds their places
    write,     // combined files
    side       // small jobs that the user does not wait for
};

/** Owns the slow jobs: which of them run, whose results are still wanted, and what has to wait until they are done. A cancelled
    job runs on until it checks whether it is still wanted; its result is dropped. All functions are for the message thread, but those of Wanted and Progress. */
class JobDesk
{
public:
    /** Asked by a job, from any thread. */
    class Wanted
    {
    public:
        [[nodiscard]] bool operator()() const noexcept { return *flag; }

    private:
        friend class JobDesk;
        std::shared_ptr<std::atomic<bool>> flag = std::make_shared<std::atomic<bool>> (true);
    };

    /** Called by a job, from any thread; calls from a cancelled job are dropped. */
    class Progress
    {
    public:
        void post (std::function<void()> call) const
        {
            runner.post ([isWanted = wanted, call = std::move (call)] {
                if (isWanted())
                    call();
            });
        }

        const Wanted wanted;

    private:
        friend class JobDesk;
        Progress (JobRunner::Progress to, Wanted flag) : wanted (std::move (flag)), runner (std::move (to)) {}

        JobRunner::Progress runner;
    };

    /** Called when jobs have begun or ended. */
    std::function<void()> onChanged;

    /** Starts work on a thread of its own. A load gives up the loads and searches of the take that it replaces.
        files    that the job works on, so that no second job takes them
        work     Result (const Progress&)
        commit   void (Result), on the message thread
        failed   the sentence of what work threw */
    template <typename Work, typename Commit>
    void start (JobKind kind,
                std::vector<juce::File> files,
                Work work,
                Commit commit,
                std::function<void (const juce::String&)> failed)
    {
        if (kind == JobKind::load)
            giveUpTake();

        Wanted wanted;
        active.push_back ({ kind, wanted, std::move (files) });
        changed();
        runner.start ([work = std::move (work), wanted] (
                          const JobRunner::Progress& progress) mutable { return work (Progress (progress, wanted)); },
                      [this, wanted, commit = std::move (commit)] (auto result) mutable {
            end (wanted, [&] { commit (std::move (result)); });
        },
                      [this, wanted, failed = std::move (failed)] (const juce::String& sentence) {
            end (wanted, [&] { failed (sentence); });
        });
    }

    /** True while the user waits for something. */
    [[nodiscard]] bool isBusy() const noexcept;
    [[nodiscard]] bool isRunning (JobKind) const noexcept;

    /** Whether a job of the open take is at this file. */
    [[nodiscard]] bool isAt (const juce::File&) const;

    /** A job has done with some of its files. */
    void leave (const std::vector<juce::File>&);

    /** Gives up all that the user waits for. Returns whether there was anything. */
    bool cancel();

    /** Gives up what is done for the open take. */
    void giveUpTake();

    /** Runs an action as soon as the desk is free: now, or when the running jobs have ended. */
    void whenFree (std::function<void()>);

    /** Frees what takes long to free. */
    template <typename Value>
    void discard (Value value)
    {
        runner.discard (std::move (value));
    }

    [[nodiscard]] JobRunner::Count running() const { return runner.running(); }

private:
    struct Job
    {
        JobKind kind;
        Wanted wanted;
        std::vector<juce::File> files;
    };

    template <typename Conclude>
    void end (const Wanted& wanted, Conclude&& conclude)
    {
        std::erase_if (active, [&] (const auto& job) { return job.wanted.flag == wanted.flag; });

        if (wanted())
            conclude();

        runWaiting();
        changed();
    }

    bool giveUp (const std::function<bool (const Job&)>& isMeant);
    void runWaiting();
    void changed() const;

    std::vector<Job> active;
    std::deque<std::function<void()>> waiting;
    JobRunner runner;    // the last member: what it delivers must find the others
};

}    // namespace ld
