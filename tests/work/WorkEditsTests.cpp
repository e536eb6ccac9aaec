#include "work/MissingFiles.h"
#include "work/Recovery.h"
#include "work/WorkShoot.h"

#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

#if JUCE_LINUX || JUCE_MAC
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace ld::test
{
namespace
{

using testing::ElementsAre;

std::vector<juce::int64> placesIn (const BatchMatch& take)
{
    std::vector<juce::int64> places;

    for (const auto& guest : take.guests)
        places.push_back (guest.alignment.offsetSamples);

    return places;
}

/** The open take of a history, with its session. */
struct OpenTake : testing::Test
{
    void begin (int takes)
    {
        shoot.emplace (takes);
        work.restart (shoot->document);
        show();
    }

    void show() { WorkShoot::showOpen (session, work); }

    void perform (WorkEdit edit)
    {
        work.perform (std::move (edit));
        show();
    }

    void setGain (int index, float db)
    {
        session.setMixerGain (index, db, 0, false);
        perform (setLevels (work.document(), session, "Level"));
    }

    void open (int take)
    {
        work.openTake (take);
        show();
    }

    std::optional<WorkShoot> shoot;
    WorkHistory work;
    Session session;
};

}    // namespace

TEST_F (OpenTake, LevelsBelongToTheirTakeAndFixedOnesGoAlong)
{
    begin (3);
    setGain (1, -60.0f);
    session.mixerAt (2).pan = -1.0f;
    perform (setLevels (work.document(), session, "Pan"));
    session.drawMixerGain (2, -20.0f, 1000, 0);
    perform (setLevels (work.document(), session, "Draw"));

    open (1);
    EXPECT_EQ (session.mixerAt (1).gainDb, -60.0f) << "nothing was set here yet";
    EXPECT_EQ (session.mixerAt (2).pan, -1.0f);
    EXPECT_TRUE (session.mixerAt (2).automation.empty()) << "a curve stays where it was drawn";
    setGain (1, -3.0f);

    open (0);
    EXPECT_EQ (session.mixerAt (1).gainDb, -60.0f);
    EXPECT_FALSE (session.mixerAt (2).automation.empty());
    open (2);
    EXPECT_EQ (session.mixerAt (1).gainDb, -3.0f);

    // Lanes that come and go leave the others as they were set.
    open (0);
    perform (removeGuest (work.document(), session.host.file, session.guests[0]));
    perform (removeChannel (work.document(), session.host.file, 0, "Mix"));
    EXPECT_EQ (session.mixerAt (0).gainDb, -60.0f);
    EXPECT_EQ (session.mixerAt (1).pan, -1.0f);
    work.undo();
    work.undo();
    show();
    EXPECT_EQ (session.mixerAt (1).gainDb, -60.0f);
}

TEST_F (OpenTake, AFieldIsWrittenOnItsLaneAndNowhereElse)
{
    begin (1);
    const auto guest = session.guests[1].id;
    const auto edited = [&] (WorkEdit edit) {
        work.perform (std::move (edit));
        const auto id = session.guests[1].file;
        show();
        return session.guests[1].tracks[0];
    };
    auto track = edited (noteGuest (work.document(), session, guest, "wind"));
    EXPECT_EQ (track.name, "iso1_0") << "a note names nothing";
    EXPECT_EQ (session.guests[1].notes, "wind");
    track = edited (numberLane (work.document(), session, { session.guests[1].id, 0 }, 7));
    EXPECT_EQ (track.chosenChannel, 7);
    EXPECT_EQ (track.name, "iso1_0");
    track = edited (renameLane (work.document(), session, { session.guests[1].id, 0 }, " Anna ", false));
    EXPECT_EQ (track.name, "Anna");
    EXPECT_EQ (track.chosenChannel, 7);
    EXPECT_EQ (session.guests[0].tracks[0].name, "iso0_0");
    work.undo();
    work.undo();
    work.undo();
    show();
    EXPECT_EQ (session.guests[1].tracks[0], session.guests[1].givenTracks[0]);
    EXPECT_EQ (session.guests[1].notes, "");
}

TEST_F (OpenTake, WhatAFurtherFolderGivesLeavesPlacesSetByHandAndWhatIsMissing)
{
    begin (1);
    perform (nudgeGuest (work.document(), session.host.file, session.guests[2], 345));
    auto found = shoot->document.takes;
    found[0].guests = { shoot->recording ("iso0_0.wav", 77),
                        shoot->recording ("iso2_0.wav", 77),
                        shoot->recording ("new.wav", 5) };
    perform (joinMatches (work.document(), found, {}, "packs"));
    EXPECT_THAT (placesIn (work.document().takes[0]), ElementsAre (77, 1000, 2345, 3000, 5));
    perform (joinMatches (work.document(), {}, {}, "nothing"));
    EXPECT_EQ (work.document().takes[0].guests.size(), 5u);
}

// The drive is off, the work is saved, the drive is back under another path.
TEST_F (OpenTake, MissingFilesStayAndAreFoundByNameLengthAndStamp)
{
    begin (2);
    auto document = work.document();
    const auto there = shoot->temp.file ("drive/iso1_0.wav");
    shoot->temp.file ("drive/other").createDirectory();
    WaveBuilder ({}, { std::vector<float> (48000) }).writeTo (there);
    WaveBuilder ({}, { std::vector<float> (4800) }).writeTo (shoot->temp.file ("drive/other/iso1_0.wav"));
    WaveBuilder ({}, { std::vector<float> (4800) }).writeTo (shoot->temp.file ("drive/iso2_0.wav"));
    perform (noteGuest (work.document(), session, session.guests[1].id, "kept"));
    setGain (4, -9.0f);

    const auto file = shoot->temp.file ("day.ldsession");
    ASSERT_TRUE (writeSessionDocument (file, work.document()).wasOk());
    SessionDocument reopened;
    ASSERT_TRUE (readSessionDocument (file, reopened).wasOk());
    ASSERT_TRUE (writeSessionDocument (file, reopened).wasOk());
    ASSERT_TRUE (readSessionDocument (file, reopened).wasOk());
    EXPECT_EQ (reopened.takes[0].guests.size(), 4u);
    EXPECT_EQ (missingFilesOf (reopened).size(), 10u);

    work.restart (reopened);
    const auto found = findMissingFiles (reopened, shoot->temp.file ("drive"));
    ASSERT_EQ (found.moved.size(), 1u) << "one of that name is shorter, and so is the other recording";
    EXPECT_EQ (found.moved[0].second, there);
    perform (relocateFiles (reopened, found));
    EXPECT_EQ (session.guests[1].file, there);
    EXPECT_EQ (session.guests[1].alignment.offsetSamples, 1000);
    EXPECT_EQ (session.guests[1].notes, "kept");
    EXPECT_EQ (session.mixerAt (4).gainDb, -9.0f);
    work.undo();
    EXPECT_EQ (sessionDocumentText (work.document()), sessionDocumentText (reopened));
}

TEST_F (OpenTake, ThePlanTellsWhatMovesWhatIsReadAndWhatComesBack)
{
    begin (1);
    const auto planNow = [&] { return planFor (session, *openTakeOf (work.document())); };
    EXPECT_TRUE (planNow().isEmpty());

    work.perform (nudgeGuest (work.document(), session.host.file, session.guests[0], 5));
    auto plan = planNow();
    ASSERT_EQ (plan.moved.size(), 1u);
    EXPECT_TRUE (plan.searched.empty()) << "a place set by hand is not searched";
    moveGuest (session.guests[0], plan.moved[0].places);
    EXPECT_EQ (session.guests[0].alignment.offsetSamples, 5);
    EXPECT_EQ (session.guests[0].alignment.method, Alignment::Method::manual);
    EXPECT_TRUE (planNow().isEmpty());

    work.perform (removeGuest (work.document(), session.host.file, session.guests[1]));
    plan = planNow();
    ASSERT_THAT (plan.removed, ElementsAre (session.guests[1].id));
    std::vector<GuestClip> shelf { session.guests[1] };
    session.guests.erase (session.guests.begin() + 1);
    EXPECT_TRUE (planNow().isEmpty());

    work.undo();
    plan = planNow();
    ASSERT_EQ (plan.added.size(), 1u);
    EXPECT_EQ (takeFromShelf (plan, shelf).size(), 1u) << "not read again";
    EXPECT_TRUE (plan.added.empty());

    work.perform (searchGuestAgain (work.document(), session.host.file, session.guests[0]));
    EXPECT_THAT (planNow().searched, ElementsAre (session.guests[0].id));
}

#if JUCE_LINUX || JUCE_MAC

TEST (Recovery, OffersWhatAKilledProgramLeftAndNothingOfOneThatRuns)
{
    WorkShoot shoot (2);
    const auto folder = shoot.temp.file ("state");
    const auto session = shoot.temp.file ("day.ldsession");
    RecoveryFile next (folder);
    int written[2] = {};
    ASSERT_EQ (pipe (written), 0);
    const auto program = fork();

    if (program == 0)
    {
        const RecoveryFile running (folder);
        const char byte = writeRecovery (running.target(), shoot.document, session).wasOk() ? 1 : 0;
        juce::ignoreUnused (write (written[1], &byte, 1));
        pause();
        _exit (0);
    }

    char isWritten = 0;
    ASSERT_EQ (read (written[0], &isWritten, 1), 1);
    EXPECT_EQ (isWritten, 1);
    EXPECT_TRUE (next.takeOver().empty());
    kill (program, SIGKILL);
    waitpid (program, nullptr, 0);

    folder.getChildFile ("torn.ldrecovery").replaceWithText ("{\"version\": 3, \"ta");
    const auto lost = next.takeOver();
    ASSERT_EQ (lost.size(), 1u);
    EXPECT_EQ (lost[0].document.recoveredFrom, session);
    EXPECT_EQ (lost[0].document.takes.size(), 2u);
    next.discard (lost[0]);
    EXPECT_FALSE (lost[0].file.existsAsFile());
    EXPECT_TRUE (folder.getChildFile ("torn.ldrecovery").existsAsFile());
}

#endif

}    // namespace ld::test
