#pragma once

#include "media/Records.h"

namespace ld
{

/** One take and its combined file, for the editing systems that pick up a conform. */
struct InterchangeRequest
{
    HostTake host;
    std::vector<GuestClip> guests;
    ReferencePicture video;
    juce::File combinedFile;
    juce::File baseFile;    // the files of the package are named like it, each with an extension of its own
};

/** The scene, and behind it "T" and the take; without a scene the poly's name without its extension. */
[[nodiscard]] juce::String clipName (const InterchangeRequest&);

/** The first eight characters of the tape; without one those of the poly's name, in capitals. */
[[nodiscard]] juce::String reelName (const InterchangeRequest&);

/** Text for XML content and for attributes in double quotes. */
[[nodiscard]] juce::String xmlEsc (const juce::String&);

// The texts of the package, lines ended by "\n". None carries audio.

/** An edit decision list in the manner of CMX 3600: an event for the combined file, the picture and each guest. */
[[nodiscard]] juce::String makeEdl (const InterchangeRequest&);

/** Final Cut's XML, version 5: the combined file, and the picture. */
[[nodiscard]] juce::String makeFcpXml (const InterchangeRequest&);

/** An Avid log, one row. */
[[nodiscard]] juce::String makeAle (const InterchangeRequest&);

/** A description of an AAF composition as XML. */
[[nodiscard]] juce::String makeAafXml (const InterchangeRequest&);

/** Replaces a text file, lines ended by carriage return and line feed; its folder is made where it is missing. After a
    failure the earlier file is as it was. */
[[nodiscard]] juce::Result writeText (const juce::File&, const juce::String&);

/** Writes the four beside each other: .edl, .xml, .ale and .aaf. The first that fails ends it; those before it stay. */
[[nodiscard]] juce::Result writeInterchangePackage (const InterchangeRequest&);

}    // namespace ld
