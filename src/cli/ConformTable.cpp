#include "cli/ConformTable.h"

namespace ld
{
namespace
{

juce::String textOf (const RunTable::Guest& guest)
{
    if (! guest.isPlaced)
        return "    left out  " + namesOf (guest) + "\n              " + guest.detail + "\n";

    return "    placed    " + namesOf (guest) + "\n              " + guest.place + ": " + guest.detail
           + (guest.evidence.isEmpty() ? "" : "; " + guest.evidence) + "\n";
}

juce::String textOf (const RunTable::Take& take)
{
    auto text = take.poly.getFileName() + (take.fate.isEmpty() ? "" : "  ->  " + take.fate) + "\n";

    for (const auto& guest : take.guests)
        text << textOf (guest);

    if (take.mixNote.isNotEmpty())
        text << "    " << take.mixNote << "\n";

    if (! take.hasGuests)
        text << "    no guests\n";

    if (take.ofOtherTakes > 0)
        text << "    left out  " << take.ofOtherTakes << " of other takes\n";

    return text;
}

juce::String listFiles (const juce::String& heading, const std::vector<RunTable::LooseFile>& files)
{
    if (files.empty())
        return {};

    auto text = heading + "\n";

    for (const auto& file : files)
        text << "    " << file.path << "\n" << (file.note.isEmpty() ? "" : "        " + file.note + "\n");

    return text;
}

}    // namespace

juce::String textOfTable (const RunTable& table)
{
    juce::String text;

    for (const auto& take : table.takes)
        text << textOf (take);

    return text + listFiles ("Could not be read:", table.unreadable) + listFiles ("Belong to no take:", table.unmatched)
           + table.summary + "\n";
}

}    // namespace ld
