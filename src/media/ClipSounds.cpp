#include "media/ClipSounds.h"

#include "media/ClipReader.h"

#include <optional>

#if ! JUCE_WINDOWS
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace ld
{
namespace
{

const char* const folderName = "lodestrand-clips-";
const char* const lockName = "in-use";

// A machine's memory often serves as its folder for temporary files; there is one for large ones, too.
juce::File temporaryFolder()
{
    const juce::File largeFiles ("/var/tmp");
    const auto isChosen = juce::SystemStats::getEnvironmentVariable ("TMPDIR", {}).isNotEmpty();
    return ! isChosen && largeFiles.isDirectory() && largeFiles.hasWriteAccess()
               ? largeFiles
               : juce::File::getSpecialLocation (juce::File::tempDirectory);
}

#if JUCE_WINDOWS

juce::File makeFolder (const juce::File& parent)
{
    const auto folder = parent.getNonexistentChildFile (folderName, {}, false);
    return folder.createDirectory().wasOk() ? folder : juce::File();
}

class FolderLock
{
public:
    explicit FolderLock (const juce::File&) {}
    [[nodiscard]] bool isHeld() const noexcept { return true; }
};

void removeAbandoned (const juce::File&)
{
}

#else

// Readable by its owner only: it holds what was said on a set.
juce::File makeFolder (const juce::File& parent)
{
    auto path = parent.getChildFile (folderName).getFullPathName().toStdString() + "XXXXXX";
    return ::mkdtemp (path.data()) != nullptr ? juce::File (path) : juce::File();
}

// The system gives a lock back when its process ends, however that comes.
class FolderLock
{
public:
    explicit FolderLock (const juce::File& folder)
        : handle (
            ::open (folder.getChildFile (lockName).getFullPathName().toRawUTF8(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
    {
    }

    ~FolderLock()
    {
        if (handle >= 0)
            ::close (handle);
    }

    FolderLock (const FolderLock&) = delete;
    FolderLock& operator= (const FolderLock&) = delete;

    [[nodiscard]] bool isHeld() const noexcept { return handle >= 0 && ::flock (handle, LOCK_EX | LOCK_NB) == 0; }

private:
    int handle;
};

// A folder that has no lock yet may be one that is just being made.
void removeAbandoned (const juce::File& parent)
{
    const auto pattern = juce::String (folderName) + "*";

    for (const auto& folder : parent.findChildFiles (juce::File::findDirectories, false, pattern))
        if (folder.getChildFile (lockName).existsAsFile() && FolderLock (folder).isHeld())
            folder.deleteRecursively();
}

#endif

// The head of a wave file whose audio reaches to the file's end.
juce::MemoryBlock waveHead (const AudioFormatInfo& track)
{
    constexpr int sizeUnknown = -1;
    const auto frameBytes = track.channels * track.bytesPerSample;
    juce::MemoryOutputStream head;
    head << "RIFF";
    head.writeInt (sizeUnknown);
    head << "WAVEfmt ";
    head.writeInt (16);
    head.writeShort ((short) track.formatTag);
    head.writeShort ((short) track.channels);
    head.writeInt (track.sampleRate);
    head.writeInt (track.sampleRate * frameBytes);
    head.writeShort ((short) frameBytes);
    head.writeShort ((short) track.bitsPerSample);
    head << "data";
    head.writeInt (sizeUnknown);
    return head.getMemoryBlock();
}

// One sound track on its way into its file. Silence is skipped over: it takes no room on the disk.
class TrackFile
{
public:
    TrackFile (const juce::File& file, const AudioFormatInfo& track)
        : stream (file), frameBytes (track.channels * track.bytesPerSample)
    {
        const auto head = waveHead (track);
        headBytes = (juce::int64) head.getSize();
        isGood = stream.openedOk() && stream.write (head.getData(), head.getSize());
    }

    bool write (juce::int64 frame, std::span<const juce::uint8> frames)
    {
        isGood = isGood && stream.setPosition (headBytes + frame * frameBytes)
                 && stream.write (frames.data(), frames.size());
        return isGood;
    }

    bool finish()
    {
        stream.flush();
        return isGood && stream.getStatus().wasOk();
    }

private:
    juce::FileOutputStream stream;
    juce::int64 headBytes = 0;
    int frameBytes;
    bool isGood = false;
};

}    // namespace

class ClipSounds::Folder
{
public:
    Folder()
    {
        const auto parent = temporaryFolder();
        removeAbandoned (parent);

        if (path = makeFolder (parent); isThere())
            lock.emplace (path);
    }

    ~Folder()
    {
        if (isThere())
            path.deleteRecursively();
    }

    [[nodiscard]] bool isThere() const { return path != juce::File() && (! lock || lock->isHeld()); }

    juce::File path;

private:
    std::optional<FolderLock> lock;
};

struct ClipSounds::Decoded
{
    std::mutex mutex;
    bool isDone = false;
    juce::Result result = juce::Result::ok();
    std::vector<juce::File> waves;
};

ClipSounds::ClipSounds() = default;

ClipSounds::~ClipSounds() = default;

int ClipSounds::numDecoded() const
{
    const std::lock_guard lock (mutex);
    return (int) clips.size();
}

juce::Result ClipSounds::soundOf (const juce::File& clip, std::vector<juce::File>& waves)
{
    std::shared_ptr<Decoded> decoded;
    const auto key = clip.getFullPathName() + "|" + juce::String (clip.getSize()) + "|"
                     + juce::String (clip.getLastModificationTime().toMilliseconds());
    {
        const std::lock_guard lock (mutex);

        if (folder == nullptr)
            folder = std::make_unique<Folder>();

        if (! folder->isThere())
            return juce::Result::fail ("There is no room for the sound of " + clip.getFileName()
                                       + ": the folder for temporary files cannot be written.");

        auto& known = clips[key];

        if (known == nullptr)
            known = std::make_shared<Decoded>();

        decoded = known;
    }

    const std::lock_guard lock (decoded->mutex);

    if (! decoded->isDone)
        decoded->result = decode (clip, *decoded);

    decoded->isDone = true;
    waves = decoded->waves;
    return decoded->result;
}

juce::Result ClipSounds::decode (const juce::File& clip, Decoded& decoded)
{
    std::vector<std::unique_ptr<TrackFile>> tracks;
    const auto name = juce::Uuid().toString() + "-";
    auto isWritten = true;

    auto result = decodeClip (clip,
                              { [&] (const AudioFormatInfo& track) {
                                   decoded.waves.push_back (
                                       folder->path.getChildFile (name + juce::String (tracks.size()) + ".wav"));
                                   tracks.push_back (std::make_unique<TrackFile> (decoded.waves.back(), track));
                               },
                                [&] (size_t track, juce::int64 frame, std::span<const juce::uint8> frames) {
        isWritten = tracks[track]->write (frame, frames);
        return isWritten;
                               } });

    for (auto& track : tracks)
        isWritten = track->finish() && isWritten;

    if (! isWritten)
        result = juce::Result::fail ("There is no room for the sound of " + clip.getFileName() + " in "
                                     + folder->path.getParentDirectory().getFullPathName() + ".");

    if (result.failed())
        for (const auto& wave : decoded.waves)
            wave.deleteFile();

    return result;
}

}    // namespace ld
