#pragma once

#include "output/BwfWriter.h"

namespace ld
{

/** What identifies one recording's sound. */
struct EssenceIds
{
    std::array<juce::uint8, 64> umid {};    // SMPTE ST 330, a basic one; the second half is zero
    juce::String fileUid;                   // of iXML
};

/** New ids for a combined file. They follow from its sources and settings alone, so that combining the same again gives
    the same file: from the poly's ids and names, its tracks, the guests with their ids and places, and the mixer. Folders
    and the output's name do not count. */
[[nodiscard]] EssenceIds makeEssenceIds (const ExportRequest&);

}    // namespace ld
