#include "session/BatchTakes.h"

#include <algorithm>

namespace ld
{
namespace
{

auto hasHost (const juce::File& file)
{
    return [&file] (const BatchMatch& take) { return take.host.file == file; };
}

}    // namespace

std::vector<ScanFile> scansForBatch (const std::vector<BatchMatch>& batch, const juce::File& folder)
{
    std::vector<ScanFile> scans;
    scans.reserve (batch.size());

    // A session document does not hold what the headers say.
    for (const auto& take : batch)
        scans.push_back (inspectAudioFile (take.host.file));

    for (const auto& file : collectMediaFiles (folder))
        if (std::none_of (batch.begin(), batch.end(), hasHost (file)))
            if (auto scan = inspectAudioFile (file); scan.format.valid)
                scans.push_back (std::move (scan));

    return scans;
}

}    // namespace ld
