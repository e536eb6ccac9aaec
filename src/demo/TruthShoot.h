#pragma once

#include <juce_core/juce_core.h>

#include <array>

namespace ld
{

/** What a shoot of hard truth is made for. */
enum class TruthKind
{
    day,           // a shooting day with everything that goes wrong on one
    shortTakes,    // many takes too short to show a clock's drift by themselves
    music,         // one piece of music played twice in a take
    strangers,     // nothing belongs together
    bad            // files that hold no sound of a take, and clocks that are far off
};

inline constexpr std::array allTruthKinds {
    TruthKind::day, TruthKind::shortTakes, TruthKind::music, TruthKind::strangers, TruthKind::bad
};

[[nodiscard]] juce::String nameOf (TruthKind);

struct TruthShootRequest
{
    juce::File folder;
    TruthKind kind = TruthKind::day;
    int takes = 0;        // 0: as many as the kind has by itself; at most 200
    int seconds = 0;      // of a take, which is a third longer or shorter; 0: as the kind has it; otherwise 10 to 900
    int longTakes = 0;    // a day's further takes of 8 to 12 minutes, 0 to 4
    int seed = 1;         // the same arguments give the same bytes on one machine with the same coder

    bool operator== (const TruthShootRequest&) const = default;
};

/** The request with the kind's own numbers in place of zeros. */
[[nodiscard]] TruthShootRequest completed (TruthShootRequest);

/** Fails with a sentence where an argument is out of range. */
[[nodiscard]] juce::Result checkTruthShoot (const TruthShootRequest&);

/** Writes a shoot that is hard to conform, and `truth.json`, written last, which says where everything belongs. Its keys are
    those of a demo shoot (see DemoShoot.h) and these:

    { "kind": name, "codec": "aac" or "stand-in" of the cameras,
      "takes": [ { ..., "silent": bool, "events": [word],
          "guests": [ { ..., "silent": bool,
                        "pieces": [ { ..., "silent": bool,
                                      "segments": [ { "fromSample": n, "hostSample": x, "slope": s, "quiet": bool } ],
                                      "paths": [ [lo, hi] ] } ] } ] } ],
      "sources": [ { "source": name, "ppm": x, "isStamped": bool,
                     "jamErrors": [ { "fromSeconds": of the day, "seconds": ahead } ],
                     "jumps": [ { "file": path, "fromSample": n, "ms": x } ] } ],
      "unrelated": [path] }

    segments: frame f of the file, from one fromSample to the next, was captured when the poly was at its sample
    hostSample + (f - fromSample) * (48000 / sampleRate) * (1 + slope). A clock that is fast by p ppm has a slope of about
    -p * 1e-6. startSamples and hostSamplesPerFrame of the piece are those of its first segment.
    quiet: it begins where nobody talks within 2 s on one side, so that the sound cannot show exactly where.
    ms of a jump: above 0 samples were lost, below 0 the last ones are there twice.
    paths: a file that is placed by its sound lies later than its segments by one of these, in samples of the poly: for
    each talker or loudspeaker that is heard meanwhile, each microphone of the poly and each of the file the delay to the
    poly's minus the delay to the file's; a range where somebody walks.
    silent: the two have no common sound. A file that runs through several takes is a piece in each of them; only files
    that have a stretch in common with a poly are. */
[[nodiscard]] juce::Result writeTruthShoot (const TruthShootRequest&);

}    // namespace ld
