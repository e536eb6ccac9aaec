#include "work/MissingFiles.h"

#include "media/BextIxml.h"

#include <algorithm>
#include <set>

namespace ld
{
namespace
{

template <typename Visit>
void visitFiles (const SessionDocument& doc, Visit&& visit)
{
    for (const auto& take : doc.takes)
    {
        visit (take.host);

        for (const auto& guest : take.guests)
            visit (guest);
    }
}

bool isThatFile (const ScanFile& wanted, const juce::File& candidate)
{
    const auto& known = wanted.format;

    if (known.numFrames < 1)
        return true;    // an older document noted nothing

    const auto found = inspectAudioFile (candidate);
    const auto stampOf = [] (const ScanFile& scan) { return timestampFromIxmlOrBext (scan.ixml, scan.bext); };
    return found.format.valid && found.format.numFrames == known.numFrames
           && found.format.sampleRate == known.sampleRate && found.format.channels == known.channels
           && (! hasAudioTimestamp (wanted.ixml, wanted.bext) || stampOf (found) == stampOf (wanted));
}

// Every line of a key that is a path.
juce::String withNewPaths (const juce::String& key, const std::map<juce::String, juce::String>& paths)
{
    juce::StringArray lines = juce::StringArray::fromLines (key);

    for (auto& line : lines)
        if (const auto at = paths.find (line); at != paths.end())
            line = at->second;

    // The files of a key stand in their order, the poly first.
    if (lines.size() > 2)
    {
        const auto poly = lines[0];
        lines.remove (0);
        lines.sort (true);
        lines.insert (0, poly);
    }

    return lines.joinIntoString ("\n");
}

juce::String laneWithNewPath (const juce::String& lane, const std::map<juce::String, juce::String>& paths)
{
    for (const auto& [from, to] : paths)
        if (lane.startsWith ("G|") && lane.endsWith ("|" + from))
            return lane.dropLastCharacters (from.length()) + to;

    return lane;
}

void relocate (juce::File& file, const std::map<juce::String, juce::String>& paths)
{
    if (const auto at = paths.find (file.getFullPathName()); at != paths.end())
        file = juce::File (at->second);
}

void relocate (ScanFile& scan, const std::map<juce::String, juce::String>& paths)
{
    relocate (scan.file, paths);
    scan.format.valid = scan.file.existsAsFile();
}

}    // namespace

std::vector<juce::File> missingFilesOf (const SessionDocument& doc)
{
    std::vector<juce::File> missing;
    std::set<juce::String> seen;
    const auto add = [&] (const juce::File& file) {
        if (file != juce::File() && seen.insert (file.getFullPathName()).second && ! file.existsAsFile())
            missing.push_back (file);
    };
    visitFiles (doc, [&] (const ScanFile& scan) { add (scan.file); });
    add (doc.videoFile);
    return missing;
}

FoundFiles findMissingFiles (const SessionDocument& doc, const juce::File& folder)
{
    std::multimap<juce::String, juce::File> candidates;
    FoundFiles found;

    for (const auto& file :
         folder.findChildFiles (juce::File::findFiles, true, "*", juce::File::FollowSymlinks::noCycles))
        candidates.emplace (file.getFileName(), file);

    std::map<juce::String, ScanFile> wanted;
    visitFiles (doc, [&] (const ScanFile& scan) { wanted.try_emplace (scan.file.getFullPathName(), scan); });

    for (const auto& missing : missingFilesOf (doc))
    {
        const auto known = wanted.find (missing.getFullPathName());
        const auto named = candidates.equal_range (missing.getFileName());
        std::vector<juce::File> fitting;

        for (auto at = named.first; at != named.second; ++at)
            if (known == wanted.end() || isThatFile (known->second, at->second))
                fitting.push_back (at->second);

        if (fitting.size() == 1)
            found.moved.push_back ({ missing, fitting.front() });
        else
            found.ambiguous += fitting.size() > 1 ? 1 : 0;
    }

    return found;
}

WorkEdit relocateFiles (const SessionDocument& doc, const FoundFiles& found)
{
    WorkEdit edit { "Find " + juce::String (found.moved.size()) + " missing files", doc };
    std::map<juce::String, juce::String> paths;

    for (const auto& [from, to] : found.moved)
        paths[from.getFullPathName()] = to.getFullPathName();

    auto& moved = edit.document;
    relocate (moved.videoFile, paths);

    for (auto& take : moved.takes)
    {
        relocate (take.host, paths);

        for (auto& guest : take.guests)
            relocate (guest, paths);
    }

    moved.metadataOverrides.clear();
    moved.levels.clear();

    for (const auto& [key, saved] : doc.metadataOverrides)
        moved.metadataOverrides[withNewPaths (key, paths)] = saved;

    for (const auto& [key, channel] : doc.levels)
        moved.levels[{ withNewPaths (key.first, paths), laneWithNewPath (key.second, paths) }] = channel;

    return edit;
}

}    // namespace ld
