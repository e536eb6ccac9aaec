#include "work/Recovery.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr auto extension = ".ldrecovery";

juce::File lockFileOf (const juce::File& file)
{
    return file.withFileExtension (".lock");
}

// Elsewhere than on Windows a lock is a file, which a full path puts where it belongs.
juce::String lockNameOf (const juce::File& file)
{
#if JUCE_WINDOWS
    return "lodestrand-" + file.getFileNameWithoutExtension();
#else
    return lockFileOf (file).getFullPathName();
#endif
}

}    // namespace

struct RecoveryFile::Held
{
    juce::File file;
    juce::InterProcessLock lock;
};

juce::File recoveryFolder()
{
#if JUCE_LINUX || JUCE_BSD
    // The XDG base directory specification, "Environment variables".
    const auto state = juce::SystemStats::getEnvironmentVariable ("XDG_STATE_HOME", {});
    const auto base =
        juce::File::isAbsolutePath (state)
            ? juce::File (state)
            : juce::File::getSpecialLocation (juce::File::userHomeDirectory).getChildFile (".local/state");
#else
    const auto base = juce::File::getSpecialLocation (juce::File::userApplicationDataDirectory);
#endif
    return base.getChildFile ("lodestrand").getChildFile ("recovery");
}

RecoveryFile::RecoveryFile (juce::File folderToUse)
    : folder (std::move (folderToUse)), file (folder.getChildFile (juce::Uuid().toString() + extension)),
      lock (std::make_unique<juce::InterProcessLock> (lockNameOf (file)))
{
    if (folder.createDirectory().wasOk())
        lock->enter (0);
}

RecoveryFile::~RecoveryFile()
{
    lock->exit();
    lockFileOf (file).deleteFile();

    for (auto& other : held)
        other->lock.exit();
}

std::vector<LostWork> RecoveryFile::takeOver()
{
    std::vector<LostWork> lost;

    for (const auto& left : folder.findChildFiles (juce::File::findFiles, false, juce::String ("*") + extension))
    {
        if (left == file || std::ranges::any_of (held, [&] (const auto& other) { return other->file == left; }))
            continue;

        // Its program is running.
        auto other = std::unique_ptr<Held> (new Held { left, juce::InterProcessLock (lockNameOf (left)) });

        if (! other->lock.enter (1))
            continue;

        LostWork work { left, left.getLastModificationTime(), {} };

        if (readSessionDocument (left, work.document).wasOk())
        {
            lost.push_back (std::move (work));
            held.push_back (std::move (other));
        }
        else
            other->lock.exit();
    }

    std::ranges::stable_sort (lost, [] (const auto& a, const auto& b) { return a.time > b.time; });
    return lost;
}

void RecoveryFile::discard (const LostWork& work)
{
    work.file.deleteFile();
    lockFileOf (work.file).deleteFile();
    std::erase_if (held, [&] (const auto& other) { return other->file == work.file; });
}

void RecoveryFile::remove()
{
    file.deleteFile();
}

juce::Result writeRecovery (const juce::File& target, SessionDocument document, const juce::File& sessionFile)
{
    document.recoveredFrom = sessionFile;

    if (const auto made = target.getParentDirectory().createDirectory(); made.failed())
        return made;

    return writeSessionDocument (target, document);
}

}    // namespace ld
