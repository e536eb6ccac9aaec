#include "workspace/MainLayout.h"
#include "workspace/MainText.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using Bounds = juce::Rectangle<int>;

struct Case
{
    const char* what;
    Bounds actual, expected;
};

void check (std::initializer_list<Case> cases)
{
    for (const auto& c : cases)
        EXPECT_EQ (c.actual.toString(), c.expected.toString()) << c.what;
}

BatchMatch takeOf (const juce::String& host, const std::vector<juce::String>& guests)
{
    BatchMatch take;
    take.host.file = juce::File (host);

    for (const auto& guest : guests)
        take.guests.emplace_back().file = juce::File (guest);

    return take;
}

}    // namespace

TEST (MainLayout, PlacesTheWorkspace)
{
    const auto at = layOutMain (1440, 900, { .hasWork = true });
    check ({ { "progress", at.progressBar, { 24, 869, 1022, 22 } },
             { "combine", at.combine, { 1250, 22, 170, 40 } },
             { "save", at.save, { 1122, 22, 118, 40 } },
             { "iso", at.addIso, { 970, 22, 142, 40 } },
             { "polys", at.openPolys, { 856, 22, 104, 40 } },
             { "reset", at.reset, { 722, 22, 124, 40 } },
             { "export", at.exporting, { 622, 22, 90, 40 } },
             { "rewind", at.rewind, { 24, 92, 48, 32 } },
             { "back", at.backFive, { 78, 92, 54, 32 } },
             { "play", at.play, { 138, 92, 82, 32 } },
             { "forward", at.forwardFive, { 226, 92, 54, 32 } },
             { "mix", at.monitorMix, { 1288, 92, 128, 32 } },
             { "draw", at.drawFaders, { 1170, 92, 110, 32 } },
             { "transport", at.transport, { 294, 92, 728, 32 } },
             { "output", at.output, { 1154, 867, 262, 28 } },
             { "spine", at.spine, { 16, 134, 1408, 730 } },
             { "no takes", at.previousTake, {} },
             { "no inspector", at.inspector, {} },
             { "no welcome", at.openFolder, {} } });
}

TEST (MainLayout, MakesRoomForTakesPictureAndInspector)
{
    const auto takes = layOutMain (1440, 900, { .hasWork = true, .hasSeveralTakes = true, .showsInspector = true });
    check ({ { "previous", takes.previousTake, { 24, 92, 64, 30 } },
             { "next", takes.nextTake, { 94, 92, 64, 30 } },
             { "label", takes.batchLabel, { 174, 92, 1040, 30 } },
             { "play", takes.play, { 138, 130, 82, 32 } },
             { "undo", takes.undo, { 1286, 92, 62, 30 } },
             { "spine", takes.spine, { 16, 172, 1408, 566 } },
             { "inspector", takes.inspector, { 0, 738, 1440, 126 } } });

    const auto list = layOutMain (1440, 900, { .hasWork = true, .hasSeveralTakes = true, .showsTakes = true });
    check ({ { "button", list.takes, { 1226, 92, 56, 30 } },
             { "list", list.takeList, { 16, 172, 280, 692 } },
             { "spine beside it", list.spine, { 304, 172, 1120, 692 } } });

    // The narrowest window that leaves a timeline of 900.
    const auto narrow = layOutMain (1219, 900, { .hasWork = true, .hasSeveralTakes = true, .showsTakes = true });
    EXPECT_TRUE (narrow.takeList.isEmpty());
    EXPECT_EQ (
        layOutMain (1220, 900, { .hasWork = true, .hasSeveralTakes = true, .showsTakes = true }).spine.getWidth(), 900);

    const auto picture = layOutMain (1440, 900, { .hasWork = true, .hasPicture = true, .hasSeveralTakes = true });
    const auto missing = layOutMain (1100, 700, { .hasWork = true, .hasMissing = true });
    check ({ { "cancel", missing.cancel, { 714, 669, 76, 22 } },
             { "find", missing.findMissing, { 558, 92, 126, 32 } },
             { "undo", missing.undo, { 692, 92, 62, 32 } },
             { "redo", missing.redo, { 760, 92, 62, 32 } },
             { "transport", missing.transport, { 294, 92, 254, 32 } } });

    check ({ { "picture", picture.picture, { 1196, 12, 220, 124 } },
             { "timecode", picture.pictureTimecode, { 1196, 140, 110, 22 } },
             { "combine", picture.combine, { 1018, 22, 170, 40 } },
             { "label", picture.batchLabel, { 174, 92, 820, 30 } },
             { "play", picture.play, { 138, 170, 82, 32 } },
             { "mix", picture.monitorMix, { 1056, 170, 128, 32 } },
             { "transport", picture.transport, { 294, 170, 634, 32 } } });
}

