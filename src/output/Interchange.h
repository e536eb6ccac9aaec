#pragma once

#include "output/GuestSpans.h"

#include <span>

namespace ld
{

/** A file that was thought to belong to a take, but is not in its combined file. */
struct LeftOutFile
{
    juce::File file;
    Alignment alignment;    // where it was thought to lie, and why it is not there
};

/** One take and its combined file, for the editing systems that pick up a conform. */
struct InterchangeRequest
{
    HostTake host;
    std::vector<GuestClip> guests;
    ReferencePicture video;
    juce::File combinedFile;
    juce::File baseFile;    // the files of the package are named like it, each with an extension of its own
    std::vector<LeftOutFile> leftOut;
    std::vector<std::vector<GuestSpan>> spans;    // of each guest; where empty, taken from the guests
};

/** The scene, and behind it "T" and the take; without a scene the poly's name without its extension. */
[[nodiscard]] juce::String clipName (const InterchangeRequest&);

/** The first eight characters of the tape; without one those of the poly's name, in capitals. Letters, digits, hyphens and
    underscores only: readers take a blank for the end of the name. */
[[nodiscard]] juce::String reelName (const InterchangeRequest&);

/** Text for XML content and for attributes in double quotes. */
[[nodiscard]] juce::String xmlEsc (const juce::String&);

// The texts of one take or of several, lines ended by "\n". None carries audio. Times are timecode of the polys, counted
// as frameLabel counts.

using InterchangeTakes = std::span<const InterchangeRequest>;

/** An edit decision list in the manner of CMX 3600. For each take an event for the combined file (AA), the picture (V),
    and on tracks of their own, from A3 on, for each stretch of each guest. */
[[nodiscard]] juce::String makeEdl (InterchangeTakes);

/** Final Cut's XML, version 5: a sequence for each take, with all tracks of its combined file, and the picture. */
[[nodiscard]] juce::String makeFcpXml (InterchangeTakes);

/** An Avid log, a row for each take. Its rate is that of the first. */
[[nodiscard]] juce::String makeAle (InterchangeTakes);

/** A description of an AAF composition as XML, which is no AAF file. */
[[nodiscard]] juce::String makeAafXml (InterchangeTakes);

/** OpenTimelineIO: the whole of each take, its guests by their stretches at their places to the sample, with what is
    doubtful or was left out as markers. A timeline for one take, a collection of timelines for several. */
[[nodiscard]] juce::String makeOtio (InterchangeTakes);

/** Replaces a text file, lines ended by carriage return and line feed; its folder is made where it is missing. After a
    failure the earlier file is as it was. */
[[nodiscard]] juce::Result writeText (const juce::File&, const juce::String&);

/** Writes the five beside each other: .edl, .xml, .ale, .aaf and .otio. The first that fails ends it; those before stay. */
[[nodiscard]] juce::Result writeInterchangePackage (const InterchangeRequest&);

/** Writes a package of a whole day into a folder, DAY_<name of the folder>: .otio, .xml and .ale, which keep takes apart;
    for takes of another rate than the first one's an .ale with that rate behind its name. An edit decision list is one
    timeline, on which takes of one time would lie on each other, and has no day. Of fewer than two takes nothing is written:
    the take's own package says it all. */
[[nodiscard]] juce::Result writeDayPackage (InterchangeTakes, const juce::File& folder);

}    // namespace ld
