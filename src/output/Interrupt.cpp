#include "output/Interrupt.h"

#include "output/ReplacingFile.h"

#include <juce_core/juce_core.h>

#if ! JUCE_WINDOWS
#include <csignal>
#include <thread>
#include <unistd.h>
#endif

namespace ld
{

void cleanUpOnInterrupt()
{
#if ! JUCE_WINDOWS
    // A thread of its own waits for the signals: a handler could neither lock nor delete.
    sigset_t signals;
    sigemptyset (&signals);
    sigaddset (&signals, SIGINT);
    sigaddset (&signals, SIGTERM);
    sigaddset (&signals, SIGHUP);
    pthread_sigmask (SIG_BLOCK, &signals, nullptr);

    std::thread ([signals] {
        auto number = 0;

        if (sigwait (&signals, &number) == 0)
        {
            abandonUnfinishedFiles();
            _exit (128 + number);
        }
    }).detach();
#endif
}

}    // namespace ld
