#include "demo/TruthShootMachines.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace ld
{
namespace
{

constexpr double hourSeconds = 3600.0;

// Jumps keep clear of each other and of a file's ends by this, so that a repeat always has something to repeat.
constexpr double clearSeconds = 0.5;
constexpr double leastJumpMs = 1.0, mostJumpMs = 200.0;

double signOf (DemoRandom& random)
{
    return random.chance (0.5) ? 1.0 : -1.0;
}

// Half of the packs lie within 4.5 ppm, nine in ten within 10.7, all within 12.8: as measured on the packs of one maker.
double packPpm (DemoRandom& random)
{
    const auto rank = random.uniform (0.0, 1.0);
    const auto ppm = rank < 0.5   ? std::lerp (0.0, 4.5, rank / 0.5)
                     : rank < 0.9 ? std::lerp (4.5, 10.7, (rank - 0.5) / 0.4)
                                  : std::lerp (10.7, 12.8, (rank - 0.9) / 0.1);
    return ppm * signOf (random);
}

double logUniform (double low, double high, DemoRandom& random)
{
    return std::exp (random.uniform (std::log (low), std::log (high)));
}

// A machine in two loses and repeats samples; of an odd number one stands aside.
void drawJumpCounts (std::span<DayMachine> machines, DemoRandom random)
{
    const auto first = (size_t) random.below ((int) machines.size());

    for (size_t i = 0; i + 1 < machines.size(); i += 2)
    {
        const auto index = (first + i + (size_t) random.below (2)) % machines.size();
        machines[index].numJumps = (int) std::lround (logUniform (7.5, 30.0, random));    // median 15
    }
}

DayMachine pack (const char* letter, const MachineWishes& wishes, DemoRandom& random)
{
    DayMachine pack;
    const juce::String name (letter);
    pack.machine = { "Pack " + name, "TX" + name, "TX " + name, { 48000, packPpm (random) }, 24, Stamp::bextAndIxml };
    pack.jams = { { wishes.jamSeconds, random.uniform (0.004, 0.045) * signOf (random) } };
    pack.attendance = 0.92;
    return pack;
}

DayMachine
stereoRecorder (const char* name, const char* prefix, double ppm, const MachineWishes& wishes, DemoRandom& random)
{
    DayMachine recorder;
    recorder.machine = { name, prefix, {}, { 48000, ppm * signOf (random) }, 16, Stamp::bext };
    recorder.jams = { { wishes.jamSeconds, random.uniform (0.02, 0.9) * signOf (random) } };
    recorder.attendance = 0.8;
    return recorder;
}

DayMachine cameraOf (const MachineWishes& wishes, DemoRandom& random)
{
    DayMachine camera;
    const auto rate = random.chance (0.5) ? 44100 : 48000;
    camera.machine = { "Camera", "CAM",       {},  { rate, random.uniform (4.0, 16.0) * signOf (random) },
                       16,       Stamp::bext, "_A" };
    camera.jams = { { wishes.jamSeconds, random.uniform (0.1, 0.95) * signOf (random) } };
    camera.treatment = { true, true };
    camera.attendance = 0.7;
    return camera;
}

DayMachine unstampedRecorder (DemoRandom& random)
{
    DayMachine recorder;
    recorder.machine = {
        "Recorder", "REC", {}, { 48000, random.uniform (5.0, 25.0) * signOf (random) }, 16, Stamp::none
    };
    recorder.jams = { {} };
    recorder.mostFiles = 3;
    return recorder;
}

/** A moment of a machine's running time. */
struct RunningMoment
{
    PlannedFile* file;
    juce::int64 frame;    // captured since the file's start
};

std::vector<RunningMoment> drawMoments (const std::vector<PlannedFile*>& files, int count, DemoRandom& random)
{
    auto total = 0.0;

    for (const auto* file : files)
        total += (double) file->format.numFrames;

    std::vector<RunningMoment> moments;

    for (int i = 0; i < count; ++i)
    {
        auto frame = (juce::int64) random.uniform (0.0, total);
        size_t index = 0;

        while (index + 1 < files.size() && frame >= files[index]->format.numFrames)
            frame -= files[index++]->format.numFrames;

        moments.push_back ({ files[index], frame });
    }

    return moments;
}

void addJump (PlannedFile& file, juce::int64 captured, juce::int64 frames)
{
    auto shift = juce::int64 {};
    auto clearFrom = (juce::int64) (clearSeconds * file.format.sampleRate) + std::max<juce::int64> (-frames, 0);

    for (const auto& jump : file.jumps)
    {
        shift += jump.frames;
        clearFrom = jump.atFrame + shift + std::abs (jump.frames)
                    + (juce::int64) (clearSeconds * file.format.sampleRate) + std::max<juce::int64> (-frames, 0);
    }

    const auto clearTo = file.format.numFrames - (juce::int64) (clearSeconds * file.format.sampleRate)
                         - std::max<juce::int64> (frames, 0);

    if (captured >= clearFrom && captured <= clearTo)
        file.jumps.push_back ({ captured - shift, frames });
}

}    // namespace

void DayMachine::setClock (double secondsOfDay)
{
    for (const auto& jam : jams)
        if (jam.fromSeconds <= secondsOfDay || &jam == &jams.front())
        {
            machine.clock.jammedAt = jam.fromSeconds;
            machine.clock.errorSeconds = jam.errorSeconds;
        }
}

DayMachines planDayMachines (const MachineWishes& wishes, DemoRandom random)
{
    auto clocks = random.fork (1);
    DayMachines day;
    auto& all = day.all;
    all[DayMachines::packA] = pack ("A", wishes, clocks);
    all[DayMachines::packB] = pack ("B", wishes, clocks);
    all[DayMachines::packC] = pack ("C", wishes, clocks);
    all[DayMachines::packD] = pack ("D", wishes, clocks);
    all[DayMachines::array] = stereoRecorder ("Array", "ARR", 11.0, wishes, clocks);
    all[DayMachines::second] = stereoRecorder ("Second", "SEC", 19.0, wishes, clocks);
    all[DayMachines::table] = stereoRecorder ("Table", "TAB", 30.0, wishes, clocks);
    all[DayMachines::camera] = cameraOf (wishes, clocks);
    all[DayMachines::recorder] = unstampedRecorder (clocks);
    all[DayMachines::packA].mostFiles = all[DayMachines::packD].mostFiles = 4;
    all[DayMachines::packB].jams.push_back ({ wishes.rejamSeconds, random.uniform (0.05, 0.4) * signOf (random) });
    all[DayMachines::packC].jams.front().errorSeconds += hourSeconds * signOf (random);

    if (wishes.jumps)
        drawJumpCounts (all, random.fork (2));

    return day;
}

TruthSource sourceOf (const Machine& machine, const std::vector<Jam>& jams)
{
    const auto isStamped = machine.stamp != Stamp::none;
    return { machine.source, machine.clock.ppm, isStamped, isStamped ? jams : std::vector<Jam> {} };
}

void planJumps (TruthPlan& plan, const DayMachine& machine, DemoRandom random)
{
    std::vector<PlannedFile*> files;

    for (auto& scene : plan.scenes)
        for (auto& recording : scene.scene.recordings)
            if (recording.source == machine.machine.source)
                for (auto& file : recording.files)
                    files.push_back (&file);

    if (files.empty())
        return;

    auto moments = drawMoments (files, machine.numJumps, random);
    std::stable_sort (moments.begin(), moments.end(), [] (const auto& a, const auto& b) { return a.frame < b.frame; });

    for (const auto& [file, frame] : moments)
    {
        const auto ms = logUniform (leastJumpMs, mostJumpMs, random);
        addJump (*file, frame, (juce::int64) (ms / 1000.0 * file->format.sampleRate * signOf (random)));
    }

    for (auto* file : files)
        countJumps (*file);
}

}    // namespace ld
