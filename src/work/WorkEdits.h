#pragma once

#include "session/GuestPlacing.h"
#include "work/WorkHistory.h"

namespace ld
{

// What the user can do to the work, each from document to document. A guest is passed as it is in the open session; it is
// known by its files. What names a take or a guest that the document does not have changes nothing.

/** The take of a poly; null where there is none. */
[[nodiscard]] const BatchMatch* findTake (const SessionDocument&, const juce::File& poly);

/** The open take; null where the work is empty. */
[[nodiscard]] const BatchMatch* openTakeOf (const SessionDocument&);

// Places

[[nodiscard]] WorkEdit nudgeGuest (
    const SessionDocument&, const juce::File& poly, const GuestClip&, juce::int64 samples, juce::String stroke = {});

/** Files get the places that a job has found for them; others stay as they are. No step of its own. */
[[nodiscard]] SessionDocument
withPlaces (SessionDocument, const juce::File& poly, const std::vector<FilePlace>& places);

/** The guest's places are to be searched again. */
[[nodiscard]] WorkEdit searchGuestAgain (const SessionDocument&, const juce::File& poly, const GuestClip&);

// Files

[[nodiscard]] WorkEdit removeGuest (const SessionDocument&, const juce::File& poly, const GuestClip&);
[[nodiscard]] WorkEdit
removeChannel (const SessionDocument&, const juce::File& poly, int channel, const juce::String& channelName);

/** Files that a take does not hold yet join it, to be searched.
    what   of the step's name: "b.wav", "ISO folder packs" */
[[nodiscard]] WorkEdit
addFiles (const SessionDocument&, const juce::File& poly, const std::vector<ScanFile>&, const juce::String& what);

/** Without some files of a take: those that turned out not to belong to it. No step of its own. */
[[nodiscard]] SessionDocument withoutFiles (SessionDocument, const juce::File& poly, const std::vector<juce::File>&);

/** A poly joins the takes and is open; where it is one of them already, it is only opened. */
[[nodiscard]] WorkEdit openPoly (const SessionDocument&, const BatchMatch&);

/** Other takes in the place of these: of a scan, or of polys. What was edited goes with the takes that it was edited on. */
[[nodiscard]] WorkEdit
replaceTakes (const SessionDocument&, std::vector<BatchMatch>, std::vector<RecorderClock>, const juce::String& name);

/** What a further ISO folder gave joins the takes: places set by hand, what is in doubt, what is missing and what the folder
    does not hold stay as they are; other files take their new place. */
[[nodiscard]] WorkEdit joinMatches (const SessionDocument&,
                                    const std::vector<BatchMatch>& found,
                                    std::vector<RecorderClock>,
                                    const juce::String& folderName);

[[nodiscard]] WorkEdit resetWork();

// Names. Each writes the one field, of the one lane.

struct LaneOfGuest
{
    juce::Uuid guest;
    int lane = 0;
};

[[nodiscard]] WorkEdit
renameLane (const SessionDocument&, const Session&, const LaneOfGuest&, const juce::String& name, bool ofFamily);

/** number   1 or more; the channel number in combined files */
[[nodiscard]] WorkEdit numberLane (const SessionDocument&, const Session&, const LaneOfGuest&, int number);
[[nodiscard]] WorkEdit
noteGuest (const SessionDocument&, const Session&, const juce::Uuid& guest, const juce::String& note);

// Levels, picture, view of the poly

/** The bank as the user has set it, in the take of the session.
    name   "Level of Boom" and the like */
[[nodiscard]] WorkEdit
setLevels (const SessionDocument&, const Session&, const juce::String& name, const juce::String& stroke = {});

[[nodiscard]] WorkEdit setPicture (const SessionDocument&, const ReferencePicture&);
[[nodiscard]] WorkEdit setReferenceChannel (const SessionDocument&, int channel);

}    // namespace ld
