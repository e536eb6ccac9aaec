#pragma once

#include "batch/FolderScan.h"

namespace ld
{

/** The batch's polys, then every readable file of a folder that is none of them. */
[[nodiscard]] std::vector<ScanFile> scansForBatch (const std::vector<BatchMatch>& batch, const juce::File& folder);

}    // namespace ld
