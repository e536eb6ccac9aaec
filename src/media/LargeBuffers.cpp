#include "media/LargeBuffers.h"

#include <juce_core/juce_core.h>

#if JUCE_LINUX
#include <cstdint>
#include <sys/mman.h>
#endif

namespace ld
{

void adviseLargePages ([[maybe_unused]] void* memory, [[maybe_unused]] size_t bytes) noexcept
{
#if JUCE_LINUX
    constexpr std::uintptr_t pageBytes = 4096;
    constexpr size_t fewestBytes = 4 << 20;

    if (bytes < fewestBytes)
        return;

    // The call takes whole pages only.
    const auto start = reinterpret_cast<std::uintptr_t> (memory);
    const auto aligned = (start + pageBytes - 1) / pageBytes * pageBytes;
    const auto length = (start + bytes - aligned) / pageBytes * pageBytes;
    juce::ignoreUnused (::madvise (reinterpret_cast<void*> (aligned), length, MADV_HUGEPAGE));
#endif
}

}    // namespace ld
