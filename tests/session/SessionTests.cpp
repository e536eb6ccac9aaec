#include "session/Session.h"

#include "batch/FolderScan.h"
#include "support/TempFolder.h"
#include "support/WaveBuilder.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using Names = std::vector<std::string>;

juce::File writeFile (const juce::File& file, int channels, const IxmlFields& ixml, int frames = 100, int rate = 48000)
{
    const WaveFormat format { .channels = channels, .sampleRate = rate, .bits = 16 };
    WaveBuilder builder;
    builder.chunk ("fmt ", fmtBody (format));

    if (! ixml.trackNames.empty() || ixml.stamp)
        builder.chunk ("iXML", ixmlBody (ixml));

    const std::vector<float> channel ((size_t) frames, 0.5f);
    return builder.chunk ("data", audioBody (format, Channels ((size_t) channels, channel))).writeTo (file);
}

/** A session with a poly of these tracks loaded from a folder of its own. */
struct Loaded
{
    explicit Loaded (const Names& tracks, juce::uint64 stamp = 48000)
    {
        const auto poly = writeFile (temp.file ("poly.wav"), (int) tracks.size(), { tracks, stamp });
        EXPECT_TRUE (session.loadHost (poly).wasOk());
    }

    juce::String add (const juce::String& name, int channels, const IxmlFields& ixml = {})
    {
        return session.addGuest (writeFile (temp.file (name), channels, ixml)).getErrorMessage();
    }

    // The names of a guest's tracks with their channels of the combined file.
    [[nodiscard]] Names tracksOf (size_t guest) const
    {
        Names lines;

        for (const auto& track : session.guests.at (guest).tracks)
        {
            EXPECT_EQ (track.function, "SINGLE");
            EXPECT_FALSE (track.isHost);
            lines.push_back ((juce::String (track.channelIndex) + " " + track.name).toStdString());
        }

        return lines;
    }

    TempFolder temp;
    Session session;
};

}    // namespace

TEST (Session, TheReferenceIsTheFirstOfTheLikeliestTracks)
{
    const std::pair<Names, int> cases[] = {
        { { "Lav 1", "Boom", "Mix L" }, 1 }, { { "Lav 1", "Radio 2", "x" }, 0 }, { { "A", "B", "C" }, 0 },
        { { "Mix", "boom mix" }, 1 },        { { "x", "RADIO", "Mix R" }, 2 },   { { "Mix L", "Mix R", "Lav" }, 0 },
    };

    for (const auto& [names, expected] : cases)
    {
        const Loaded loaded (names);
        EXPECT_EQ (loaded.session.referenceChannel, expected) << names[1];
        EXPECT_EQ (loaded.session.host.peaks.size(), names.size());
        EXPECT_EQ (loaded.session.host.referenceAudio, std::vector<float> (100, 0.5f));
    }
}

TEST (Session, EveryRefusalHasItsSentenceAndChangesNothing)
{
    Loaded loaded ({ "a", "b", "c" });
    auto& session = loaded.session;
    const auto text = loaded.temp.file ("notes.wav");
    text.replaceWithText ("no audio");
    const auto forged = WaveBuilder()
                            .rf64 (1ull << 62, 1ull << 61)
                            .chunk ("fmt ", fmtBody ({ .bits = 16 }))
                            .chunk ("data", 64, WaveBuilder::sizeInDs64)
                            .writeTo (loaded.temp.file ("forged.wav"));
    const auto crowded = WaveBuilder()
                             .chunk ("fmt ", fmtBody ({ .channels = 1025, .bits = 16 }))
                             .chunk ("data", 2050 * 8)
                             .writeTo (loaded.temp.file ("crowded.wav"));
    ASSERT_EQ (loaded.add ("pack.wav", 1), "");

    for (const auto& file : { text, forged, crowded })
        EXPECT_FALSE (inspectAudioFile (file).format.valid) << "the scan and the session agree";

    const std::pair<juce::File, const char*> guests[] = {
        { session.host.file, "That file is already the host take." },
        { loaded.temp.file ("pack.wav"), "File already added." },
        { text, "Could not read notes.wav as WAV/BWF." },
        { forged, "Could not read forged.wav as WAV/BWF." },
        { crowded, "Could not read crowded.wav as WAV/BWF." },
        { loaded.temp.file ("gone.wav"), "Could not read gone.wav as WAV/BWF." },
    };

    for (const auto& [file, sentence] : guests)
        EXPECT_EQ (session.addGuest (file).getErrorMessage(), sentence);

    EXPECT_EQ (session.loadHost (text).getErrorMessage(), "Could not read notes.wav as a BWF/WAV.");
    EXPECT_EQ (session.loadHost (forged).getErrorMessage(), "Could not read forged.wav as a BWF/WAV.");
    EXPECT_EQ (session.guests.size(), 1u);
    EXPECT_EQ (session.host.file.getFileName(), "poly.wav");

    EXPECT_TRUE (session.loadHost (session.host.file).wasOk());
    EXPECT_THAT (session.guests, IsEmpty());
    EXPECT_TRUE (session.selectedGuest.isNull());

    session.clear();
    EXPECT_EQ (session.addGuest (text).getErrorMessage(), "Load a polyphonic host take first.");
    EXPECT_EQ (session.mixerCount(), 0);
}

