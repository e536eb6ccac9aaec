#include "FuzzSeeds.h"
#include "FuzzTargets.h"

#include <gtest/gtest.h>

#include <random>

// The fuzzers' targets on their seeds, on seeds that were damaged, and on what a fuzzer has found. A broken promise or a
// fault ends the process.

namespace ld::test
{
namespace
{

class FuzzTarget : public testing::TestWithParam<fuzz::Target>
{
protected:
    static void run (const juce::MemoryBlock& bytes)
    {
        GetParam().run ({ static_cast<const std::uint8_t*> (bytes.getData()), bytes.getSize() });
    }
};

TEST_P (FuzzTarget, KeepsItsPromisesOnItsSeeds)
{
    const auto seeds = fuzz::seedsFor (GetParam().name);
    ASSERT_FALSE (seeds.empty());

    for (const auto& seed : seeds)
        run (seed);
}

TEST_P (FuzzTarget, KeepsItsPromisesOnDamagedSeeds)
{
    constexpr int damagedOfEach = 40;
    std::mt19937 random (1);

    for (const auto& seed : fuzz::seedsFor (GetParam().name))
        for (int i = 0; i < damagedOfEach && ! seed.isEmpty(); ++i)
        {
            auto damaged = seed;

            for (auto hits = 1 + random() % 4; hits > 0; --hits)
                damaged[random() % damaged.getSize()] = (char) random();

            if (i % 4 == 0)
                damaged.setSize (random() % damaged.getSize());

            run (damaged);
        }
}

TEST_P (FuzzTarget, KeepsItsPromisesOnWhatWasFoundOnce)
{
    const auto folder = juce::File (LD_SOURCE_DIR).getChildFile ("fuzz/found").getChildFile (GetParam().name);

    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false))
    {
        juce::MemoryBlock bytes;
        ASSERT_TRUE (file.loadFileAsData (bytes));
        run (bytes);
    }
}

INSTANTIATE_TEST_SUITE_P (All,
                          FuzzTarget,
                          testing::ValuesIn (fuzz::targets().begin(), fuzz::targets().end()),
                          [] (const auto& tested) { return std::string (tested.param.name); });

}    // namespace
}    // namespace ld::test
