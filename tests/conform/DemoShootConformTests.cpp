#include "batch/FolderScan.h"
#include "batch/SourceAudio.h"

#include "support/DirectLag.h"
#include "support/RunProgram.h"
#include "support/TempFolder.h"
#include "support/WaveWalker.h"
#include "support/WrittenShoot.h"

#include <gmock/gmock.h>

#if JUCE_LINUX || JUCE_MAC

// A whole shoot, whose truth is known, from the folder to the combined files, by the program that people run.

namespace ld::test
{
namespace
{

using juce::int64;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr double samplesPerMs = 48.0;
constexpr double toleranceMs = 1.0;
constexpr int64 windowSamples = 72000;    // 1.5 s

/** Two takes of three minutes and what became of them. */
struct ConformedShoot
{
    const WrittenShoot shoot { 180, 2, 1 };
    const TempFolder out;
    const ProgramRun program = run ({ LD_CONFORM_PROGRAM,
                                      shoot.folder.getFullPathName(),
                                      "--out",
                                      out.folder.getFullPathName(),
                                      "--report",
                                      out.file ("report.json").getFullPathName() });
    const juce::var report = juce::JSON::parse (out.file ("report.json"));

    [[nodiscard]] juce::var reportOn (const juce::File& poly) const
    {
        for (int i = 0; i < report["takes"].size(); ++i)
            if (report["takes"][i]["poly"].toString() == poly.getFullPathName())
                return report["takes"][i];

        return {};
    }
};

/** A file that the truth knows, in the combined file of its take. */
struct WrittenPiece
{
    const TruePiece& piece;
    juce::File output;
    int lane;    // 0-based channel of the file's first

    // Where the lane has the file's own sound, at a frame of the poly, ms behind the truth.
    [[nodiscard]] double latenessMs (int64 start) const
    {
        const auto lanes =
            SourceAudio (output, 48000).readChannel (lane, start - widestLag, windowSamples + 2 * widestLag);
        return bestLag (slopeOf (lanes), widestLag, slopeOf (trueWindow (start))) / samplesPerMs;
    }

    // What the truth puts there, by a straight line between two samples.
    [[nodiscard]] std::vector<float> trueWindow (int64 start) const
    {
        const auto first = ((double) start - piece.startSamples) / piece.hostSamplesPerFrame;
        const auto from = (int64) first;
        const auto count = (int64) ((double) windowSamples / piece.hostSamplesPerFrame) + 3;
        const auto audio = SourceAudio (piece.file, piece.sampleRate).readChannel (0, from, count);
        std::vector<float> window ((size_t) windowSamples);

        for (size_t i = 0; i < window.size(); ++i)
        {
            const auto at = first - (double) from + (double) i / piece.hostSamplesPerFrame;
            const auto whole = (size_t) at;
            window[i] = audio.at (whole) + (float) (at - (double) whole) * (audio.at (whole + 1) - audio[whole]);
        }

        return window;
    }
};

// The lane by what the report says; nothing where the file is in no guest of the take.
std::optional<int> laneOf (const juce::File& file, const juce::var& take, int polyChannels)
{
    auto lane = 1 + polyChannels;

    for (int i = 0; i < take["guests"].size(); ++i)
        if (const auto guest = take["guests"][i]; ! (bool) guest["rejected"])
        {
            if (guest["files"].getArray()->contains (file.getFullPathName()))
                return lane;

            lane += guest["tracks"].size();
        }

    return {};
}

void expectItsSoundAtItsPlaceFromStartToEnd (const WrittenPiece& written, const TrueTake& take, const TrueGuest& truth)
{
    const auto& piece = written.piece;
    const auto end = piece.startSamples + (double) piece.frames * piece.hostSamplesPerFrame;
    const auto from = (int64) std::max (piece.startSamples, 0.0) + 2 * widestLag;
    const auto to = (int64) std::min (end, (double) take.frames) - 2 * widestLag - windowSamples;

    for (const auto start : { from, (from + to) / 2, to })
    {
        const auto lateMs = written.latenessMs (start);
        EXPECT_GE (lateMs, truth.lowestLagMs - toleranceMs) << start;
        EXPECT_LE (lateMs, truth.highestLagMs + toleranceMs) << start;
    }
}

void expectThePolyBitForBit (const juce::File& poly, const juce::File& combined)
{
    const auto before = walkWave (poly), after = walkWave (combined);
    EXPECT_THAT (after.complaints, IsEmpty());
    EXPECT_EQ (after.numFrames, before.numFrames);
    const SourceAudio original (poly, 48000), written (combined, 48000);
    ASSERT_GT (written.numChannels(), original.numChannels());

    for (int c = 0; c < original.numChannels(); ++c)
        EXPECT_EQ (written.readChannel (c + 1, 0, before.numFrames), original.readChannel (c, 0, before.numFrames))
            << c;

    ASSERT_NE (before.find ("LIST"), nullptr);
    ASSERT_NE (after.find ("LIST"), nullptr);
    EXPECT_EQ (readBody (combined, *after.find ("LIST")), readBody (poly, *before.find ("LIST")));
}

}    // namespace

// One test, as conforming a shoot takes seconds.
TEST (DemoShootConform, EveryRecordingIsInItsTruePlaceInItsTakesFileAndNothingOfThePolyIsLost)
{
    const ConformedShoot conformed;
    const auto& takes = conformed.shoot.truth.takes;
    const auto lone = conformed.shoot.truth.unrelated.at (0);
    EXPECT_THAT (conformed.program.out.toStdString(),
                 HasSubstr ("Belong to no take:\n    " + lone.getFullPathName().toStdString()));
    EXPECT_EQ ((int) conformed.report["written"], 2);
    auto pieces = 0;

    for (const auto& take : takes)
    {
        const auto report = conformed.reportOn (take.poly);
        const juce::File output (report["output"].toString());
        const auto polyChannels = inspectAudioFile (take.poly).format.channels;
        expectThePolyBitForBit (take.poly, output);
        EXPECT_FALSE (laneOf (lone, report, polyChannels));

        for (const auto& guest : take.guests)
            for (const auto& piece : guest.pieces)
            {
                SCOPED_TRACE (piece.file.getFileName());
                const auto lane = laneOf (piece.file, report, polyChannels);
                ASSERT_TRUE (lane) << "is in no take";
                expectItsSoundAtItsPlaceFromStartToEnd ({ piece, output, *lane }, take, guest);
                ++pieces;
            }
    }

    EXPECT_EQ (pieces, 9);
}

}    // namespace ld::test

#endif
