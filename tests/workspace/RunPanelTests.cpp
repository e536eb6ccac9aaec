#include "support/ViewTest.h"

#include <gmock/gmock.h>

// What happened in a run: its lines, and the panel that keeps them until the user has seen them.

namespace ld::test
{
namespace
{

using juce::KeyPress;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

GuestOutcome guestOf (std::initializer_list<const char*> files, const char* detail, bool isLeftOut)
{
    GuestOutcome guest;

    for (const auto* file : files)
        guest.pieces.emplace_back().file = juce::File (file);

    guest.alignment.detail = detail;
    guest.rejected = isLeftOut;
    return guest;
}

ConformOutcome runOfTwo()
{
    auto placed = guestOf ({ "/day/a1.wav", "/day/a2.wav" }, "Waveform locked", false);
    placed.alignment.method = Alignment::Method::waveform;
    placed.alignment.offsetSamples = 480;
    placed.alignment.confidence = 0.98f;
    placed.alignment.evidence = "on one line in 9 of 9 windows";
    auto scored = placed;
    scored.alignment.confidence = 23.8f;    // of a search: no share

    ConformOutcome outcome;
    outcome.takes.resize (2);
    auto& written = outcome.takes[0];
    written.poly = juce::File ("/day/T1.wav");
    written.output = juce::File ("/out/COMBINED_T1.wav");
    written.written = true;
    written.guests = { placed, scored, guestOf ({ "/day/b.wav" }, "MFCC z=3.1", true) };
    auto& failed = outcome.takes[1];
    failed.poly = juce::File ("/day/T2.wav");
    failed.output = juce::File ("/out/COMBINED_T2.wav");
    failed.error = "The disk is full.";
    failed.guests = { guestOf ({ "/day/a1.wav" }, "The disk is full.", true) };
    outcome.unmatched = { juce::File ("/day/lone.wav") };
    return outcome;
}

std::vector<std::string> told (const std::vector<RunRow>& rows)
{
    std::vector<std::string> lines;

    for (const auto& row : rows)
        lines.push_back (sentenceOf (row).toStdString());

    return lines;
}

class RunPanelView : public ViewTest
{
protected:
    juce::ListBox& list() { return open.child<juce::ListBox> ("Results"); }

    std::vector<std::string> lines()
    {
        auto* const model = list().getListBoxModel();
        std::vector<std::string> names;

        for (int i = 0; i < model->getNumRows(); ++i)
            names.push_back (model->getNameForRow (i).toStdString());

        return names;
    }
};

}    // namespace

TEST (RunRows, TellEachTakeWithWhatWasPlacedHowSurelyAndWhatWasLeftOutAndWhy)
{
    const auto table = tableOfCombine (runOfTwo());
    const auto whole = "placed, 98%, on one line in 9 of 9 windows; Waveform locked; at sample 480, waveform";
    const auto unsure = "placed, on one line in 9 of 9 windows; Waveform locked; at sample 480, waveform";
    EXPECT_THAT (told (runRowsOf (table, false)),
                 ElementsAre ("T1.wav, /out/COMBINED_T1.wav",
                              std::string ("a1.wav, a2.wav, ") + whole,
                              std::string ("a1.wav, a2.wav, ") + unsure,
                              "b.wav, left out, MFCC z=3.1",
                              "T2.wav, not written: The disk is full.",
                              "1 recording was tried here and belongs to another take.",
                              "Belong to no take",
                              "lone.wav, /day/lone.wav"));
    EXPECT_THAT (told (runRowsOf (table, true)),
                 ElementsAre ("T1.wav, /out/COMBINED_T1.wav",
                              "b.wav, left out, MFCC z=3.1",
                              "T2.wav, not written: The disk is full.",
                              "Belong to no take",
                              "lone.wav, /day/lone.wav"));

    // After a scan nothing is written, and the poly is where the take is.
    std::vector<BatchMatch> found (1);
    found[0].host.file = juce::File ("/day/T1.wav");
    EXPECT_THAT (told (runRowsOf (tableOfScan (outcomeOfScan (found)), false)),
                 ElementsAre ("T1.wav, /day/T1.wav", "No recording belongs to this take."));
}

TEST_F (RunPanelView, StaysUntilItIsClosedGoesToTakesAndComesBack)
{
    poly ("day/p1.wav");
    write ("day/p2.wav", { noise (9000, 1), noise (9000, 2), noise (9000, 3) }, 50000u * rate);
    iso ("day/near.wav", 3 * rate, 36003u * rate);
    write ("day/strange.wav", { noise (15 * rate, 9) }, {});
    EXPECT_FALSE (open.child<juce::Button> ("Results").isVisible());
    open.drop ({ temp.file ("day") });
    ASSERT_TRUE (open.settle());
    ASSERT_TRUE (list().isShowing());
    const auto scanned = lines();
    ASSERT_GE (scanned.size(), 4u);
    EXPECT_THAT (scanned[0], StartsWith ("p1.wav, "));
    EXPECT_THAT (scanned[1], HasSubstr ("near.wav, placed, "));
    EXPECT_THAT (scanned, testing::Contains (HasSubstr ("strange.wav, nearest: ")));

    // A line leads to its take; whatever is said meanwhile, what the run came to stays.
    const auto second = (int) (std::ranges::find_if (scanned, [] (const auto& line) { return line.starts_with ("p2"); })
                               - scanned.begin());
    list().selectRow (second);
    EXPECT_TRUE (list().keyPressed (KeyPress (KeyPress::returnKey)));
    ASSERT_TRUE (open.settle());
    EXPECT_EQ (session().host.file, temp.file ("day/p2.wav"));
    EXPECT_EQ (open.child<juce::Label> ("What the run came to").getText(), "2 takes from day");

    EXPECT_TRUE (open.press (KeyPress (KeyPress::escapeKey)));
    EXPECT_FALSE (list().isShowing());
    EXPECT_FALSE (open.press (KeyPress (KeyPress::escapeKey)));
    open.click ("Results");
    EXPECT_TRUE (list().isShowing());

    temp.file ("out").createDirectory();
    open.chosen = { temp.file ("out") };
    open.click ("Combine all tracks");
    ASSERT_TRUE (open.settle());
    EXPECT_THAT (lines()[0], HasSubstr (temp.file ("out/COMBINED_p1.wav").getFullPathName().toStdString()));
    EXPECT_THAT (open.child<juce::ListBox> ("Takes").getListBoxModel()->getNameForRow (0).toStdString(),
                 HasSubstr ("combined"));
    open.click ("Close the results");
    EXPECT_FALSE (list().isShowing());
}

}    // namespace ld::test
