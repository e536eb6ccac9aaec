#pragma once

#include <memory>
#include <span>

namespace ld
{

/** The real transform of one power-of-two size, and the one way to it in the program. Plans are kept for each size and
    thread, so that a search does not plan anew for each pair. Of the symmetric spectrum only the half up to and with
    the Nyquist bin is made and read: interleaved real and imaginary parts of N / 2 + 1 bins. */
class RealFft
{
public:
    static constexpr int largestOrder = 20;

    /** The order, from 1, of the smallest transform that holds this many samples, at most largestOrder. */
    [[nodiscard]] static int orderFor (double samples) noexcept;

    /** A working buffer for in-place transforms; its samples are not cleared. Memory goes back to its thread, which gives
        it to the next buffer of that size: for the large ones the system would otherwise clear fresh pages each time. */
    class Buffer
    {
    public:
        explicit Buffer (int order);
        ~Buffer();
        Buffer (const Buffer&) = delete;
        Buffer& operator= (const Buffer&) = delete;

        /** Fills the samples with as much of the signal as the transform holds, and zeros behind it. */
        void load (std::span<const float>) noexcept;
        void forward() noexcept;
        void inverse() noexcept;    // scaled by 1 / N

        [[nodiscard]] int order() const noexcept { return log2Size; }
        [[nodiscard]] int size() const noexcept { return 1 << log2Size; }
        [[nodiscard]] std::span<float> samples() noexcept { return { data.get(), (size_t) size() }; }
        [[nodiscard]] std::span<float> spectrum() noexcept { return { data.get(), (size_t) size() + 2 }; }

    private:
        int log2Size;
        std::unique_ptr<float[]> data;
    };
};

/** The lag that a best index of a circular correlation of size N means. Indices above N / 2 are negative lags, but only
    where the placed signal reaches back that far: otherwise the two would not even meet at that lag.
    placedLength   length of the placed signal that was transformed */
[[nodiscard]] constexpr long long lagFromIndex (long long index, long long size, long long placedLength) noexcept
{
    return index > size / 2 && size - index < placedLength ? index - size : index;
}

}    // namespace ld
