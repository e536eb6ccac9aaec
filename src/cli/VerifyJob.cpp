#include "cli/ConformJob.h"
#include "cli/ProgressLine.h"
#include "manifest/FolderCheck.h"

#include <iostream>

namespace ld
{
namespace
{

juce::String linesOf (const char* word, const juce::StringArray& paths)
{
    juce::String text;

    for (const auto& path : paths)
        text << juce::String (word).paddedRight (' ', 11) << path << "\n";

    return text;
}

}    // namespace

ConformStatus runVerify (const ConformOptions& options)
{
    const auto& folder = *options.verified;

    if (! folder.isDirectory())
    {
        std::cerr << "lodestrand-conform: There is no folder " << folder.getFullPathName() << "." << std::endl;
        return ConformStatus::badUsage;
    }

    std::optional<ProgressLine> line (std::in_place, options.progress);
    line->beginStage ("Verifying");
    const auto check = checkFolder (
        folder, [&] (const juce::String& path, double fraction) { line->show ("Verifying", path, fraction); });
    line.reset();

    if (! check.hasLists)
    {
        std::cerr << "lodestrand-conform: " << folder.getFullPathName() << " has no hash lists (ascmhl)." << std::endl;
        return ConformStatus::incomplete;
    }

    std::cout << linesOf ("damaged", check.damaged) << linesOf ("missing", check.missing)
              << linesOf ("new", check.added) << linesOf ("no xxh64", check.unchecked);

    if (! options.isQuiet)
        std::cout << check.good << (check.good == 1 ? " file is" : " files are") << " as listed.\n";

    std::cout << std::flush;
    return check.isGood() ? ConformStatus::allDone : ConformStatus::incomplete;
}

}    // namespace ld
