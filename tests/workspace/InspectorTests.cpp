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

}    // namespace

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

    for (const auto& [typed, samples] :
         { std::pair ("12 ms", 576), { "-3f", -5760 }, { "0,5 s", 24000 }, { "+480", 480 }, { "7 smp", 7 } })
        EXPECT_EQ (nudgeOf (typed, clock), samples) << typed;

    for (const auto* typed : { "", "ms", "3 parsecs", "-", "900000 s" })
        EXPECT_EQ (nudgeOf (typed, clock), std::nullopt) << typed;

    EXPECT_EQ (samplesPerTimecodeFrame (clock), 1920);
    EXPECT_EQ (samplesPerTimecodeFrame ({ 48000, "30000/1001", "NDF" }), 1602);
    EXPECT_EQ (samplesPerTimecodeFrame ({ 48000, "?", "NDF" }), 2000);
}

TEST (Inspector, TellsTheFieldThatWasTypedOnItsLaneAndNothingElse)
{
    InspectorPanel panel;
    panel.setSize (1440, 126);
    auto guest = guestOf (2);
    guest.id = juce::Uuid();
    guest.tracks[1].name = "Lav";
    guest.tracks[1].channelIndex = 4;
    std::vector<std::string> told;
    std::vector<juce::int64> nudges;
    auto familyChosen = 0;
    panel.onEdit = [&] (const juce::Uuid& id, int lane, LaneField field, const juce::String& text) {
        EXPECT_EQ (id, guest.id);
        told.push_back ((juce::String (lane) + " " + juce::String ((int) field) + " " + text).toStdString());
    };
    panel.onNudge = [&] (juce::int64 samples) { nudges.push_back (samples); };
    panel.onFamilyChosen = [&] { ++familyChosen; };

    const auto child = [&]<typename Child> (const juce::String& title, Child*) -> Child& {
        for (auto* component : panel.getChildren())
            if (component->getTitle() == title)
                return dynamic_cast<Child&> (*component);

        throw std::runtime_error ("not there");
    };
    const GuestClock clock { 48000, "25/1", "NDF" };
    auto& name = child ("Name", (juce::TextEditor*) nullptr);
    panel.setGuest (&guest, 1, clock);
    EXPECT_TRUE (panel.isVisible());
    EXPECT_EQ (name.getText(), "Lav");
    EXPECT_EQ (name.getBounds().toString(), "20 57 220 32");

    name.setText ("Anna", true);
    deliverPostedCalls();
    guest.tracks[1].name = "Anna";
    panel.setGuest (&guest, 1, clock);
    child ("Channel", (juce::TextEditor*) nullptr).setText ("7", true);
    deliverPostedCalls();
    guest.tracks[1].channelIndex = 7;
    child ("Notes", (juce::TextEditor*) nullptr).setText ("wind", true);
    panel.setGuest (nullptr, 0, {});
    deliverPostedCalls();
    EXPECT_THAT (told, ElementsAre ("1 0 Anna", "1 1 7", "1 2 wind"))
        << "the last though its editor had not told it yet";
    EXPECT_FALSE (panel.isVisible());

    panel.setGuest (&guest, 0, clock);
    EXPECT_EQ (name.getText(), "");
    auto& toggle = child ("Apply name to all matching tracks", (juce::ToggleButton*) nullptr);
    toggle.setToggleState (true, juce::sendNotificationSync);
    toggle.setToggleState (false, juce::sendNotificationSync);
    EXPECT_EQ (familyChosen, 1) << "only when it is switched on";

    for (const auto* title : { "One frame earlier", "One frame later", "One sample earlier", "One sample later" })
        child (title, (juce::Button*) nullptr).onClick();

    EXPECT_THAT (nudges, ElementsAre (-1920, 1920, -1, 1));
    EXPECT_EQ (told.size(), 3u) << "showing is no edit";
}

}    // namespace ld::test
