#pragma once

#include "FuzzTargets.h"

#include "media/BextIxml.h"

#include <juce_core/juce_core.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ld::fuzz
{

/** Ends the process, as a fault does, where the promise does not hold. */
inline void require (bool holds, const char* promise)
{
    if (holds)
        return;

    std::fprintf (stderr, "broken promise: %s\n", promise);
    std::abort();
}

/** As the program makes a text of a file's bytes. */
[[nodiscard]] inline juce::String textOf (Bytes bytes)
{
    return textFromBytes ({ reinterpret_cast<const char*> (bytes.data()), bytes.size() });
}

/** Takes values off the front; zeros behind the end. */
template <typename Value>
[[nodiscard]] Value take (Bytes& bytes)
{
    Value value {};
    const auto count = std::min (sizeof (Value), bytes.size());

    if (count > 0)
        std::memcpy (&value, bytes.data(), count);

    bytes = bytes.subspan (count);
    return value;
}

/** A file in the folder for temporary files, written anew for each input. */
class InputFile
{
public:
    explicit InputFile (const juce::String& suffix) : file (juce::File::createTempFile (suffix)) {}
    ~InputFile() { juce::ignoreUnused (file.deleteFile()); }
    InputFile (const InputFile&) = delete;
    InputFile& operator= (const InputFile&) = delete;

    const juce::File& holding (Bytes bytes) const
    {
        auto* const stream = std::fopen (file.getFullPathName().toRawUTF8(), "wb");
        const auto isWritten = [&] {
            return bytes.empty() || std::fwrite (bytes.data(), 1, bytes.size(), stream) == bytes.size();
        };
        require (stream != nullptr && isWritten(), "the input can be written");
        std::fclose (stream);
        return file;
    }

    const juce::File file;
};

}    // namespace ld::fuzz
