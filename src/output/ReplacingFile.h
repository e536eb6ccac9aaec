#pragma once

#include <juce_core/juce_core.h>

namespace ld
{

/** Makes a file-size limit an ordinary write error: without this the system ends the process. For a program's start. */
void reportFileSizeLimitAsError();

/** Writes a file beside its target and moves it there only when every byte is known to be written and flushed. Until
    then, and after any failure, the target is as it was; the file beside it goes with this object. */
class ReplacingFile
{
public:
    explicit ReplacingFile (const juce::File& target);

    [[nodiscard]] bool isOpen() const noexcept { return stream.openedOk(); }

    /** False once any write has failed. */
    bool write (const void* bytes, size_t count);
    bool writeAt (juce::int64 position, const void* bytes, size_t count);
    [[nodiscard]] juce::int64 getPosition() { return stream.getPosition(); }

    enum class Outcome
    {
        replaced,
        notWritten,
        notReplaced
    };

    /** Flushes, closes and moves. */
    [[nodiscard]] Outcome finish();

private:
    juce::TemporaryFile temporary;
    juce::FileOutputStream stream;
    bool allWritten = true;
};

/** Replaces a text file: 8-bit, without a byte-order mark, lines ended by carriage return and line feed. */
[[nodiscard]] bool replaceTextFile (const juce::File& target, const juce::String& text);

}    // namespace ld
