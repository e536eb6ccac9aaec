#pragma once

#include <juce_core/juce_core.h>

namespace ld
{

struct DemoShootRequest
{
    juce::File folder;
    int seconds = 40;    // of each take, which lasts up to one more; 5 to 3600
    int takes = 3;       // 1 to 99; all must fit into a shooting day of twelve hours
    int seed = 1;        // the same arguments give the same bytes

    bool operator== (const DemoShootRequest&) const = default;
};

/** Fails with a sentence where an argument is out of range. */
[[nodiscard]] juce::Result checkDemoShoot (const DemoShootRequest&);

/** How many wave files writeDemoShoot makes for this request. */
[[nodiscard]] int countDemoShootFiles (const DemoShootRequest&);

/** Writes a small believable shoot into the folder, which is made where it is missing: for each take a poly of 4 to 6
    channels, and what the other machines on the set recorded of it: two wireless packs (`Pack A`, `Pack B`, with timecode
    and drift, the first recording of the second in two files), a recorder without timecode (`Recorder`), a camera at
    44.1 kHz whose timecode is wrong by up to a second (`Camera`, not for every third take), and one file of a pack
    that belongs to no take. Files of the same names are replaced, others stay.

    `truth.json` beside them says where everything belongs. It is written last, and one that was there is removed first,
    so that it never describes other files. Its keys are stable:

    { "version": 1, "seed": n, "sampleRate": 48000,
      "takes": [ { "poly": path, "frames": n,
          "guests": [ { "source": name of the machine,
                        "pieces": [ { "file": path, "frames": n, "sampleRate": Hz,
                                      "startSamples": x, "hostSamplesPerFrame": y } ],
                        "lagSpanMs": [lo, hi] } ] } ],
      "unrelated": [path] }

    Paths are relative to the folder, with `/`. Frame n of a guest's file was captured at the moment of the poly's frame
    startSamples + n * hostSamplesPerFrame; startSamples is negative where the file starts earlier, and both numbers
    are no integers, as clocks differ. The poly's own sample clock is taken as true.

    lagSpanMs: a guest that is placed by its sound lies not exactly there but later by what the paths of the sound
    differ. For a talker, a channel of the poly and one of the guest that is the delay from the mouth to the poly's
    microphone minus the delay from the mouth to the guest's. lo and hi are the least and the largest of that
    over all talkers and channels of both: in so small a scene every microphone hears everyone. The poly's mix channels are
    sums of its other microphones, so that they add no path of their own.

    Fails with a sentence where an argument is out of range or a file cannot be written; no file is left half
    written. */
[[nodiscard]] juce::Result writeDemoShoot (const DemoShootRequest&);

}    // namespace ld
