#include "support/FolderSnapshot.h"
#include "support/ViewTest.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using juce::KeyPress;
using testing::StartsWith;

class MainView : public ViewTest
{
};

}    // namespace

TEST_F (MainView, ShowsItsWelcomeAndTakesKeysWithoutATake)
{
    EXPECT_TRUE (open.child<juce::Button> ("Open shoot folder").isVisible());
    EXPECT_FALSE (open.child<juce::Button> ("Combine all tracks").isVisible());
    EXPECT_TRUE (open.press (KeyPress ('s', command, 0)));
    EXPECT_TRUE (open.press (KeyPress (KeyPress::spaceKey)));
    EXPECT_TRUE (open.press (KeyPress (KeyPress::leftKey)));
    EXPECT_FALSE (open.press (KeyPress (KeyPress::leftKey, juce::ModifierKeys::shiftModifier, 0)));
    EXPECT_FALSE (open.press (KeyPress ('d')));
    EXPECT_FALSE (open.press (KeyPress ('x')));
    EXPECT_EQ (open.asked.title, "");

    const std::pair<KeyPress, const char*> choosers[] = {
        { KeyPress ('o', command, 0), "Open one or more polyphonic BWFs" },
        { KeyPress ('o', command | juce::ModifierKeys::shiftModifier, 0), "Open session" },
        { KeyPress ('f', command, 0), "Scan shoot folder and all subfolders" },
        { KeyPress ('i', command, 0), "Open picture" },
    };

    for (const auto& [key, title] : choosers)
    {
        EXPECT_TRUE (open.press (key));
        EXPECT_EQ (open.asked.title, title);
    }
}

TEST_F (MainView, LoadsADropAndPlacesItsGuests)
{
    load ({ poly(), iso ("b.wav", 5 * rate + 40), iso ("c.wav", 9 * rate, 36009u * rate) });
    ASSERT_EQ (session().guests.size(), 2u);
    EXPECT_EQ (session().guests[0].alignment.offsetSamples, 5 * rate + 40);
    EXPECT_EQ (session().guests[1].alignment.offsetSamples, 9 * rate);
    EXPECT_FALSE (session().guests[0].matchPending);
    EXPECT_THAT (status(), testing::EndsWith (" -- matched."));
    EXPECT_TRUE (open.child<juce::Button> ("Combine all tracks").isVisible());
    EXPECT_FALSE (open.child<juce::Button> ("Open shoot folder").isVisible());
    EXPECT_EQ (open.child<juce::Label> ("Position and length").getText(), "TC  10:00:00:00   /   10:00:30:00");

    // A drop on the open take joins it.
    open.drop ({ iso ("d.wav", 2 * rate), poly() });
    ASSERT_TRUE (open.settle());
    ASSERT_EQ (session().guests.size(), 3u);
    EXPECT_EQ (session().guests[2].alignment.offsetSamples, 2 * rate);
}

TEST_F (MainView, TellsWhatCannotBeOpenedAndKeepsTheTake)
{
    temp.file ("broken.wav").replaceWithText ("no wave");
    open.drop ({ temp.file ("broken.wav") });
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (status(), "Could not read broken.wav as a BWF/WAV.");
    EXPECT_FALSE (session().host.format.valid);

    load ({ poly() });
    open.chosen = { temp.file ("broken.wav") };
    open.click ("Open polys");
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (status(), "Could not read broken.wav as a BWF/WAV.");
    EXPECT_EQ (session().host.file, temp.file ("poly.wav"));

    const auto work = open.view->history().state();
    open.drop ({ temp.file ("broken.wav") });
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (status(), "Could not read broken.wav as WAV/BWF.");
    EXPECT_EQ (open.view->history().state(), work) << "it is no step";

    temp.file ("not.ldsession").replaceWithText ("[]");
    open.drop ({ temp.file ("not.ldsession"), temp.folder });
    EXPECT_EQ (status(), "Session file is not valid JSON.");
    EXPECT_TRUE (session().host.format.valid);

    open.chosen = { temp.file ("broken.wav"), iso ("mono.wav", 0) };
    open.click ("Open polys");
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (status(), "None of the selected files are polyphonic BWFs.");

    temp.file ("empty").createDirectory();
    open.chosen = { temp.file ("empty") };
    open.click ("Add ISO folder");
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (status(), "No new ISO files matched empty.");
}

