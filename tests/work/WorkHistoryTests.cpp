#include "work/WorkShoot.h"

#include <gtest/gtest.h>

#include <random>

namespace ld::test
{
namespace
{

/** A user who does anything at any time, from a fixed seed. */
class RestlessUser
{
public:
    RestlessUser (WorkShoot& shootToUse, unsigned seed) : shoot (shootToUse), random (seed)
    {
        work.restart (shoot.document);
    }

    void act()
    {
        if (openTakeOf (work.document()) == nullptr)
            return work.undo();

        WorkShoot::showOpen (session, work);

        switch (below (18))
        {
            case 0: return work.undo();
            case 1: return work.redo();
            case 2: return work.openTake (below ((int) work.document().takes.size()));
            case 3: return work.endStroke();
            case 4: return saveAndReopen();
            case 5: return wholesale();
            default: return editLane();
        }
    }

    /** All that is saved but which take is open. */
    [[nodiscard]] juce::String text() const
    {
        auto document = work.document();
        document.batchIndex = 0;
        return sessionDocumentText (document);
    }

    WorkHistory work;

private:
    [[nodiscard]] int below (int limit) { return std::uniform_int_distribution<int> (0, limit - 1) (random); }

    void perform (WorkEdit edit) { juce::ignoreUnused (work.perform (std::move (edit))); }

    void saveAndReopen()
    {
        const auto file = shoot.temp.file ("day.ldsession");
        ASSERT_TRUE (writeSessionDocument (file, work.document()).wasOk());
        SessionDocument reopened;
        juce::ignoreUnused (readSessionDocument (file, reopened));
        ASSERT_EQ (sessionDocumentText (reopened), sessionDocumentText (work.document()));
        work.markSaved (file);
        EXPECT_FALSE (work.isUnsaved());
    }

    void wholesale()
    {
        const auto& doc = work.document();

        switch (below (4))
        {
            case 0: return perform (resetWork());
            case 1: return perform (replaceTakes (doc, shoot.document.takes, {}, "Scan"));
            case 2: return perform (joinMatches (doc, shoot.document.takes, {}, "packs"));
            default: break;
        }

        BatchMatch poly;
        poly.host.file = shoot.temp.file ("other" + juce::String (below (3)) + ".wav");
        perform (openPoly (doc, poly));
    }

    void editLane()
    {
        const auto& doc = work.document();
        const auto& poly = session.host.file;

        if (below (3) == 0)
            return editPoly();

        if (session.guests.empty())
            return perform (addFiles (doc, poly, shoot.document.takes[0].guests, "files"));

        const auto& guest = session.guests[(size_t) below ((int) session.guests.size())];

        switch (below (8))
        {
            case 0: return perform (nudgeGuest (doc, poly, guest, below (200) - 100));
            case 1: return perform (nudgeGuest (doc, poly, guest, below (200) - 100, "move " + guest.id.toString()));
            case 2: return perform (removeGuest (doc, poly, guest));
            case 3: return perform (renameLane (doc, session, { guest.id, 0 }, word(), below (2) == 0));
            case 4: return perform (numberLane (doc, session, { guest.id, 0 }, 1 + below (9)));
            case 5: return perform (noteGuest (doc, session, guest.id, word()));
            case 6: perform (searchGuestAgain (doc, poly, guest)); return find (guest);
            default: return perform (addFiles (doc, poly, { shoot.recording (word() + ".wav", 0) }, "a file"));
        }
    }

    // As a job does that was asked for it.
    void find (const GuestClip& guest)
    {
        Alignment place;
        place.method = Alignment::Method::waveform;
        place.offsetSamples = below (100000);
        work.amend (withPlaces (work.document(), session.host.file, { { guest.file, place } }));
    }

