#include "conform/RunTable.h"

#include "media/BextIxml.h"

#include <algorithm>

namespace ld
{
namespace
{

RunTable::Guest lineOf (const GuestOutcome& guest)
{
    const auto& alignment = guest.alignment;
    RunTable::Guest line;
    line.isPlaced = ! guest.rejected;
    line.detail = alignment.detail;

    for (const auto& piece : guest.pieces)
        line.files.push_back (piece.file);

    if (guest.rejected)
        return line;

    line.place = "at sample " + juce::String (alignment.offsetSamples) + ", " + methodWord (alignment.method);

    // A score of a search is above 1, and no share of anything.
    if (alignment.method != Alignment::Method::none && alignment.confidence <= 1.0f)
        line.confidence = alignment.confidence;

    line.evidence = alignment.evidence;
    return line;
}

// Every recording is tried on every take. One that was left out here and has its place in another take is no news,
// unless nobody could hear whether it has one here too.
bool belongsElsewhere (const GuestOutcome& guest, const std::set<juce::String>& placedFiles)
{
    const auto isPlaced = [&] (const GuestPiece& piece) { return placedFiles.contains (piece.file.getFullPathName()); };
    return guest.rejected && ! guest.isUnreadable && std::any_of (guest.pieces.begin(), guest.pieces.end(), isPlaced);
}

juce::String fateOf (const TakeOutcome& take)
{
    if (take.output == juce::File())
        return {};

    if (! take.written)
        return "not written: " + take.error;

    const auto name = take.output.getFileName();
    return take.error.isEmpty() ? name : name + "; " + take.error;
}

RunTable::Take linesOf (const TakeOutcome& take, const std::set<juce::String>& placedFiles)
{
    RunTable::Take lines;
    lines.poly = take.poly;
    lines.output = take.output;
    lines.fate = fateOf (take);
    lines.isWritten = take.written;
    lines.mixNote = take.written && take.mix ? clippingSentence (*take.mix) : juce::String();
    lines.hasGuests = ! take.guests.empty();

    for (const auto& guest : take.guests)
    {
        if (belongsElsewhere (guest, placedFiles))
            ++lines.ofOtherTakes;
        else
            lines.guests.push_back (lineOf (guest));
    }

    return lines;
}

// What the best comparison of a file came to.
juce::String nearestMatch (const juce::File& file, const std::vector<ProvedPair>& comparisons)
{
    const ProvedPair* best = nullptr;

    for (const auto& verdict : comparisons)
        if (verdict.guest.file == file && (best == nullptr || verdict.first.confidence > best->first.confidence))
            best = &verdict;

    if (best == nullptr)
        return {};

    return "nearest: " + best->poly.getFileName() + ", " + best->guest.alignment.detail;
}

RunTable::LooseFile unreadable (const juce::File& file)
{
    // As text the path would be cut or show other letters than the system does.
    const std::string_view path (file.getFullPathName().toRawUTF8());
    const auto* const note = isUtf8 (path) ? "" : "its name is no UTF-8 text; rename it, and it can be used";
    return { file, textFromBytes (path), note };
}

RunTable tableOf (const ConformOutcome& outcome)
{
    const auto placedFiles = outcome.placedFiles();
    RunTable table;

    for (const auto& take : outcome.takes)
        table.takes.push_back (linesOf (take, placedFiles));

    for (const auto& file : outcome.unreadable)
        table.unreadable.push_back (unreadable (file));

    for (const auto& file : outcome.unmatched)
        table.unmatched.push_back ({ file, file.getFullPathName(), nearestMatch (file, outcome.comparisons) });

    return table;
}

}    // namespace

RunTable tableOfCombine (const ConformOutcome& outcome)
{
    auto table = tableOf (outcome);
    table.summary = combineSummary (outcome.written(), (int) outcome.takes.size(), outcome.rejected());
    return table;
}

RunTable tableOfScan (const ConformOutcome& outcome)
{
    auto table = tableOf (outcome);
    const auto matched = std::ranges::count_if (table.takes, [] (const auto& take) { return take.hasGuests; });
    table.summary = "Found " + juce::String ((int) table.takes.size()) + " takes, " + juce::String ((int) matched)
                    + " of them with guests. Nothing was written.";
    return table;
}

juce::String namesOf (const RunTable::Guest& guest)
{
    juce::StringArray names;

    for (const auto& file : guest.files)
        names.add (file.getFileName());

    return names.joinIntoString (", ");
}

}    // namespace ld
