#include "conform/ConformReport.h"

#include "support/TempFolder.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using testing::ElementsAre;

// A key and the first letter of its value's kind: object, array, string, number, bool.
std::vector<std::string> keysOf (const juce::var& object)
{
    std::vector<std::string> keys;

    for (const auto& [name, value] : object.getDynamicObject()->getProperties())
    {
        const auto* kind = value.isBool()     ? " b"
                           : value.isString() ? " s"
                           : value.isArray()  ? " a"
                           : value.isObject() ? " o"
                                              : " n";
        keys.push_back (name.toString().toStdString() + kind);
    }

    return keys;
}

juce::File at (const char* path)
{
    return juce::File (path);
}

ConformOutcome outcome()
{
    GuestOutcome placed;
    placed.pieces.resize (2);
    placed.pieces[0].file = at ("/shoot/pack_1.wav");
    placed.pieces[1].file = at ("/shoot/pack_2.wav");
    placed.pieces[1].offsetSamples = 5'000'000'000;
    placed.trackNames = { juce::String::fromUTF8 ("J\xC3\xB6rg \"boom\"") };
    placed.alignment = { -9'000'000'000, Alignment::Method::timecodeRefined, 0.75f, false, -2.5e-5, "told so" };

    GuestOutcome doubtful;
    doubtful.pieces.resize (1);
    doubtful.pieces[0].file = at ("/shoot/lone.wav");
    doubtful.alignment.needsManual = doubtful.rejected = true;

    GuestOutcome gone;
    gone.pieces.resize (1);
    gone.pieces[0].file = at ("/shoot/gone.wav");
    gone.rejected = gone.isUnreadable = true;

    TakeOutcome written {
        at ("/shoot/a.wav"), at ("/out/COMBINED_a.wav"), true, {}, "timecode", 92.5f, { placed, doubtful, gone }, 1
    };
    written.mix = { .peak = 1.5f, .clippedFrames = 10, .frames = 40 };
    TakeOutcome failed {
        at ("/shoot/b.wav"), at ("/out/COMBINED_b.wav"), false, "No room.", {}, 0.0f, { doubtful }, 1
    };
    return { { written, failed }, {}, {}, {}, {} };
}

}    // namespace

TEST (ConformReport, HasItsKeysInOrderAndItsValuesInTheirKinds)
{
    const auto report = juce::JSON::parse (makeConformReport (outcome()));
    EXPECT_THAT (
        keysOf (report),
        ElementsAre ("version n", "takes a", "comparisons a", "recorders a", "written n", "count n", "rejected n"));
    EXPECT_EQ ((int) report["version"], 2);
    EXPECT_EQ ((int) report["written"], 1);
    EXPECT_EQ ((int) report["count"], 2);
    EXPECT_EQ ((int) report["rejected"], 2) << "a file that has gone is told, but not counted";

    const auto take = report["takes"][0];
    EXPECT_THAT (
        keysOf (take),
        ElementsAre ("poly s", "output s", "written b", "error s", "reason s", "score n", "mix o", "guests a"));
    EXPECT_EQ (take["output"].toString(), "/out/COMBINED_a.wav");
    EXPECT_EQ ((double) take["score"], 92.5);
    EXPECT_EQ ((double) take["mix"]["peak"], 1.5);
    EXPECT_EQ ((double) take["mix"]["clipped"], 0.25);
    EXPECT_FLOAT_EQ ((float) (double) take["mix"]["fitDb"], -3.6f);

    const auto failed = report["takes"][1];
    EXPECT_EQ (failed["poly"].toString(), "/shoot/b.wav");
    EXPECT_EQ (failed["output"].toString(), "");
    EXPECT_EQ (failed["error"].toString(), "No room.");
    EXPECT_TRUE (failed["mix"].isVoid());

    const auto guest = take["guests"][0];
    EXPECT_THAT (keysOf (guest),
                 ElementsAre ("files a",
                              "pieceOffsets a",
                              "tracks a",
                              "offsetSamples n",
                              "method s",
                              "confidence n",
                              "needsManual b",
                              "driftSlope n",
                              "detail s",
                              "evidence s",
                              "stretches a",
                              "segments a",
                              "rejected b"));
    EXPECT_EQ (guest["files"][1].toString(), "/shoot/pack_2.wav");
    EXPECT_EQ ((juce::int64) guest["pieceOffsets"][1], 5'000'000'000);
    EXPECT_EQ (guest["tracks"][0].toString(), juce::String::fromUTF8 ("J\xC3\xB6rg \"boom\""));
    EXPECT_EQ ((juce::int64) guest["offsetSamples"], -9'000'000'000);
    EXPECT_EQ (guest["method"].toString(), "timecodeRefined");
    EXPECT_EQ ((double) guest["confidence"], 0.75);
    EXPECT_DOUBLE_EQ ((double) guest["driftSlope"], -2.5e-5);
    EXPECT_EQ (guest["detail"].toString(), "told so");
    EXPECT_TRUE ((bool) take["guests"][1]["rejected"]);
    EXPECT_EQ (take["guests"][2]["files"][0].toString(), "/shoot/gone.wav");
}

TEST (ConformReport, ARunIsCompleteOnlyIfEveryFileWasReadMatchedAndWritten)
{
    std::vector<ScanFile> scans;

    for (const auto* path : { "/shoot/a.wav", "/shoot/pack_1.wav", "/shoot/pack_2.wav" })
    {
        scans.emplace_back().file = at (path);
        scans.back().format.valid = true;
    }

    auto good = outcome();
    good.takes.pop_back();
    accountForFiles (good, scans);
    EXPECT_TRUE (good.isComplete());

    scans.emplace_back().file = at ("/shoot/broken.wav");

    for (const auto* path : { "/shoot/lone.wav", "/shoot/gone.wav" })
    {
        scans.emplace_back().file = at (path);
        scans.back().format.valid = true;
    }

    accountForFiles (good, scans);
    EXPECT_THAT (good.unreadable, ElementsAre (at ("/shoot/broken.wav"), at ("/shoot/gone.wav")));
    EXPECT_THAT (good.unmatched, ElementsAre (at ("/shoot/lone.wav"))) << "a rejected guest has found no place";
    EXPECT_FALSE (good.isComplete());
    EXPECT_FALSE (outcome().isComplete());
    EXPECT_FALSE (ConformOutcome().isComplete());
}

TEST (ConformReport, ThatCannotBeWrittenIsToldAndLeavesTheEarlierOne)
{
    const TempFolder temp;
    const auto file = temp.file ("report.json");
    ASSERT_TRUE (writeConformReport (outcome(), file));
    EXPECT_EQ (juce::JSON::toString (juce::JSON::parse (file)), makeConformReport (outcome()));
    EXPECT_FALSE (writeConformReport (outcome(), file.getChildFile ("below")));
    EXPECT_EQ ((int) juce::JSON::parse (file)["count"], 2);
}

}    // namespace ld::test