TEST (Session, GuestsThatNoMemoryWouldHoldAreRefusedAndLeaveNoTrace)
{
    TempFolder temp;
    Session session;
    ASSERT_TRUE (
        session.loadHost (writeFile (temp.file ("poly.wav"), 3, { { "a", "b", "c" }, 192000 }, 10, 192000)).wasOk());

    // A million frames of which each claims to last a second: at the poly's rate over 700 GB.
    const auto slow = writeFile (temp.file ("slow.wav"), 1, {}, 1'000'000, 1);
    EXPECT_EQ (session.addGuest (slow).getErrorMessage(), "Not enough memory to stitch slow.wav.");
    EXPECT_THAT (session.guests, IsEmpty());

    // Two pieces of one source 23 hours apart, with 64 channels: over 4 TB.
    const IxmlFields morning { .stamp = 1, .stampRate = 192000.0 };
    const IxmlFields night { .stamp = 23ull * 3600 * 192000, .stampRate = 192000.0 };
    ASSERT_TRUE (session.addGuest (writeFile (temp.file ("rec_1.wav"), 64, morning, 10, 192000)).wasOk());
    const auto audio = session.guests.at (0).channelAudio;
    const auto second = writeFile (temp.file ("rec_2.wav"), 64, night, 10, 192000);
    EXPECT_EQ (session.addGuest (second).getErrorMessage(), "Not enough memory to stitch rec_2.wav.");
    ASSERT_EQ (session.guests.size(), 1u);
    EXPECT_EQ (session.guests[0].pieces.size(), 1u);
    EXPECT_EQ (session.guests[0].channelAudio, audio);
}

TEST (Session, GuestsAreNamedAfterTheirTracksOrTheirFileAndNumberedOn)
{
    Loaded loaded ({ "1", "2", "3", "4", "5", "6" });
    EXPECT_EQ (loaded.add ("cam.wav", 2), "");
    EXPECT_EQ (loaded.add ("named.wav", 2, { { "Anna", "Ben" } }), "");
    EXPECT_EQ (loaded.add ("mono.wav", 1), "");
    EXPECT_EQ (loaded.add ("surround.wav", 3, { { "only one" } }), "");
    EXPECT_THAT (loaded.tracksOf (0), ElementsAre ("7 cam L", "8 cam R"));
    EXPECT_THAT (loaded.tracksOf (1), ElementsAre ("9 Anna", "10 Ben"));
    EXPECT_THAT (loaded.tracksOf (2), ElementsAre ("11 mono"));
    EXPECT_THAT (loaded.session.allExportTracks().size(), 15u);
    EXPECT_THAT (loaded.tracksOf (3), ElementsAre ("12 surround 1", "13 surround 2", "14 surround 3"));
    EXPECT_EQ (loaded.session.selectedGuest, loaded.session.guests[3].id);
    EXPECT_EQ (loaded.session.guests[3].alignment.method, Alignment::Method::none);
}

TEST (Session, AFurtherFileOfASourceJoinsItsGuestAndLeavesTheMixerAlone)
{
    Loaded loaded ({ "a", "b", "c" });
    EXPECT_EQ (loaded.add ("pack_1.wav", 1, { .stamp = 48000 }), "");
    EXPECT_EQ (loaded.add ("other.wav", 1), "");
    loaded.session.mixerAt (4).gainDb = -6.0f;
    EXPECT_EQ (loaded.add ("pack_2.wav", 1, { .stamp = 48300 }), "");
    ASSERT_EQ (loaded.session.guests.size(), 2u);
    const auto& guest = loaded.session.guests[0];
    EXPECT_EQ (guest.pieces.size(), 2u);
    EXPECT_EQ (guest.channelAudio[0].size(), 400u);
    EXPECT_EQ (loaded.session.selectedGuest, guest.id);
    EXPECT_EQ (loaded.session.mixerAt (4).gainDb, -6.0f);
    EXPECT_THAT (loaded.tracksOf (0), ElementsAre ("4 pack_1"));

    // One that ran at the same time is a machine of its own, and a new guest resets the mixer.
    EXPECT_EQ (loaded.add ("pack_3.wav", 1, { .stamp = 48310 }), "");
    EXPECT_EQ (loaded.session.guests.size(), 3u);
    EXPECT_EQ (loaded.session.mixerAt (4).gainDb, 0.0f);
    EXPECT_EQ (loaded.session.addGuest (loaded.temp.file ("pack_2.wav")).getErrorMessage(), "File already added.");
}

