#include "conform/ConformReport.h"

#include "support/DirectLag.h"
#include "support/WaveLanes.h"
#include "support/WaveWalker.h"
#include "support/WrittenShoot.h"

#include <gmock/gmock.h>

// A whole shoot, whose truth is known, from the folder to the combined files.

namespace ld::test
{
namespace
{

using juce::int64;
using testing::IsEmpty;

constexpr double samplesPerMs = 48.0;
constexpr double toleranceMs = 1.0;
constexpr int64 windowSamples = 72000;    // 1.5 s

/** Two takes of 20 seconds and what became of them; conformed once. */
struct ConformedShoot
{
    ConformedShoot()
    {
        EXPECT_TRUE (shoot.result.wasOk()) << shoot.result.getErrorMessage();
        std::vector<ScanFile> scans;

        for (const auto& file : collectMediaFiles (shoot.folder))
            scans.push_back (inspectAudioFile (file));

        OutputNames names (shoot.folder.getChildFile ("out"));

        for (const auto& match : matchBatch (scans))
            outcome.takes.push_back (combineTake (match, {}, names.nameFor (match.host.file), {}));

        accountForFiles (outcome, scans);
    }

    [[nodiscard]] const TakeOutcome* find (const juce::File& poly) const
    {
        const auto at = std::ranges::find (outcome.takes, poly, &TakeOutcome::poly);
        return at == outcome.takes.end() ? nullptr : &*at;
    }

    const WrittenShoot shoot { 20, 2, 1 };
    ConformOutcome outcome;
};

const ConformedShoot& conformed()
{
    static const ConformedShoot shoot;
    return shoot;
}

/** A true piece, the place that it was given, and its lane in the combined file. */
struct PlacedPiece
{
    const TrueTake& take;
    const TrueGuest& truth;
    const TruePiece& piece;
    const TakeOutcome& outcome;
    const GuestOutcome* guest = nullptr;
    int64 offset = 0;    // of the piece's first frame on the poly
    size_t lane = 0;

    void find()
    {
        lane = 1 + (size_t) inspectAudioFile (take.poly).format.channels;

        for (const auto& candidate : outcome.guests)
        {
            if (candidate.rejected)
                continue;

            for (const auto& known : candidate.pieces)
                if (known.file == piece.file)
                {
                    guest = &candidate;
                    offset = candidate.alignment.offsetSamples + known.offsetSamples;
                    return;
                }

            lane += candidate.trackNames.size();
        }
    }

    // Where a frame of the file lies on the poly, by the truth and by the place it was given.
    [[nodiscard]] double truePosition (double frame) const
    {
        return piece.startSamples + frame * piece.hostSamplesPerFrame;
    }

    [[nodiscard]] double givenPosition (double frame) const
    {
        const auto hostFrames = frame * 48000.0 / piece.sampleRate;
        return (double) offset + hostFrames * (1.0 + guest->alignment.driftSlope);
    }

