#include "conform/CombineRun.h"

#include "conform/InterchangeRun.h"

namespace ld
{
namespace
{

juce::Result writeTake (ExportRequest& request, TakeOutcome& outcome)
{
    const auto result = PolyExporter::write (request);

    if (result.wasOk() || request.guests.empty() || ! request.isWanted())
        return result;

    // A poly is worth writing even without its ISOs.
    const auto count = (int) request.guests.size();
    request.guests.clear();
    const auto alone = PolyExporter::write (request);

    if (alone.wasOk())
    {
        outcome.rejected += count;
        leaveOutAll (outcome.guests, result.getErrorMessage());
    }

    return alone;
}

// Of a take that was written by an earlier run.
std::optional<InterchangeRequest> describeInterchange (const BatchMatch& take,
                                                       const TakeEdits& edits,
                                                       const juce::File& output,
                                                       const SyncProgress& progress)
{
    return prepareTake (
               take,
               edits,
               progress,
               [&] (const ExportRequest& request, TakeOutcome& outcome) {
        noteInterchange (request, edits.picture, { output, output }, outcome);
        return juce::Result::ok();
               })
        .interchange;
}

}    // namespace

OutputNames::OutputNames (juce::File folderToUse) : folder (std::move (folderToUse))
{
}

juce::File OutputNames::nameFor (const juce::File& poly)
{
    const auto stem = "COMBINED_" + poly.getFileNameWithoutExtension();
    auto name = stem;

    // Some file systems ignore case.
    for (int number = 2; ! taken.insert (name.toLowerCase()).second; ++number)
        name = stem + "_" + juce::String (number);

    return folder.getChildFile (name + ".wav");
}

TakeOutcome
combineTake (const BatchMatch& take, const TakeEdits& edits, const juce::File& output, const SyncProgress& progress)
{
    const auto write = [&] (ExportRequest& request, TakeOutcome& outcome) {
        request.outputFile = output;
        request.includeMarkers = edits.writesMarkers;
        request.hasNewIds = edits.givesNewIds;
        request.isWanted = edits.isWanted;
        request.mixMeasured = [&outcome] (const MixLevel& level) { outcome.mix = level; };

        if (edits.wantsHashes)
            request.hashed = [&outcome] (const WrittenHashes& hashes) { outcome.hashes = hashes; };

        const auto result = writeTake (request, outcome);
        outcome.written = result.wasOk();

        return outcome.written && edits.writesInterchange
                   ? writeInterchange (request, edits.picture, { output, output }, outcome)
                   : result;
    };
    auto outcome = prepareTake (take, edits, progress, write);
    outcome.output = output;
    return outcome;
}

TakeOutcome measureTakeMix (const BatchMatch& take, const TakeEdits& edits, const SyncProgress& progress)
{
    return prepareTake (take, edits, progress, [&] (ExportRequest& request, TakeOutcome& outcome) {
        request.isWanted = edits.isWanted;
        request.mixMeasured = [&outcome] (const MixLevel& level) { outcome.mix = level; };
        return BwfWriter::measureMix (request);
    });
}

std::vector<TakeOutcome> combineTakes (const std::vector<BatchMatch>& takes,
                                       const TakeEdits& edits,
                                       const juce::File& folder,
                                       const CombineProgress& progress,
                                       const TakeMemory& memory)
{
    OutputNames names (folder);
    const auto combineAt = [&] (int index, const SyncProgress& told) {
        const auto& take = takes[(size_t) index];
        const auto output = names.nameFor (take.host.file);

        if (auto known = memory.known (index, output))
        {
            if (edits.writesInterchange && takes.size() > 1)
                known->interchange = describeInterchange (take, edits, output, told);

            return std::move (*known);
        }

        auto outcome = combineTake (take, edits, output, told);
        memory.done (index, outcome);
        return outcome;
    };
    return forEachTake ((int) takes.size(), edits.isWanted, combineAt, progress);
}

juce::String combineSummary (int written, int count, int rejected)
{
    juce::String text;
    text << "Wrote " << written << " of " << count << " COMBINED WAV files.";

    if (rejected > 0)
        text << " " << rejected << " ISO candidates were rejected; their polys were still written.";

    if (count > written)
        text << " " << (count - written) << " source poly files could not be read or written.";

    return text;
}

}    // namespace ld
