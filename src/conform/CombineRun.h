#pragma once

#include "batch/FolderScan.h"
#include "mix/MixLevel.h"
#include "session/MetadataOverrides.h"
#include "session/TakeLevels.h"
#include "sync/SyncEngine.h"

#include <set>

namespace ld
{

/** What the user has set, for all takes of a run. */
struct TakeEdits
{
    MetadataOverrides metadata;
    NameOverrides names;
    TakeLevels levels;                 // of single takes
    MixerTemplate mixer;               // for takes in which nothing was set
    ReferencePicture picture;          // of the interchange files
    bool writesInterchange = false;    // beside each combined file
    bool writesMarkers = true;         // in each combined file
    bool givesNewIds = false;          // to each combined file

    // Asked all along, on the thread of the run. Once it says no, the run ends: takes that are written stay, of the one at hand
    // nothing does, and the others are not begun.
    std::function<bool()> isWanted = [] { return true; };
};

/** What the user has set in a session. Nothing is written beside the combined files. */
[[nodiscard]] TakeEdits editsOf (const SessionDocument&);

/** What became of one guest of a take, or of a file that came to belong to none. */
struct GuestOutcome
{
    std::vector<GuestPiece> pieces;    // in the order of their places
    std::vector<juce::String> trackNames;
    Alignment alignment;          // its detail says why where the guest was left out
    bool rejected = false;        // it is not in the file
    bool isUnreadable = false;    // a file that could not be added
};

/** What became of one take. */
struct TakeOutcome
{
    juce::File poly, output;
    bool written = false;
    juce::String error;     // why it, or an interchange file beside it, was not written
    juce::String reason;    // how its guests were found
    float score = 0.0f;
    std::vector<GuestOutcome> guests;    // every guest file of the match is in one of them
    int rejected = 0;                    // guests that were added, but stayed doubtful or could not be written
    bool isPolyRead = false;
    std::optional<MixLevel> mix {};    // of the new MIX, once it was summed
};

/** Names the files of one run, so that two takes never share one: polys in different folders often bear the same name.
    A file that an earlier run left is no obstacle; it is replaced. */
class OutputNames
{
public:
    explicit OutputNames (juce::File folder);

    /** COMBINED_<poly's stem>.wav, or with _2, _3 ... behind the stem where this run has given the name away. */
    [[nodiscard]] juce::File nameFor (const juce::File& poly);

private:
    juce::File folder;
    std::set<juce::String> taken;
};

/** Combines one take in a session of its own: loads the poly, adds its guests, lays the edits over them, places each,
    leaves out what stays doubtful and writes the file. A write that fails with guests is tried once more without them.
    Interchange files that cannot be written are an error of the take, whose file stays.
    Never throws: what does not fit into memory is an error of the take.
    progress   told the share of the take's guests that are placed, 0 to 1, on this thread */
[[nodiscard]] TakeOutcome
combineTake (const BatchMatch&, const TakeEdits&, const juce::File& output, const SyncProgress& progress);

/** How loud the MIX of a take would be, all done as combineTake does it, but nothing is written: the outcome has no output.
    Its error says why there is no level. */
[[nodiscard]] TakeOutcome measureTakeMix (const BatchMatch&, const TakeEdits&, const SyncProgress& progress);

/** Told how far a run is, on its thread: the take's index in the run, the share of its guests that are placed, 0 to 1, and
    what is being done. Without a phase the beginning of every take is told, with 0, and the end of one whose poly could be
    read, with 1. */
using CombineProgress = std::function<void (int index, float fraction, const juce::String& phase)>;

/** Combines takes one after another into a folder, under names of which no two are the same. */
[[nodiscard]] std::vector<TakeOutcome>
combineTakes (const std::vector<BatchMatch>&, const TakeEdits&, const juce::File& folder, const CombineProgress&);

/** What a run came to, in one to three sentences.
    count      takes
    rejected   guests, over all takes */
[[nodiscard]] juce::String combineSummary (int written, int count, int rejected);

}    // namespace ld
