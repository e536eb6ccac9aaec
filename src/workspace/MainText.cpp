#include "workspace/MainText.h"

#include "media/BextIxml.h"
#include "media/Timecode.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace ld
{
namespace
{

struct SharedFiles
{
    int count = 0;     // files that stand in two takes or more
    int widest = 1;    // most takes that one file stands in
    juce::String widestName;
};

SharedFiles sharedFilesOf (const std::vector<BatchMatch>& matches)
{
    std::map<juce::String, int> takesOfFile;

    for (const auto& match : matches)
        for (const auto& guest : match.guests)
            ++takesOfFile[guest.file.getFullPathName()];

    SharedFiles shared;

    for (const auto& [path, takes] : takesOfFile)
    {
        shared.count += takes >= 2 ? 1 : 0;

        if (takes > shared.widest)
        {
            shared.widest = takes;
            shared.widestName = juce::File (path).getFileName();
        }
    }

    return shared;
}

}    // namespace

juce::String headlineOf (const HostTake& host)
{
    if (! host.format.valid)
        return {};

    const auto& ixml = host.ixml;
    auto text = ixml.scene.isNotEmpty() ? ixml.scene : host.file.getFileNameWithoutExtension();

    if (ixml.take.isNotEmpty())
        text << "  |  TAKE " << ixml.take;

    text << "  |  " << timecodeAt (host, 0);
    text << "  |  " << host.format.channels << " ch  " << host.format.sampleRate << " Hz";
    return text;
}

juce::String transportText (const HostTake& host, juce::int64 playhead)
{
    if (! host.format.valid)
        return {};

    return "TC  " + timecodeAt (host, playhead) + "   /   " + timecodeAt (host, host.format.numFrames);
}

juce::String batchText (const std::vector<BatchMatch>& batch, int index)
{
    const auto& take = batch[(size_t) index];
    juce::String text;
    text << (index + 1) << " / " << (int) batch.size() << "   " << take.host.file.getFileNameWithoutExtension()
         << "  |  " << (int) take.guests.size() << " ISO files";

    if (take.reason.isNotEmpty())
        text << "  |  " << take.reason;

    return text;
}

juce::String takeLoadedText (const std::vector<GuestClip>& guests)
{
    size_t pieces = 0;

    for (const auto& guest : guests)
        pieces += std::max<size_t> (guest.pieces.size(), 1);

    if (pieces <= guests.size())
        return "Host take loaded.";

    return "Host take loaded | " + juce::String (pieces) + " ISO pieces fill " + juce::String (guests.size())
           + " lanes.";
}

juce::String scanText (const std::vector<BatchMatch>& matches, const juce::String& folderName)
{
    juce::String text;
    text << (int) matches.size() << " takes from " << folderName;
    const auto shared = sharedFilesOf (matches);

    if (shared.count == 1)
        text << " | " << shared.widestName << " spans " << shared.widest << " takes";
    else if (shared.count >= 2)
        text << " | " << shared.count << " files span multiple takes";

    return text;
}

juce::String isosAddedText (int added, int skipped)
{
    juce::String text;
    text << "Added " << added << " ISO files from all subfolders";

    if (skipped > 0)
        text << " | skipped " << skipped << " outside this take";

    return text;
}

juce::String isosMatchedText (const std::vector<BatchMatch>& matches, const juce::String& folderName)
{
    auto placements = 0;

    for (const auto& match : matches)
        placements += (int) match.guests.size();

    juce::String text;
    text << "Matched " << placements << " ISO placements across " << (int) matches.size() << " polys from "
         << folderName << ".";
    return text;
}

juce::String alignedText (const Alignment& alignment, bool isHidden)
{
    if (isHidden)
        return "Unmatched ISO hidden.";

    return alignment.detail + (alignment.needsManual ? " -- nudge if it feels off." : " -- matched.");
}

juce::String titleOf (const WorkHistory& work)
{
    if (work.document().takes.empty())
        return {};

    const auto name =
        work.file() == juce::File() ? juce::String ("Untitled") : work.file().getFileNameWithoutExtension();
    return (work.isUnsaved() ? "*" : "") + name;
}

juce::String namesOfLeftOut (const std::vector<TakeOutcome>& takes)
{
    constexpr int mostNames = 5;
    juce::StringArray names;

    for (const auto& take : takes)
        for (const auto& guest : take.guests)
            if (guest.rejected && ! guest.pieces.empty())
                names.addIfNotAlreadyThere (guest.pieces.front().file.getFileName());

    const auto more = names.size() - mostNames;

    if (more <= 0)
        return names.joinIntoString (", ");

    names.removeRange (mostNames, more);
    return names.joinIntoString (", ") + " and " + juce::String (more) + " more";
}

juce::String countText (const juce::String& what, int done, int total)
{
    return what + juce::String (done) + " / " + juce::String (total);
}

}    // namespace ld
