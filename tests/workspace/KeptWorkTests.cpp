#include "support/ViewTest.h"

#include <gmock/gmock.h>

// What a user has made in the view is there until the user takes it away.

namespace ld::test
{
namespace
{

using juce::KeyPress;
using testing::ElementsAre;
using testing::HasSubstr;

class KeptWork : public ViewTest
{
protected:
    WaveformSpine& spine() { return open.child<WaveformSpine> ("Timeline"); }

    void press (char letter, int more = 0)
    {
        EXPECT_TRUE (open.press (KeyPress (letter, command | more, 0)));
        ASSERT_TRUE (open.settle());
    }

    void click (const char* button)
    {
        open.click (button);
        ASSERT_TRUE (open.settle());
    }

    void drop (const std::vector<juce::File>& files)
    {
        open.drop (files);
        ASSERT_TRUE (open.settle());
    }

    // A second take of another hour.
    juce::File otherPoly (const juce::String& name)
    {
        return write (name, { noise (9000, 1), noise (9000, 2), noise (9000, 3) }, 50000u * rate);
    }

    void openBoth()
    {
        open.chosen = { poly ("p1.wav"), otherPoly ("p2.wav") };
        click ("Open polys");
        ASSERT_EQ (open.view->openBatch().size(), 2u);
    }

    void save (const juce::File& file)
    {
        open.chosen = { file };
        press ('s');
        ASSERT_TRUE (file.existsAsFile()) << status();
    }

