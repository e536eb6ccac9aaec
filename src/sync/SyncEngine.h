#pragma once

#include "media/Records.h"
#include "sync/ClipAudio.h"

#include <functional>

namespace ld
{

struct AlignResult;

/** Given a fraction, 0 to 1, and a phase, on the calling thread; may be empty. */
using SyncProgress = std::function<void (float, const juce::String&)>;

/** True if both have a timestamp; offset is then the guest's start on the host, in host samples. */
[[nodiscard]] bool timecodeHint (const HostTake& host, const GuestClip& guest, juce::int64& offset);

/** Decides where a guest sits on a host. It holds no state, takes no lock and starts no thread; a search takes seconds.
    A place that is not found is a result: needsManual, and a sentence in detail. What cannot be allocated leaves as
    std::bad_alloc. */
class SyncEngine
{
public:
    /** The ladder for one host signal against one guest signal, both at the host's rate: timecode and the waveform
        around it, then content, then timecode alone.
        searchSeconds   how far around a rough lag is searched; at least 2 from timecode, 4 from content */
    [[nodiscard]] Alignment align (const HostTake& host,
                                   const GuestClip& guest,
                                   const std::vector<float>& hostSamples,
                                   const std::vector<float>& guestSamples,
                                   int searchSeconds) const;

    /** The ladder over the host's and guest's channels: the reference channel first, then the four likeliest. */
    [[nodiscard]] Alignment alignBestChannel (const HostTake& host,
                                              const GuestClip& guest,
                                              int searchSeconds,
                                              const SyncProgress& progress) const;

    /** Places a guest of any number of files, each piece on its own, corrects its drift and joins the pieces. The clip
        is left as it was where nothing is placed. No command reaches it: guests are placed by placeGuest, which proves
        each file's place. */
    [[nodiscard]] Alignment
    alignAndPlacePieces (const HostTake& host, GuestClip& guest, int searchSeconds, const SyncProgress& progress) const;

    /** The alignment moved by the user: manual, and no longer in doubt. */
    [[nodiscard]] static Alignment applyNudge (const Alignment&, juce::int64 deltaSamples);

    /** Takes over an alignment found earlier and stretches the audio by its drift. To be applied once: a second time
        would stretch again. */
    static void applyLockedAlignment (GuestClip&, const Alignment&);
};

}    // namespace ld