TEST_F (MainView, AddsAnIsoFolderToOneTakeAndHidesWhatDoesNotBelong)
{
    load ({ poly() });
    iso ("packs/a/near.wav", 3 * rate, 36003u * rate);
    write ("packs/b/strange.wav", { noise (15 * rate, 9) }, {});
    iso ("packs/c/other_hour.wav", 0, 50000u * rate);
    open.chosen = { temp.file ("packs") };
    open.click ("Add ISO folder");
    EXPECT_FALSE (open.child<juce::Button> ("Add ISO folder").isEnabled());
    ASSERT_TRUE (open.settle());
    EXPECT_THAT (status(), testing::AnyOf ("Unmatched ISO hidden.", testing::EndsWith (" -- matched.")));
    ASSERT_EQ (session().guests.size(), 1u);
    EXPECT_EQ (session().guests[0].alignment.offsetSamples, 3 * rate);
    EXPECT_FALSE (session().guests[0].lanesHidden);
    EXPECT_EQ (session().selectedGuest, session().guests[0].id);
    EXPECT_TRUE (open.child<juce::Button> ("Add ISO folder").isEnabled());
}

TEST_F (MainView, MatchesAnIsoFolderAgainstSeveralPolys)
{
    open.chosen = { poly ("p1.wav"),
                    write ("p2.wav", { noise (9000, 1), noise (9000, 2), noise (9000, 3) }, 50000u * rate) };
    open.click ("Open polys");
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (open.view->openBatch().size(), 2u);
    EXPECT_TRUE (open.child<juce::Button> ("Next take").isVisible());

    iso ("packs/near.wav", 3 * rate, 36003u * rate);
    open.chosen = { temp.file ("packs") };
    open.click ("Add ISO folder");
    ASSERT_TRUE (open.settle());
    ASSERT_EQ (open.view->openBatch()[0].guests.size(), 1u);
    EXPECT_EQ (open.view->openBatch()[1].guests.size(), 0u);
    ASSERT_EQ (session().guests.size(), 1u);
    EXPECT_EQ (open.child<juce::Label> ("Open take").getText(),
               "1 / 2   p1  |  1 ISO files  |  global waveform comparison");
    EXPECT_EQ (session().guests[0].alignment.offsetSamples, 3 * rate);

    // A nudge stays with the take while another one is open.
    open.child<WaveformSpine> ("Timeline").onGuestSelected (session().guests[0].id, 0);
    EXPECT_TRUE (open.press (KeyPress (KeyPress::rightKey)));
    EXPECT_EQ (session().guests[0].alignment.offsetSamples, 3 * rate + 1);
    open.click ("Next");
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (session().guests.size(), 0u);
    open.click ("Prev");
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (session().guests[0].alignment.offsetSamples, 3 * rate + 1);
    EXPECT_EQ (session().guests[0].alignment.method, Alignment::Method::manual);
}

TEST_F (MainView, RefusesWhileItIsBusy)
{
    load ({ poly(), iso ("b.wav", 0) });
    const auto before = open.view->openBatch().size();
    temp.file ("more").createDirectory();
    open.drop ({ temp.file ("more") });
    ASSERT_TRUE (open.view->isBusy());
    open.click ("Open session");
    EXPECT_EQ (status(), "Wait for the current scan or export to finish before opening a session.");
    open.click ("Reset folders");
    EXPECT_EQ (status(), "Wait for the current scan or export to finish before resetting.");
    open.child<WaveformSpine> ("Timeline").onRemoveTrack (false, juce::Uuid::null(), 0);
    EXPECT_EQ (status(), "Wait for the current scan or export to finish before removing a track.");
    open.asked = {};
    open.click ("Combine all tracks");
    open.press (KeyPress ('z', command, 0));
    EXPECT_EQ (status(), "Wait for the current scan or export to finish before undoing.");
    EXPECT_EQ (open.asked.title, "");
    EXPECT_EQ (open.view->openBatch().size(), before);
    ASSERT_TRUE (open.settle());
}

TEST_F (MainView, RemovesATrackWhenTheUserAgrees)
{
    load ({ poly(), iso ("b.wav", 0) });
    auto& spine = open.child<WaveformSpine> ("Timeline");
    open.agrees = false;
    spine.onRemoveTrack (true, session().guests[0].id, 0);
    EXPECT_EQ (open.removalMessage, "Remove \"b\" from the combined WAV?\n\nThe original file is not changed.");
    EXPECT_EQ (session().guests.size(), 1u);

    open.agrees = true;
    spine.onRemoveTrack (false, juce::Uuid::null(), 2);
    EXPECT_EQ (status(), "Removed Ch 3 from the combined WAV.");
    spine.onRemoveTrack (true, session().guests[0].id, 0);
    EXPECT_EQ (session().guests.size(), 0u);
    ASSERT_EQ (open.view->openBatch().size(), 1u);
    EXPECT_THAT (open.view->openBatch()[0].omittedHost, testing::ElementsAre (2));

    spine.onRemoveTrack (true, juce::Uuid(), 0);
    EXPECT_THAT (open.removalMessage.toStdString(), testing::HasSubstr ("\"this track\""));

    open.click ("Reset folders");
    EXPECT_FALSE (session().host.format.valid);
    EXPECT_EQ (open.view->openBatch().size(), 0u);
    EXPECT_EQ (status(), "");
}

