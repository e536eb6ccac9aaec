#include "conform/ConformReport.h"

#include "output/JsonValues.h"
#include "output/ReplacingFile.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int reportVersion = 1;

juce::var describeVerdict (const PairVerdict& verdict)
{
    auto object = makeJsonObject (
        { { "poly", verdict.poly.getFullPathName() }, { "file", verdict.guest.file.getFullPathName() } },
        verdict.guest.alignment);
    object.getDynamicObject()->setProperty ("accepted", verdict.accepted);
    return object;
}

juce::var describe (const GuestOutcome& guest)
{
    const auto pathOf = [] (const GuestPiece& piece) { return juce::var (piece.file.getFullPathName()); };
    const auto offsetOf = [] (const GuestPiece& piece) { return juce::var (piece.offsetSamples); };
    const auto itself = [] (const juce::String& name) { return juce::var (name); };

    auto object = makeJsonObject ({ { "files", makeJsonArray (guest.pieces, pathOf) },
                                    { "pieceOffsets", makeJsonArray (guest.pieces, offsetOf) },
                                    { "tracks", makeJsonArray (guest.trackNames, itself) } },
                                  guest.alignment);
    object.getDynamicObject()->setProperty ("rejected", guest.rejected);
    return object;
}

juce::var describe (const TakeOutcome& take)
{
    return makeJsonObject (
        { { "poly", take.poly.getFullPathName() },
          { "output", take.written ? take.output.getFullPathName() : juce::String() },
          { "written", take.written },
          { "error", take.error },
          { "reason", take.reason },
          { "score", take.score },
          { "guests", makeJsonArray (take.guests, [] (const auto& guest) { return describe (guest); }) } });
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
    const auto isWhole = [] (const TakeOutcome& take) { return take.written && take.error.isEmpty(); };
    return ! takes.empty() && std::all_of (takes.begin(), takes.end(), isWhole) && unreadable.empty()
           && unmatched.empty();
}

TakeOutcome outcomeOfScan (const BatchMatch& match)
{
    TakeOutcome take;
    take.poly = match.host.file;
    take.reason = match.reason;
    take.score = match.score;

    for (const auto& scan : match.guests)
    {
        auto& guest = take.guests.emplace_back();
        copyIdentity (scan, guest.pieces.emplace_back());
        guest.alignment = scan.alignment;

        for (const auto& track : scan.ixml.tracks)
            guest.trackNames.push_back (track.name);
    }

    return take;
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
        makeJsonObject ({ { "version", reportVersion },
                          { "takes", makeJsonArray (outcome.takes, [] (const auto& take) { return describe (take); }) },
                          { "comparisons", makeJsonArray (outcome.comparisons, describeVerdict) },
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
