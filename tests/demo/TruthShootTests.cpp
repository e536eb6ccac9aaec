#include "demo/TruthShoot.h"

#include "media/BextIxml.h"
#include "media/BwfReader.h"
#include "support/DirectLag.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <map>

namespace ld::test
{
namespace
{

using Channels = std::vector<std::vector<float>>;
constexpr juce::int64 windowSamples = 96000;
constexpr size_t boom = 2;    // behind the two mix channels

/** A truth shoot in a folder of its own. */
struct HardShoot
{
    explicit HardShoot (TruthShootRequest request)
    {
        request.folder = folder.folder;
        EXPECT_TRUE (writeTruthShoot (request).wasOk());
        truth = juce::JSON::parse (folder.file ("truth.json"));
    }

    [[nodiscard]] BwfReader open (const juce::var& path) const
    {
        BwfReader reader;
        EXPECT_TRUE (reader.open (folder.file (path.toString()))) << path.toString();
        return reader;
    }

    [[nodiscard]] Channels slopes (const juce::var& path) const
    {
        auto channels = open (path).readAllChannels();
        std::transform (channels.begin(), channels.end(), channels.begin(), slopeOf);
        return channels;
    }

    TempFolder folder;
    juce::var truth;
};

const HardShoot& day()
{
    static const HardShoot shoot ({ {}, TruthKind::day, 6, 18, 0, 3 });
    return shoot;
}

/** A stretch of a file that runs without a jump. */
struct Stretch
{
    juce::int64 from, to;     // frames of the file
    double host, hostStep;    // the poly's sample at `from`, and by how much each frame goes on
};

std::vector<Stretch> stretchesOf (const juce::var& piece)
{
    std::vector<Stretch> stretches;
    const auto& segments = piece["segments"];

    for (int i = 0; i < segments.size(); ++i)
    {
        const auto next =
            i + 1 < segments.size() ? (juce::int64) segments[i + 1]["fromSample"] : (juce::int64) piece["frames"];
        stretches.push_back ({ (juce::int64) segments[i]["fromSample"],
                               next,
                               (double) segments[i]["hostSample"],
                               48000.0 / (int) piece["sampleRate"] * (1.0 + (double) segments[i]["slope"]) });
    }

    return stretches;
}

// The file's samples at the poly's, by a straight line; empty where the stretch does not hold them all.
std::vector<float> windowAt (const std::vector<float>& guest, const Stretch& stretch, juce::int64 start)
{
    std::vector<float> window ((size_t) windowSamples);

    for (size_t i = 0; i < window.size(); ++i)
    {
        const auto at = (double) stretch.from + ((double) start + (double) i - stretch.host) / stretch.hostStep;

        if (at < (double) stretch.from || at + 2.0 > (double) stretch.to)
            return {};

        const auto whole = (size_t) at;
        window[i] = std::lerp (guest[whole], guest[whole + 1], (float) (at - (double) whole));
    }

    return window;
}

double missOf (double lag, const juce::var& paths)
{
    auto least = 1.0e9;

    for (int i = 0; i < paths.size(); ++i)
        least = std::min (least, std::max ({ (double) paths[i][0] - lag, lag - (double) paths[i][1], 0.0 }));

    return least;
}

/** How many windows of a piece sound where the truth says. */
struct Tally
{
    int right = 0, all = 0;
};

void addPiece (const Channels& host, const Channels& guest, const juce::var& piece, Tally& tally)
{
    for (const auto& stretch : stretchesOf (piece))
        for (auto start = juce::int64 { 2400 }; start + windowSamples < (juce::int64) host[boom].size();
             start += 3 * windowSamples / 2)
        {
            const auto window = windowAt (guest.front(), stretch, start);

            if (window.empty())
                continue;

            const auto miss = missOf (bestLag (host[boom], start, window), piece["paths"]);
            ++tally.all;
            tally.right += miss < 5.0 ? 1 : 0;
        }
}

}    // namespace

TEST (TruthShoot, FilesSoundWhereTheirSegmentsAndPathsSay)
{
    const auto& takes = day().truth["takes"];
    std::map<juce::String, Tally> tallies;

    for (int t = 0; t < takes.size(); ++t)
        for (int g = 0; g < takes[t]["guests"].size(); ++g)
        {
            const auto& guest = takes[t]["guests"][g];

            for (int p = 0; p < guest["pieces"].size(); ++p)
                if (! guest["pieces"][p]["silent"])
                {
                    auto channels = day().slopes (guest["pieces"][p]["file"]);

                    if (guest["source"] == "Pack D")
                        for (auto& sample : channels.front())
                            sample = -sample;

                    addPiece (day().slopes (takes[t]["poly"]),
                              channels,
                              guest["pieces"][p],
                              tallies[guest["source"].toString()]);
                }
        }

    // Echoes, music and walking mislead so plain a search now and then; by chance about one window in ten were right.
    EXPECT_EQ (tallies.size(), 9u);

    for (const auto& [source, tally] : tallies)
        EXPECT_GE (tally.right, 0.6 * tally.all) << source;
}

TEST (TruthShoot, TheSameArgumentsGiveTheSameBytes)
{
    const TruthShootRequest request { {}, TruthKind::shortTakes, 2, 10, 0, 5 };
    const HardShoot first (request), second (request);
    const auto& folder = first.folder.folder;

    for (const auto& file : folder.findChildFiles (juce::File::findFiles, true))
        EXPECT_TRUE (file.hasIdenticalContentTo (second.folder.file (file.getRelativePathFrom (folder))))
            << file.getFileName();
}

TEST (TruthShoot, AStampIsWrongByItsMachinesOwnClock)
{
    const auto& takes = day().truth["takes"];
    const auto& sources = day().truth["sources"];
    auto checked = 0;

    for (int t = 0; t < takes.size(); ++t)
    {
        const auto stamp = (double) day().open (takes[t]["poly"]).bext.timeReference / 48000.0;

        for (int g = 0; g < takes[t]["guests"].size(); ++g)
            for (int s = 0; s < sources.size(); ++s)
                if (takes[t]["guests"][g]["source"] == sources[s]["source"] && (bool) sources[s]["isStamped"])
                {
                    const auto& piece = takes[t]["guests"][g]["pieces"][0];
                    const auto file = day().open (piece["file"]);
                    const auto moment = stamp + (double) piece["startSamples"] / 48000.0;
                    const auto& jams = sources[s]["jamErrors"];
                    const auto& jam = jams[jams.size() > 1 && moment > (double) jams[1]["fromSeconds"] ? 1 : 0];
                    const auto drift = (moment - (double) jam["fromSeconds"]) * (double) sources[s]["ppm"] * 1.0e-6;
                    const auto told = (double) file.bext.timeReference / file.format.sampleRate;
                    EXPECT_NEAR (told - moment, (double) jam["seconds"] + drift, 1.0e-4) << file.file.getFileName();
                    ++checked;
                }
    }

    EXPECT_GT (checked, 20);
}

}    // namespace ld::test
