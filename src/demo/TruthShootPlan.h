#pragma once

#include "demo/DemoShootPlan.h"
#include "demo/TruthShoot.h"

namespace ld
{

/** A take within a scene; a scene has several where a machine runs through them. */
struct TruthTake
{
    size_t poly = 0;    // among the scene's recordings
    bool isSilent = false;
    juce::StringArray events;    // what is hard about it, for people
};

struct TruthScene
{
    PlannedScene scene;
    std::vector<TruthTake> takes;    // none where strangers are at work
};

/** A setting of a machine's timecode. */
struct Jam
{
    double fromSeconds = 0.0;    // of the day
    double errorSeconds = 0.0;
};

struct TruthSource
{
    juce::String name;
    double ppm = 0.0;    // above 0: fast
    bool isStamped = false;
    std::vector<Jam> jams;
};

struct TruthPlan
{
    std::vector<TruthScene> scenes;
    std::vector<TruthSource> sources;
};

/** Everything but the audio. The request must be complete and have passed checkTruthShoot. */
[[nodiscard]] TruthPlan planTruthShoot (const TruthShootRequest&);

/** The plans of the kinds. */
[[nodiscard]] TruthPlan planTruthDay (const TruthShootRequest&);
[[nodiscard]] TruthPlan planShortTakes (const TruthShootRequest&);
[[nodiscard]] TruthPlan planMusicTakes (const TruthShootRequest&);
[[nodiscard]] TruthPlan planStrangers (const TruthShootRequest&);
[[nodiscard]] TruthPlan planBadFiles (const TruthShootRequest&);

/** The text of truth.json. */
[[nodiscard]] juce::String describeTruth (const TruthPlan&, const TruthShootRequest&);

}    // namespace ld
