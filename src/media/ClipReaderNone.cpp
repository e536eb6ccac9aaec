#include "media/ClipReader.h"

#if ! LD_HAS_LIBAV

namespace ld
{

juce::Result describeClip (const juce::File& clip, ClipDescription&)
{
    return juce::Result::fail ("This build of Lodestrand reads wave files only, not " + clip.getFileName() + ".");
}

juce::Result decodeClip (const juce::File& clip, const ClipSink&)
{
    ClipDescription none;
    return describeClip (clip, none);
}

}    // namespace ld

#endif
