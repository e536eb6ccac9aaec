#include "output/ReplacingFile.h"

#if JUCE_LINUX
#include <fcntl.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <csignal>
#include <mutex>
#include <set>

namespace ld
{
namespace
{

// The temporary files of all threads.
struct UnfinishedFiles
{
    std::mutex mutex;
    std::set<juce::String> paths;

    static UnfinishedFiles& get()
    {
        static UnfinishedFiles files;
        return files;
    }
};

constexpr size_t streamBufferBytes = 32768;

// A name of its own that no scan takes for media, short enough whatever the target's.
juce::File unfinishedSiblingOf (const juce::File& target)
{
    return target.getSiblingFile (".lodestrand-" + juce::Uuid().toString() + ".part");
}

// Listed before it exists, so that none escapes.
juce::File listed (const juce::File& file)
{
    auto& unfinished = UnfinishedFiles::get();
    const std::scoped_lock lock (unfinished.mutex);
    unfinished.paths.insert (file.getFullPathName());
    return file;
}

}    // namespace

void reportFileSizeLimitAsError()
{
#ifdef SIGXFSZ
    std::signal (SIGXFSZ, SIG_IGN);
#endif
}

ReplacingFile::ReplacingFile (const juce::File& target)
    : temporary (target, unfinishedSiblingOf (target)),
      stream (std::make_unique<juce::FileOutputStream> (listed (temporary.getFile()), streamBufferBytes))
{
}

ReplacingFile::~ReplacingFile()
{
    stream.reset();

    // Struck off only when it is gone: an interrupt between the two would leave it behind.
    auto& unfinished = UnfinishedFiles::get();
    const std::scoped_lock lock (unfinished.mutex);
    juce::ignoreUnused (temporary.deleteTemporaryFile());
    unfinished.paths.erase (temporary.getFile().getFullPathName());
}

void abandonUnfinishedFiles()
{
    auto& unfinished = UnfinishedFiles::get();

    // Never unlocked: whoever wants to begin or finish a file waits for the end of the process.
    unfinished.mutex.lock();

    for (const auto& path : unfinished.paths)
        juce::ignoreUnused (juce::File (path).deleteFile());
}

bool ReplacingFile::write (const void* bytes, size_t count)
{
    // An empty block may have no address at all.
    allWritten = allWritten && (count == 0 || stream->write (bytes, count));
    numBytes = std::max (numBytes, stream->getPosition());
    return allWritten;
}

bool ReplacingFile::writeAt (juce::int64 position, const void* bytes, size_t count)
{
    allWritten = allWritten && stream->setPosition (position);
    return write (bytes, count);
}

ReplacingFile::Outcome ReplacingFile::finish()
{
    stream->flush();

    if (! allWritten || stream->getStatus().failed())
        return Outcome::notWritten;

    stream.reset();

    // A disk that fills up takes a part of the last bytes, which the stream does not tell.
    if (temporary.getFile().getSize() != numBytes)
        return Outcome::notWritten;

    // An empty folder in the target's place would be removed for it.
    if (temporary.getTargetFile().isDirectory())
        return Outcome::notReplaced;

    const std::scoped_lock lock (UnfinishedFiles::get().mutex);
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
