#pragma once

#include "batch/FolderScan.h"

namespace ld
{

/** What the comparison of one pair came to. */
struct Verdict
{
    juce::String path;    // of the file that may belong to a poly
    Alignment alignment;
    bool usedTimecode = false;    // the comparison worked inside a stretch that both share by their timestamps
};

/** Which verdicts of a whole batch stand, given in the order of the verdicts. One file may fit several takes a little:
    it stays where a comparison comes within a fifth of the file's best, and where timecode anchors it, wherever it scores
    5 or more. A verdict by timecode alone always stands, one that needs the user never. */
[[nodiscard]] std::vector<bool> acceptedOf (const std::vector<Verdict>&);

}    // namespace ld
