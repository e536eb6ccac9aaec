#include "conform/ConformReport.h"

#include "output/ReplacingFile.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int reportVersion = 1;

// A JSON object keeps its properties in the order in which they are set.
juce::var makeObject (std::initializer_list<std::pair<const char*, juce::var>> properties)
{
    auto* object = new juce::DynamicObject;
    juce::var result (object);

    for (const auto& [name, value] : properties)
        object->setProperty (name, value);

    return result;
}

template <typename Items, typename Convert>
juce::var makeArray (const Items& items, Convert&& convert)
{
    juce::Array<juce::var> array;

    for (const auto& item : items)
        array.add (convert (item));

    return array;
}

juce::var describe (const GuestOutcome& guest)
{
    const auto& alignment = guest.alignment;
    const auto pathOf = [] (const GuestPiece& piece) { return juce::var (piece.file.getFullPathName()); };
    const auto offsetOf = [] (const GuestPiece& piece) { return juce::var (piece.offsetSamples); };

    return makeObject ({ { "files", makeArray (guest.pieces, pathOf) },
                         { "pieceOffsets", makeArray (guest.pieces, offsetOf) },
                         { "tracks", makeArray (guest.trackNames, [] (const auto& name) { return juce::var (name); }) },
                         { "offsetSamples", alignment.offsetSamples },
                         { "method", methodWord (alignment.method) },
                         { "confidence", alignment.confidence },
                         { "needsManual", alignment.needsManual },
                         { "driftSlope", alignment.driftSlope },
                         { "detail", alignment.detail },
                         { "rejected", guest.rejected } });
}

juce::var describe (const TakeOutcome& take)
{
    return makeObject ({ { "poly", take.poly.getFullPathName() },
                         { "output", take.written ? take.output.getFullPathName() : juce::String() },
                         { "written", take.written },
                         { "error", take.error },
                         { "reason", take.reason },
                         { "score", take.score },
                         { "guests", makeArray (take.guests, [] (const auto& guest) { return describe (guest); }) } });
}

std::set<juce::String> unreadableGuestFiles (const ConformOutcome& outcome)
{
    std::set<juce::String> files;

    for (const auto& take : outcome.takes)
        for (const auto& guest : take.guests)
            if (guest.isUnreadable)
                for (const auto& piece : guest.pieces)
                    files.insert (piece.file.getFullPathName());

    return files;
}

}    // namespace

std::set<juce::String> ConformOutcome::placedFiles() const
{
    std::set<juce::String> placed;

    for (const auto& take : takes)
    {
        placed.insert (take.poly.getFullPathName());

        for (const auto& guest : take.guests)
            if (! guest.rejected)
                for (const auto& piece : guest.pieces)
                    placed.insert (piece.file.getFullPathName());
    }

    return placed;
}

int ConformOutcome::written() const
{
    return (int) std::count_if (takes.begin(), takes.end(), [] (const auto& take) { return take.written; });
}

int ConformOutcome::rejected() const
{
    auto count = 0;

    for (const auto& take : takes)
        count += take.rejected;

    return count;
}

bool ConformOutcome::isComplete() const
{
    return ! takes.empty() && written() == (int) takes.size() && unreadable.empty() && unmatched.empty();
}

void accountForFiles (ConformOutcome& outcome, const std::vector<ScanFile>& scans)
{
    const auto placed = outcome.placedFiles(), unreadable = unreadableGuestFiles (outcome);

    for (const auto& scan : scans)
    {
        const auto path = scan.file.getFullPathName();

        // A file that was there at the scan can have gone before its take's turn.
        if (! scan.format.valid || unreadable.contains (path))
            outcome.unreadable.push_back (scan.file);
        else if (! placed.contains (path))
            outcome.unmatched.push_back (scan.file);
    }
}

juce::String makeConformReport (const ConformOutcome& outcome)
{
    const auto report =
        makeObject ({ { "version", reportVersion },
                      { "takes", makeArray (outcome.takes, [] (const auto& take) { return describe (take); }) },
                      { "comparisons", juce::Array<juce::var>() },
                      { "written", outcome.written() },
                      { "count", (int) outcome.takes.size() },
                      { "rejected", outcome.rejected() } });
    return juce::JSON::toString (report);
}

bool writeConformReport (const ConformOutcome& outcome, const juce::File& file)
{
    return replaceTextFile (file, makeConformReport (outcome));
}

}    // namespace ld
