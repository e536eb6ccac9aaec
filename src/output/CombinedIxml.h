#pragma once

#include "output/TakeMarkers.h"

namespace ld
{

/** The text of a combined file's iXML: the poly's document with what is true of the new file.
    bits      of the combined file
    bext      the combined file's own; iXML's copy of it is brought into line
    markers   written as sync points
    Where the request wants new ids, the bext has the UMID already; HISTORY then names the parent. */
[[nodiscard]] juce::String
makeCombinedIxml (const ExportRequest&, int bits, const BextChunk& bext, std::span<const TakeMarker> markers);

}    // namespace ld
