#pragma once

#include <juce_core/juce_core.h>

#include <optional>
#include <vector>

namespace ld::test
{

/** A program as a process of its own, in its own words on both streams; killed with its scope. POSIX only. */
class ChildProgram
{
public:
    /** The first word is the program: a path, or a name that is looked up in PATH.
        fileLimitBytes   no file that it writes may grow beyond this */
    explicit ChildProgram (const std::vector<juce::String>& words, std::optional<juce::int64> fileLimitBytes = {});
    ~ChildProgram();
    ChildProgram (const ChildProgram&) = delete;
    ChildProgram& operator= (const ChildProgram&) = delete;

    [[nodiscard]] bool isRunning();
    void send (int signal) const;

    /** True where it has a file open in a folder, with or without a name. Linux only. */
    [[nodiscard]] bool hasOpenBelow (const juce::File& folder) const;

    /** Waits for its end, kills it after ten minutes. Returns its exit status, or minus the signal that ended it. */
    int wait();

    [[nodiscard]] juce::String out() const { return outFile.loadFileAsString(); }
    [[nodiscard]] juce::String err() const { return errFile.loadFileAsString(); }

private:
    const juce::File outFile = juce::File::createTempFile ("out"), errFile = juce::File::createTempFile ("err");
    int pid = 0;
    std::optional<int> status;
};

struct ProgramRun
{
    int status = 0;
    juce::String out, err;
};

/** Runs a program to its end. */
[[nodiscard]] ProgramRun run (const std::vector<juce::String>& words, std::optional<juce::int64> fileLimitBytes = {});

/** True where PATH holds a program of this name. */
[[nodiscard]] bool isInstalled (const juce::String& name);

/** Asks again and again until the condition holds; false after ten minutes, as under the sanitizers all takes long. */
template <typename Condition>
[[nodiscard]] bool becomesTrue (Condition&& condition)
{
    constexpr juce::uint32 longestWaitMs = 600000;
    const auto start = juce::Time::getMillisecondCounter();

    while (! condition())
    {
        if (juce::Time::getMillisecondCounter() - start > longestWaitMs)
            return false;

        juce::Thread::sleep (2);
    }

    return true;
}

}    // namespace ld::test
