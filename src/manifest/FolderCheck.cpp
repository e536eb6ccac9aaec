#include "manifest/FolderCheck.h"

#include "manifest/HashHistory.h"
#include "media/FileHash.h"

#include <algorithm>

namespace ld
{
namespace
{

// A file that is to be read, and what is known of it.
struct Task
{
    juce::File file;
    HashedFile known;
    juce::String shown;
};

// A folder that is only linked to belongs to somebody else.
void collectFiles (const juce::File& folder, std::vector<juce::File>& files)
{
    for (const auto& file : folder.findChildFiles (juce::File::findFilesAndDirectories, false))
    {
        if (isIgnoredByLists (file.getFileName()))
            continue;

        if (file.existsAsFile())
            files.push_back (file);
        else if (! file.isSymbolicLink())
            collectFiles (file, files);
    }
}

void addTasks (const juce::File& root,
               const std::map<juce::String, HashedFile>& known,
               const juce::String& shownRoot,
               std::vector<Task>& tasks)
{
    for (const auto& [path, file] : known)
        tasks.push_back ({ root.getChildFile (path), file, shownRoot + path });
}

void check (const Task& task, FolderCheck& result)
{
    if (! task.file.existsAsFile())
        return result.missing.add (task.shown);

    if (task.known.xxh64.isEmpty())
        return result.unchecked.add (task.shown);

    if (task.file.getSize() == task.known.size && hashOfFile (task.file) == task.known.xxh64)
        ++result.good;
    else
        result.damaged.addIfNotAlreadyThere (task.shown);
}

void addSources (const juce::File& folder, std::vector<Task>& tasks, FolderCheck& result)
{
    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false, "SOURCES_*.mhl"))
    {
        const auto list = parseHashList (file.loadFileAsString());

        if (! list || ! juce::File::isAbsolutePath (list->rootPath))
        {
            result.damaged.addIfNotAlreadyThere (file.getFileName());
            continue;
        }

        std::map<juce::String, HashedFile> known;

        for (const auto& source : list->files)
            known.emplace (source.path, source);

        addTasks (juce::File (list->rootPath), known, list->rootPath + "/", tasks);
    }
}

}    // namespace

bool FolderCheck::isGood() const
{
    return hasLists && damaged.isEmpty() && missing.isEmpty() && added.isEmpty() && unchecked.isEmpty();
}

std::vector<juce::File> filesForList (const juce::File& folder)
{
    std::vector<juce::File> files;
    collectFiles (folder, files);
    std::ranges::sort (files, {}, [] (const juce::File& file) { return file.getFullPathName(); });
    return files;
}

FolderCheck checkFolder (const juce::File& folder, const HashProgress& progress)
{
    const auto history = readHistory (folder);
    const auto known = filesKnownTo (history);
    FolderCheck result;
    result.hasLists = history.exists;
    result.damaged = history.damaged;
    result.missing = history.missing;
    result.added = history.unknown;
    std::vector<Task> tasks;
    addTasks (folder, known, {}, tasks);
    addSources (folder, tasks, result);

    for (const auto& file : filesForList (folder))
        if (const auto path = file.getRelativePathFrom (folder); ! known.contains (path))
            result.added.add (path);

    auto total = 1.0, done = 0.0;

    for (const auto& task : tasks)
        total += (double) task.known.size;

    for (const auto& task : tasks)
    {
        if (progress)
            progress (task.shown, done / total);

        check (task, result);
        done += (double) task.known.size;
    }

    return result;
}

}    // namespace ld