    [[nodiscard]] std::vector<juce::int64> places() const
    {
        std::vector<juce::int64> found;

        for (const auto& guest : session().guests)
            found.push_back (guest.alignment.offsetSamples);

        return found;
    }
};

}    // namespace

TEST_F (KeptWork, ADropSearchesNothingThatHasItsPlaceAndUndoBringsBackWhatWasRemoved)
{
    load ({ poly(), iso ("b.wav", 5 * rate) });
    spine().onGuestMoved (session().guests[0].id, 12345);
    drop ({ iso ("c.wav", 9 * rate) });
    EXPECT_THAT (places(), ElementsAre (12345, 9 * rate));

    const auto* const audio = session().guests[0].channelAudio.front().data();
    spine().onRemoveTrack (true, session().guests[0].id, 0);
    EXPECT_THAT (places(), ElementsAre (9 * rate));
    press ('z');
    EXPECT_THAT (status(), HasSubstr ("Undid: Remove b"));
    EXPECT_THAT (places(), ElementsAre (12345, 9 * rate));
    EXPECT_EQ (session().guests[0].channelAudio.front().data(), audio) << "it was not read again";

    press ('z');
    press ('z');
    EXPECT_THAT (places(), ElementsAre (5 * rate)) << "neither the other file nor the drag";
    press ('y');
    press ('z', juce::ModifierKeys::shiftModifier);
    EXPECT_THAT (places(), ElementsAre (12345, 9 * rate));

    // The user asks for it.
    spine().onGuestSelected (session().guests[0].id, 0);
    click ("Find the place anew");
    EXPECT_THAT (places(), ElementsAre (5 * rate, 9 * rate));
}

TEST_F (KeptWork, LevelsStayInTheirTakeWhicheverIsOpenAndSurviveLanesThatComeAndGo)
{
    openBoth();
    spine().onMixerGain (0, -60.0f);
    click ("Next");
    spine().onMixerGain (0, -6.0f);
    spine().onDrawGain (1, -20.0f, 5000, 0);
    click ("Prev");
    EXPECT_EQ (session().mixerAt (0).gainDb, -60.0f);
    EXPECT_TRUE (session().mixerAt (1).automation.empty());

    drop ({ iso ("b.wav", 5 * rate) });
    EXPECT_EQ (session().mixerAt (0).gainDb, -60.0f);

    // What is saved and read again is the same work.
    save (temp.file ("day.ldsession"));
    OpenView again;
    again.drop ({ temp.file ("day.ldsession") });
    ASSERT_TRUE (again.settle());
    EXPECT_EQ (again.view->openSession().mixerAt (0).gainDb, -60.0f);
    EXPECT_EQ (sessionDocumentText (again.view->history().document()),
               sessionDocumentText (open.view->history().document()));
}

TEST_F (KeptWork, AMissingRecordingStaysIsNamedAndIsFound)
{
    load ({ poly(), iso ("b.wav", 5 * rate), iso ("c.wav", 9 * rate) });
    const auto file = temp.file ("day.ldsession");
    save (file);
    temp.file ("drive").createDirectory();
    ASSERT_TRUE (temp.file ("b.wav").moveFileTo (temp.file ("drive/b.wav")));

    OpenView again;
    again.drop ({ file });
    ASSERT_TRUE (again.settle());
    ASSERT_EQ (again.view->openSession().guests.size(), 2u);
    EXPECT_TRUE (again.view->openSession().guests[0].isMissing);
    again.press (KeyPress ('s', command, 0));

    temp.file ("out").createDirectory();
    again.chosen = { temp.file ("out") };
    again.click ("Combine all tracks");
    ASSERT_TRUE (again.settle());
    EXPECT_THAT (again.view->status().toStdString(), HasSubstr ("Left out: b.wav"));

    again.chosen = { temp.file ("drive") };
    again.click ("Find missing...");
    ASSERT_TRUE (again.settle());
    const auto& guest = again.view->openSession().guests[0];
    EXPECT_EQ (guest.file, temp.file ("drive/b.wav"));
    EXPECT_FALSE (guest.isMissing);
    EXPECT_EQ (guest.alignment.offsetSamples, 5 * rate);
    EXPECT_FALSE (guest.channelAudio.empty());
}

TEST_F (KeptWork, APolyThatHasGoneIsNoWallBetweenTheTakes)
{
    openBoth();
    save (temp.file ("day.ldsession"));
    temp.file ("p1.wav").moveFileTo (temp.file ("away.wav"));

    OpenView again;
    again.drop ({ temp.file ("day.ldsession") });
    ASSERT_TRUE (again.settle());
    EXPECT_FALSE (again.view->openSession().host.format.valid);
    EXPECT_TRUE (again.child<juce::Button> ("Next take").isVisible());
    again.click ("Next");
    ASSERT_TRUE (again.settle());
    EXPECT_EQ (again.view->openSession().host.file, temp.file ("p2.wav"));
    EXPECT_TRUE (again.view->openSession().host.format.valid);
    again.click ("Prev");
    ASSERT_TRUE (again.settle());
    EXPECT_EQ (again.view->openBatch().size(), 2u);
}

TEST_F (KeptWork, ASaveNeverGoesIntoAnotherSessionsFile)
{
    load ({ poly ("p1.wav") });
    const auto monday = temp.file ("monday.ldsession");
    save (monday);
    const auto before = monday.loadFileAsString();
    open.chosen = { otherPoly ("p2.wav") };
    click ("Open polys");
    EXPECT_EQ (session().host.file, temp.file ("p2.wav"));
    open.chosen.clear();
    open.asked = {};
    press ('s');
    EXPECT_EQ (open.asked.title, "Save session");
    EXPECT_EQ (monday.loadFileAsString(), before);

    // A dialog that is answered when the work has gone.
    UserQuestions::FilesAnswer late;
    open.view->questions.chooseFiles = [&] (const auto&, auto answer) { late = answer; };
    press ('s');
    open.chosenAnswer = "Cancel";
    click ("Reset folders");
    EXPECT_EQ (open.questionAsked, "Save the changes to the work?");
    EXPECT_EQ (open.view->openBatch().size(), 2u);
    open.chosenAnswer = "Discard";
    click ("Reset folders");
    late ({ temp.file ("late.ldsession") });
    EXPECT_FALSE (temp.file ("late.ldsession").existsAsFile());
    press ('z');
    EXPECT_EQ (open.view->openBatch().size(), 2u) << "a reset is a step as any other";
}

TEST_F (KeptWork, JobsWaitForOneAnotherAndCanBeGivenUp)
{
    poly ("day/p1.wav");
    otherPoly ("day/p2.wav");
    iso ("packs/b.wav", 5 * rate);
    open.drop ({ temp.file ("day") });
    open.drop ({ temp.file ("packs") });
    ASSERT_TRUE (open.settle());
    ASSERT_EQ (open.view->openBatch().size(), 2u);
    EXPECT_THAT (places(), ElementsAre (5 * rate)) << "the second folder waited for the first";

    open.click ("Next");
    EXPECT_TRUE (open.press (KeyPress (KeyPress::spaceKey)));
    EXPECT_EQ (open.child<juce::Button> ("Play").getButtonText(), "Play") << "the take that is still shown has gone";
    click ("Cancel");
    EXPECT_EQ (open.view->history().document().batchIndex, 0);
    EXPECT_EQ (session().host.file, temp.file ("day/p1.wav"));

    const auto before = sessionDocumentText (open.view->history().document());
    open.drop ({ temp.file ("day") });
    click ("Cancel");
    temp.file ("out").createDirectory();
    open.chosen = { temp.file ("out") };
    open.click ("Combine all tracks");
    click ("Cancel");
    EXPECT_EQ (status(), "Cancelled.");
    EXPECT_EQ (sessionDocumentText (open.view->history().document()), before);

    for (const auto& file : temp.file ("out").findChildFiles (juce::File::findFiles, false))
        EXPECT_TRUE (inspectAudioFile (file).format.valid) << file.getFileName();
}

TEST_F (KeptWork, APictureThatIsNotThereStaysWithTheWorkAndIsTold)
{
    load ({ poly() });
    auto document = open.view->history().document();
    document.videoFile = temp.file ("A001.mov");
    document.videoTimestampSamples = 4711;
    ASSERT_TRUE (writeSessionDocument (temp.file ("day.ldsession"), document).wasOk());
    drop ({ temp.file ("day.ldsession") });
    EXPECT_THAT (status(), HasSubstr ("picture missing: A001.mov"));
    press ('s');
    SessionDocument saved;
    ASSERT_TRUE (readSessionDocument (temp.file ("day.ldsession"), saved).wasOk());
    EXPECT_EQ (saved.videoFile, temp.file ("A001.mov"));
    EXPECT_EQ (saved.videoTimestampSamples, 4711);
}

TEST_F (KeptWork, UnsavedWorkIsOfferedAfterACrashAndOnlyThen)
{
    const auto state = temp.file ("state");
    load ({ poly(), iso ("b.wav", 5 * rate) });
    open.view->keepRecovery (std::make_unique<RecoveryFile> (state));
    spine().onGuestMoved (session().guests[0].id, 777);
    ASSERT_TRUE (
        pumpUntil ([&] { return state.getNumberOfChildFiles (juce::File::findFiles, "*.ldrecovery") == 1; }, 5000));
    const auto left = state.findChildFiles (juce::File::findFiles, false, "*.ldrecovery")[0];
    ASSERT_TRUE (left.copyFileTo (temp.file ("crashed/left.ldrecovery").getParentDirectory().createDirectory().wasOk()
                                      ? temp.file ("crashed/left.ldrecovery")
                                      : juce::File()));
    save (temp.file ("day.ldsession"));
    EXPECT_TRUE (pumpUntil ([&] { return ! left.existsAsFile(); }, 5000)) << "nothing would be lost any more";

    OpenView next;
    next.chosenAnswer = "Recover";
    next.view->keepRecovery (std::make_unique<RecoveryFile> (temp.file ("crashed")));
    EXPECT_THAT (next.questionAsked.toStdString(), HasSubstr ("1 take"));
    ASSERT_TRUE (next.settle());
    ASSERT_EQ (next.view->openSession().guests.size(), 1u);
    EXPECT_EQ (next.view->openSession().guests[0].alignment.offsetSamples, 777);
    EXPECT_TRUE (next.view->history().isUnsaved());
    next.view->keyPressed (juce::KeyPress ('z', juce::ModifierKeys::commandModifier, 0));
    EXPECT_EQ (next.view->openBatch().size(), 1u) << "no step leads behind the lost work";
}

}    // namespace ld::test
