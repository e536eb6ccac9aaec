#include "workspace/RunRows.h"

#include <algorithm>

namespace ld
{
namespace
{

RunRow rowOf (const RunTable::Take& take)
{
    RunRow row { .kind = RunRow::Kind::take, .poly = take.poly, .name = take.poly.getFileName() };
    const auto isScan = take.output == juce::File();
    row.isTrouble = ! isScan && take.fate != take.output.getFileName();
    row.words = row.isTrouble ? take.fate : isScan ? take.poly.getFullPathName() : take.output.getFullPathName();
    return row;
}

// The evidence for a place counts most, and stands first.
RunRow rowOf (const RunTable::Guest& guest, const juce::File& poly)
{
    juce::StringArray words { guest.evidence, guest.detail, guest.place };
    words.removeEmptyStrings();
    RunRow row { .kind = guest.isPlaced ? RunRow::Kind::placed : RunRow::Kind::leftOut,
                 .poly = poly,
                 .name = namesOf (guest),
                 .words = words.joinIntoString ("; "),
                 .isTrouble = ! guest.isPlaced };

    if (guest.confidence)
        row.sure = juce::String (juce::roundToInt (*guest.confidence * 100.0f)) + "%";

    return row;
}

std::vector<RunRow> rowsOf (const RunTable::Take& take)
{
    std::vector<RunRow> rows { rowOf (take) };

    for (const auto& guest : take.guests)
        rows.push_back (rowOf (guest, take.poly));

    const auto note = [&] (const juce::String& words) {
        rows.push_back ({ .kind = RunRow::Kind::note, .poly = take.poly, .words = words });
    };

    if (take.mixNote.isNotEmpty())
    {
        note (take.mixNote + ".");
        rows.back().isTrouble = true;
    }

    if (! take.hasGuests)
        note ("No recording belongs to this take.");

    if (take.ofOtherTakes > 0)
        note (take.ofOtherTakes == 1
                  ? juce::String ("1 recording was tried here and belongs to another take.")
                  : juce::String (take.ofOtherTakes) + " recordings were tried here and belong to other takes.");

    return rows;
}

void addFiles (std::vector<RunRow>& rows, const char* heading, const std::vector<RunTable::LooseFile>& files)
{
    if (! files.empty())
        rows.push_back ({ .kind = RunRow::Kind::heading, .name = heading, .isTrouble = true });

    for (const auto& file : files)
        rows.push_back ({ .kind = RunRow::Kind::file,
                          .name = file.file.getFileName(),
                          .words = file.note.isEmpty() ? file.path : file.note + "; " + file.path,
                          .isTrouble = true });
}

}    // namespace

std::vector<RunRow> runRowsOf (const RunTable& table, bool troubleOnly)
{
    std::vector<RunRow> rows;

    for (const auto& take : table.takes)
    {
        auto lines = rowsOf (take);

        if (troubleOnly && std::ranges::none_of (lines, &RunRow::isTrouble))
            continue;

        if (troubleOnly)
            std::erase_if (lines, [] (const auto& row) { return row.kind != RunRow::Kind::take && ! row.isTrouble; });

        rows.insert (rows.end(), lines.begin(), lines.end());
    }

    addFiles (rows, "Could not be read", table.unreadable);
    addFiles (rows, "Belong to no take", table.unmatched);
    return rows;
}

juce::String wordFor (RunRow::Kind kind)
{
    switch (kind)
    {
        case RunRow::Kind::placed: return "placed";
        case RunRow::Kind::leftOut: return "left out";
        case RunRow::Kind::take:
        case RunRow::Kind::note:
        case RunRow::Kind::heading:
        case RunRow::Kind::file: break;
    }

    return {};
}

juce::String sentenceOf (const RunRow& row)
{
    juce::StringArray parts { row.name, wordFor (row.kind), row.sure, row.words };
    parts.removeEmptyStrings();
    return parts.joinIntoString (", ");
}

}    // namespace ld
