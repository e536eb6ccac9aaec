#pragma once

#include "output/Interchange.h"
#include "output/TimecodeLabels.h"

#include <optional>

namespace ld
{

/** A take as all interchange texts count it, so that none says another length or place than the next. */
struct InterchangeTake
{
    TimecodeRate rate;
    juce::int64 start = 0;     // the take's first frame, since midnight
    juce::int64 length = 0;    // frames
};

/** One file on the timeline of a take, in frames of the take's timecode. */
struct InterchangeClip
{
    juce::File file;
    juce::int64 start = 0, length = 0;    // on the timeline, from the take's first frame
    juce::int64 sourceStart = 0;          // the file's own timecode where it is first heard; from 0 where it has none
    juce::int64 sourceFirst = 0;          // that of the file's first frame

    [[nodiscard]] juce::int64 end() const noexcept { return start + length; }
};

[[nodiscard]] InterchangeTake interchangeTakeOf (const HostTake&);

/** The combined file: the whole take. */
[[nodiscard]] InterchangeClip combinedClip (const InterchangeRequest&, const InterchangeTake&);

/** The picture as far as it runs beside the take; none where there is none, or not there. Without a length of its own it
    goes on to the take's end; without a stamp it begins with the take. */
[[nodiscard]] std::optional<InterchangeClip> pictureClip (const InterchangeRequest&, const InterchangeTake&);

/** The stretches of a guest of the request, by its index. */
[[nodiscard]] std::vector<GuestSpan> spansOfGuest (const InterchangeRequest&, size_t guest);

/** The same in frames; a stretch that is shorter than half a frame has one. */
[[nodiscard]] std::vector<InterchangeClip> guestClips (const InterchangeRequest&, size_t guest, const InterchangeTake&);

/** The tracks of the combined file, as it names them. */
[[nodiscard]] std::vector<TrackInfo> combinedTracks (const InterchangeRequest&);

/** A text for a field of one line: without tabs and line ends. */
[[nodiscard]] juce::String oneLine (const juce::String&);

/** The address of a file, in the letters that an address may have (RFC 8089, RFC 3986). */
[[nodiscard]] juce::String fileUrl (const juce::File&);

}    // namespace ld
