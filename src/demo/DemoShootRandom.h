#pragma once

#include <cstdint>

namespace ld
{

/** Random numbers that are the same on every machine, which the standard library's distributions do not promise.
    The generator is SplitMix64: G. Steele, D. Lea, C. Flood, "Fast Splittable Pseudorandom Number Generators", 2014. */
class DemoRandom
{
public:
    explicit DemoRandom (std::uint64_t seed) noexcept : state (seed) {}

    /** A generator independent of this one; the salt makes several of them differ. */
    [[nodiscard]] DemoRandom fork (std::uint64_t salt) const noexcept
    {
        DemoRandom mixed (state ^ (salt * 0xD1B54A32D192ED03u));
        return DemoRandom (mixed.next() ^ mixed.next());
    }

    std::uint64_t next() noexcept
    {
        auto z = (state += 0x9E3779B97F4A7C15u);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }

    double uniform (double low, double high) noexcept
    {
        return low + (high - low) * ((double) (next() >> 11) * 0x1p-53);
    }

    /** 0 to count - 1. */
    int below (int count) noexcept { return (int) (uniform (0.0, 1.0) * count); }

    bool chance (double probability) noexcept { return uniform (0.0, 1.0) < probability; }

    /** White noise of variance 1, from two evenly spread numbers: within about 2.5 times its RMS. */
    float noise() noexcept
    {
        const auto bits = next();
        constexpr auto scale = 1.2247448714 * 0x1p-31;    // each number within +-1 has variance 1/3
        return (float) (((double) (std::int32_t) bits + (double) (std::int32_t) (bits >> 32)) * scale);
    }

private:
    std::uint64_t state;
};

}    // namespace ld
