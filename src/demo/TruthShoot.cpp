#include "demo/TruthShoot.h"

#include "demo/DemoShootRecorder.h"
#include "demo/TruthShootPlan.h"
#include "output/ReplacingFile.h"

namespace ld
{
namespace
{

constexpr int leastSeconds = 10, mostSeconds = 900;
constexpr int mostTakes = 200, mostLongTakes = 4;
constexpr double shootingDaySeconds = 13.0 * 3600.0;
constexpr auto truthName = "truth.json";

struct KindDefaults
{
    const char* name;
    int takes, seconds;
};

constexpr KindDefaults defaultsOf (TruthKind kind) noexcept
{
    switch (kind)
    {
        case TruthKind::shortTakes: return { "short", 20, 20 };
        case TruthKind::music: return { "music", 4, 120 };
        case TruthKind::strangers: return { "strangers", 20, 32 };
        case TruthKind::bad: return { "bad", 2, 60 };
        default: return { "day", 12, 180 };
    }
}

}    // namespace

juce::String nameOf (TruthKind kind)
{
    return defaultsOf (kind).name;
}

TruthShootRequest completed (TruthShootRequest request)
{
    const auto defaults = defaultsOf (request.kind);
    request.takes = request.takes == 0 ? defaults.takes : request.takes;
    request.seconds = request.seconds == 0 ? defaults.seconds : request.seconds;
    return request;
}

juce::Result checkTruthShoot (const TruthShootRequest& asked)
{
    const auto request = completed (asked);

    if (request.seconds < leastSeconds || request.seconds > mostSeconds)
        return juce::Result::fail ("A take lasts from 10 to 900 seconds.");

    if (request.takes < 1 || request.takes > mostTakes)
        return juce::Result::fail ("A shoot has from 1 to 200 takes.");

    if (request.longTakes < 0 || request.longTakes > (request.kind == TruthKind::day ? mostLongTakes : 0))
        return juce::Result::fail ("Only a day has long takes, at most 4.");

    if (request.takes * (4.0 / 3.0 * request.seconds + 150.0) > shootingDaySeconds)
        return juce::Result::fail ("So many takes of that length do not fit into one day.");

    return juce::Result::ok();
}

TruthPlan planTruthShoot (const TruthShootRequest& request)
{
    switch (request.kind)
    {
        case TruthKind::shortTakes: return planShortTakes (request);
        case TruthKind::music: return planMusicTakes (request);
        case TruthKind::strangers: return planStrangers (request);
        case TruthKind::bad: return planBadFiles (request);
        default: return planTruthDay (request);
    }
}

juce::Result writeTruthShoot (const TruthShootRequest& asked)
{
    if (const auto checked = checkTruthShoot (asked); checked.failed())
        return checked;

    const auto request = completed (asked);
    const auto truth = request.folder.getChildFile (truthName);

    if (request.folder.createDirectory().failed() || ! truth.deleteFile())
        return juce::Result::fail ("The folder " + request.folder.getFullPathName() + " cannot be written to.");

    const auto plan = planTruthShoot (request);

    for (const auto& scene : plan.scenes)
        if (const auto recorded = recordScene (request.folder, scene.scene); recorded.failed())
            return recorded;

    if (! replaceTextFile (truth, describeTruth (plan, request)))
        return juce::Result::fail ("The file " + truth.getFullPathName() + " could not be written.");

    return juce::Result::ok();
}

}    // namespace ld