TEST (MainLayout, NothingStandsOnAnythingElseWhateverIsShownFromTheSmallestWindowOn)
{
    for (const auto& [w, h] : { std::pair (1024, 640), { 1074, 700 }, { 1220, 720 }, { 1440, 900 }, { 3840, 2160 } })
        for (unsigned bits = 0; bits < 128; ++bits)
        {
            const auto has = [bits] (int bit) { return (bits >> bit & 1u) != 0; };
            const auto at =
                layOutMain (w, h, { true, has (0), has (1), has (2), has (3), has (4), has (5), has (5) && has (6) });
            const juce::Rectangle<int> places[] = { at.progressBar,     at.cancel,     at.output,      at.openPolys,
                                                    at.combine,         at.exporting,  at.save,        at.addIso,
                                                    at.reset,           at.caption,    at.headline,    at.previousTake,
                                                    at.nextTake,        at.batchLabel, at.takes,       at.rewind,
                                                    at.backFive,        at.play,       at.forwardFive, at.transport,
                                                    at.monitorMix,      at.drawFaders, at.undo,        at.redo,
                                                    at.spine,           at.inspector,  at.picture,     at.findMissing,
                                                    at.pictureTimecode, at.takeList,   at.results,     at.runPanel };

            for (const auto& one : places)
                for (const auto& other : places)
                    EXPECT_TRUE (&one == &other || ! one.intersects (other))
                        << w << " wide, face " << bits << ": " << one.toString() << " and " << other.toString();

            for (const auto& one : places)
                EXPECT_TRUE (one.isEmpty() || juce::Rectangle<int> (w, h).contains (one)) << one.toString();
        }
}

TEST (MainLayout, PlacesTheWelcomeCardAndStaysInBoundsWhenTiny)
{
    const auto at = layOutMain (1101, 701, {});
    check ({ { "polys", at.openPolys, { 270, 436, 172, 42 } },
             { "folder", at.openFolder, { 452, 436, 186, 42 } },
             { "session", at.openSession, { 648, 436, 172, 42 } },
             { "output", at.output, { 827, 18, 250, 34 } },
             { "no combine", at.combine, {} } });
    EXPECT_EQ (layOutWelcomeCard (1100, 700).card.toString(), "190 167 720 330");
    EXPECT_EQ (layOutWelcomeCard (600, 700).card.getWidth(), 536.0f);

    const auto tiny = layOutMain (10, 10, { .hasWork = true, .showsInspector = true });
    EXPECT_EQ (tiny.spine.getWidth(), 0);
    EXPECT_EQ (tiny.spine.getHeight(), 0);
    EXPECT_EQ (tiny.progressBar.getWidth(), 36);
}

TEST (MainText, TellsTheTakeAndItsPlaceOnTheClock)
{
    HostTake host;
    EXPECT_EQ (headlineOf (host), "");
    EXPECT_EQ (transportText (host, 0), "");

    host.format = { .channels = 6, .sampleRate = 48000, .numFrames = 480000, .valid = true };
    host.file = juce::File ("/shoot/101_T01.wav");
    EXPECT_EQ (headlineOf (host), "101_T01  |  00:00:00:00  |  6 ch  48000 Hz");

    host.ixml.scene = "101";
    host.ixml.take = "1";
    host.ixml.timecodeRate = "25/1";
    host.ixml.hasTimestamp = host.ixml.present = true;
    host.ixml.timestampSamples = (juce::uint64) 48000 * 3661;
    EXPECT_EQ (headlineOf (host), "101  |  TAKE 1  |  01:01:01:00  |  6 ch  48000 Hz");
    EXPECT_EQ (transportText (host, 48000 + 24000), "TC  01:01:02:12   /   01:01:11:00");

    // A pulled recording: the stamp counts at another rate than the audio.
    host.ixml.timestampSampleRate = 48048.0;
    host.ixml.timestampSamples = 48048;
    EXPECT_EQ (transportText (host, 48000), "TC  00:00:02:00   /   00:00:11:00");
}

TEST (MainText, TellsWhatAScanFound)
{
    EXPECT_EQ (scanText ({ takeOf ("/a.wav", { "/x.wav" }) }, "Day"), "1 takes from Day");
    EXPECT_EQ (scanText ({ takeOf ("/a.wav", { "/x.wav", "/y.wav" }), takeOf ("/b.wav", { "/x.wav" }) }, "Day"),
               "2 takes from Day | x.wav spans 2 takes");
    EXPECT_EQ (
        scanText ({ takeOf ("/a.wav", { "/x.wav", "/y.wav" }), takeOf ("/b.wav", { "/y.wav", "/x.wav" }) }, "Day"),
        "2 takes from Day | 2 files span multiple takes");

    auto take = takeOf ("/shoot/101_T01.wav", { "/x.wav", "/y.wav" });
    EXPECT_EQ (batchText ({ take, take }, 1), "2 / 2   101_T01  |  2 ISO files");
    take.reason = "global waveform comparison";
    EXPECT_EQ (batchText ({ take }, 0), "1 / 1   101_T01  |  2 ISO files  |  global waveform comparison");
    EXPECT_EQ (isosAddedText (3, 0), "Added 3 ISO files from all subfolders");
    EXPECT_EQ (isosAddedText (1, 2), "Added 1 ISO files from all subfolders | skipped 2 outside this take");
    EXPECT_EQ (isosMatchedText ({ take, take }, "Packs"), "Matched 4 ISO placements across 2 polys from Packs.");
}

TEST (MainText, TellsWhatBecameOfAGuest)
{
    std::vector<GuestClip> guests (2);
    guests[0].pieces.resize (1);
    EXPECT_EQ (takeLoadedText (guests), "Host take loaded.");
    guests[1].pieces.resize (3);
    EXPECT_EQ (takeLoadedText (guests), "Host take loaded | 4 ISO pieces fill 2 lanes.");

    Alignment alignment;
    alignment.detail = "Waveform locked 5/5";
    EXPECT_EQ (alignedText (alignment, false), "Waveform locked 5/5 -- matched.");
    alignment.needsManual = true;
    EXPECT_EQ (alignedText (alignment, false), "Waveform locked 5/5 -- nudge if it feels off.");
    EXPECT_EQ (alignedText (alignment, true), "Unmatched ISO hidden.");
}

}    // namespace ld::test
