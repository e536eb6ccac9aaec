#include "app/LodestrandApp.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace ld::test
{
namespace
{

// Real quitting would stop the message loop of every test behind this one.
struct WatchedApp : public LodestrandApp
{
    void systemRequestedQuit() override { wasAskedToQuit = true; }

    bool wasAskedToQuit = false;
};

class Window : public testing::Test
{
protected:
    Window() { app.initialise ("--ignored"); }
    ~Window() override { app.shutdown(); }

    // Throws where there is none, which fails the test.
    static LodestrandWindow& window()
    {
        auto* const found = dynamic_cast<LodestrandWindow*> (juce::TopLevelWindow::getTopLevelWindow (0));
        return found != nullptr ? *found : throw std::runtime_error ("no window of the program is open");
    }

    static juce::Component& content()
    {
        auto* const found = window().getContentComponent();
        return found != nullptr ? *found : throw std::runtime_error ("the window is empty");
    }

    WatchedApp app;
};

TEST_F (Window, OpensAroundTheViewAtItsSize)
{
    EXPECT_EQ (window().getName(), "Lodestrand");
    EXPECT_TRUE (window().isVisible());
    EXPECT_TRUE (window().isOnDesktop());
    EXPECT_TRUE (window().isResizable());
    EXPECT_TRUE (window().isUsingNativeTitleBar());
    EXPECT_EQ (window().getBackgroundColour(), juce::Colour (0xFF141815));
    EXPECT_NE (dynamic_cast<MainComponent*> (&content()), nullptr);
    EXPECT_EQ (content().getBounds().toString(), "0 0 1440 900");
}

TEST_F (Window, CarriesItsViewAlongWhenResized)
{
    window().setSize (1000, 700);

    EXPECT_EQ (content().getBounds().toString(), "0 0 1000 700");
}

TEST_F (Window, AsksTheProgramToQuitWhenClosed)
{
    window().closeButtonPressed();

    EXPECT_TRUE (app.wasAskedToQuit);
}

TEST_F (Window, IsGoneAfterShutdown)
{
    app.shutdown();

    EXPECT_EQ (juce::TopLevelWindow::getNumTopLevelWindows(), 0);
}

TEST (App, TellsItsNameAndRunsBesideOthers)
{
    WatchedApp app;

    EXPECT_EQ (app.getApplicationName(), "Lodestrand");
    EXPECT_EQ (app.getApplicationVersion(), "1.0.0");
    EXPECT_TRUE (app.moreThanOneInstanceAllowed());
}

}    // namespace
}    // namespace ld::test
