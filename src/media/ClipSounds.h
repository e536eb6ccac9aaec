#pragma once

#include <juce_core/juce_core.h>

#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace ld
{

/** The decoded sound of clips, for as long as this lives: each clip is decoded once, however many read it and how often.
    Compressed sound can be read exactly only from its beginning on, and work on a shoot reads files here and there; so
    each sound track lies as a wave file of its own in a folder for temporary files, none in memory. What a process
    that was killed has left there goes with the next one.

    For any thread. */
class ClipSounds
{
public:
    ClipSounds();
    ~ClipSounds();

    /** Wave files with the sound of a clip's tracks, in the clip's order; each begins with the clip.
        A failed result is the sentence for the user. */
    [[nodiscard]] juce::Result soundOf (const juce::File& clip, std::vector<juce::File>& waves);

    /** Clips that were decoded so far. */
    [[nodiscard]] int numDecoded() const;

private:
    struct Decoded;
    class Folder;

    [[nodiscard]] juce::Result decode (const juce::File& clip, Decoded&);

    mutable std::mutex mutex;
    std::unique_ptr<Folder> folder;                            // made with the first clip
    std::map<juce::String, std::shared_ptr<Decoded>> clips;    // by path, size and time of change
};

}    // namespace ld
