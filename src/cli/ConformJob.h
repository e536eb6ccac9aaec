#pragma once

#include "cli/ProgressLine.h"

#include <optional>
#include <vector>

namespace ld
{

enum class ConformStatus
{
    allDone = 0,       // every take was written; after a scan alone, at least one was found
    incomplete = 1,    // something could not be read, matched to any poly, or written
    badUsage = 2,
    needsLook = 3    // all was written, but something was left out or belongs to no take; only where that was asked for
};

struct ConformOptions
{
    juce::File input;    // a shoot folder, a media file, or a session document
    std::vector<juce::File> isoFolders;
    std::optional<juce::File> output, report, session, soundReport;
    std::optional<juce::File>
        verified;    // a folder that is to be checked against its hash lists; nothing else is done
    bool isScanOnly = false, isQuiet = false, writesHashLists = false;
    bool isResumable = false;    // goes on with what an earlier run has left, and does nothing where that is all
    bool isStrict = false;       // what needs a look is a status of its own
    ProgressStyle progress = ProgressStyle::line;
    bool writesInterchange = false, writesMarkers = true, givesNewIds = false;
    int jobs = 0;                 // pairs compared at a time; 0: one fewer than there are processors
    double memoryBudget = 0.0;    // bytes for the comparison; 0: a default for the machine
};

/** The program's whole work: scan and match, or read a session; save, combine, report. Sentences about what went wrong
    go to the error stream, the closing table to the output stream. */
[[nodiscard]] ConformStatus runConform (const ConformOptions&);

/** Checks options.verified against its hash lists; names each file that is damaged, missing or new. */
[[nodiscard]] ConformStatus runVerify (const ConformOptions&);

}    // namespace ld
