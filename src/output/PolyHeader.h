#pragma once

#include "output/BwfWriter.h"

namespace ld
{

/** The numbers of one combined file, all known before the first byte is written. */
struct PolyLayout
{
    int hostChannels = 0;    // those that are not omitted
    int totalChannels = 0;
    int sampleRate = 0;
    int bits = 0;
    int sampleBytes = 0;
    bool isFloat = false;
    juce::int64 blockAlign = 0;    // bytes of one frame
    juce::int64 numFrames = 0;
    juce::int64 dataBytes = 0;
    bool isRf64 = false;
};

[[nodiscard]] PolyLayout layOutPoly (const ExportRequest&);

/** Everything ahead of the audio, up to and with the size field of `data`. In an RF64 file `bext` and `iXML` are brought
    to an even length, by a NUL behind the coding history and a blank behind the text: widely used programs cannot open
    one that has a chunk of odd size ahead of `data`, even a padded one. The file's own size is still 0. */
[[nodiscard]] juce::MemoryBlock makePolyHeader (const ExportRequest&, const PolyLayout&);

/** The chunks behind the audio: those that ride along, and the markers where the poly brings none of its own. */
[[nodiscard]] juce::MemoryBlock makePolyTrailer (const ExportRequest&);

/** Where the file's size less 8 goes once it is known. */
constexpr juce::int64 riffSizeAt = 4;
constexpr juce::int64 rf64SizeAt = 20;

}    // namespace ld
