#pragma once

#include "demo/DemoShootPlan.h"
#include "output/ReplacingFile.h"

#include <memory>

namespace ld
{

/** Writes one planned wave file frame by frame beside its target, and takes its place there when all is written. */
class PlannedFileWriter
{
public:
    /** Makes the folder where it is missing and writes all that stands ahead of the audio. */
    [[nodiscard]] juce::Result open (const juce::File& shootFolder, const PlannedFile&);

    /** Adds frames; they must not go beyond the format's numFrames.
        channels   for each of them at least count floats; full scale is 1.0 */
    [[nodiscard]] juce::Result write (const std::vector<std::vector<float>>& channels, int count);

    /** Ends the file when all its frames are written. */
    [[nodiscard]] juce::Result finish();

private:
    [[nodiscard]] juce::Result writeHeader (const PlannedFile&);
    [[nodiscard]] juce::Result put (const void*, size_t);

    AudioFormatInfo format;
    juce::File target;
    std::unique_ptr<ReplacingFile> file;
    std::vector<juce::uint8> bytes;
};

}    // namespace ld
