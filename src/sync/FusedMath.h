#pragma once

// Marks a function whose inner loop uses std::fma: it is compiled twice, for processors that fuse a product and a sum in
// one instruction and for those that call a library for it, and chosen at start-up. The results are the same bit for bit.
// Sanitizers cannot run code that early, so that their builds take the plain version.
#if defined(__x86_64__) && defined(__linux__) && defined(__GNUC__) && ! defined(__clang__) && ! defined(LD_SANITIZED)
#define LD_FUSED_LOOPS __attribute__ ((target_clones ("arch=haswell", "default")))
#else
#define LD_FUSED_LOOPS
#endif
