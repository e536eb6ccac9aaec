#include <gmock/gmock.h>

#if defined(__linux__)

#include <chrono>
#include <csignal>
#include <optional>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

#include <X11/Xlib.h>

// The built program itself, seen and closed as a desktop does it.

namespace ld::test
{
namespace
{

using namespace std::chrono_literals;

constexpr auto longestWait = 20s;

// True as soon as the condition holds; asks again and again until the longest wait is over.
template <typename Condition>
bool becomesTrue (Condition&& condition)
{
    const auto end = std::chrono::steady_clock::now() + longestWait;

    while (! condition())
    {
        if (std::chrono::steady_clock::now() > end)
            return false;

        std::this_thread::sleep_for (5ms);
    }

    return true;
}

/** The program as a process of its own; ended with its scope. */
class Program
{
public:
    Program()
    {
        char path[] = LD_WINDOW_PROGRAM;
        char* arguments[] = { path, nullptr };

        if (posix_spawn (&pid, path, nullptr, nullptr, arguments, environ) != 0)
            pid = 0;
    }

    ~Program()
    {
        if (isRunning())
        {
            kill (pid, SIGKILL);
            waitpid (pid, nullptr, 0);
        }
    }

    Program (const Program&) = delete;
    Program& operator= (const Program&) = delete;

    [[nodiscard]] bool isRunning()
    {
        if (pid != 0 && ! status)
            if (int ended = 0; waitpid (pid, &ended, WNOHANG) == pid)
                status = ended;

        return pid != 0 && ! status;
    }

    [[nodiscard]] bool endedWell() const { return status && WIFEXITED (*status) && WEXITSTATUS (*status) == 0; }

    pid_t pid = 0;

private:
    std::optional<int> status;    // as waitpid gives it, once the program has ended
};

/** A connection to the display of its own. Windows that vanish while they are looked at are no error. */
class Desktop
{
public:
    Desktop()
    {
        // The framework only answers to names that the display knows when it starts; a window manager has made them.
        if (display != nullptr)
            for (const auto* name : { "WM_PROTOCOLS", "WM_DELETE_WINDOW" })
                XInternAtom (display, name, False);
    }

    ~Desktop()
    {
        if (display != nullptr)
            XCloseDisplay (display);

        XSetErrorHandler (handler);
    }

    Desktop (const Desktop&) = delete;
    Desktop& operator= (const Desktop&) = delete;

    [[nodiscard]] bool isThere() const { return display != nullptr; }

    /** The visible window of this name that this process has opened. */
    [[nodiscard]] std::optional<::Window> find (pid_t process, const std::string& name) const
    {
        return findBelow (DefaultRootWindow (display), process, name);
    }

    /** What the close button of a title bar sends. */
    void close (::Window window) const
    {
        XEvent event {};
        event.xclient.type = ClientMessage;
        event.xclient.window = window;
        event.xclient.message_type = XInternAtom (display, "WM_PROTOCOLS", False);
        event.xclient.format = 32;
        event.xclient.data.l[0] = (long) XInternAtom (display, "WM_DELETE_WINDOW", False);
        XSendEvent (display, window, False, NoEventMask, &event);
        XFlush (display);
    }

private:
    [[nodiscard]] std::optional<::Window> findBelow (::Window parent, pid_t process, const std::string& name) const
    {
        ::Window root = 0, above = 0, *children = nullptr;
        unsigned count = 0;

        if (! XQueryTree (display, parent, &root, &above, &children, &count))
            return {};

        std::optional<::Window> found;

        for (unsigned i = 0; i < count && ! found; ++i)
            found = isWanted (children[i], process, name) ? children[i] : findBelow (children[i], process, name);

        if (children != nullptr)
            XFree (children);

        return found;
    }

    [[nodiscard]] bool isWanted (::Window window, pid_t process, const std::string& name) const
    {
        XWindowAttributes attributes {};
        return XGetWindowAttributes (display, window, &attributes) && attributes.map_state == IsViewable
               && property (window, "WM_NAME") == name
               && property (window, "_NET_WM_PID")
                      == std::string (reinterpret_cast<const char*> (&process), sizeof (process));
    }

    // The first bytes of a property. A single item of 32 bits comes in a long, lowest bytes first.
    [[nodiscard]] std::string property (::Window window, const char* name) const
    {
        constexpr long mostWords = 16;
        Atom type = 0;
        int format = 0;
        unsigned long count = 0, left = 0;
        unsigned char* value = nullptr;
        const auto atom = XInternAtom (display, name, False);
        XGetWindowProperty (
            display, window, atom, 0, mostWords, False, AnyPropertyType, &type, &format, &count, &left, &value);

        if (value == nullptr)
            return {};

        std::string bytes (reinterpret_cast<const char*> (value), count * (unsigned long) format / 8);
        XFree (value);
        return bytes;
    }

    Display* const display = XOpenDisplay (nullptr);
    const XErrorHandler handler = XSetErrorHandler ([] (Display*, XErrorEvent*) { return 0; });
};

TEST (WindowProgram, RunsTwiceSideBySideAndEndsWhenItsWindowIsClosed)
{
    const Desktop desktop;

    if (! desktop.isThere())
        GTEST_SKIP() << "there is no display";

    Program first, second;
    const auto windowOf = [&] (const Program& program) { return desktop.find (program.pid, "Lodestrand"); };
    const auto bothAreOpen = [&] { return windowOf (first) && windowOf (second); };

    // While it is set up the window is made anew, and a request waits for the next event: ask until it is heard.
    const auto endsOnceClosed = [&] (Program& program) {
        return becomesTrue ([&] {
            if (const auto window = windowOf (program))
                desktop.close (*window);

            return ! program.isRunning();
        });
    };

    ASSERT_TRUE (becomesTrue ([&] { return bothAreOpen() || ! first.isRunning() || ! second.isRunning(); }));
    ASSERT_TRUE (first.isRunning() && second.isRunning());
    EXPECT_TRUE (endsOnceClosed (first));
    EXPECT_TRUE (first.endedWell());
    EXPECT_TRUE (second.isRunning());
    EXPECT_TRUE (endsOnceClosed (second));
    EXPECT_TRUE (second.endedWell());
}

}    // namespace
}    // namespace ld::test

#endif
