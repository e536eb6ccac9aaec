#include "conform/ConformReport.h"

#include "media/ClockStretches.h"
#include "output/JsonValues.h"
#include "output/ReplacingFile.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int reportVersion = 2;

juce::var describeVerdict (const ProvedPair& verdict)
{
    auto object = makeJsonObject (
        { { "poly", verdict.poly.getFullPathName() }, { "file", verdict.guest.file.getFullPathName() } },
        verdict.guest.alignment);
    auto first = makeJsonObject ({}, verdict.first);
    first.getDynamicObject()->setProperty ("accepted", verdict.firstAccepted);
    object.getDynamicObject()->setProperty ("accepted", verdict.accepted);
    object.getDynamicObject()->setProperty ("evidence", verdict.guest.alignment.evidence);
    object.getDynamicObject()->setProperty ("first", first);
    return object;
}

juce::var describeRecorder (const RecorderClock& clock)
{
    constexpr double partsPerMillion = 1e6;
    const auto describeJam = [] (const JamError& jam) {
        return makeJsonObject ({ { "fromSeconds", jam.fromSeconds },
                                 { "toSeconds", jam.toSeconds },
                                 { "errorSeconds", jam.errorSeconds },
                                 { "driftPpm", jam.drift * partsPerMillion },
                                 { "files", jam.files } });
    };
    return makeJsonObject ({ { "key", clock.key },
                             { "ppm", clock.slope * partsPerMillion },
                             { "ppmError", clock.slopeError * partsPerMillion },
                             { "files", clock.files },
                             { "timecode", makeJsonArray (clock.jams, describeJam) },
                             { "rejams", std::max ((int) clock.jams.size() - 1, 0) } });
}

// Every stretch of every file of a guest, where it lies in the take.
juce::var describeStretches (const GuestOutcome& guest, const char* fromKey)
{
    juce::Array<juce::var> stretches;

    for (const auto& piece : guest.pieces)
        for (const auto& stretch : stretchesOnHost (guest.alignment, piece))
            stretches.add (makeJsonObject ({ { "file", piece.file.getFullPathName() },
                                             { fromKey, stretch.fromSample },
                                             { "hostSample", stretch.hostSample },
                                             { "slope", stretch.slope } }));

    return stretches;
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
    auto& properties = *object.getDynamicObject();
    properties.setProperty ("evidence", guest.alignment.evidence);
    properties.setProperty ("stretches", describeStretches (guest, "firstSample"));
    properties.setProperty ("segments", describeStretches (guest, "fromSample"));
    properties.setProperty ("rejected", guest.rejected);
    return object;
}

// Nothing where no MIX was summed.
juce::var describeMix (const std::optional<MixLevel>& mix)
{
    if (! mix)
        return {};

    return makeJsonObject (
        { { "peak", mix->peak }, { "clipped", clippedShare (*mix) }, { "fitDb", fittingDb (*mix) } });
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
          { "mix", describeMix (take.mix) },
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
        auto& piece = guest.pieces.emplace_back();
        copyIdentity (scan, piece);
        piece.alignment = guest.alignment = scan.alignment;

        for (const auto& track : scan.ixml.tracks)
            guest.trackNames.push_back (track.name);
    }

    return take;
}

ConformOutcome outcomeOfScan (const std::vector<BatchMatch>& takes)
{
    ConformOutcome outcome;

    for (const auto& take : takes)
        outcome.takes.push_back (outcomeOfScan (take));

    return outcome;
}

ConformOutcome outcomeOfWork (const SessionDocument& document, const std::map<juce::String, juce::File>& combined)
{
    const auto edits = editsOf (document);
    ConformOutcome outcome;
    outcome.recorders = document.recorders;

    for (const auto& match : document.takes)
    {
        auto& take = outcome.takes.emplace_back (outcomeOfWork (match, edits));

        if (const auto last = combined.find (match.host.file.getFullPathName()); last != combined.end())
        {
            take.output = last->second;
            take.written = take.output.existsAsFile();
        }
    }

    return outcome;
}

std::vector<ScanFile> filesOfTakes (const std::vector<BatchMatch>& takes)
{
    std::vector<ScanFile> files;
    std::set<juce::String> listed;
    const auto add = [&] (const ScanFile& scan) {
        if (listed.insert (scan.file.getFullPathName()).second)
            files.push_back (scan);
    };

    for (const auto& take : takes)
    {
        add (take.host);
        std::for_each (take.guests.begin(), take.guests.end(), add);
    }

    return files;
}

void accountForFiles (ConformOutcome& outcome, const std::vector<ScanFile>& scans)
{
    const auto placed = outcome.placedFiles(), unreadable = unreadableGuestFiles (outcome);

    for (const auto& scan : scans)
    {
        const auto path = scan.file.getFullPathName();

        // A file that the scan saw can be gone by the time its take is combined.
        if (isSilentClip (scan))
            continue;

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
                          { "recorders", makeJsonArray (outcome.recorders, describeRecorder) },
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
