#include "BenchInput.h"
#include "ZoomBench.h"
#include "demo/DemoShoot.h"

#include "support/IdleView.h"
#include "support/ResidentMemory.h"

#include <chrono>
#include <iostream>
#include <thread>

// How long the window keeps its user waiting while it works: the real view, a thread that asks the message thread for an
// answer again and again, and one that asks for the session's lock as the audio device does for each block.

namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

double millisecondsSince (Clock::time_point start)
{
    return std::chrono::duration<double, std::milli> (Clock::now() - start).count();
}

/** Waits again and again while it exists, and remembers the longest. */
class Probe
{
public:
    explicit Probe (juce::CriticalSection& lockToAsk) : lock (lockToAsk) {}

    ~Probe()
    {
        isOver = true;
        asking.join();
        locking.join();
        ld::test::deliverPostedCalls();
        std::cout << "message thread " << longestAnswerMs << " ms at most, lock " << longestLockMs << " ms at most, "
                  << mostMegabytes << " MB at most" << std::endl;
    }

private:
    void askMessageThread()
    {
        for (; ! isOver; std::this_thread::sleep_for (2ms))
        {
            juce::MessageManager::callAsync ([this, asked = Clock::now()] {
                longestAnswerMs = std::max (longestAnswerMs, millisecondsSince (asked));
            });
            mostMegabytes = std::max (mostMegabytes, ld::test::residentMegabytes());
        }
    }

    void askForLock()
    {
        for (; ! isOver; std::this_thread::sleep_for (500us))
        {
            const auto asked = Clock::now();
            const juce::ScopedLock held (lock);
            longestLockMs = std::max (longestLockMs, millisecondsSince (asked));
        }
    }

    juce::CriticalSection& lock;
    double longestAnswerMs = 0.0, longestLockMs = 0.0, mostMegabytes = 0.0;    // each its thread's; read in the end
    std::atomic<bool> isOver { false };
    std::thread asking { [this] { askMessageThread(); } }, locking { [this] { askForLock(); } };
};

void measure (const juce::String& name, ld::MainComponent& view, const juce::File& file)
{
    const auto start = Clock::now();
    std::cout << name << ": ";

    {
        const Probe probe (view.lockOfSession());
        view.filesDropped ({ file.getFullPathName() }, 0, 0);
        ld::test::pumpUntilIdle (view);
    }

    std::cout << "  " << millisecondsSince (start) / 1000.0 << " s; " << view.status() << std::endl;
}

/** The real view at a large size. */
struct OpenWindow
{
    OpenWindow()
    {
        view.setSize (2560, 1440);
        view.addToDesktop (0);
        view.setVisible (true);

        // Its first picture, which loads the fonts, is not work's.
        const auto start = Clock::now();
        ld::test::pumpUntil ([start] { return Clock::now() - start > 1s; });
    }

    ld::MainComponent view;
};

}    // namespace

int main()
{
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };
    const juce::ScopedJuceInitialiser_GUI framework;

    {
        const auto folder = juce::File::createTempFile ("shoot");

        if (ld::writeDemoShoot ({ folder, 20, 42, 1 }).failed())
            return 1;

        OpenWindow window;
        measure ("scan of " + juce::String (folder.findChildFiles (juce::File::findFiles, true, "*.wav").size())
                     + " files",
                 window.view,
                 folder);
        folder.deleteRecursively();
    }

    const juce::TemporaryFile poly (".wav"), guest (".wav");
    ld::bench::writeWave (poly.getFile(), 32, 450, 1);
    ld::bench::writeWave (guest.getFile(), 2, 450, 2);
    OpenWindow window;
    measure (
        "load of a poly of " + juce::String (poly.getFile().getSize() / 1000000) + " MB", window.view, poly.getFile());
    measure ("drop of a guest on it", window.view, guest.getFile());

    OpenWindow another;
    ld::bench::measureLongTakes (another.view);
    return 0;
}
