#include "session/LockedPlacements.h"

#include <gtest/gtest.h>

namespace ld::test
{
namespace
{

juce::File fileCalled (const juce::String& name)
{
    return juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile (name);
}

ScanFile placedAt (const juce::String& name, juce::int64 offset, Alignment::Method method, bool needsManual = false)
{
    ScanFile scan;
    scan.file = fileCalled (name);
    scan.alignment.offsetSamples = offset;
    scan.alignment.method = method;
    scan.alignment.needsManual = needsManual;
    return scan;
}

TEST (LockedPlacements, AreAllThatWereSearchedOrSetAndOfAFileTheFirst)
{
    BatchMatch take;
    take.guests = { placedAt ("doubtful.wav", 1, Alignment::Method::waveform, true),
                    placedAt ("unplaced.wav", 2, Alignment::Method::none),
                    placedAt ("b.wav", 30, Alignment::Method::timecode),
                    placedAt ("a.wav", 40, Alignment::Method::manual),
                    placedAt ("a.wav", 50, Alignment::Method::waveform) };
    const auto locked = lockedPlacementsOf (take);
    EXPECT_EQ (locked.size(), 3u);

    GuestClip guest;
    guest.file = fileCalled ("a.wav");
    guest.pieces.resize (2);
    guest.pieces[0].file = fileCalled ("unplaced.wav");
    guest.pieces[1].file = fileCalled ("b.wav");
    ASSERT_NE (findLocked (locked, guest), nullptr);
    EXPECT_EQ (findLocked (locked, guest)->offsetSamples, 40);

    guest.file = fileCalled ("doubtful.wav");
    ASSERT_NE (findLocked (locked, guest), nullptr);
    EXPECT_TRUE (findLocked (locked, guest)->needsManual) << "what is in doubt is not searched again";

    guest.file = fileCalled ("unplaced.wav");
    guest.pieces.pop_back();
    EXPECT_EQ (findLocked (locked, guest), nullptr);
}

}    // namespace
}    // namespace ld::test
