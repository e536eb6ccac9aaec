#include "output/ReplacingFile.h"

#include <csignal>

namespace ld
{

void reportFileSizeLimitAsError()
{
#ifdef SIGXFSZ
    std::signal (SIGXFSZ, SIG_IGN);
#endif
}

ReplacingFile::ReplacingFile (const juce::File& target)
    : temporary (target, juce::TemporaryFile::useHiddenFile), stream (temporary.getFile(), 32768)
{
}

bool ReplacingFile::write (const void* bytes, size_t count)
{
    allWritten = allWritten && stream.write (bytes, count);
    return allWritten;
}

bool ReplacingFile::writeAt (juce::int64 position, const void* bytes, size_t count)
{
    allWritten = allWritten && stream.setPosition (position);
    return write (bytes, count);
}

ReplacingFile::Outcome ReplacingFile::finish()
{
    stream.flush();

    if (! allWritten || stream.getStatus().failed())
        return Outcome::notWritten;

    return temporary.overwriteTargetFileWithTemporary() ? Outcome::replaced : Outcome::notReplaced;
}

bool replaceTextFile (const juce::File& target, const juce::String& text)
{
    juce::MemoryOutputStream bytes;
    bytes.writeText (text, false, false, "\r\n");
    ReplacingFile file (target);
    return file.isOpen() && file.write (bytes.getData(), bytes.getDataSize())
           && file.finish() == ReplacingFile::Outcome::replaced;
}

}    // namespace ld
