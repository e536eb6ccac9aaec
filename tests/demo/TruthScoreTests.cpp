#include "demo/TruthScore.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const juce::File poly ("/shoot/poly.wav"), pack ("/shoot/pack.wav"), stranger ("/shoot/stranger.wav");

/** A poly of 100 s and a pack that starts 2 s earlier, runs 10 ppm fast and loses 10 ms at its second 50. */
ShootTruth oneTake()
{
    TruePiece piece;
    piece.file = pack;
    piece.frames = 110 * 48000;
    piece.sampleRate = 48000;
    piece.stretches = { { 0, -96000.0, -1.0e-5 }, { 2400000, 2304456.0, -1.0e-5 } };
    piece.quietJumps = { false, false };
    piece.paths = { { -20.0, -20.0 }, { 30.0, 40.0 } };
    return { "day", 1, { { poly, 4800000, { { "Pack", { piece }, 0.0, 0.0 } } } }, { { "Pack", 10.0 } }, { stranger } };
}

ToldShoot told (std::vector<TrueStretch> stretches, const juce::File& file = pack)
{
    return { { { poly, file, std::move (stretches), 0.9, true, "waveform", "heard" } }, {} };
}

// What the pack's stretches are when the sound puts it on its second path.
const std::vector<TrueStretch> rightPlace { { 0, -95965.0, -1.0e-5 }, { 2400000, 2304491.0, -1.0e-5 } };

std::vector<TrueStretch> jumpToldAt (double seconds)
{
    const auto frame = seconds * 48000.0;
    return { rightPlace[0], { (juce::int64) frame, -95965.0 + frame * (1.0 - 1.0e-5) + 480.0, -1.0e-5 } };
}

}    // namespace

TEST (TruthScore, APlaceOnAPathIsRightAlongTheWholeFile)
{
    const auto score = scoreReport (oneTake(), told (rightPlace));
    ASSERT_THAT (score.lanes, SizeIs (1));
    EXPECT_TRUE (score.lanes[0].isRight());
    EXPECT_THAT (score.lanes[0].pointErrors, SizeIs (10));
    EXPECT_THAT (score.lanes[0].pointErrors, testing::Each (0.0));
    EXPECT_NEAR (*score.clocks.at (0).toldPpm, 10.0, 1.0e-6);
    EXPECT_THAT (score.wrongPairs, IsEmpty());
    EXPECT_EQ (score.unrelatedPairs, 1);
    ASSERT_THAT (score.placed, SizeIs (1));
    EXPECT_TRUE (score.placed[0].isRight);

    // Later than the last path by a millisecond and more; earlier than the first.
    EXPECT_DOUBLE_EQ (distanceFromPaths (90.0, oneTake().takes[0].guests[0].pieces[0].paths), 50.0);
    EXPECT_DOUBLE_EQ (distanceFromPaths (-25.0, oneTake().takes[0].guests[0].pieces[0].paths), -5.0);
}

TEST (TruthScore, AJumpThatIsNotToldShiftsTheRestOfTheFile)
{
    const auto lane = scoreReport (oneTake(), told ({ rightPlace[0] })).lanes.at (0);
    EXPECT_FALSE (lane.isRight());
    EXPECT_NEAR (lane.startError, 0.0, 1.0e-6);
    EXPECT_NEAR (lane.endError, -425.0, 1.0e-6);    // a lag of 35 - 480, against the first path
    EXPECT_THAT (lane.missed, SizeIs (1));
    EXPECT_NEAR (lane.missed[0].ms, 10.0, 0.01);
}

TEST (TruthScore, AJumpIsFoundNearItsMomentAndOtherwiseInvented)
{
    const struct
    {
        double toldAt;
        bool isQuiet, isFound;
    } cases[] = { { 51.5, false, true },
                  { 48.1, false, true },
                  { 52.5, false, false },
                  { 54.5, true, true },
                  { 55.5, true, false } };

    for (const auto& c : cases)
    {
        auto truth = oneTake();
        truth.takes[0].guests[0].pieces[0].quietJumps[1] = c.isQuiet;
        const auto lane = scoreReport (truth, told (jumpToldAt (c.toldAt))).lanes.at (0);
        EXPECT_EQ (lane.found.size(), c.isFound ? 1u : 0u) << c.toldAt;
        EXPECT_EQ (lane.missed.size() + lane.invented.size(), c.isFound ? 0u : 2u) << c.toldAt;
    }
}

TEST (TruthScore, NobodyIsBlamedForAJumpThatNoSoundBehindItProves)
{
    auto truth = oneTake();
    auto& stretches = truth.takes[0].guests[0].pieces[0].stretches;
    stretches[1] = { 4800000, 4704432.0, -1.0e-5 };                            // 2 s before the poly's end
    stretches.insert (stretches.begin() + 1, { 48000, -48000.0, -1.0e-5 });    // 1 s before its start; of no matter
    truth.takes[0].guests[0].pieces[0].quietJumps.push_back (false);
    const auto lane = scoreReport (truth, told ({ rightPlace[0] })).lanes.at (0);
    EXPECT_THAT (lane.unprovable, SizeIs (1));
    EXPECT_THAT (lane.missed, IsEmpty());
    EXPECT_FALSE (lane.isRight());
    EXPECT_TRUE (lane.isRightWherePossible());
}

TEST (TruthScore, APairThatIsNoneIsCountedAndARightOneThatIsMissingToo)
{
    const auto score = scoreReport (oneTake(), told (rightPlace, stranger));
    EXPECT_FALSE (score.lanes.at (0).isPlaced);
    ASSERT_THAT (score.wrongPairs, SizeIs (1));
    EXPECT_TRUE (score.wrongPairs[0].isUnrelated);
    EXPECT_FALSE (score.placed.at (0).isRight);
    EXPECT_FALSE (score.clocks.at (0).toldPpm.has_value());
}

TEST (TruthScore, ReportsAreReadWithAndWithoutStretches)
{
    const auto report = juce::JSON::parse (R"({ "takes": [ { "poly": "/shoot/poly.wav", "guests": [
        { "files": ["/shoot/a.wav", "/shoot/b.wav"], "pieceOffsets": [0, 500], "offsetSamples": -20, "driftSlope": 0.00001 },
        { "files": ["/shoot/c.wav"], "pieceOffsets": [0], "offsetSamples": 7, "needsManual": true, "segments": [
            { "file": "/shoot/c.wav", "fromSample": 100, "hostSample": 110.5, "slope": 0.5 },
            { "file": "/shoot/c.wav", "fromSample": 0, "hostSample": 7.25, "slope": 0 } ] } ] } ],
        "comparisons": [ { "poly": "/shoot/poly.wav", "file": "/shoot/c.wav", "offsetSamples": 7, "accepted": true } ] })");
    const auto shoot = readConformReport (report);
    ASSERT_THAT (shoot.files, SizeIs (3));
    EXPECT_THAT (shoot.files[1].stretches, ElementsAre (TrueStretch { 0, 480.0, 1.0e-5 }));
    EXPECT_THAT (shoot.files[2].stretches, ElementsAre (TrueStretch { 0, 7.25, 0.0 }, TrueStretch { 100, 110.5, 0.5 }));
    EXPECT_TRUE (shoot.files[0].isPlaced);
    EXPECT_FALSE (shoot.files[2].isPlaced);
    EXPECT_THAT (shoot.pairs, SizeIs (1));
}

}    // namespace ld::test
