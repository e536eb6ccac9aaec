#pragma once

#include "demo/ShootTruth.h"

namespace ld
{

// What a report of lodestrand-conform says of its places; docs/formats.md has its keys.

/** A file as a take's guest. */
struct ToldFile
{
    juce::File poly, file;
    std::vector<TrueStretch> stretches;
    double confidence = 0.0;
    bool isPlaced = false;    // neither rejected nor in doubt
    juce::String method, detail;
};

/** A pair that was judged. */
struct ToldPair
{
    juce::File poly, file;
    TrueStretch place;
    double confidence = 0.0;
    bool isAccepted = false;
    juce::String detail;
};

struct ToldShoot
{
    std::vector<ToldFile> files;
    std::vector<ToldPair> pairs;
};

/** A guest without `segments` has one stretch for each of its files. */
[[nodiscard]] ToldShoot readConformReport (const juce::var& report);

}    // namespace ld
