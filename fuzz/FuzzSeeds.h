#pragma once

#include <juce_core/juce_core.h>

#include <vector>

namespace ld::fuzz
{

/** Whole and sound inputs for a target of this name, from which a fuzzer goes on. */
[[nodiscard]] std::vector<juce::MemoryBlock> seedsFor (const juce::String& target);

}    // namespace ld::fuzz
