#pragma once

#include "demo/DemoShootPlan.h"

namespace ld
{

/** A machine's clock: it runs a little too fast or slow and was set to the poly's timecode once, not quite exactly. Times are
    seconds since midnight by the poly's clock, which counts as true. */
struct MachineClock
{
    int sampleRate = 48000;
    double ppm = 0.0;    // above 0: fast, so that it makes more frames a second
    double jammedAt = 0.0;
    double errorSeconds = 0.0;    // by how much it was ahead then

    [[nodiscard]] double framesPerSecond() const noexcept { return sampleRate * (1.0 + ppm * 1.0e-6); }
    [[nodiscard]] juce::int64 stampAt (double seconds) const noexcept;    // samples since midnight, nearest
    [[nodiscard]] double momentOf (juce::int64 stamp) const noexcept;
};

/** How a machine says when a file starts. */
enum class Stamp
{
    none,
    bext,
    bextAndIxml
};

struct Machine
{
    juce::String source;    // also its folder
    juce::String filePrefix;
    juce::String trackName;    // of its one track, where it names it
    MachineClock clock;
    int bits = 24;
    Stamp stamp = Stamp::none;
    juce::String fileSuffix {};    // behind the running number
    int nextNumber = 1;
};

/** What the whole shoot is called. */
struct ShootNames
{
    juce::String project, tape, timecodeRate;
    std::uint64_t uidSeed = 0;
};

[[nodiscard]] ShootNames planNames (DemoRandom);

/** What a machine records of a take. */
struct GuestPlan
{
    juce::int64 polyStamp = 0;    // of the poly's first frame, samples since midnight
    SceneSpan span {};            // of the recording, from that frame
    int numChannels = 1, numFiles = 1;
};

/** The files of one recording, of about equal length; takes running numbers from the machine. Microphones and channels
    are left to the caller. */
[[nodiscard]] Recording planGuestFiles (Machine&, const ShootNames&, const GuestPlan&);

/** Lets a file's frames and bytes be those that its jumps leave; they must not have been counted yet. */
void countJumps (PlannedFile&);

/** A poly's place in the shoot. */
struct PolyPlan
{
    int scene = 0, take = 0;    // from 0
    juce::int64 stamp = 0, numFrames = 0;
};

[[nodiscard]] PlannedFile planPolyFile (const ShootNames&, const PolyPlan&, const std::vector<TrackInfo>&);

/** The longest pause from the end of a take to the next. */
constexpr double demoTakeGapSeconds = 240.0;

}    // namespace ld
