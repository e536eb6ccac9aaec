#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace ld
{

/** What resampleTo makes of a signal, digit for digit, from blocks of it. */
class StreamResampler
{
public:
    /** inLength      samples of the whole signal
        rates         Hz
        firstOutput   where in the result to begin */
    StreamResampler (std::int64_t inLength, double sourceRate, double targetRate, std::int64_t firstOutput = 0);

    /** The signal's sample that the first block begins with. */
    [[nodiscard]] std::int64_t firstInput() const noexcept { return pendingStart; }

    /** Appends every output that is known by now; with the signal's last sample all that are left. */
    void push (std::span<const float> in, std::vector<float>& out);

private:
    [[nodiscard]] std::int64_t leftOf (std::int64_t output) const noexcept;
    [[nodiscard]] std::int64_t outputsBefore (std::int64_t inEnd) const noexcept;
    void appendOutputs (std::span<const float> in, std::int64_t inStart, std::int64_t end, std::vector<float>& out);

    bool copies;
    double ratio;
    std::int64_t inLength, outLength, nextOutput, pendingStart;
    std::vector<float> pending;    // inputs that outputs still need, from pendingStart on
};

}    // namespace ld
