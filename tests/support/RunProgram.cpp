#include "support/RunProgram.h"

#if JUCE_LINUX || JUCE_MAC

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ld::test
{
namespace
{

// In the new process, between fork and exec: nothing here may allocate.
[[noreturn]] void become (char* const* arguments, const char* outPath, const char* errPath, rlim_t fileLimit)
{
    const auto write = O_WRONLY | O_CREAT | O_TRUNC;
    dup2 (open ("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2 (open (outPath, write, 0600), STDOUT_FILENO);
    dup2 (open (errPath, write, 0600), STDERR_FILENO);

    if (fileLimit != RLIM_INFINITY)
    {
        const rlimit limit { fileLimit, fileLimit };
        setrlimit (RLIMIT_FSIZE, &limit);
    }

    execvp (arguments[0], arguments);
    _exit (127);
}

}    // namespace

ChildProgram::ChildProgram (const std::vector<juce::String>& words, std::optional<juce::int64> fileLimitBytes)
{
    std::vector<std::string> texts;
    std::vector<char*> arguments;

    for (const auto& word : words)
        texts.push_back (word.toStdString());

    for (auto& text : texts)
        arguments.push_back (text.data());

    arguments.push_back (nullptr);
    const auto outPath = outFile.getFullPathName().toStdString(), errPath = errFile.getFullPathName().toStdString();
    pid = fork();

    if (pid == 0)
        become (arguments.data(),
                outPath.c_str(),
                errPath.c_str(),
                fileLimitBytes ? (rlim_t) *fileLimitBytes : RLIM_INFINITY);
}

ChildProgram::~ChildProgram()
{
    if (isRunning())
    {
        send (SIGKILL);
        waitpid (pid, nullptr, 0);
    }

    outFile.deleteFile();
    errFile.deleteFile();
}

bool ChildProgram::isRunning()
{
    if (pid > 0 && ! status)
        if (int ended = 0; waitpid (pid, &ended, WNOHANG) == pid)
            status = WIFEXITED (ended) ? WEXITSTATUS (ended) : -WTERMSIG (ended);

    return pid > 0 && ! status;
}

void ChildProgram::send (int signal) const
{
    if (pid > 0 && ! status)
        kill (pid, signal);
}

bool ChildProgram::hasOpenBelow (const juce::File& folder) const
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    const auto below = (folder.getFullPathName() + "/").toStdString();

    for (const auto& descriptor : fs::directory_iterator ("/proc/" + std::to_string (pid) + "/fd", ignored))
        if (fs::read_symlink (descriptor, ignored).string().starts_with (below))
            return true;

    return false;
}

int ChildProgram::wait()
{
    if (! becomesTrue ([this] { return ! isRunning(); }))
    {
        send (SIGKILL);
        (void) becomesTrue ([this] { return ! isRunning(); });
    }

    return status.value_or (-1);
}

ProgramRun run (const std::vector<juce::String>& words, std::optional<juce::int64> fileLimitBytes)
{
    ChildProgram program (words, fileLimitBytes);
    const auto status = program.wait();
    return { status, program.out(), program.err() };
}

bool isInstalled (const juce::String& name)
{
    const auto folders =
        juce::StringArray::fromTokens (juce::SystemStats::getEnvironmentVariable ("PATH", {}), ":", {});
    return std::any_of (folders.begin(), folders.end(), [&] (const auto& folder) {
        const auto isPath = juce::File::isAbsolutePath (folder);
        return isPath && juce::File (folder).getChildFile (name).existsAsFile();
    });
}

}    // namespace ld::test

#endif
