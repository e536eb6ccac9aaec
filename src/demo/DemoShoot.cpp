#include "demo/DemoShoot.h"

#include "demo/DemoShootMachines.h"
#include "demo/DemoShootRecorder.h"
#include "demo/DemoShootTruth.h"
#include "output/JsonValues.h"
#include "output/ReplacingFile.h"

namespace ld
{
namespace
{

constexpr int leastSeconds = 5, mostSeconds = 3600;
constexpr int mostTakes = 99;
constexpr double shootingDaySeconds = 12.0 * 3600.0;
constexpr auto truthName = "truth.json";

juce::var describeTake (const PlannedScene& scene)
{
    juce::Array<juce::var> guests;

    for (size_t i = 1; i < scene.recordings.size(); ++i)
    {
        const auto& recording = scene.recordings[i];
        juce::Array<juce::var> pieces;

        for (const auto& file : recording.files)
            pieces.add (describePiece (recording, file, 0.0));

        guests.add (
            describeGuest (recording,
                           pieces,
                           lagSpanOf (pathsOf (scene.mainSounds(), scene.recordings.front(), recording, scene.span))));
    }

    return describeTake (scene.recordings.front(), guests);
}

juce::String describeShoot (const ShootPlan& plan, int seed)
{
    const auto unrelated = plan.unrelated.recordings.front().files.front().path;
    const auto shoot = makeJsonObject (
        { { "version", 1 },
          { "seed", seed },
          { "sampleRate", demoSampleRate },
          { "takes", makeJsonArray (plan.takes, [] (const auto& take) { return describeTake (take); }) },
          { "unrelated", juce::Array<juce::var> { unrelated } } });
    return juce::JSON::toString (shoot) + "\n";
}

int countFiles (const PlannedScene& scene)
{
    auto count = 0;

    for (const auto& recording : scene.recordings)
        count += (int) recording.files.size();

    return count;
}

}    // namespace

juce::Result checkDemoShoot (const DemoShootRequest& request)
{
    if (request.seconds < leastSeconds || request.seconds > mostSeconds)
        return juce::Result::fail ("A take lasts from 5 to 3600 seconds.");

    if (request.takes < 1 || request.takes > mostTakes)
        return juce::Result::fail ("A shoot has from 1 to 99 takes.");

    if (request.takes * (request.seconds + demoTakeGapSeconds) > shootingDaySeconds)
        return juce::Result::fail ("So many takes of that length do not fit into a shooting day of twelve hours.");

    return juce::Result::ok();
}

int countDemoShootFiles (const DemoShootRequest& request)
{
    if (checkDemoShoot (request).failed())
        return 0;

    const auto plan = planShoot (request);
    auto count = countFiles (plan.unrelated);

    for (const auto& take : plan.takes)
        count += countFiles (take);

    return count;
}

juce::Result writeDemoShoot (const DemoShootRequest& request)
{
    if (const auto checked = checkDemoShoot (request); checked.failed())
        return checked;

    const auto truth = request.folder.getChildFile (truthName);

    if (request.folder.createDirectory().failed() || ! truth.deleteFile())
        return juce::Result::fail ("The folder " + request.folder.getFullPathName() + " cannot be written to.");

    const auto plan = planShoot (request);

    for (const auto& take : plan.takes)
        if (const auto recorded = recordScene (request.folder, take); recorded.failed())
            return recorded;

    if (const auto recorded = recordScene (request.folder, plan.unrelated); recorded.failed())
        return recorded;

    if (! replaceTextFile (truth, describeShoot (plan, request.seed)))
        return juce::Result::fail ("The file " + truth.getFullPathName() + " could not be written.");

    return juce::Result::ok();
}

}    // namespace ld
