#include "conform/RunManifest.h"

#include "manifest/HashHistory.h"
#include "media/FileHash.h"
#include "output/ReplacingFile.h"

namespace ld
{
namespace
{

// The hash as it is known, or else as it is read.
std::optional<HashedFile>
hashedFile (const juce::File& file, const juce::File& root, const std::map<juce::String, juce::String>& known)
{
    const auto at = known.find (file.getFullPathName());
    const auto hash = at != known.end() && at->second.isNotEmpty() ? at->second : hashOfFile (file).value_or ("");

    if (hash.isEmpty())
        return {};

    return HashedFile { file.getRelativePathFrom (root), file.getSize(), file.getLastModificationTime(), hash, false };
}

juce::Result couldNotRead (const juce::File& file)
{
    return juce::Result::fail ("Could not read " + file.getFullPathName() + " for its hash");
}

juce::File sharedFolder (const std::map<juce::String, juce::String>& files)
{
    auto folder = juce::File (files.begin()->first).getParentDirectory();

    for (const auto& [path, hash] : files)
        while (! juce::File (path).isAChildOf (folder))
            folder = folder.getParentDirectory();

    return folder;
}

// The sources by the folder that their list counts from.
std::map<juce::String, std::map<juce::String, juce::String>>
sortByRoot (const std::map<juce::String, juce::String>& sources, const std::vector<juce::File>& roots)
{
    std::map<juce::String, std::map<juce::String, juce::String>> sorted;
    std::map<juce::String, juce::String> others;

    for (const auto& source : sources)
    {
        const auto holds = [&] (const juce::File& root) { return juce::File (source.first).isAChildOf (root); };
        const auto root = std::ranges::find_if (roots, holds);

        if (root != roots.end())
            sorted[root->getFullPathName()].insert (source);
        else
            others.insert (source);
    }

    if (! others.empty())
        sorted[sharedFolder (others).getFullPathName()].merge (others);

    return sorted;
}

juce::Result
writeSourceList (const juce::File& target, const juce::File& root, const std::map<juce::String, juce::String>& sources)
{
    HashList list { .made = juce::Time::getCurrentTime(), .rootPath = root.getFullPathName(), .files = {} };

    for (const auto& [path, hash] : sources)
    {
        const auto hashed = hashedFile (juce::File (path), root, sources);

        if (! hashed)
            return couldNotRead (juce::File (path));

        list.files.push_back (*hashed);
    }

    return replaceTextFile (target, makeHashList (list))
               ? juce::Result::ok()
               : juce::Result::fail ("Could not write " + target.getFullPathName());
}

juce::Result writeSourceLists (const std::map<juce::String, juce::String>& sources,
                               const std::vector<juce::File>& roots,
                               const juce::File& folder)
{
    std::set<juce::String> taken;

    for (const auto& [root, files] : sortByRoot (sources, roots))
    {
        const auto stem = "SOURCES_" + juce::File (root).getFileName();
        auto name = stem;

        for (int number = 2; ! taken.insert (name.toLowerCase()).second; ++number)
            name = stem + "_" + juce::String (number);

        if (const auto written = writeSourceList (folder.getChildFile (name + ".mhl"), juce::File (root), files);
            written.failed())
            return written;
    }

    return juce::Result::ok();
}

}    // namespace

std::map<juce::String, juce::String> sourceHashes (const ConformOutcome& outcome)
{
    std::map<juce::String, juce::String> hashes;

    for (const auto& take : outcome.takes)
    {
        if (! take.written)
            continue;

        hashes[take.poly.getFullPathName()] = take.hashes.poly;

        for (const auto& guest : take.guests)
            if (! guest.rejected)
                for (const auto& piece : guest.pieces)
                    hashes[piece.file.getFullPathName()] = piece.xxh64;
    }

    return hashes;
}

juce::Result
writeManifests (const ConformOutcome& outcome, const std::vector<juce::File>& roots, const juce::File& outputFolder)
{
    const auto sources = sourceHashes (outcome);

    if (const auto written = writeSourceLists (sources, roots, outputFolder); written.failed())
        return written;

    std::map<juce::String, juce::String> known;

    for (const auto& take : outcome.takes)
        if (take.written)
            known[take.output.getFullPathName()] = take.hashes.output;

    HashList list { .made = juce::Time::getCurrentTime(), .rootPath = {}, .files = {} };

    for (const auto& file : filesForList (outputFolder))
    {
        const auto hashed = hashedFile (file, outputFolder, known);

        if (! hashed)
            return couldNotRead (file);

        list.files.push_back (*hashed);
    }

    return addGeneration (outputFolder, std::move (list));
}

}    // namespace ld
