#pragma once

#include "mix/MixLevel.h"
#include "mix/MixModel.h"

#include <functional>

namespace ld
{

/** The XXH64 of what a write has read and written; empty where a file could not be read to its end. */
struct WrittenHashes
{
    juce::String poly, output;
};

/** Everything that one COMBINED file is made of: a snapshot that nothing else changes during the write. */
struct ExportRequest
{
    HostTake host;
    std::vector<GuestClip> guests;
    juce::File outputFile;
    std::function<void (float)> progress;                    // given the fraction done after each block; may be empty
    std::function<bool()> isWanted = [] { return true; };    // checked at each block; false ends the write as a failure
    std::function<void (const MixLevel&)> mixMeasured;       // given the level of the whole MIX; may be empty
    std::function<void (const WrittenHashes&)> hashed;       // given them once the file is whole; may be empty
    bool includeMix = true;
    MixerBank mixer {};
    int mixerCount = 0;            // channels of mixer in use
    bool includeMarkers = true;    // where guests begin, stop, go on and end
    bool hasNewIds = false;        // a UMID and FILE_UID of its own, instead of the poly's
};

/** The tracks of the combined file: the new MIX, the host's with the recorder's own mix renamed, the guests'. */
[[nodiscard]] std::vector<TrackInfo>
buildExportTracks (const HostTake&, const std::vector<GuestClip>&, bool includeMix);

namespace BwfWriter
{

/** Writes one poly on the host's timeline and exactly as long: a summed MIX, the host's channels through the 24-bit
    scale, every guest channel at its offset, the host's metadata and its unknown chunks.

    Memory holds the guests' buffers and two blocks, whatever the length. A failure leaves an earlier target as it was
    and nothing beside it; its sentence is the result's. */
[[nodiscard]] juce::Result writePoly (const ExportRequest&);

/** Sums the MIX that writePoly would write, tells how loud it is, and writes nothing. Reads what writePoly reads. */
[[nodiscard]] juce::Result measureMix (const ExportRequest&);

}    // namespace BwfWriter

namespace PolyExporter
{

[[nodiscard]] juce::Result write (const ExportRequest&);

}    // namespace PolyExporter

}    // namespace ld
