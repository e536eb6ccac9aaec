#include "session/MetadataOverrides.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Names = std::vector<juce::String>;

std::vector<TrackInfo> tracksNamed (const Names& names)
{
    std::vector<TrackInfo> tracks;

    for (const auto& name : names)
        tracks.emplace_back().name = name;

    return tracks;
}

Names namesOf (const std::vector<TrackInfo>& tracks)
{
    Names names;

    for (const auto& track : tracks)
        names.push_back (track.name);

    return names;
}

// A guest of these files, told from others by the stem of its name.
GuestClip guestOf (const std::vector<const char*>& paths, const Names& trackNames)
{
    GuestClip guest;
    guest.id = juce::Uuid();
    guest.file = juce::File (paths.front());
    guest.format.channels = (int) trackNames.size();
    guest.tracks = tracksNamed (trackNames);

    for (const auto* path : paths)
    {
        auto& piece = guest.pieces.emplace_back();
        piece.file = juce::File (path);
        piece.format.channels = guest.format.channels;
    }

    return guest;
}

void fill (Session& session, const char* host, std::vector<GuestClip> guests)
{
    session.host.file = juce::File (host);
    session.guests = std::move (guests);
}

}    // namespace

TEST (MetadataOverrides, AnOccurrenceIsOneSetOfFilesUnderOneHost)
{
    std::vector<const char*> paths { "/a/Z.wav", "/B/X.wav", "/b/x.wav" };
    HostTake host;
    host.file = juce::File ("/poly.wav");

    do
        EXPECT_EQ (guestOccurrenceKey (host, guestOf (paths, { "1" })), "/poly.wav\n/a/Z.wav\n/B/X.wav\n/b/x.wav");
    while (std::ranges::next_permutation (paths, {}, [] (const char* path) { return juce::String (path); }).found);

    auto bare = guestOf ({ "/b/pack_01.wav" }, { "1" });
    bare.pieces.clear();
    EXPECT_EQ (guestOccurrenceKey (host, bare), "/poly.wav\n/b/pack_01.wav");
    EXPECT_EQ (guestFamilyKey (bare), guestFamilyKey (guestOf ({ "/b/pack_02.wav" }, { "other name" })));
    EXPECT_NE (guestFamilyKey (bare), guestFamilyKey (guestOf ({ "/b/pack_02.wav" }, { "L", "R" })));
}

TEST (MetadataOverrides, NamesComeByFamilyAndThenByOccurrence)
{
    struct Case
    {
        Names family;
        std::optional<Names> occurrence;
        Names expected;
    };

    const Case cases[] = {
        { {}, {}, { "cam L", "cam R" } },
        { { "a" }, {}, { "a", "cam R" } },
        { { "a", "b", "c", "d" }, {}, { "a", "b" } },
        { {}, Names { "x", "y" }, { "x", "y" } },
        { { "a", "b" }, Names { "x", "y" }, { "x", "y" } },
        { { "a" }, Names { "x", "y", "z", "w" }, { "a", "cam R" } },
        { { "a" }, Names {}, { "a", "cam R" } },
    };

    for (const auto& [family, occurrence, expected] : cases)
    {
        Session session;
        fill (session, "/poly.wav", { guestOf ({ "/cam_01.wav" }, { "cam L", "cam R" }) });
        session.guests[0].notes = "of an edit that was undone";
        MetadataOverrides overrides { { "/other.wav\n/cam_01.wav",
                                        { "st:2:cam", tracksNamed ({ "no", "no" }), "no" } } };
        const NameOverrides names { { "st:2:cam", family }, { "st:1:cam", { "no" } } };

        if (occurrence)
            overrides["/poly.wav\n/cam_01.wav"] = { "st:2:cam", tracksNamed (*occurrence), "windy" };

        applyMetadataOverrides (session, overrides, names);
        EXPECT_EQ (namesOf (session.guests[0].tracks), expected);
        EXPECT_EQ (session.guests[0].notes, occurrence ? "windy" : "");
    }
}

