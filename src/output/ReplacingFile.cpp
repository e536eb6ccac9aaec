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

// Has the system begin writing to the disk while the file still grows, so that the flush at the end has little left to
// wait for. A hint: where it cannot be given, nothing is lost but time.
class ReplacingFile::EarlyWriteback
{
public:
#if JUCE_LINUX
    explicit EarlyWriteback (const juce::File& file)
        : descriptor (::open (file.getFullPathName().toRawUTF8(), O_WRONLY | O_CLOEXEC))
    {
    }

    ~EarlyWriteback()
    {
        if (descriptor >= 0)
            ::close (descriptor);
    }

    EarlyWriteback (const EarlyWriteback&) = delete;
    EarlyWriteback& operator= (const EarlyWriteback&) = delete;

    void reached (juce::int64 position)
    {
        constexpr juce::int64 stepBytes = 16 << 20;

        if (descriptor < 0 || position - begun < stepBytes)
            return;

        ::sync_file_range (descriptor, begun, position - begun, SYNC_FILE_RANGE_WRITE);
        begun = position;
    }

private:
    int descriptor;
    juce::int64 begun = 0;
#else
    explicit EarlyWriteback (const juce::File&)
    {
    }
    void reached (juce::int64)
    {
    }
#endif
};

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
    writeback = std::make_unique<EarlyWriteback> (temporary.getFile());
}

ReplacingFile::~ReplacingFile()
{
    auto& unfinished = UnfinishedFiles::get();
    const std::scoped_lock lock (unfinished.mutex);
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
    allWritten = allWritten && stream->write (bytes, count);
    numBytes = std::max (numBytes, stream->getPosition());
    writeback->reached (numBytes);
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
    writeback.reset();

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
