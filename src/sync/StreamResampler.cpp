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

    if (in.empty())
        return;

    // Outputs between the last block and this one need the last samples of the one and the first of the other.
    const auto inStart = pendingStart + (std::int64_t) pending.size();
    pending.push_back (in.front());
    appendOutputs (pending, pendingStart, outputsBefore (inStart + 1), out);
    appendOutputs (in, inStart, outputsBefore (inStart + (std::int64_t) in.size()), out);

    const auto inEnd = inStart + (std::int64_t) in.size();
    pendingStart = std::clamp (leftOf (nextOutput), inStart, inEnd);
    pending.assign (in.begin() + (pendingStart - inStart), in.end());
}

void StreamResampler::appendOutputs (std::span<const float> in,
                                     std::int64_t inStart,
                                     std::int64_t end,
                                     std::vector<float>& out)
{
    if (end <= nextOutput)
        return;

    const auto before = out.size();
    out.resize (before + (size_t) (end - nextOutput));
    resampleStretch (in, inStart, std::span (out).subspan (before), nextOutput, ratio);
    nextOutput = end;
}

}    // namespace ld
