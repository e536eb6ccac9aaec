#include "output/ReplacingFile.h"

#if JUCE_LINUX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <csignal>
#include <mutex>
#include <set>
#include <utility>

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

#if JUCE_LINUX

// Not every file system has files without a name.
int openNameless (const juce::File& target)
{
    const auto folder = target.getParentDirectory().getFullPathName();
    return ::open (folder.toRawUTF8(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0644);
}

juce::String pathOf (int descriptor)
{
    return "/proc/self/fd/" + juce::String (descriptor);
}

#endif

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

ReplacingFile::ReplacingFile (const juce::File& target) : temporary (target, unfinishedSiblingOf (target))
{
    auto file = listed (temporary.getFile());

#if JUCE_LINUX
    nameless = openNameless (target);

    if (nameless >= 0)
        file = juce::File (pathOf (nameless));
#endif

    stream = std::make_unique<juce::FileOutputStream> (file, streamBufferBytes);

#if JUCE_LINUX
    // Without /proc the file must have a name after all.
    if (nameless >= 0 && ! stream->openedOk())
    {
        ::close (std::exchange (nameless, -1));
        stream = std::make_unique<juce::FileOutputStream> (temporary.getFile(), streamBufferBytes);
    }
#endif
}

ReplacingFile::~ReplacingFile()
{
    stream.reset();

#if JUCE_LINUX
    if (nameless >= 0)
        ::close (nameless);
#endif

    // Struck off only when it is gone: an interrupt between the two would leave it behind.
    auto& unfinished = UnfinishedFiles::get();
    const std::scoped_lock lock (unfinished.mutex);
    juce::ignoreUnused (temporary.deleteTemporaryFile());
    unfinished.paths.erase (temporary.getFile().getFullPathName());
}

juce::int64 ReplacingFile::sizeWritten() const
{
#if JUCE_LINUX
    struct stat facts
    {
    };

    if (nameless >= 0)
        return fstat (nameless, &facts) == 0 ? (juce::int64) facts.st_size : -1;
#endif

    return temporary.getFile().getSize();
}

bool ReplacingFile::nameFile()
{
#if JUCE_LINUX
    const auto name = temporary.getFile().getFullPathName();
    return nameless < 0
           || linkat (AT_FDCWD, pathOf (nameless).toRawUTF8(), AT_FDCWD, name.toRawUTF8(), AT_SYMLINK_FOLLOW) == 0;
#else
    return true;
#endif
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

ReplacingFile::Outcome ReplacingFile::finish()
{
    stream->flush();

    if (! allWritten || stream->getStatus().failed())
        return Outcome::notWritten;

    stream.reset();

    // A disk that fills up takes a part of the last bytes, which the stream does not report.
    if (sizeWritten() != numBytes)
        return Outcome::notWritten;

    // An empty folder in the target's place would be removed for it.
    if (temporary.getTargetFile().isDirectory())
        return Outcome::notReplaced;

    const std::scoped_lock lock (UnfinishedFiles::get().mutex);
    return nameFile() && temporary.overwriteTargetFileWithTemporary() ? Outcome::replaced : Outcome::notReplaced;
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
