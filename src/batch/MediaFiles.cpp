#include "batch/MediaFiles.h"

#include "media/SoundFile.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace ld
{
namespace
{

namespace fs = std::filesystem;

using Paths = std::vector<fs::path>;

fs::path pathOf (const juce::File& file)
{
    return reinterpret_cast<const char8_t*> (file.getFullPathName().toRawUTF8());
}

juce::File fileAt (const fs::path& path)
{
    return juce::File (juce::CharPointer_UTF8 (reinterpret_cast<const char*> (path.u8string().c_str())));
}

// What a path leads to in the end. One that leads nowhere stands for itself: whoever opens it will say so.
fs::path realPathOf (const fs::path& path)
{
    std::error_code fault;
    const auto real = fs::canonical (path, fault);
    return fault ? path : real;
}

bool hasMediaName (const fs::path& path)
{
    const auto name = path.filename().u8string();
    return hasClipName (fileAt (path))
           || std::ranges::any_of (
               std::initializer_list<std::u8string_view> { u8".wav", u8".WAV", u8".bwf", u8".BWF", u8".wave" },
               [&] (auto ending) { return name.ends_with (ending); });
}

// Of several paths to one place the first stays.
void keepOneOfEach (Paths& paths, std::set<fs::path>& seen)
{
    std::ranges::sort (paths, [] (const auto& a, const auto& b) {
        return std::pair (a.native().size(), a.native()) < std::pair (b.native().size(), b.native());
    });
    std::erase_if (paths, [&] (const auto& path) { return ! seen.insert (realPathOf (path)).second; });
}

struct Contents
{
    Paths folders, files;
};

Contents contentsOf (const Paths& folders)
{
    Contents contents;
    std::error_code fault;    // a folder that may not be read has nothing to list

    for (const auto& folder : folders)
        for (fs::directory_iterator at (folder, fault), end; ! fault && at != end; at.increment (fault))
        {
            std::error_code none;

            if (at->is_directory (none))
                contents.folders.push_back (at->path());
            else if (hasMediaName (at->path()))
                contents.files.push_back (at->path());
        }

    return contents;
}

// Level by level, so that what was seen first was reached through the fewest folders.
Paths filesBelow (const fs::path& root, std::set<fs::path>& seenFiles)
{
    Paths found;
    std::set<fs::path> seenFolders;
    Paths folders { root };

    for (keepOneOfEach (folders, seenFolders); ! folders.empty();)
    {
        auto [below, files] = contentsOf (folders);
        keepOneOfEach (below, seenFolders);
        keepOneOfEach (files, seenFiles);
        found.insert (found.end(), files.begin(), files.end());
        folders = std::move (below);
    }

    return found;
}

std::vector<juce::File> filesOf (const juce::File& root, std::set<fs::path>& seenFiles)
{
    Paths paths;

    if (root.existsAsFile() && seenFiles.insert (realPathOf (pathOf (root))).second)
        return { root };

    if (root.isDirectory())
        paths = filesBelow (pathOf (root), seenFiles);

    std::vector<juce::File> files;
    std::ranges::transform (paths, std::back_inserter (files), fileAt);
    std::ranges::sort (files, {}, &juce::File::getFullPathName);
    return files;
}

}    // namespace

std::vector<juce::File> collectMediaFiles (const juce::File& root)
{
    return collectMediaFiles (std::vector { root });
}

std::vector<juce::File> collectMediaFiles (const std::vector<juce::File>& roots)
{
    std::vector<juce::File> files;
    std::set<fs::path> seen;

    for (const auto& root : roots)
    {
        const auto found = filesOf (root, seen);
        files.insert (files.end(), found.begin(), found.end());
    }

    return files;
}

}    // namespace ld
