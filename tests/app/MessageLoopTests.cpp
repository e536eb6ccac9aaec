#include "support/MessageLoop.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

struct Counter : public juce::Timer
{
    void timerCallback() override { ++ticks; }

    int ticks = 0;
};

TEST (MessageLoop, RunsTimersAndPostedCallsUntilTheConditionHolds)
{
    Counter counter;
    counter.startTimerHz (100);
    EXPECT_TRUE (pumpUntil ([&] { return counter.ticks >= 3; }));

    auto order = std::vector<int>();
    juce::MessageManager::callAsync ([&] { order.push_back (1); });
    juce::MessageManager::callAsync ([&] { order.push_back (2); });
    deliverPostedCalls();
    EXPECT_THAT (order, testing::ElementsAre (1, 2));

    EXPECT_FALSE (pumpUntil ([] { return false; }, 5));
}

}    // namespace
}    // namespace ld::test