TEST (Session, FilesAddedWithoutAudioGiveTheSameGuests)
{
    Loaded loaded ({ "a", "b", "c" });
    const std::vector<juce::File> files { writeFile (loaded.temp.file ("pack_1.wav"), 1, { .stamp = 48000 }),
                                          loaded.temp.file ("gone.wav"),
                                          writeFile (loaded.temp.file ("pack_2.wav"), 1, { .stamp = 48300 }),
                                          writeFile (loaded.temp.file ("cam.wav"), 2, {}) };
    const auto results = loaded.session.addGuestsWithoutAudio (files);
    ASSERT_EQ (results.size(), 4u);
    EXPECT_EQ (results[1].getErrorMessage(), "Could not read gone.wav as WAV/BWF.");
    ASSERT_EQ (loaded.session.guests.size(), 2u);
    EXPECT_EQ (loaded.session.guests[0].pieces.size(), 2u);
    EXPECT_THAT (loaded.session.guests[0].channelAudio, IsEmpty());
    EXPECT_THAT (loaded.tracksOf (1), ElementsAre ("5 cam L", "6 cam R"));
}

TEST (Session, AnOmittedChannelLeavesTheBankOnce)
{
    Loaded loaded ({ "Boom", "Mix L", "Lav" });
    auto& session = loaded.session;
    EXPECT_TRUE (session.mixerAt (1).mute);
    EXPECT_FALSE (session.mixerAt (0).mute);

    for (const auto channel : { 0, 0, -1, 3 })
        session.omitHostChannel (channel);

    EXPECT_EQ (session.mixerCount(), 2);
    EXPECT_THAT (session.host.omittedChannels, ElementsAre (1, 0, 0));
    EXPECT_TRUE (session.mixerAt (0).mute) << "the recorder's mix has moved up";
    EXPECT_FALSE (session.mixerAt (1).mute);
    EXPECT_EQ (session.host.peaks.size(), 3u);
    EXPECT_EQ (session.allExportTracks().size(), 3u);
}

TEST (Session, TheBankEndsAtThirtyTwoChannelsAndIgnoresWhatIsNotInUse)
{
    Loaded many (Names (40, "Lav"));
    EXPECT_EQ (many.session.mixerCount(), 32);
    EXPECT_EQ (&many.session.mixerAt (35), &many.session.mixer[31]);
    EXPECT_EQ (&many.session.mixerAt (-1), &many.session.mixer[0]);

    Loaded few ({ "a", "b", "c" });
    auto& session = few.session;
    const auto untouched = session.mixer;

    for (const auto index : { -1, 3, 31 })
    {
        session.setMixerGain (index, -6.0f, 0, false);
        session.setMixerMute (index, true, 0, true);
        session.drawMixerGain (index, -6.0f, 512, 0);
        EXPECT_EQ (session.mixerGainDbAt (index, 0), 0.0f);
        EXPECT_FALSE (session.mixerMuteAt (index, 0));
    }

    EXPECT_EQ (session.mixer, untouched);
    session.mixerAt (3).solo = true;
    EXPECT_FALSE (session.anySolo());
    session.mixerAt (2).solo = true;
    EXPECT_TRUE (session.anySolo());
    session.setMixerGain (2, -6.0f, 0, false);
    EXPECT_EQ (session.mixerGainDbAt (2, 1000), -6.0f);
    session.setReferenceChannel (99);
    EXPECT_EQ (session.referenceChannel, 2);
    session.setReferenceChannel (-5);
    EXPECT_EQ (session.referenceChannel, 0);
}

TEST (Session, RemovingTheSelectedGuestSelectsTheLastOneLeft)
{
    Loaded loaded ({ "a", "b", "c" });
    auto& session = loaded.session;

    for (const auto* name : { "x.wav", "y.wav", "z.wav" })
        ASSERT_EQ (loaded.add (name, 1), "");

    const auto x = session.guests[0].id, y = session.guests[1].id, z = session.guests[2].id;
    session.removeGuest (y);
    EXPECT_EQ (session.selectedGuest, z);
    session.removeGuest (z);
    EXPECT_EQ (session.selectedGuest, x);
    EXPECT_EQ (session.findGuest (z), nullptr);
    EXPECT_EQ (session.findGuest (x), &session.guests[0]);
    session.mixerAt (0).mute = true;
    session.removeGuest (juce::Uuid());
    EXPECT_FALSE (session.mixerAt (0).mute);
    session.removeGuest (x);
    EXPECT_TRUE (session.selectedGuest.isNull());
}

}    // namespace ld::test
