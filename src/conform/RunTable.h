#pragma once

#include "conform/ConformReport.h"

namespace ld
{

/** What a run did, for its user: the content of the closing table, in a terminal and in a window. */
struct RunTable
{
    /** A guest of a take. */
    struct Guest
    {
        std::vector<juce::File> files;
        bool isPlaced = false;              // else it was left out
        juce::String place;                 // of a placed one: "at sample 480, waveform"
        std::optional<float> confidence;    // of a placed one, 0 to 1, where it is a share
        juce::String detail;                // how the place was found, or why it was left out
        juce::String evidence;              // of a placed one: the evidence for the place, where it was proved
    };

    struct Take
    {
        juce::File poly;
        juce::File output;    // none after a scan alone
        juce::String fate;    // the name of what was written, or why nothing was; empty after a scan alone
        bool isWritten = false;
        juce::String mixNote;    // of a MIX that clips: how much of it, and with which faders it would fit
        bool hasGuests = false;
        std::vector<Guest> guests;    // but for those of other takes
        int ofOtherTakes = 0;         // recordings that have their place in another take: no news
    };

    /** A file that is in no take. */
    struct LooseFile
    {
        juce::File file;
        juce::String path;    // as text that can be shown
        juce::String note;    // what is known of it, if anything
    };

    std::vector<Take> takes;
    std::vector<LooseFile> unreadable, unmatched;
    juce::String summary;    // in one to three sentences
};

[[nodiscard]] RunTable tableOfCombine (const ConformOutcome&);

/** After a scan alone: what would be combined. */
[[nodiscard]] RunTable tableOfScan (const ConformOutcome&);

/** The names of a guest's files, as a list. */
[[nodiscard]] juce::String namesOf (const RunTable::Guest&);

}    // namespace ld
