#include "workspace/DroppedPaths.h"

namespace ld
{

DroppedPaths sortDroppedPaths (const juce::StringArray& paths)
{
    DroppedPaths sorted;

    for (const auto& path : paths)
    {
        const juce::File file (path);

        if (file.isDirectory())
            sorted.folders.push_back (file);
        else if (file.hasFileExtension ("wav;bwf;wave;m4a;flac"))
            sorted.audio.push_back (file);
        else if (file.hasFileExtension ("mov;mp4;m4v;mxf;mts;m2ts"))
            sorted.pictures.push_back (file);
        else if (file.hasFileExtension ("ldsession"))
            sorted.sessions.push_back (file);
    }

    return sorted;
}

bool holdsAnythingToOpen (const juce::StringArray& paths)
{
    const auto sorted = sortDroppedPaths (paths);
    return ! (sorted.folders.empty() && sorted.audio.empty() && sorted.pictures.empty() && sorted.sessions.empty());
}

}    // namespace ld
