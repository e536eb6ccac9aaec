#include "batch/GlobalDecision.h"

#include <algorithm>
#include <map>

namespace ld
{
namespace
{

constexpr float nearBest = 0.8f, leastConfidence = 5.0f, tolerance = 1e-6f;

// What is known of one file from all its comparisons.
struct FileEvidence
{
    float best = 0.0f;
    bool isAnchored = false;    // by timecode
};

bool isByTimecode (const Verdict& verdict)
{
    return verdict.alignment.method == Alignment::Method::timecode;
}

float thresholdFor (float confidence, const FileEvidence& file)
{
    if (file.isAnchored && confidence >= leastConfidence)
        return leastConfidence;

    return std::max (nearBest * file.best, leastConfidence);
}

}    // namespace

std::vector<bool> acceptedOf (const std::vector<Verdict>& verdicts)
{
    std::map<juce::String, FileEvidence> files;

    for (const auto& verdict : verdicts)
    {
        if (verdict.alignment.needsManual)
            continue;

        auto& file = files[verdict.path];
        file.isAnchored = file.isAnchored || verdict.usedTimecode || isByTimecode (verdict);

        if (! isByTimecode (verdict))
            file.best = std::max (file.best, verdict.alignment.confidence);
    }

    std::vector<bool> accepted;

    for (const auto& verdict : verdicts)
    {
        const auto confidence = verdict.alignment.confidence;
        accepted.push_back (
            ! verdict.alignment.needsManual
            && (isByTimecode (verdict) || confidence + tolerance >= thresholdFor (confidence, files[verdict.path])));
    }

    return accepted;
}

}    // namespace ld
