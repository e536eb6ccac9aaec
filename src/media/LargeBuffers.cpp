#include "media/LargeBuffers.h"

#include <juce_core/juce_core.h>

#if JUCE_LINUX
#include <cstdint>
#include <sys/mman.h>
#endif

#if defined(__GLIBC__)
#include <malloc.h>
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
    const auto into = reinterpret_cast<std::uintptr_t> (memory) % pageBytes;
    const auto skipped = into == 0 ? 0 : pageBytes - into;
    const auto length = (bytes - skipped) / pageBytes * pageBytes;
    juce::ignoreUnused (::madvise (static_cast<char*> (memory) + skipped, length, MADV_HUGEPAGE));
#endif
}

void returnFreedMemory() noexcept
{
#if defined(__GLIBC__)
    ::malloc_trim (0);
#endif
}

}    // namespace ld
