#include "FuzzTargets.h"

#include <cstddef>

// What the fuzzer calls for each input. LD_FUZZ_TARGET is the one that this program is for.
extern "C" int LLVMFuzzerTestOneInput (const std::uint8_t* data, std::size_t size)
{
    ld::fuzz::LD_FUZZ_TARGET ({ data, size });
    return 0;
}
