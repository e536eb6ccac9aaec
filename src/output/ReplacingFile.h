#pragma once

#include <juce_core/juce_core.h>

#include <memory>

namespace ld
{

/** Makes a file-size limit an ordinary write error: without this the system ends the process. For a program's start. */
void reportFileSizeLimitAsError();

/** Removes every file that is being written, and lets no further one be started or moved to its target: for the moment
    before the user ends the process. */
void abandonUnfinishedFiles();

/** Writes a file beside its target and moves it there only when every byte is known to be written and flushed. Until
    then, and after any failure, the target is as it was; the file beside it goes with this object. Where the system can, that
    file has no name until it is whole: it goes with the process, too, however that ends. */
class ReplacingFile
{
public:
    explicit ReplacingFile (const juce::File& target);
    ~ReplacingFile();
    ReplacingFile (const ReplacingFile&) = delete;
    ReplacingFile& operator= (const ReplacingFile&) = delete;

    [[nodiscard]] bool isOpen() const noexcept { return stream->openedOk(); }

    /** False once any write has failed. */
    bool write (const void* bytes, size_t count);

    enum class Outcome
    {
        replaced,
        notWritten,
        notReplaced
    };

    /** Flushes, closes and moves. */
    [[nodiscard]] Outcome finish();

private:
    [[nodiscard]] juce::int64 sizeWritten() const;
    [[nodiscard]] bool nameFile();

    juce::TemporaryFile temporary;
    int nameless = -1;                                 // its descriptor, as long as it has no name
    std::unique_ptr<juce::FileOutputStream> stream;    // closed, some systems will move its file
    bool allWritten = true;
    juce::int64 numBytes = 0;    // that the file must have in the end
};

/** Replaces a text file: 8-bit, without a byte-order mark, lines ended by carriage return and line feed. */
[[nodiscard]] bool replaceTextFile (const juce::File& target, const juce::String& text);

}    // namespace ld