/** A take with two recordings of one pack and one of a camera, and what was remembered of another take. */
struct EditedTake : testing::Test
{
    EditedTake()
    {
        fill (session,
              "/poly1.wav",
              { guestOf ({ "/pack_1.wav" }, { "Anna" }),
                guestOf ({ "/pack_2.wav" }, { "pack_2" }),
                guestOf ({ "/cam.wav" }, { "cam" }) });
        session.guests[0].tracks[0].notes = "lav under scarf";
        session.guests[0].notes = "rustles";
        session.guests[1].notes = "spare";
        overrides["/poly2.wav\n/pack_3.wav"] = { "st:1:pack", tracksNamed ({ "old", "older" }), "keep" };
        overrides["/poly2.wav\n/cam.wav"] = { "st:1:cam", tracksNamed ({ "cam of 2" }), {} };
    }

    void edit (const juce::Uuid& guest, bool appliesToFamily)
    {
        rememberMetadata (session, overrides, names, guest, appliesToFamily);
    }

    Session session;
    MetadataOverrides overrides;
    NameOverrides names;
};

TEST_F (EditedTake, AnEditOfOneOccurrenceReachesNothingElse)
{
    edit (juce::Uuid(), true);
    EXPECT_THAT (overrides, SizeIs (2)) << "of a guest that is not there";
    EXPECT_THAT (names, IsEmpty());

    edit (session.guests[0].id, false);
    ASSERT_THAT (overrides, SizeIs (3));
    const auto& saved = overrides["/poly1.wav\n/pack_1.wav"];
    EXPECT_EQ (saved.familyKey, "st:1:pack");
    EXPECT_EQ (saved.tracks, session.guests[0].tracks);
    EXPECT_EQ (saved.notes, "rustles");
    EXPECT_THAT (names, IsEmpty());
    EXPECT_EQ (session.guests[1].tracks[0].name, "pack_2");
    EXPECT_EQ (overrides["/poly2.wav\n/pack_3.wav"].tracks[0].name, "old");
}

TEST_F (EditedTake, AnEditAppliedToAllReachesTheFamilyInEveryTake)
{
    edit (session.guests[0].id, true);
    EXPECT_EQ (session.guests[1].tracks[0].name, "Anna");
    EXPECT_EQ (session.guests[1].tracks[0].notes, "");
    EXPECT_EQ (session.guests[2].tracks[0].name, "cam");
    ASSERT_THAT (overrides, SizeIs (4));
    EXPECT_EQ (overrides["/poly1.wav\n/pack_2.wav"].tracks[0].name, "Anna");
    EXPECT_EQ (overrides["/poly1.wav\n/pack_2.wav"].notes, "spare");
    EXPECT_EQ (namesOf (overrides["/poly2.wav\n/pack_3.wav"].tracks), (Names { "Anna", "older" }));
    EXPECT_EQ (overrides["/poly2.wav\n/pack_3.wav"].notes, "keep");
    EXPECT_EQ (overrides["/poly2.wav\n/cam.wav"].tracks[0].name, "cam of 2");

    // Takes that were opened before, and takes that were not.
    Session other;
    fill (other,
          "/poly2.wav",
          { guestOf ({ "/pack_3.wav" }, { "L", "R" }),
            guestOf ({ "/pack_4.wav" }, { "pack_4" }),
            guestOf ({ "/cam.wav" }, { "cam" }) });
    applyMetadataOverrides (other, overrides, names);
    EXPECT_EQ (namesOf (other.guests[0].tracks), (Names { "Anna", "older" }));
    EXPECT_EQ (namesOf (other.guests[1].tracks), (Names { "Anna" }));
    EXPECT_EQ (namesOf (other.guests[2].tracks), (Names { "cam of 2" }));
}

}    // namespace ld::test
