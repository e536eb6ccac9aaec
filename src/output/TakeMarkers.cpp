#include "output/TakeMarkers.h"

#include "output/GuestSpans.h"

#include <algorithm>
#include <limits>

namespace ld
{
namespace
{

using juce::int64;

// The ends of files are known only to the clock's drift: what is shorter is a seam, not a gap.
constexpr double shortestGapSeconds = 0.1;

void addMarkers (const HostTake& host, const GuestClip& guest, std::vector<TakeMarker>& markers)
{
    const auto spans = guestSpans (host, guest);
    const auto name = guestName (guest);
    const auto rate = (double) std::max (host.format.sampleRate, 1);

    if (spans.empty())
        return;

    if (spans.front().start > 0)
        markers.push_back ({ spans.front().start, name + " begins" });

    for (size_t i = 0; i + 1 < spans.size(); ++i)
    {
        const auto gap = (double) (spans[i + 1].start - spans[i].end()) / rate;

        if (gap < shortestGapSeconds)
            continue;

        markers.push_back ({ spans[i].end(), name + " stops, gap of " + juce::String (gap, 1) + " s" });
        markers.push_back ({ spans[i + 1].start, name + " goes on" });
    }

    if (spans.back().end() < host.format.numFrames)
        markers.push_back ({ spans.back().end(), name + " ends" });
}

bool fitsCue (const TakeMarker& marker)
{
    return marker.position <= std::numeric_limits<juce::uint32>::max();
}

void writeId (juce::MemoryOutputStream& out, const char* id)
{
    out.write (id, 4);
}

}    // namespace

std::vector<TakeMarker> listMarkers (const ExportRequest& request)
{
    std::vector<TakeMarker> markers;

    if (request.includeMarkers)
        for (const auto& guest : request.guests)
            addMarkers (request.host, guest, markers);

    std::ranges::stable_sort (markers, {}, &TakeMarker::position);
    return markers;
}

juce::MemoryBlock makeCueBody (std::span<const TakeMarker> markers)
{
    juce::MemoryOutputStream out;
    out.writeInt ((int) std::ranges::count_if (markers, fitsCue));
    auto number = 0;

    for (const auto& marker : markers)
    {
        if (! fitsCue (marker))
            continue;

        // Number, place in the play order, chunk, start of chunk and of block, sample in the block.
        const auto sample = (int) (juce::uint32) marker.position;
        out.writeInt (++number);
        out.writeInt (sample);
        writeId (out, "data");
        out.writeInt (0);
        out.writeInt (0);
        out.writeInt (sample);
    }

    return out.getMemoryBlock();
}

juce::MemoryBlock makeLabelBody (std::span<const TakeMarker> markers)
{
    juce::MemoryOutputStream out;
    writeId (out, "adtl");
    auto number = 0;

    for (const auto& marker : markers)
    {
        if (! fitsCue (marker))
            continue;

        const auto textBytes = marker.text.getNumBytesAsUTF8() + 1;
        writeId (out, "labl");
        out.writeInt ((int) (sizeof (juce::uint32) + textBytes));
        out.writeInt (++number);
        out.write (marker.text.toRawUTF8(), textBytes);
        out.writeRepeatedByte (0, textBytes % 2);
    }

    return out.getMemoryBlock();
}

bool hasOwnMarkers (const HostTake& host)
{
    return std::ranges::any_of (host.extraChunks, [] (const auto& chunk) {
        const auto isLabels = chunk.id == "LIST" && chunk.data.getSize() >= 4 && chunk.data.matches ("adtl", 4);
        return chunk.id == "cue " || isLabels;
    });
}

}    // namespace ld