    [[nodiscard]] std::pair<double, double> framesOnPoly() const
    {
        const auto frameAt = [this] (double position) {
            return (position - piece.startSamples) / piece.hostSamplesPerFrame;
        };
        return { std::max (0.0, frameAt (0.0)),
                 std::min ((double) piece.frames, frameAt ((double) take.frames)) - 1.0 };
    }
};

std::vector<PlacedPiece> placedPieces()
{
    std::vector<PlacedPiece> pieces;

    for (const auto& take : conformed().shoot.truth.takes)
        for (const auto& guest : take.guests)
            for (const auto& piece : guest.pieces)
                if (const auto* outcome = conformed().find (take.poly))
                {
                    pieces.push_back ({ take, guest, piece, *outcome });
                    pieces.back().find();
                }

    return pieces;
}

std::vector<float> slopeOfLane (const juce::File& file, size_t lane)
{
    const auto lanes = readLanes (file);
    return slopeOf ({ lanes.at (lane).begin(), lanes.at (lane).end() });
}

// A file's own sound where the truth says that it belongs, by a straight line between two samples.
std::vector<float> trueWindow (const TruePiece& piece, const std::vector<float>& audio, int64 start)
{
    std::vector<float> window ((size_t) windowSamples);

    for (size_t i = 0; i < window.size(); ++i)
    {
        const auto at = ((double) start + (double) i - piece.startSamples) / piece.hostSamplesPerFrame;
        const auto whole = (size_t) at;
        window[i] = audio.at (whole) + (float) (at - (double) whole) * (audio.at (whole + 1) - audio[whole]);
    }

    return window;
}

void expectPlacesWithinAMillisecondOfTheirSpans()
{
    const auto pieces = placedPieces();
    EXPECT_EQ (pieces.size(), 9u);

    for (const auto& placed : pieces)
    {
        SCOPED_TRACE (placed.piece.file.getFileName());
        ASSERT_NE (placed.guest, nullptr) << "is in no take";
        const auto [first, last] = placed.framesOnPoly();

        for (const auto frame : { first, (first + last) / 2.0, last })
        {
            const auto lateMs = (placed.givenPosition (frame) - placed.truePosition (frame)) / samplesPerMs;
            EXPECT_GE (lateMs, placed.truth.lowestLagMs - toleranceMs) << frame;
            EXPECT_LE (lateMs, placed.truth.highestLagMs + toleranceMs) << frame;
        }
    }
}

void expectSoundAtItsPlaceFromStartToEnd()
{
    for (const auto& placed : placedPieces())
    {
        SCOPED_TRACE (placed.piece.file.getFileName());
        const auto lane = slopeOfLane (placed.outcome.output, placed.lane);
        const auto audio = slopeOfLane (placed.piece.file, 0);
        const auto [first, last] = placed.framesOnPoly();
        const auto from = (int64) placed.truePosition (first) + widestLag;
        const auto to = (int64) placed.truePosition (last) - widestLag - windowSamples;

        for (const auto start : { from, (from + to) / 2, to })
        {
            const auto lateMs = bestLag (lane, start, trueWindow (placed.piece, audio, start)) / samplesPerMs;
            EXPECT_GE (lateMs, placed.truth.lowestLagMs - toleranceMs) << start;
            EXPECT_LE (lateMs, placed.truth.highestLagMs + toleranceMs) << start;
        }
    }
}

void expectTheLoneFileInNoTake()
{
    const auto& lone = conformed().shoot.truth.unrelated;
    EXPECT_EQ (conformed().outcome.unmatched, lone);
    EXPECT_THAT (conformed().outcome.unreadable, IsEmpty());
    EXPECT_EQ (conformed().outcome.written(), 2);

    for (const auto& take : conformed().outcome.takes)
        for (const auto& guest : take.guests)
            for (const auto& piece : guest.pieces)
                EXPECT_TRUE (guest.rejected || piece.file != lone.at (0)) << take.poly.getFileName();
}

void expectThePolysBitForBit()
{
    for (const auto& take : conformed().outcome.takes)
    {
        const auto poly = readLanes (take.poly), combined = readLanes (take.output);
        const auto before = walkWave (take.poly), after = walkWave (take.output);
        EXPECT_THAT (after.complaints, IsEmpty());
        EXPECT_EQ (after.numFrames, before.numFrames);
        ASSERT_GT (combined.size(), poly.size());

        for (size_t c = 0; c < poly.size(); ++c)
            EXPECT_EQ (combined[c + 1], poly[c]) << c;

        ASSERT_NE (before.find ("LIST"), nullptr);
        ASSERT_NE (after.find ("LIST"), nullptr);
        EXPECT_EQ (readBody (take.output, *after.find ("LIST")), readBody (take.poly, *before.find ("LIST")));
    }
}

}    // namespace

// One test, as conforming a shoot takes seconds.
TEST (DemoShootConform, EveryRecordingIsInItsTruePlaceInItsTakesFileAndNothingOfThePolyIsLost)
{
    expectPlacesWithinAMillisecondOfTheirSpans();
    expectSoundAtItsPlaceFromStartToEnd();
    expectTheLoneFileInNoTake();
    expectThePolysBitForBit();
}

}    // namespace ld::test
