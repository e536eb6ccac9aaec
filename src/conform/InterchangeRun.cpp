#include "conform/InterchangeRun.h"

#include "conform/CombineRun.h"
#include "session/TakeLoading.h"

#include <algorithm>

namespace ld
{
namespace
{

InterchangeRequest interchangeOf (const ExportRequest& ready, const std::vector<GuestOutcome>& outcomes)
{
    InterchangeRequest request;
    request.host = describeHost (ready.host);

    for (const auto& guest : ready.guests)
    {
        request.spans.push_back (guestSpans (ready.host, guest));
        request.guests.push_back (describeGuest (guest));
    }

    for (const auto& guest : outcomes)
        if (guest.rejected && ! guest.pieces.empty())
            request.leftOut.push_back ({ guest.pieces.front().file, guest.alignment });

    return request;
}

void noteFirst (juce::String& error, const juce::String& sentence)
{
    if (error.isEmpty())
        error = sentence;
}

}    // namespace

InterchangeRun planInterchange (const SessionDocument& document,
                                const juce::File& folder,
                                const std::map<juce::String, juce::File>& combined)
{
    InterchangeRun run { .takes = document.takes, .targets = {}, .edits = editsOf (document), .dayFolder = folder };
    OutputNames names (folder);

    for (const auto& take : run.takes)
    {
        const auto base = names.nameFor (take.host.file);
        const auto last = combined.find (take.host.file.getFullPathName());
        const auto isElsewhere = ! base.existsAsFile() && last != combined.end() && last->second.existsAsFile();
        run.targets.push_back ({ isElsewhere ? last->second : base, base });
    }

    return run;
}

InterchangeRun onlyTake (InterchangeRun run, int index)
{
    run.takes = { run.takes[(size_t) index] };
    run.targets = { run.targets[(size_t) index] };
    run.dayFolder = juce::File();
    return run;
}

void noteInterchange (const ExportRequest& ready,
                      const ReferencePicture& picture,
                      const InterchangeTarget& target,
                      TakeOutcome& outcome)
{
    auto& request = outcome.interchange.emplace (interchangeOf (ready, outcome.guests));
    request.video = picture;
    request.combinedFile = target.combinedFile;
    request.baseFile = target.baseFile;
}

juce::Result writeInterchange (const ExportRequest& ready,
                               const ReferencePicture& picture,
                               const InterchangeTarget& target,
                               TakeOutcome& outcome)
{
    noteInterchange (ready, picture, target, outcome);
    return writeInterchangePackage (*outcome.interchange);
}

std::vector<InterchangeRequest> takeInterchange (std::vector<TakeOutcome>& takes)
{
    std::vector<InterchangeRequest> requests;

    for (auto& take : takes)
        if (auto request = std::exchange (take.interchange, {}))
            requests.push_back (std::move (*request));

    return requests;
}

InterchangeOutcome runInterchange (const InterchangeRun& run, const CombineProgress& progress)
{
    const auto writeAt = [&] (int index, const SyncProgress& told) {
        const auto& target = run.targets[(size_t) index];
        const auto write = [&] (const ExportRequest& ready, TakeOutcome& outcome) {
            const auto result = writeInterchange (ready, run.edits.picture, target, outcome);
            outcome.written = result.wasOk();
            return result;
        };
        auto outcome = prepareTake (run.takes[(size_t) index], run.edits, told, write);
        outcome.output = target.combinedFile;
        return outcome;
    };
    auto takes = forEachTake ((int) run.takes.size(), run.edits.isWanted, writeAt, progress);
    InterchangeOutcome outcome;
    outcome.count = (int) run.takes.size();

    for (const auto& take : takes)
    {
        outcome.written += take.written ? 1 : 0;
        outcome.absent += take.written && ! take.output.existsAsFile() ? 1 : 0;

        if (take.error.isNotEmpty())
            noteFirst (outcome.error, take.poly.getFileName() + ": " + take.error);
    }

    if (run.dayFolder != juce::File() && run.edits.isWanted())
        if (const auto day = writeDayPackage (takeInterchange (takes), run.dayFolder); day.failed())
            noteFirst (outcome.error, day.getErrorMessage());

    return outcome;
}

juce::String interchangeSummary (const InterchangeOutcome& outcome, const juce::File& folder)
{
    juce::String text;
    text << "Exported " << outcome.written;

    if (outcome.written < outcome.count)
        text << " of " << outcome.count;

    text << (outcome.count == 1 ? " take to " : " takes to ") << folder.getFileName() << ".";

    if (outcome.absent > 0)
        text << " " << outcome.absent << (outcome.absent == 1 ? " has" : " have")
             << " no COMBINED file yet: combine into the same folder.";

    if (outcome.error.isNotEmpty())
        text << " " << outcome.error;

    return text;
}

}    // namespace ld
