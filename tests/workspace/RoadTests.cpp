#include "clocks/ShootMatch.h"
#include "conform/InterchangeRun.h"

#include "support/FolderSnapshot.h"
#include "support/OpenView.h"
#include "support/TempFolder.h"
#include "support/WrittenShoot.h"

#include <gmock/gmock.h>

// The whole way of a shoot folder through the real view.

namespace ld::test
{
namespace
{

using testing::IsEmpty;
using testing::Not;

class Road : public testing::Test
{
protected:
    // What the program without a window makes of the shoot.
    auto combineWithoutWindow (const juce::String& folderName, const TakeEdits& edits = {})
    {
        std::vector<ScanFile> scans;

        for (const auto& file : collectMediaFiles (shoot.folder))
            scans.push_back (inspectAudioFile (file));

        const auto folder = temp.file (folderName);
        folder.createDirectory();
        auto takes = combineTakes (matchShoot (scans, {}).matches, edits, folder, {});
        EXPECT_TRUE (writeDayPackage (takeInterchange (takes), folder).wasOk());
        return snapshotOf (folder);
    }

    auto combine (OpenView& open, const juce::String& folderName)
    {
        const auto folder = temp.file (folderName);
        folder.createDirectory();
        open.chosen = { folder };
        open.click ("Combine all tracks");
        EXPECT_TRUE (open.settle());
        EXPECT_EQ (open.view->status(), "Wrote 2 of 2 COMBINED WAV files.");
        return snapshotOf (folder);
    }

    WrittenShoot shoot { 30, 2, 5 };
    TempFolder temp;
};

}    // namespace

TEST_F (Road, LeadsFromADroppedFolderToTheFilesOfTheProgramWithoutAWindow)
{
    OpenView open;
    open.drop ({ shoot.folder });
    EXPECT_EQ (open.view->status(), "Scanning " + shoot.folder.getFileName() + "...");
    EXPECT_TRUE (open.view->isBusy());
    ASSERT_TRUE (open.settle());
    EXPECT_THAT (open.view->status().toStdString(), testing::StartsWith ("Host take loaded"));
    EXPECT_EQ (open.view->openBatch().size(), 2u);

    const auto files = combine (open, "window");
    EXPECT_EQ (files.size(), 2u);
    EXPECT_EQ (files, combineWithoutWindow ("headless"));
}

TEST_F (Road, ExportWritesTheInterchangeFilesOfTheProgramWithoutAWindow)
{
    TakeEdits edits;
    edits.writesInterchange = true;
    const auto files = combineWithoutWindow ("day", edits);
    EXPECT_EQ (files.size(), 2u * 6 + 3) << "each take's, and the day's";
    const auto folder = temp.file ("day"), other = temp.file ("other");
    other.createDirectory();

    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false, "*.otio;*.xml;*.ale;*.aaf;*.edl"))
        file.deleteFile();

    OpenView open;
    open.drop ({ shoot.folder });
    ASSERT_TRUE (open.settle());
    const juce::KeyPress key ('e', juce::ModifierKeys::commandModifier | juce::ModifierKeys::shiftModifier, 0);
    const auto exportTo = [&] (const juce::File& target, const juce::String& which) {
        open.chosen = { target };
        open.chosenAnswer = which;
        EXPECT_TRUE (open.press (key));
        EXPECT_TRUE (open.settle());
        return open.view->status();
    };
    EXPECT_EQ (exportTo (folder, "All takes"), "Exported 2 takes to day.");
    EXPECT_EQ (snapshotOf (folder), files);
    EXPECT_EQ (exportTo (folder, "Cancel"), "Exported 2 takes to day.");

    EXPECT_EQ (exportTo (other, "Sound report"), "Sound report written | SOUND_REPORT_other.html");
    const auto rows = juce::StringArray::fromLines (other.getChildFile ("SOUND_REPORT_other.csv").loadFileAsString());
    EXPECT_TRUE (rows[1].contains (open.view->openBatch()[0].host.file.getFileName())) << rows[1];
    EXPECT_TRUE (rows[1].contains (open.view->openBatch()[0].guests[0].file.getFileName())) << rows[1];
    EXPECT_TRUE (other.getChildFile ("SOUND_REPORT_other.html").deleteFile()
                 && other.getChildFile ("SOUND_REPORT_other.csv").deleteFile());

    // One take, and its combined file is first nowhere, then in another folder.
    EXPECT_EQ (exportTo (other, "Open take"),
               "Exported 1 take to other. 1 has no COMBINED file yet: combine into the same folder.");
    EXPECT_EQ (snapshotOf (other).size(), 5u);
    combine (open, "day");
    EXPECT_EQ (exportTo (other, "Open take"), "Exported 1 take to other.");
    const auto edl = snapshotOf (other).begin()->first;
    EXPECT_EQ (snapshotOf (other).at (edl), snapshotOf (folder).at (edl)) << "it names the file that is there";

    // A folder in the place of a file.
    other.getChildFile (edl).deleteFile();
    other.getChildFile (edl).getChildFile ("full").createDirectory();
    EXPECT_EQ (exportTo (other, "Open take"),
               "Exported 0 of 1 take to other. " + open.view->openSession().host.file.getFileName()
                   + ": Could not write " + edl);
}

