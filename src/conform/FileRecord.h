#pragma once

#include <juce_core/juce_core.h>

namespace ld
{

/** A file as it was when it was read or written, for a later run to tell whether it still is. */
struct FileRecord
{
    juce::File file;
    juce::int64 size = -1;       // bytes; -1: it was not there
    juce::int64 modified = 0;    // microseconds since 1970
    juce::String xxh64 {};       // empty where it was not made

    bool operator== (const FileRecord&) const = default;
};

[[nodiscard]] FileRecord recordOf (const juce::File&, const juce::String& xxh64 = {});

/** Whether the file is what it was: by size and time; where only the time is another, by its hash, if that is known. */
[[nodiscard]] bool isAsRecorded (const FileRecord&);

[[nodiscard]] juce::var describeRecord (const FileRecord&);
[[nodiscard]] FileRecord readRecord (const juce::var&);

}    // namespace ld
