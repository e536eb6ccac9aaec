#pragma once

#include "demo/DemoShoot.h"
#include "demo/ShootTruth.h"

namespace ld::test
{

/** A demo shoot in a folder of its own, which goes with it. */
class WrittenShoot
{
public:
    WrittenShoot (int seconds, int takes, int seed)
        : folder (juce::File::createTempFile ("shoot")), result (writeDemoShoot ({ folder, seconds, takes, seed })),
          truth (readShootTruth (folder))
    {
    }

    ~WrittenShoot() { folder.deleteRecursively(); }

    WrittenShoot (const WrittenShoot&) = delete;
    WrittenShoot& operator= (const WrittenShoot&) = delete;

    const juce::File folder;
    const juce::Result result;
    const ShootTruth truth;
};

}    // namespace ld::test
