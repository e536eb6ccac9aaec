#include "support/ViewTest.h"

#include <gmock/gmock.h>

// The list of takes: what it says of each, and how it is gone through.

namespace ld::test
{
namespace
{

using juce::KeyPress;
using testing::ElementsAre;
using testing::HasSubstr;

ScanFile placed (const char* path, Alignment::Method method = Alignment::Method::waveform, bool isDoubtful = false)
{
    ScanFile scan;
    scan.file = juce::File (path);
    scan.alignment.method = method;
    scan.alignment.needsManual = isDoubtful;
    return scan;
}

SessionDocument dayOfTwo()
{
    SessionDocument doc;
    doc.takes.resize (2);
    doc.takes[0].host.file = juce::File ("/day/T1.wav");
    doc.takes[0].host.ixml.scene = "12A";
    doc.takes[0].host.ixml.take = "3";
    doc.takes[0].host.format = { .sampleRate = 48000, .numFrames = 48000 * 723 };
    doc.takes[0].guests = { placed ("/day/a.wav"), placed ("/day/b.wav"), placed ("/day/gone.wav") };
    doc.takes[1].host.file = juce::File ("/day/T12.wav");
    doc.takes[1].guests = { placed ("/day/a.wav", Alignment::Method::none, true),
                            placed ("/day/b.wav", Alignment::Method::none) };
    return doc;
}

std::string told (const TakeRow& row)
{
    return sentenceOf (row, 1).toStdString();
}

class TakeListView : public ViewTest
{
protected:
    juce::ListBox& list() { return open.child<juce::ListBox> ("Takes"); }
    [[nodiscard]] juce::String nameOfRow (int row) { return list().getListBoxModel()->getNameForRow (row); }
};

}    // namespace

TEST (TakeRows, TellWhatATakeIsAndWhatInItNeedsALook)
{
    TakeSurvey survey;
    survey.missing = { "/day/gone.wav" };
    survey.headers["/day/T12.wav"] = { "13", "", { .sampleRate = 48000, .numFrames = 48000LL * 3725 } };
    const auto rows = takeRowsOf (dayOfTwo(), survey, {});
    EXPECT_EQ (told (rows[0]), "1: T1, Scene 12A, Take 3, 12:03, 3 ISO files, 1 missing");
    EXPECT_EQ (told (rows[1]), "1: T12, Scene 13, 1:02:05, 2 ISO files, 1 in doubt, 1 not placed");
    EXPECT_TRUE (needsALook (rows[0]) && needsALook (rows[1]));

    const auto whole = takeRowsOf (dayOfTwo(), {}, {});
    EXPECT_FALSE (needsALook (whole[0])) << "nothing is known to be missing";
    survey.missing = { "/day/T1.wav" };
    EXPECT_EQ (troubleText (takeRowsOf (dayOfTwo(), survey, {})[0]), "poly missing");
}

TEST (TakeRows, TellWhatWasDoneToATakeAndWhetherItsFileStillHoldsThat)
{
    const auto before = dayOfTwo();
    const CombinedTakes combined { { "/day/T1.wav", std::make_shared<const SessionDocument> (before) } };
    const auto progress = [&] (const SessionDocument& doc, int take, const CombinedTakes& made) {
        return progressText (takeRowsOf (doc, {}, made)[(size_t) take]).toStdString();
    };
    EXPECT_EQ (progress (before, 0, {}), "");
    EXPECT_EQ (progress (before, 0, combined), "combined");
    EXPECT_EQ (progress (before, 1, combined), "");

    // Each of these is an edit of the first take, and of no other: one path begins with the other.
    std::vector<SessionDocument> edited (4, before);
    edited[0].takes[0].guests[1].alignment.method = Alignment::Method::manual;
    edited[1].takes[0].omittedHost = { 2 };
    edited[2].levels[{ "/day/T1.wav", "H|1" }].gainDb = -6.0f;
    edited[3].metadataOverrides["/day/T1.wav\n/day/a.wav"].notes = "hum";

    for (const auto& doc : edited)
    {
        EXPECT_EQ (progress (doc, 0, {}), "edited");
        EXPECT_EQ (progress (doc, 0, combined), "changed since combined");
        EXPECT_EQ (progress (doc, 1, {}), "");
    }

    // Levels of other takes go along to one that has none.
    auto levelled = before;
    levelled.mixer["source"].gainDb = -3.0f;
    EXPECT_EQ (progress (levelled, 0, combined), "changed since combined");
    EXPECT_EQ (progress (levelled, 0, {}), "");
}

TEST_F (TakeListView, IsGoneThroughByKeysAndClicksAndFollowsTheWork)
{
    open.chosen = { poly ("p1.wav"), poly ("p2.wav", 50000u * rate), poly ("p3.wav", 60000u * rate) };
    open.click ("Open polys");
    ASSERT_TRUE (open.settle());
    EXPECT_TRUE (list().isShowing());
    EXPECT_EQ (nameOfRow (0), "1: p1, 0:30, 0 ISO files, open");

    list().selectRow (1);
    EXPECT_TRUE (list().keyPressed (KeyPress (KeyPress::downKey)));
    EXPECT_TRUE (list().keyPressed (KeyPress (KeyPress::returnKey)));
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (session().host.file, temp.file ("p3.wav"));
    EXPECT_EQ (nameOfRow (2), "3: p3, 0:30, 0 ISO files, open");
    open.click ("Prev");
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (list().getSelectedRow(), 1) << "the cursor goes along";

    // Only the takes in which something is to be done.
    temp.file ("p1.wav").deleteFile();
    open.click ("Next");
    ASSERT_TRUE (open.settle());
    open.child<WaveformSpine> ("Timeline").onMixerGain (0, -6.0f);
    ASSERT_TRUE (pumpUntil ([&] { return nameOfRow (0).contains ("poly missing"); }, 5000));
    EXPECT_EQ (nameOfRow (2), "3: p3, 0:30, 0 ISO files, edited, open");
    auto& filter = open.child<juce::ToggleButton> ("Needs a look");
    filter.setToggleState (true, juce::sendNotificationSync);
    EXPECT_EQ (list().getListBoxModel()->getNumRows(), 1);
    EXPECT_EQ (nameOfRow (0), "1: p1, 0:30, 0 ISO files, poly missing");

    open.click ("Takes");
    EXPECT_FALSE (list().isShowing());
    open.click ("Takes");
    open.view->setSize (1024, 640);
    EXPECT_FALSE (list().isShowing()) << "the timeline needs the width";
    EXPECT_FALSE (open.child<juce::Button> ("Takes").isEnabled());
}

}    // namespace ld::test