TEST_F (Road, AWholeJobNeedsNothingButKeys)
{
    constexpr auto ctrl = juce::ModifierKeys::commandModifier;
    constexpr int finely = juce::ModifierKeys::altModifier | juce::ModifierKeys::shiftModifier;
    OpenView open;
    const auto press = [&] (int key, int modifiers, const juce::File& answer) {
        open.chosen = { answer };
        EXPECT_TRUE (open.press ({ key, modifiers, 0 }));
        EXPECT_TRUE (open.settle());
    };
    press ('f', ctrl, shoot.folder);
    ASSERT_EQ (open.view->openBatch().size(), 2u);
    press (juce::KeyPress::pageDownKey, 0, {});

    for (int i = 0; i < 12 && open.view->openSession().selectedGuest.isNull(); ++i)
        press (juce::KeyPress::downKey, ctrl, {});

    // Three samples later, named, not in the mix; and one lane of the poly less.
    const auto guest = *open.view->openSession().findGuest (open.view->openSession().selectedGuest);
    const auto before = guest.alignment.offsetSamples;

    for (int i = 0; i < 3; ++i)
        press (juce::KeyPress::rightKey, finely, {});

    press (juce::KeyPress::F2Key, 0, {});
    open.child<juce::TextEditor> ("Name").setText ("By key", true);
    deliverPostedCalls();
    press ('m', 0, {});
    press (juce::KeyPress::upKey, ctrl, {});
    press (juce::KeyPress::deleteKey, 0, {});
    const auto document = temp.file ("keys.ldsession"), out = temp.file ("keys");
    out.createDirectory();
    press ('s', ctrl, document);
    press ('e', ctrl, out);
    EXPECT_EQ (open.view->status(), "Wrote 2 of 2 COMBINED WAV files.");

    const auto& session = open.view->openSession();
    const auto written = inspectAudioFile (out.getChildFile ("COMBINED_" + session.host.file.getFileName()));
    EXPECT_EQ (openTakeOf (open.view->history().document())->omittedHost.size(), 1u);
    EXPECT_EQ (written.format.channels, (int) session.allExportTracks().size());
    EXPECT_TRUE (std::ranges::any_of (written.ixml.tracks, [] (const auto& track) { return track.name == "By key"; }));
    EXPECT_EQ (session.findGuest (guest.id)->alignment.offsetSamples, before + 3);
}

TEST_F (Road, SavedAndReopenedGivesTheSameFiles)
{
    const auto document = temp.file ("day");
    auto written = decltype (snapshotOf (temp.folder)) {};

    {
        OpenView open;
        open.drop ({ shoot.folder });
        ASSERT_TRUE (open.settle());
        open.click ("Next");
        ASSERT_TRUE (open.settle());

        // A place, a name for the whole source, a fader and a removed track.
        const auto guest = open.view->openSession().guests.front().id;
        open.child<WaveformSpine> ("Timeline").onGuestSelected (guest, 0);
        open.click ("One sample later");
        open.child<juce::TextEditor> ("Name").setText ("Renamed", true);
        open.child<juce::ToggleButton> ("Apply name to all matching tracks")
            .setToggleState (true, juce::sendNotification);
        deliverPostedCalls();
        open.child<WaveformSpine> ("Timeline").onMixerGain (2, -12.0f);
        open.child<WaveformSpine> ("Timeline").onRemoveTrack (false, juce::Uuid::null(), 4);
        EXPECT_THAT (open.view->status().toStdString(), testing::StartsWith ("Removed "));

        open.chosen = { document };
        ASSERT_TRUE (open.press (juce::KeyPress ('s', juce::ModifierKeys::commandModifier, 0)));
        EXPECT_EQ (open.view->status(), "Session saved | day.ldsession");
        written = combine (open, "before");
    }

    OpenView reopened;
    reopened.drop ({ temp.file ("day.ldsession") });
    ASSERT_TRUE (reopened.settle());
    EXPECT_EQ (reopened.view->openSession().host.file, reopened.view->openBatch()[1].host.file) << "the open take";
    EXPECT_EQ (reopened.view->openSession().guests.front().tracks.front().name, "Renamed");
    EXPECT_EQ (reopened.view->openSession().mixerAt (2).gainDb, -12.0f);
    EXPECT_EQ (combine (reopened, "after"), written);
    EXPECT_THAT (written, Not (IsEmpty()));
    EXPECT_NE (written, combineWithoutWindow ("unedited"));
}

}    // namespace ld::test
