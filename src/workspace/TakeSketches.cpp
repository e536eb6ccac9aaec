#include "workspace/TakeSketches.h"

#include "work/DocumentChange.h"

#include <algorithm>

namespace ld
{

void TakeSketches::keep (const BatchMatch& take, std::unique_ptr<Session> sketch)
{
    constexpr size_t most = 5;
    std::erase_if (kept, [&] (const auto& one) { return one.take.host.file == take.host.file; });
    kept.push_front ({ take, std::move (sketch) });

    if (kept.size() > most)
        kept.pop_back();
}

bool TakeSketches::knows (const BatchMatch& take) const
{
    return std::ranges::any_of (kept, [&] (const auto& one) { return isSameTake (one.take, take); });
}

std::unique_ptr<Session> TakeSketches::give (const BatchMatch& take)
{
    const auto at = std::ranges::find_if (kept, [&] (const auto& one) { return isSameTake (one.take, take); });

    if (at == kept.end())
        return {};

    auto sketch = std::move (at->sketch);
    kept.erase (at);
    return sketch;
}

}    // namespace ld
