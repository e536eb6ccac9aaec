#include "support/ViewTest.h"

#include "monitor/MixerPanelLayout.h"
#include "workspace/MixerWindow.h"

#include <gmock/gmock.h>

// The monitor mix beside the work, and the lane that the keys mean.

namespace ld::test
{
namespace
{

using juce::KeyPress;
using testing::HasSubstr;
using testing::StartsWith;

class MixBesideTheWork : public ViewTest
{
protected:
    MixerWindow* window()
    {
        for (int i = 0; i < juce::TopLevelWindow::getNumTopLevelWindows(); ++i)
            if (auto* const found = dynamic_cast<MixerWindow*> (juce::TopLevelWindow::getTopLevelWindow (i)))
                return found;

        return nullptr;
    }

    template <typename Child>
    Child& control (const juce::String& textOrTitle)
    {
        auto* const found = findChild<Child> (*window(), textOrTitle);
        return found != nullptr ? *found : throw std::runtime_error ("no control " + textOrTitle.toStdString());
    }

    void press (const KeyPress& key) { EXPECT_TRUE (open.press (key)); }

    const KeyPress up { KeyPress::upKey, command, 0 }, down { KeyPress::downKey, command, 0 };
};

}    // namespace

TEST_F (MixBesideTheWork, StaysWhileTakesComeAndPassesOnTheKeysThatItDoesNotTake)
{
    open.click ("Monitor mix");
    ASSERT_NE (window(), nullptr);
    EXPECT_EQ (findChild<juce::Slider> (*window(), "Gain of POLY 1"), nullptr) << "no take is open";

    load ({ poly(), iso ("b.wav", 5 * rate) });
    control<juce::Slider> ("Gain of " + mixerRowTexts (session()).back()).setValue (-6.0, juce::sendNotificationSync);
    EXPECT_FLOAT_EQ (session().mixerAt (3).gainDb, -6.0f);

    EXPECT_TRUE (window()->keyPressed (KeyPress (KeyPress::spaceKey)));
    EXPECT_EQ (open.child<juce::Button> ("Pause").getButtonText(), "Pause");
    EXPECT_TRUE (window()->keyPressed (KeyPress (KeyPress::spaceKey)));
    EXPECT_TRUE (window()->keyPressed (KeyPress ('z', command, 0)));
    EXPECT_FLOAT_EQ (session().mixerAt (3).gainDb, 0.0f) << "a step like any other";
    EXPECT_TRUE (window()->isVisible());
    EXPECT_TRUE (window()->keyPressed (KeyPress (KeyPress::escapeKey)));
    EXPECT_FALSE (window()->isVisible());
}

TEST_F (MixBesideTheWork, BringsTheMixWithinFullScaleInOneStep)
{
    std::vector<float> loud (3 * rate, 0.25f);
    std::fill_n (loud.begin() + 1000, 6000, 0.9f);
    load ({ write ("loud.wav", { loud, loud }, {}) });
    open.click ("Monitor mix");
    control<juce::Button> ("Fit MIX").onClick();
    ASSERT_TRUE (open.settle());
    EXPECT_THAT (status(), StartsWith ("All faders are 5.2 dB lower"));    // 20 lg 1.8 is 5.1
    EXPECT_FLOAT_EQ (session().mixerAt (0).gainDb, -5.2f);
    EXPECT_FLOAT_EQ (session().mixerAt (1).gainDb, -5.2f);

    control<juce::Button> ("Fit MIX").onClick();
    ASSERT_TRUE (open.settle());
    EXPECT_THAT (status(), HasSubstr ("its peak is -0.1 dB"));
    press (KeyPress ('z', command, 0));
    EXPECT_THAT (status(), StartsWith ("Undid: Fit MIX"));
    EXPECT_FLOAT_EQ (session().mixerAt (1).gainDb, 0.0f);
}

TEST_F (MixBesideTheWork, KeysReachEveryLaneThePolysToo)
{
    load ({ poly(), iso ("b.wav", 5 * rate) });
    press (down);
    EXPECT_FALSE (session().selectedGuest.isNull()) << "the new guest was selected already, and is the last";
    press (up);
    EXPECT_TRUE (session().selectedGuest.isNull());
    press (KeyPress ('m'));
    EXPECT_TRUE (session().mixerMuteAt (2, 0)) << "the third channel of the poly";

    for (int i = 0; i < 5; ++i)
        press (up);

    press (KeyPress ('s'));
    EXPECT_TRUE (session().mixerAt (0).solo);

    // A click on a lane of the poly means it too.
    auto& spine = open.child<WaveformSpine> ("Timeline");
    spine.onSelectionCleared();
    press (KeyPress ('m'));
    EXPECT_EQ (status(), "Select a lane first.");
    spine.onHostLaneChosen (1);
    press (KeyPress ('m'));
    EXPECT_TRUE (session().mixerMuteAt (1, 0));
}

}    // namespace ld::test
