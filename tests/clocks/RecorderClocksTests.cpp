#include "clocks/RecorderClocks.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using testing::IsEmpty;
using testing::SizeIs;

struct NamedSpan
{
    const char* path;
    FileSpan span;
};

// By file, as far as the keys tell recorders apart.
std::vector<int> recordersOf (const std::vector<NamedSpan>& files)
{
    const auto folder = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("day");
    std::vector<ScanFile> scans;
    std::vector<std::optional<FileSpan>> spans;

    for (const auto& [path, span] : files)
    {
        scans.emplace_back().file = folder.getChildFile (path);
        spans.emplace_back (span);
    }

    std::vector<juce::String> known;
    std::vector<int> recorders;

    for (const auto& key : recorderKeysOf (scans, spans))
    {
        const auto at = std::find (known.begin(), known.end(), key);
        recorders.push_back ((int) (at - known.begin()));

        if (at == known.end())
            known.push_back (key);
    }

    return recorders;
}

// Readings of a clock that keeps the polys' time; each with an error of its timecode at a second of the day.
RecorderClock clockOf (const std::vector<std::pair<double, double>>& stampErrors)
{
    std::vector<ClockReading> readings;

    for (const auto& [at, error] : stampErrors)
        readings.push_back ({ 0.0, 0.2e-6, error, at });

    return poolReadings ("lav", readings);
}

}    // namespace

TEST (RecorderClock, IsNotTurnedByAFileThatContradictsTheOthers)
{
    std::vector<ClockReading> readings { { -80e-6, 0.2e-6, {}, 100.0 } };

    for (const auto slope : { 14.9e-6, 15.0e-6, 15.1e-6, 14.9e-6, 15.1e-6 })
        readings.push_back ({ slope, 0.2e-6, {}, 0.0 });

    const auto clock = poolReadings ("lav", readings);
    EXPECT_NEAR (clock.slope, 15e-6, 0.3e-6);
    EXPECT_EQ (clock.files, 6);
    EXPECT_THAT (clock.jams, IsEmpty());
    EXPECT_FALSE (stampErrorAt (clock, 0.0));

    EXPECT_NEAR (slopeOfFile (clock, { 15.8e-6, 5e-6, {}, 0.0 }), 15e-6, 0.5e-6) << "unsure by itself: the recorder's";
    EXPECT_EQ (slopeOfFile (clock, { -80e-6, 0.2e-6, {}, 0.0 }), -80e-6) << "no crystal: another rate";

    const auto unsure = poolReadings ("lav", { { 3e-6, 9e-6, {}, 0.0 } }, CommonSlope { 20e-6, 0.2e-6 });
    EXPECT_NEAR (unsure.slope, 20e-6, 0.3e-6) << "what all windows agree on is surer than the only file";
}

TEST (RecorderClock, IsSetAnewBetweenFilesAndInDoubtBetweenTheSettings)
{
    const auto clock = clockOf ({ { 5000, 2.0 }, { 1000, 0.0 }, { 3000, 0.02 }, { 7000, 2.04 }, { 2000, 0.01 } });
    ASSERT_THAT (clock.jams, SizeIs (2));
    EXPECT_EQ (clock.jams[0].files, 3);
    EXPECT_EQ (clock.jams[1].files, 2);

    struct Case
    {
        double at, seconds, doubt;
    };

    for (const auto& [at, seconds, doubt] : { Case { 500, 0.01, 0.0 },
                                              Case { 2500, 0.01, 0.0 },
                                              Case { 4000, 0.01, 2.0 },
                                              Case { 5000, 2.02, 0.0 },
                                              Case { 9000, 2.02, 0.0 } })
    {
        const auto error = stampErrorAt (clock, at);
        ASSERT_TRUE (error);
        EXPECT_NEAR (error->seconds, seconds, 0.03) << at;
        EXPECT_NEAR (error->doubtSeconds, doubt, 0.06) << at;
    }
}

TEST (RecorderClock, IsNotSetAnewByFalsePlacesInTheMidstOfASetting)
{
    const auto clock = clockOf (
        { { 1000, 0.5 }, { 2000, 0.5 }, { 2500, 9.0 }, { 3000, 0.5 }, { 3500, 9.0 }, { 4000, 0.5 }, { 5000, -7.0 } });
    ASSERT_THAT (clock.jams, SizeIs (1)) << "nor by a single file at the end";
    EXPECT_EQ (clock.jams[0].files, 4);
    EXPECT_NEAR (stampErrorAt (clock, 3500.0)->seconds, 0.5, 1e-6);
    EXPECT_EQ (stampErrorAt (clock, 3500.0)->doubtSeconds, 0.0);

    // With a clock that drifts, the timecode does too.
    std::vector<ClockReading> drifting;

    for (const auto at : { 0.0, 10000.0, 20000.0, 30000.0 })
        drifting.push_back ({ 20e-6, 0.2e-6, 1.0 + 20e-6 * at, at });

    EXPECT_NEAR (stampErrorAt (poolReadings ("lav", drifting), 40000.0)->seconds, 1.8, 0.02);
}

TEST (RecorderKeys, TellMachinesFromRunningNumbers)
{
    using Recorders = std::vector<int>;
    EXPECT_EQ (
        recordersOf ({ { "REC0001.wav", { 0, 60 } }, { "REC0002.wav", { 100, 160 } }, { "rec17.wav", { 200, 260 } } }),
        (Recorders { 0, 0, 0 }));
    EXPECT_EQ (recordersOf ({ { "LAV1_T01.wav", { 0, 60 } },
                              { "LAV2_T01.wav", { 2, 61 } },
                              { "LAV1_T02.wav", { 100, 160 } },
                              { "LAV2_T02.wav", { 101, 160 } },
                              { "boom_T02.wav", { 101, 160 } } }),
               (Recorders { 0, 1, 0, 1, 2 }));
    EXPECT_EQ (recordersOf ({ { "a/1.wav", { 0, 60 } }, { "b/2.wav", { 100, 160 } } }), (Recorders { 0, 1 }));

    // The second file's stamp is wrong, and puts it on top of the fourth.
    EXPECT_EQ (recordersOf ({ { "PACK_001.wav", { 0, 60 } },
                              { "PACK_002.wav", { 3700, 3760 } },
                              { "PACK_003.wav", { 200, 260 } },
                              { "PACK_004.wav", { 3705, 3765 } },
                              { "PACK_005.wav", { 4000, 4060 } } }),
               (Recorders { 0, 0, 0, 0, 0 }));
}

}    // namespace ld::test
