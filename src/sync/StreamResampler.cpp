#include "sync/StreamResampler.h"

#include "sync/Signal.h"

#include <algorithm>

namespace ld
{

StreamResampler::StreamResampler (std::int64_t length, double sourceRate, double targetRate, std::int64_t firstOutput)
    : copies (isSameRate (sourceRate, targetRate)), ratio (copies ? 1.0 : sourceRate / targetRate), inLength (length),
      outLength (resampledLength (length, sourceRate, targetRate)), nextOutput (firstOutput),
      pendingStart (leftOf (firstOutput))
{
}

std::int64_t StreamResampler::leftOf (std::int64_t output) const noexcept
{
    const auto position = (std::int64_t) (ratio * (double) output);
    return std::min (position, std::max<std::int64_t> (inLength - 1, 0));
}

// The outputs whose right neighbour lies ahead of this input too.
std::int64_t StreamResampler::outputsBefore (std::int64_t inEnd) const noexcept
{
    if (inEnd >= inLength)
        return outLength;

    auto count = std::clamp<std::int64_t> ((std::int64_t) ((double) inEnd / ratio) + 1, 0, outLength);

    while (count > 0 && leftOf (count - 1) + 1 >= inEnd)
        --count;

    return count;
}

void StreamResampler::push (std::span<const float> in, std::vector<float>& out)
{
    if (copies)
    {
        out.insert (out.end(), in.begin(), in.end());
        return;
    }

    pending.insert (pending.end(), in.begin(), in.end());
    const auto end = outputsBefore (pendingStart + (std::int64_t) pending.size());

    if (end <= nextOutput)
        return;

    const auto before = out.size();
    out.resize (before + (size_t) (end - nextOutput));
    resampleStretch (pending, pendingStart, std::span (out).subspan (before), nextOutput, ratio);
    nextOutput = end;

    const auto used = std::min (leftOf (nextOutput) - pendingStart, (std::int64_t) pending.size());
    pending.erase (pending.begin(), pending.begin() + used);
    pendingStart += used;
}

}    // namespace ld
