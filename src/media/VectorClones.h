#pragma once

// Marks a function that is all inner loop: it is compiled twice, for every processor and for those with wide vectors and
// a fused product and sum, and chosen at start-up. The results are the same bit for bit: products and sums are fused only
// where std::fma asks for it, which is a call into a library elsewhere. Sanitizers cannot run code as early as that
// choice, so that their builds take the plain version. The level names what a processor can do; the name of a model would
// be asked for by its maker, and leave out all others that can do the same.
#if defined(__x86_64__) && defined(__linux__) && defined(__GNUC__) && ! defined(__clang__) && ! defined(LD_SANITIZED)
#define LD_VECTOR_CLONES __attribute__ ((target_clones ("arch=x86-64-v3", "default")))
#else
#define LD_VECTOR_CLONES
#endif
