#include "demo/DemoShoot.h"

#include "demo/DemoShootFiles.h"
#include "demo/DemoShootMachines.h"
#include "demo/DemoShootRecorder.h"
#include "output/ReplacingFile.h"

namespace ld
{
namespace
{

constexpr int leastSeconds = 5, mostSeconds = 3600;
constexpr int mostTakes = 99;
constexpr double shootingDaySeconds = 12.0 * 3600.0;
constexpr auto truthName = "truth.json";

juce::DynamicObject::Ptr newObject()
{
    return juce::DynamicObject::Ptr (new juce::DynamicObject());
}

juce::var describePiece (const PlannedFile& file, double hostSamplesPerFrame)
{
    const auto piece = newObject();
    piece->setProperty ("file", file.path);
    piece->setProperty ("frames", file.format.numFrames);
    piece->setProperty ("sampleRate", file.format.sampleRate);
    piece->setProperty ("startSamples", file.startSamples);
    piece->setProperty ("hostSamplesPerFrame", hostSamplesPerFrame);
    return piece.get();
}

juce::var describeGuest (const PlannedScene& take, const Recording& recording)
{
    juce::Array<juce::var> pieces;

    for (const auto& file : recording.files)
        pieces.add (describePiece (file, recording.hostSamplesPerFrame));

    const auto span = lagSpanOf (take, recording);
    const auto guest = newObject();
    guest->setProperty ("source", recording.source);
    guest->setProperty ("pieces", pieces);
    guest->setProperty ("lagSpanMs", juce::Array<juce::var> { span.lowMs, span.highMs });
    return guest.get();
}

juce::var describeTake (const PlannedScene& scene)
{
    const auto& poly = scene.recordings.front().files.front();
    juce::Array<juce::var> guests;

    for (size_t i = 1; i < scene.recordings.size(); ++i)
        guests.add (describeGuest (scene, scene.recordings[i]));

    const auto take = newObject();
    take->setProperty ("poly", poly.path);
    take->setProperty ("frames", poly.format.numFrames);
    take->setProperty ("guests", guests);
    return take.get();
}

juce::String describeShoot (const ShootPlan& plan, int seed)
{
    juce::Array<juce::var> takes;

    for (const auto& take : plan.takes)
        takes.add (describeTake (take));

    const auto shoot = newObject();
    shoot->setProperty ("version", 1);
    shoot->setProperty ("seed", seed);
    shoot->setProperty ("sampleRate", demoSampleRate);
    shoot->setProperty ("takes", takes);
    shoot->setProperty ("unrelated", juce::Array<juce::var> { plan.unrelated.recordings.front().files.front().path });
    return juce::JSON::toString (shoot.get()) + "\n";
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
