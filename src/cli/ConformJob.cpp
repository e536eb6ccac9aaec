#include "cli/ConformJob.h"

#include "cli/ConformTable.h"
#include "cli/ProgressLine.h"
#include "cli/ResumedDay.h"
#include "conform/InterchangeRun.h"
#include "conform/RunManifest.h"
#include "report/ReportFiles.h"

#include <algorithm>
#include <atomic>
#include <iostream>

namespace ld
{
namespace
{

constexpr const char* sessionExtension = ".ldsession";

ConformStatus fail (ConformStatus status, const juce::String& sentence)
{
    std::cerr << "lodestrand-conform: " << sentence << std::endl;
    return status;
}

juce::String countText (const char* unit, int number, int total)
{
    return juce::String (unit) + " " + juce::String (number) + "/" + juce::String (total);
}

bool isSession (const juce::File& input)
{
    return input.hasFileExtension (sessionExtension);
}

// What is to be combined, and what it was made from.
struct Batch
{
    std::vector<ScanFile> scans;
    SessionDocument document;
    std::vector<ProvedPair> comparisons;
};

std::vector<juce::File> collectFiles (const ConformOptions& options)
{
    std::vector<juce::File> roots { options.input };
    roots.insert (roots.end(), options.isoFolders.begin(), options.isoFolders.end());
    return collectMediaFiles (roots);
}

std::vector<ScanFile> inspectFiles (const std::vector<juce::File>& files, ProgressLine& line)
{
    std::vector<ScanFile> scans;
    const auto total = (int) files.size();
    line.beginStage ("Reading headers");

    for (const auto& file : files)
    {
        line.show (
            countText ("header", (int) scans.size() + 1, total), file.getFileName(), (double) scans.size() / total);
        scans.push_back (inspectAudioFile (file));
    }

    return scans;
}

Batch scanAndMatch (const std::vector<juce::File>& files, const ConformOptions& options, ProgressLine& line)
{
    Batch batch;
    batch.scans = inspectFiles (files, line);
    line.beginStage ("Comparing and proving");

    MatchOptions matching;
    matching.workers = options.jobs;
    matching.memoryBudget = options.memoryBudget;
    matching.onRead = [&] (double seconds) { line.addAudioSeconds (seconds); };
    auto outcome = matchShoot (
        batch.scans,
        [&] (const juce::String& what, int done, int total) {
        line.show (countText ("step", done, total), what, (double) done / std::max (total, 1));
        },
        matching);
    batch.document.takes = std::move (outcome.matches);
    batch.comparisons = std::move (outcome.comparisons);
    batch.document.recorders = std::move (outcome.recorders);
    return batch;
}

double secondsOf (const BatchMatch& take)
{
    // A session document does not say how long its media are.
    const auto& known = take.host.format;
    const auto format = known.numFrames > 0 ? known : inspectAudioFile (take.host.file).format;
    return (double) format.numFrames / std::max (format.sampleRate, 1);
}

ConformOutcome combineAll (const SessionDocument& document,
                           const ConformOptions& options,
                           const TakeMemory& memory,
                           ProgressLine& line)
{
    std::vector<double> ends;    // of each take, in seconds of the whole run
    auto end = 0.0;

    for (const auto& take : document.takes)
        ends.push_back (end += secondsOf (take));

    const auto total = std::max (end, 1e-3);
    auto edits = editsOf (document);
    edits.writesInterchange = options.writesInterchange;
    edits.writesMarkers = options.writesMarkers;
    edits.givesNewIds = options.givesNewIds;
    edits.wantsHashes = options.writesHashLists || options.isResumable;
    line.beginStage ("Examining and combining");

    ConformOutcome outcome;
    outcome.takes = combineTakes (
        document.takes,
        edits,
        *options.output,
        [&] (int i, float fraction, const juce::String& phase) {
        const auto& name = document.takes[(size_t) i].host.file.getFileName();
        const auto start = i > 0 ? ends[(size_t) i - 1] : 0.0;
        const auto soFar = start + (double) fraction * (ends[(size_t) i] - start);
        line.show (
            countText ("take", i + 1, (int) ends.size()), name + (phase.isEmpty() ? "" : ": " + phase), soFar / total);
        line.setAudioSeconds (soFar);
        },
        memory);
    return outcome;
}

std::optional<juce::String> usageFault (const ConformOptions& options)
{
    if (! options.input.exists())
        return "There is no " + options.input.getFullPathName() + ".";

    for (const auto& folder : options.isoFolders)
        if (! folder.exists())
            return "There is no " + folder.getFullPathName() + ".";

    if (isSession (options.input) && ! options.isoFolders.empty())
        return "A session is combined as it was left: --iso goes with a folder to scan.";

    if (options.output && options.output->existsAsFile())
        return options.output->getFullPathName() + " is a file, not a folder.";

    if (options.soundReport && options.soundReport->hasFileExtension ("csv"))
        return "--sound-report names the page; its rows go beside it, as .csv. Give it the ending .html.";

    if (options.writesHashLists && options.isScanOnly)
        return "--mhl lists what a run has written: it does not go with --scan-only.";

    if (options.isResumable && options.isScanOnly)
        return "--resume goes on with combined files: it does not go with --scan-only.";

    return {};
}

// The folders that the sources lie in; of a session that is found out.
std::vector<juce::File> rootsOf (const ConformOptions& options)
{
    std::vector<juce::File> roots;

    if (! isSession (options.input))
        roots.push_back (options.input.isDirectory() ? options.input : options.input.getParentDirectory());

    roots.insert (roots.end(), options.isoFolders.begin(), options.isoFolders.end());
    return roots;
}

// The shoot as its people call it.
juce::String titleOf (const ConformOptions& options)
{
    return options.input.isDirectory() ? options.input.getFileName() : options.input.getFileNameWithoutExtension();
}

// Tells the outcome, in the table and the report; the session was saved already.
ConformStatus tell (const ConformOptions& options, const ConformOutcome& outcome, ConformStatus status)
{
    if (! options.isQuiet)
        std::cout << textOfTable (options.isScanOnly ? tableOfScan (outcome) : tableOfCombine (outcome)) << std::flush;

    if (options.report && ! writeConformReport (outcome, *options.report))
        return fail (ConformStatus::incomplete, "Could not write " + options.report->getFullPathName() + ".");

    if (options.soundReport)
        if (const auto written = writeSoundReport (describeDay (outcome, titleOf (options)), *options.soundReport);
            written.failed())
            return fail (ConformStatus::incomplete, written.getErrorMessage() + ".");

    // Last: the lists name everything that lies in the output folder.
    if (options.writesHashLists)
        if (const auto written = writeManifests (outcome, rootsOf (options), *options.output); written.failed())
            return fail (ConformStatus::incomplete, written.getErrorMessage() + ".");

    return status;
}

// What the outputs are made of: of a session the document, its media and its picture.
std::vector<juce::File> inputFilesOf (const ConformOptions& options, const Batch& batch)
{
    if (! isSession (options.input))
        return collectFiles (options);

    std::vector<juce::File> files { options.input };

    for (const auto& scan : batch.scans)
        files.push_back (scan.file);

    if (batch.document.videoFile != juce::File())
        files.push_back (batch.document.videoFile);

    return files;
}

ConformStatus tellFinished (const ConformOptions& options, const FinishedDay& day)
{
    if (! options.isQuiet)
        std::cout << "Nothing to do: every take of " << options.input.getFullPathName() << " is in "
                  << options.output->getFullPathName() << "." << std::endl;

    return options.isStrict && day.needsLook ? ConformStatus::needsLook : ConformStatus::allDone;
}

// Where a run is called again until it is done, only what has failed makes it fail.
ConformStatus statusOf (const ConformOptions& options, const ConformOutcome& outcome)
{
    if (! options.isResumable && ! options.isStrict)
        return options.isScanOnly || outcome.isComplete() ? ConformStatus::allDone : ConformStatus::incomplete;

    if (options.isScanOnly ? ! outcome.unreadable.empty() : hasFailed (outcome))
        return ConformStatus::incomplete;

    return options.isStrict && needsLook (outcome) ? ConformStatus::needsLook : ConformStatus::allDone;
}

// The scan of an earlier run, or a new one that is kept for the next. Either comes from what is kept, so that a run that goes
// on knows every figure as the run before did.
juce::Result bringScan (const std::vector<juce::File>& files,
                        const ConformOptions& options,
                        const std::optional<DayState>& state,
                        ProgressLine& line,
                        Batch& batch)
{
    auto known = state ? state->scan() : std::nullopt;

    if (! known)
    {
        if (! isSession (options.input))
            batch = scanAndMatch (files, options, line);

        if (! state || batch.document.takes.empty())
            return juce::Result::ok();

        if (const auto kept = state->keepScan (batch.document, batch.comparisons); kept.failed())
            return kept;

        known = state->scan();
    }
    else if (! isSession (options.input))
        batch.scans = inspectFiles (files, line);

    if (! known)
        return juce::Result::fail ("Could not read again what is kept in " + options.output->getFullPathName());

    batch.document = std::move (known->document);
    batch.comparisons = std::move (known->comparisons);
    return juce::Result::ok();
}

// Writes what is asked for of a batch that has takes.
ConformStatus runBatch (Batch batch,
                        const ConformOptions& options,
                        const std::optional<DayState>& state,
                        std::optional<ProgressLine>& line)
{
    auto status = ConformStatus::allDone;
    const auto failed = [&] (const juce::String& sentence) { status = fail (ConformStatus::incomplete, sentence); };

    // Ahead of the combine: hours of comparing must not depend on what comes next.
    if (options.session)
        if (const auto saved = writeSessionDocument (*options.session, batch.document); saved.failed())
            failed (saved.getErrorMessage());

    ConformOutcome outcome;

    if (options.isScanOnly)
        outcome = outcomeOfScan (batch.document.takes);
    else if (options.output->createDirectory().failed())
        return fail (ConformStatus::incomplete, "Could not create " + options.output->getFullPathName() + ".");
    else
        outcome =
            combineAll (batch.document, options, state ? memoryOf (*state, options, failed) : TakeMemory(), *line);

    line.reset();

    if (const auto day = writeDayPackage (takeInterchange (outcome.takes), options.output.value_or (juce::File()));
        day.failed())
        failed (day.getErrorMessage() + ".");

    outcome.comparisons = std::move (batch.comparisons);
    outcome.recorders = batch.document.recorders;
    accountForFiles (outcome, batch.scans);

    if (status == ConformStatus::allDone)
        status = statusOf (options, outcome);

    status = tell (options, outcome, status);

    if (! state || status == ConformStatus::incomplete)
        return status;

    const auto finished = state->finish (outcome, sourceHashes (outcome), askedFilesOf (options), needsLook (outcome));
    return finished.wasOk() ? status : fail (ConformStatus::incomplete, finished.getErrorMessage() + ".");
}

}    // namespace

ConformStatus runConform (const ConformOptions& options)
{
    if (const auto fault = usageFault (options))
        return fail (ConformStatus::badUsage, *fault);

    std::optional<ProgressLine> line (std::in_place, options.progress);
    Batch batch;

    if (isSession (options.input))
    {
        if (const auto read = readSessionDocument (options.input, batch.document); read.failed())
            return fail (ConformStatus::incomplete, read.getErrorMessage());

        batch.scans = filesOfTakes (batch.document.takes);
    }

    const auto files = inputFilesOf (options, batch);
    std::optional<DayState> state;

    if (options.isResumable)
    {
        state.emplace (*options.output, dayKeyOf (options, files));

        if (const auto day = state->finished (askedFilesOf (options)))
            return tellFinished (options, *day);
    }

    if (const auto brought = bringScan (files, options, state, *line, batch); brought.failed())
        return fail (ConformStatus::incomplete, brought.getErrorMessage() + ".");

    if (batch.document.takes.empty())
        return fail (ConformStatus::incomplete, "Found no poly in " + options.input.getFullPathName() + ".");

    return runBatch (std::move (batch), options, state, line);
}

}    // namespace ld
