#include "cli/ConformTable.h"

#include "media/BextIxml.h"

#include <algorithm>

namespace ld
{
namespace
{

juce::String namesOf (const GuestOutcome& guest)
{
    juce::StringArray names;

    for (const auto& piece : guest.pieces)
        names.add (piece.file.getFileName());

    return names.joinIntoString (", ");
}

juce::String describeGuest (const GuestOutcome& guest)
{
    if (guest.rejected)
        return "    left out  " + namesOf (guest) + "\n              " + guest.alignment.detail + "\n";

    return "    placed    " + namesOf (guest) + "\n              at sample "
           + juce::String (guest.alignment.offsetSamples) + ", " + methodWord (guest.alignment.method) + ": "
           + guest.alignment.detail + (guest.alignment.evidence.isEmpty() ? "" : "; " + guest.alignment.evidence)
           + "\n";
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
        return "  ->  not written: " + take.error;

    const auto name = "  ->  " + take.output.getFileName();
    return take.error.isEmpty() ? name : name + "; " + take.error;
}

juce::String describeTake (const TakeOutcome& take, const std::set<juce::String>& placedFiles)
{
    auto text = take.poly.getFileName() + fateOf (take) + "\n";
    auto ofOtherTakes = 0;

    for (const auto& guest : take.guests)
    {
        if (belongsElsewhere (guest, placedFiles))
            ++ofOtherTakes;
        else
            text << describeGuest (guest);
    }

    if (take.guests.empty())
        text << "    no guests\n";

    if (ofOtherTakes > 0)
        text << "    left out  " << ofOtherTakes << " of other takes\n";

    return text;
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

    return "        nearest: " + best->poly.getFileName() + ", " + best->guest.alignment.detail + "\n";
}

juce::String listFiles (const juce::String& heading,
                        const std::vector<juce::File>& files,
                        const std::vector<ProvedPair>& comparisons)
{
    if (files.empty())
        return {};

    auto text = heading + "\n";

    for (const auto& file : files)
        text << "    " << file.getFullPathName() << "\n" << nearestMatch (file, comparisons);

    return text;
}

juce::String listUnreadable (const std::vector<juce::File>& files)
{
    juce::String text (files.empty() ? "" : "Could not be read:\n");

    for (const auto& file : files)
    {
        // As text the path would be cut or show other letters than the system does.
        const std::string_view path (file.getFullPathName().toRawUTF8());
        text << "    " << textFromBytes (path) << "\n"
             << (isUtf8 (path) ? "" : "        its name is no UTF-8 text; rename it, and it can be used\n");
    }

    return text;
}

juce::String describeTakes (const ConformOutcome& outcome)
{
    const auto placedFiles = outcome.placedFiles();
    juce::String text;

    for (const auto& take : outcome.takes)
        text << describeTake (take, placedFiles);

    text << listUnreadable (outcome.unreadable);
    return text + listFiles ("Belong to no take:", outcome.unmatched, outcome.comparisons);
}

}    // namespace

juce::String makeConformTable (const ConformOutcome& outcome)
{
    return describeTakes (outcome) + combineSummary (outcome.written(), (int) outcome.takes.size(), outcome.rejected())
           + "\n";
}

juce::String makeScanTable (const ConformOutcome& outcome)
{
    const auto isMatched = [] (const TakeOutcome& take) { return ! take.guests.empty(); };
    const auto matched = std::count_if (outcome.takes.begin(), outcome.takes.end(), isMatched);
    return describeTakes (outcome) + "Found " + juce::String ((int) outcome.takes.size()) + " takes, "
           + juce::String ((int) matched) + " of them with guests. Nothing was written.\n";
}

}    // namespace ld
