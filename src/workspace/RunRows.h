#pragma once

#include "conform/RunTable.h"

namespace ld
{

/** One line of what happened in a run. */
struct RunRow
{
    enum class Kind
    {
        take,
        placed,
        leftOut,
        note,       // of the take above it
        heading,    // over files
        file        // in no take
    };

    Kind kind = Kind::take;
    juce::File poly {};        // of the take that it belongs to; none for files in no take
    juce::String name {};      // of the take or of the files
    juce::String sure {};      // how sure a place is: "98%"
    juce::String words {};     // the place and its evidence, why there is none, or where a file was written
    bool isTrouble = false;    // something is not in a file

    bool operator== (const RunRow&) const = default;
};

/** A table's lines in their order.
    troubleOnly   just those with something that is in no file, each below its take */
[[nodiscard]] std::vector<RunRow> runRowsOf (const RunTable&, bool troubleOnly);

/** What a line is called: "placed", "left out"; empty where its name says all. */
[[nodiscard]] juce::String wordFor (RunRow::Kind);

/** A line whole, for those who cannot see it whole or at all. */
[[nodiscard]] juce::String sentenceOf (const RunRow&);

}    // namespace ld
