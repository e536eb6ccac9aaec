#pragma once

#include "batch/FolderScan.h"
#include "output/BwfWriter.h"
#include "output/Interchange.h"
#include "output/SessionDocument.h"
#include "session/MetadataOverrides.h"
#include "session/TakeLevels.h"
#include "sync/SyncEngine.h"

#include <optional>

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
    bool wantsHashes = false;          // of what is read and written

    // Polled on the thread of the run. Once it returns false, the run ends: takes that are written stay, nothing is left of
    // the current one, and the others are not started.
    std::function<bool()> isWanted = [] { return true; };
};

/** The edits that a document holds. */
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
    WrittenHashes hashes {};           // where they are wanted; those of the guests stand in their pieces

    // Of a written take, where its run writes interchange files; without audio.
    std::optional<InterchangeRequest> interchange {};
};

/** Writes what is wanted of a take that is ready: the poly, the guests that are placed without doubt, the mixer. Sets
    outcome.written; a failure is the take's error. */
using TakeWriter = std::function<juce::Result (ExportRequest&, TakeOutcome&)>;

/** The only way from a match to what is written of it: loads the poly in a session of its own, adds its guests, lays the
    edits over them, places each and leaves out what stays doubtful.
    progress   given the share of the take's guests that are placed, 0 to 1, on this thread
    Never throws: what does not fit into memory is an error of the take. Of a take that is not written, no guest counts as
    placed. */
[[nodiscard]] TakeOutcome
prepareTake (const BatchMatch&, const TakeEdits&, const SyncProgress& progress, const TakeWriter&);

/** A take as the work has it: by the headers of its files and the user's edits. Nothing is written, and no audio is read. */
[[nodiscard]] TakeOutcome outcomeOfWork (const BatchMatch&, const TakeEdits&);

/** Marks all guests as not written; those that were placed get the reason. */
void leaveOutAll (std::vector<GuestOutcome>&, const juce::String& why);

/** Given how far a run is, on its thread: the take's index in the run, the share of its guests that are placed, 0 to 1, and
    what is being done. It is called without a phase at the beginning of every take, with 0, and at the end of one whose poly
    could be read, with 1. */
using CombineProgress = std::function<void (int index, float fraction, const juce::String& phase)>;

/** Goes through takes one after another until the run is not wanted any more. */
[[nodiscard]] std::vector<TakeOutcome>
forEachTake (int count,
             const std::function<bool()>& isWanted,
             const std::function<TakeOutcome (int index, const SyncProgress&)>& takeAt,
             const CombineProgress&);

}    // namespace ld
