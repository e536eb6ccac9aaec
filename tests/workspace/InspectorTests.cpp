#include "workspace/InspectorPanel.h"

#include "support/MessageLoop.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using testing::ElementsAre;

GuestClip guestOf (int tracks)
{
    GuestClip guest;
    guest.tracks.resize ((size_t) tracks);
    return guest;
}

std::vector<std::string> namesOf (const GuestClip& guest)
{
    std::vector<std::string> names;

    for (const auto& track : guest.tracks)
        names.push_back (track.name.toStdString());

    return names;
}

}    // namespace

TEST (InspectorEdit, NamesEveryTrackAndTheRightOneOfAPair)
{
    auto pair = guestOf (2);
    pair.tracks[0].function = "LEFT";
    EXPECT_TRUE (applyInspectorEdit (pair, { " Boom ", "7", " kept as typed " }));
    EXPECT_THAT (namesOf (pair), ElementsAre ("Boom", "Boom R"));
    EXPECT_EQ (pair.tracks[1].function, "RIGHT");
    EXPECT_EQ (pair.tracks[1].channelIndex, 7);
    EXPECT_EQ (pair.notes, " kept as typed ");

    applyInspectorEdit (pair, { "Boom l", "", "" });
    EXPECT_THAT (namesOf (pair), ElementsAre ("Boom l", "Boom l")) << "it names its side";
    EXPECT_EQ (pair.tracks[0].channelIndex, 1);

    auto four = guestOf (4);
    applyInspectorEdit (four, { "Array", "0", "" });
    EXPECT_THAT (namesOf (four), ElementsAre ("Array", "Array", "Array", "Array"));
    EXPECT_EQ (four.tracks[3].channelIndex, 1);

    auto none = guestOf (0);
    EXPECT_FALSE (applyInspectorEdit (none, { "x", "1", "note" }));
    EXPECT_EQ (none.notes, "");
}

TEST (InspectorSummary, TellsThePlaceInSamplesAndTimecode)
{
    auto guest = guestOf (1);
    const GuestClock clock { 48000, "25/1", "NDF" };
    EXPECT_EQ (inspectorSummary (guest, clock), "Unaligned  |  0 smp  |  00:00:00:00");

    guest.alignment.detail = "Waveform locked 5/5";
    guest.alignment.offsetSamples = 48000 + 1920;
    guest.alignment.needsManual = true;
    guest.pieces.resize (3);
    EXPECT_EQ (inspectorSummary (guest, clock),
               "Waveform locked 5/5  |  49920 smp  |  00:00:01:01  |  3 ISO pieces  |  check by ear");

    guest.alignment.offsetSamples = -480;
    EXPECT_THAT (inspectorSummary (guest, clock).toStdString(), testing::HasSubstr ("-480 smp  |  00:00:00:00"));
    EXPECT_THAT (inspectorSummary (guest, { 0, "25/1", "NDF" }).toStdString(), Not (testing::HasSubstr ("00:00")));

    EXPECT_EQ (samplesPerTimecodeFrame (clock), 1920);
    EXPECT_EQ (samplesPerTimecodeFrame ({ 48000, "30000/1001", "NDF" }), 1602);
    EXPECT_EQ (samplesPerTimecodeFrame ({ 48000, "?", "NDF" }), 2000);
}

TEST (Inspector, EditsTheGuestAndTellsItOnce)
{
    InspectorPanel panel;
    panel.setSize (1440, 126);
    auto guest = guestOf (1);
    guest.tracks[0].name = "Lav";
    auto changes = 0;
    std::vector<juce::int64> nudges;
    panel.onMetadataChanged = [&] { ++changes; };
    panel.onNudge = [&] (juce::int64 samples) { nudges.push_back (samples); };

    const auto child = [&]<typename Child> (const juce::String& title, Child*) -> Child& {
        for (auto* component : panel.getChildren())
            if (component->getTitle() == title)
                return dynamic_cast<Child&> (*component);

        throw std::runtime_error ("not there");
    };
    auto& name = child ("Name", (juce::TextEditor*) nullptr);
    panel.setGuest (&guest, 48000, "25/1", "NDF");
    EXPECT_TRUE (panel.isVisible());
    EXPECT_EQ (name.getText(), "Lav");
    EXPECT_EQ (changes, 0) << "showing is no edit";
    EXPECT_EQ (name.getBounds().toString(), "20 57 220 32");

    name.setText ("Anna", true);
    deliverPostedCalls();
    EXPECT_EQ (guest.tracks[0].name, "Anna");
    child ("Notes", (juce::TextEditor*) nullptr).setText ("wind", true);
    panel.setGuest (&guest, 48000, "25/1", "NDF");
    EXPECT_EQ (guest.notes, "wind") << "though the editor has not told it yet";
    deliverPostedCalls();
    EXPECT_EQ (guest.tracks[0].name, "Anna");
    EXPECT_GE (changes, 2);
    changes = 2;

    auto& toggle = child ("Apply name to all matching tracks", (juce::ToggleButton*) nullptr);
    toggle.setToggleState (true, juce::sendNotificationSync);
    toggle.setToggleState (false, juce::sendNotificationSync);
    EXPECT_EQ (changes, 3) << "only when it is switched on";

    for (const auto* title : { "One frame earlier", "One frame later", "One sample earlier", "One sample later" })
        child (title, (juce::Button*) nullptr).onClick();

    EXPECT_THAT (nudges, ElementsAre (-1920, 1920, -1, 1));

    panel.setGuest (nullptr, 48000, "25/1", "NDF");
    EXPECT_FALSE (panel.isVisible());
    EXPECT_EQ (name.getText(), "");
    name.setText ("nobody", true);
    deliverPostedCalls();
    EXPECT_EQ (guest.tracks[0].name, "Anna");
}

}    // namespace ld::test