    void editPoly()
    {
        const auto& doc = work.document();
        const auto index = below (session.mixerCount());

        switch (below (6))
        {
            case 0: return perform (removeChannel (doc, session.host.file, below (3), "a channel"));
            case 1: return perform (setReferenceChannel (doc, below (3)));
            case 2: return perform (setPicture (doc, { shoot.temp.file (word() + ".mov"), true, below (9999) }));
            case 3: session.setMixerMute (index, below (2) == 0, 0, false); break;
            case 4: session.drawMixerGain (index, (float) below (40) - 30.0f, below (480000), below (480000)); break;
            default: session.setMixerGain (index, (float) below (40) - 30.0f, 0, false); break;
        }

        perform (setLevels (doc, session, "Level", below (2) == 0 ? juce::String (index) : juce::String()));
    }

    [[nodiscard]] juce::String word() { return "w" + juce::String (below (40)); }

    WorkShoot& shoot;
    std::mt19937 random;
    Session session;
};

}    // namespace

TEST (WorkHistory, ThousandsOfStepsAreUndoneAndRedoneByteForByte)
{
    for (const unsigned seed : { 1u, 2u, 3u })
    {
        WorkShoot shoot (3);
        RestlessUser user (shoot, seed);
        const auto first = user.text();

        for (int i = 0; i < 1500 && ! testing::Test::HasFatalFailure(); ++i)
            user.act();

        while (user.work.canRedo())
            user.work.redo();

        const auto last = user.text();
        auto steps = 0;

        for (; user.work.canUndo(); ++steps)
            user.work.undo();

        EXPECT_GT (steps, 400) << "seed " << seed;
        EXPECT_EQ (user.text(), first) << "seed " << seed;

        while (user.work.canRedo())
            user.work.redo();

        EXPECT_EQ (user.text(), last) << "seed " << seed;
    }
}

TEST (WorkHistory, KeepsAThousandStepsAndMakesAStrokeOne)
{
    WorkShoot shoot (1);
    WorkHistory work;
    work.restart (shoot.document);
    Session session;
    WorkShoot::showOpen (session, work);
    const auto& poly = session.host.file;
    const auto nudge = [&] (juce::int64 samples, const juce::String& stroke) {
        return work.perform (nudgeGuest (work.document(), poly, session.guests[0], samples, stroke));
    };
    EXPECT_FALSE (nudge (0, {})) << "nothing has changed";
    EXPECT_FALSE (work.isUnsaved());

    for (int i = 0; i < 1200; ++i)
        ASSERT_TRUE (nudge (1, {}));

    for (int i = 0; i < 50; ++i)
        ASSERT_TRUE (nudge (10, "drag"));

    EXPECT_EQ (work.undoName(), "Move iso0_0");
    work.undo();
    EXPECT_EQ (work.document().takes[0].guests[0].alignment.offsetSamples, 1200);
    work.redo();
    work.endStroke();
    ASSERT_TRUE (nudge (10, "drag"));
    work.undo();
    EXPECT_EQ (work.document().takes[0].guests[0].alignment.offsetSamples, 1700);

    work.markSaved (shoot.temp.file ("day.ldsession"));
    work.undo();
    EXPECT_TRUE (work.isUnsaved());
    work.redo();
    EXPECT_FALSE (work.isUnsaved()) << "as it was saved";

    while (work.canUndo())
        work.undo();

    EXPECT_EQ (work.document().takes[0].guests[0].alignment, shoot.document.takes[0].guests[0].alignment);
}

TEST (WorkHistory, AnUndoneStepOpensItsTakeAndOtherWorkHasAnotherFile)
{
    WorkShoot shoot (2);
    WorkHistory work;
    const auto monday = shoot.temp.file ("monday.ldsession");
    work.restart (shoot.document, monday);
    Session session;
    WorkShoot::showOpen (session, work);
    work.perform (removeGuest (work.document(), session.host.file, session.guests[1]));
    work.openTake (1);
    work.undo();
    EXPECT_EQ (work.document().batchIndex, 0);
    EXPECT_EQ (work.document().takes[0].guests.size(), 4u);

    BatchMatch tuesday;
    tuesday.host.file = shoot.temp.file ("tuesday.wav");
    work.perform (openPoly (work.document(), tuesday), true);
    EXPECT_EQ (work.document().batchIndex, 2);
    EXPECT_EQ (work.file(), juce::File()) << "a save must not go into Monday's file";
    work.undo();
    EXPECT_EQ (work.file(), monday);
}

}    // namespace ld::test
