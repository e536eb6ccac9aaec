#pragma once

#include "batch/FolderScan.h"

namespace ld
{

class Session;

/** The open take as the batch keeps it: each file of a guest with its own place, and what was left out. Its reason
    and score are the batch's own. */
[[nodiscard]] BatchMatch describeTake (const Session&);

/** Puts a take in the place of the one with its poly, whose reason and score it takes over, or appends it.
    Returns its index. */
int mergeTake (std::vector<BatchMatch>&, BatchMatch);

/** The takes of a batch, in its order, with what a new scan has found for each. What an earlier scan had found is gone. */
[[nodiscard]] std::vector<BatchMatch> mergeMatches (const std::vector<BatchMatch>& batch,
                                                    const std::vector<BatchMatch>& matches);

/** The batch's polys, then every readable file of a folder that is none of them. */
[[nodiscard]] std::vector<ScanFile> scansForBatch (const std::vector<BatchMatch>& batch, const juce::File& folder);

}    // namespace ld
