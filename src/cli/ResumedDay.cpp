#include "cli/ResumedDay.h"

#include "output/JsonValues.h"

#include <algorithm>

namespace ld
{
namespace
{

// The combined file, and the texts beside it.
std::vector<juce::File> filesOfTake (const TakeOutcome& take, bool hasTexts)
{
    std::vector<juce::File> files { take.output };

    if (hasTexts)
        for (const auto* extension : { "edl", "xml", "ale", "aaf", "otio" })
            files.push_back (take.output.withFileExtension (extension));

    return files;
}

}    // namespace

DayKey dayKeyOf (const ConformOptions& options, const std::vector<juce::File>& inputs)
{
    DayKey key;

    for (const auto& file : inputs)
        key.inputs.push_back (recordOf (file));

    // Neither the number of workers nor their memory changes a byte.
    key.options = makeJsonObject ({ { "input", options.input.getFullPathName() },
                                    { "interchange", options.writesInterchange },
                                    { "markers", options.writesMarkers },
                                    { "newIds", options.givesNewIds },
                                    { "mhl", options.writesHashLists } });
    return key;
}

std::vector<juce::File> askedFilesOf (const ConformOptions& options)
{
    std::vector<juce::File> files;

    for (const auto& file : { options.report, options.session, options.soundReport })
        if (file)
            files.push_back (*file);

    if (options.soundReport)
        files.push_back (options.soundReport->withFileExtension ("csv"));

    return files;
}

TakeMemory
memoryOf (const DayState& state, const ConformOptions& options, std::function<void (const juce::String&)> failed)
{
    return { .known = [&state] (int index, const juce::File& output) { return state.take (index, output); },
             .done =
                 [&state, hasTexts = options.writesInterchange, failed = std::move (failed)] (int index,
                                                                                              const TakeOutcome& take) {
        if (! take.written || take.error.isNotEmpty())
            return;

        if (const auto kept = state.keepTake (index, take, filesOfTake (take, hasTexts)); kept.failed())
            failed (kept.getErrorMessage());
             } };
}

bool needsLook (const ConformOutcome& outcome)
{
    return ! outcome.unmatched.empty() || outcome.rejected() > 0;
}

bool hasFailed (const ConformOutcome& outcome)
{
    const auto isWhole = [] (const TakeOutcome& take) { return take.written && take.error.isEmpty(); };
    return ! outcome.unreadable.empty() || ! std::ranges::all_of (outcome.takes, isWhole);
}

}    // namespace ld
