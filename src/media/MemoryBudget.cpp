#include "media/MemoryBudget.h"

#include <juce_core/juce_core.h>

#include <new>

namespace ld
{

void requireMemory (double bytes)
{
    static const auto largest = 0.75 * 1024.0 * 1024.0 * juce::SystemStats::getMemorySizeInMegabytes();

    if (! (bytes <= largest))
        throw std::bad_alloc();
}

}    // namespace ld