TEST_F (MainView, ShowsTheLanesOfATakeWhileItIsReadAndTakesNoEditOnThem)
{
    open.chosen = { poly ("p1.wav"),
                    write ("p2.wav", { noise (9000, 1), noise (9000, 2), noise (9000, 3) }, 50000u * rate) };
    open.click ("Open polys");
    ASSERT_TRUE (open.settle());
    open.drop ({ iso ("b.wav", 5 * rate) });
    ASSERT_TRUE (open.settle());
    auto& spine = open.child<WaveformSpine> ("Timeline");
    open.click ("Prev");
    ASSERT_TRUE (open.settle());
    const auto lanesOfFirst = spine.layoutLanes().size();
    open.click ("Next");
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (spine.layoutLanes().size(), 3u);
    ASSERT_TRUE (pumpUntil ([&] { return *open.view->runningJobs() == 0; })) << "the take that was left is kept";

    open.click ("Prev");
    EXPECT_TRUE (spine.isReading) << "at once";
    EXPECT_EQ (spine.session->host.file.getFileName(), "p1.wav");
    EXPECT_EQ (spine.layoutLanes().size(), lanesOfFirst);
    EXPECT_FALSE (spine.session->host.peaks.empty()) << "with its curves";
    EXPECT_EQ (spine.session->guests[0].alignment.offsetSamples, 5 * rate);
    const auto steps = open.view->history().state();
    const auto at = spine.layoutLanes().back().removeButton.getCentre();
    const auto& mouse = juce::Desktop::getInstance().getMainMouseSource();
    spine.mouseDown ({ mouse, at, {}, 0, 0, 0, 0, 0, &spine, &spine, {}, at, {}, 1, false });
    EXPECT_TRUE (open.press (KeyPress ('m')));
    ASSERT_TRUE (open.settle());
    EXPECT_FALSE (spine.isReading);
    EXPECT_EQ (spine.session, &session());
    EXPECT_EQ (open.view->history().state(), steps);
}

TEST_F (MainView, PlaysSeeksAndDrawsFaders)
{
    load ({ poly() });
    auto& position = open.child<juce::Label> ("Position and length");
    open.click ("Forward five seconds");
    EXPECT_EQ (position.getText(), "TC  10:00:05:00   /   10:00:30:00");
    open.click ("Back five seconds");
    open.click ("Back five seconds");
    EXPECT_THAT (position.getText().toStdString(), StartsWith ("TC  10:00:00:00"));

    for (int i = 0; i < 8; ++i)
        open.click ("Forward five seconds");

    EXPECT_THAT (position.getText().toStdString(), StartsWith ("TC  10:00:29:24")) << "the last sample";
    open.click ("To the start");

    EXPECT_TRUE (open.press (KeyPress (KeyPress::spaceKey)));
    EXPECT_EQ (open.child<juce::Button> ("Pause").getButtonText(), "Pause");
    EXPECT_TRUE (open.press (KeyPress (KeyPress::spaceKey)));
    EXPECT_EQ (open.child<juce::Button> ("Play").getButtonText(), "Play");

    EXPECT_TRUE (open.press (KeyPress ('d')));
    deliverPostedCalls();
    EXPECT_EQ (status(), "Draw mode: drag on a track to write the fader line.");
    EXPECT_TRUE (open.press (KeyPress ('d')));
    deliverPostedCalls();
    EXPECT_EQ (status(), "Draw mode off.");
}

// The threads that are left run on without the view.
TEST_F (MainView, GoesAtAnyMomentOfAnyJob)
{
    const auto host = poly();
    iso ("packs/near.wav", 3 * rate);
    const auto before = snapshotOf (temp.folder);

    for (const auto& dropped : { std::vector { host, temp.file ("packs/near.wav") }, std::vector { temp.folder } })
        for (int turns = 0; turns < 40; turns += 13)
        {
            OpenView other;
            other.drop (dropped);

            for (int i = 0; i < turns; ++i)
                deliverPostedCalls();
        }

    EXPECT_EQ (snapshotOf (temp.folder), before) << "sources untouched, nothing beside them";
}

}    // namespace ld::test
