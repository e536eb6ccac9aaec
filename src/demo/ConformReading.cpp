#include "demo/ConformReading.h"

#include <algorithm>

namespace ld
{
namespace
{

std::vector<TrueStretch> stretchesOf (const juce::var& guest, int index)
{
    const auto& segments = guest["segments"];
    std::vector<TrueStretch> stretches;

    for (int i = 0; i < segments.size(); ++i)
        if (segments[i]["file"] == guest["files"][index])
            stretches.push_back ({ (juce::int64) segments[i]["fromSample"],
                                   (double) segments[i]["hostSample"],
                                   (double) segments[i]["slope"] });

    if (stretches.empty())
        stretches.push_back ({ 0,
                               (double) guest["offsetSamples"] + (double) guest["pieceOffsets"][index],
                               (double) guest["driftSlope"] });

    std::stable_sort (
        stretches.begin(), stretches.end(), [] (const auto& a, const auto& b) { return a.fromSample < b.fromSample; });
    return stretches;
}

void addGuest (const juce::File& poly, const juce::var& guest, std::vector<ToldFile>& files)
{
    const auto isPlaced = ! (bool) guest["rejected"] && ! (bool) guest["needsManual"];

    for (int i = 0; i < guest["files"].size(); ++i)
        files.push_back ({ poly,
                           juce::File (guest["files"][i].toString()),
                           stretchesOf (guest, i),
                           (double) guest["confidence"],
                           isPlaced,
                           guest["method"].toString(),
                           guest["detail"].toString() });
}

}    // namespace

ToldShoot readConformReport (const juce::var& report)
{
    const auto &takes = report["takes"], &comparisons = report["comparisons"];
    ToldShoot told;

    for (int t = 0; t < takes.size(); ++t)
        for (int g = 0; g < takes[t]["guests"].size(); ++g)
            addGuest (juce::File (takes[t]["poly"].toString()), takes[t]["guests"][g], told.files);

    for (int i = 0; i < comparisons.size(); ++i)
    {
        const auto& pair = comparisons[i];
        told.pairs.push_back ({ juce::File (pair["poly"].toString()),
                                juce::File (pair["file"].toString()),
                                { 0, (double) pair["offsetSamples"], (double) pair["driftSlope"] },
                                (double) pair["confidence"],
                                (bool) pair["accepted"],
                                pair["detail"].toString() });
    }

    return told;
}

}    // namespace ld
