#include "output/CombinedIxml.h"

#include "media/BextIxml.h"
#include "output/EssenceIds.h"

#include <pugixml.hpp>

#include <algorithm>

namespace ld
{
namespace
{

juce::String joinedGuestNotes (const std::vector<GuestClip>& guests)
{
    juce::StringArray notes;

    for (const auto& guest : guests)
        if (guest.notes.isNotEmpty())
            notes.add (guest.notes);

    return notes.joinIntoString (" | ");
}

IxmlMetadata fieldsOf (const ExportRequest& request, int bits)
{
    const auto& host = request.host;
    auto ixml = host.ixml;
    ixml.present = true;
    ixml.fileSampleRate = host.format.sampleRate;
    ixml.timestampSampleRate = sampleRateForTimestamp (host.ixml, host.format);
    ixml.timestampSamples = timestampFromIxmlOrBext (host.ixml, host.bext);
    ixml.hasTimestamp = true;
    ixml.audioBitDepth = bits;
    ixml.originalFilename = request.outputFile.getFileName();

    if (ixml.note.isEmpty())
        ixml.note = joinedGuestNotes (request.guests);

    if (request.hasNewIds)
        ixml.fileUid = makeEssenceIds (request).fileUid;

    return ixml;
}

// TRACK_LIST stays the last element.
pugi::xml_node elementOf (pugi::xml_node root, const char* name)
{
    const auto element = root.child (name);
    return element ? element : root.insert_child_before (name, root.child ("TRACK_LIST"));
}

juce::String hexOf (const std::array<juce::uint8, 64>& umid)
{
    return juce::String::toHexString (umid.data(), (int) umid.size(), 0).toUpperCase();
}

// What an iXML document repeats of `bext` must not contradict it.
void repeatBext (pugi::xml_node root, const BextChunk& bext)
{
    auto copy = root.child ("BEXT");

    if (! copy)
        return;

    setChild (copy, "BWF_CODING_HISTORY", bext.codingHistory.trimEnd());
    const std::pair<const char*, juce::String> numbers[] = {
        { "BWF_UMID", hexOf (bext.umid) },
        { "BWF_TIME_REFERENCE_LOW", juce::String (bext.timeReference & 0xFFFFFFFF) },
        { "BWF_TIME_REFERENCE_HIGH", juce::String (bext.timeReference >> 32) },
    };

    for (const auto& [name, text] : numbers)
        if (copy.child (name))
            setChild (copy, name, text);
}

void tellParent (pugi::xml_node root, const HostTake& host)
{
    auto history = elementOf (root, "HISTORY");
    const auto& first = host.ixml.originalFilename;
    const auto hasUmid = std::ranges::any_of (host.bext.umid, [] (auto byte) { return byte != 0; });
    const auto parent = host.ixml.fileUid.isEmpty() && hasUmid ? hexOf (host.bext.umid) : host.ixml.fileUid;

    if (childText (history, "ORIGINAL_FILENAME").isEmpty())
        setChild (history, "ORIGINAL_FILENAME", first.isEmpty() ? host.file.getFileName() : first);

    setChild (history, "PARENT_FILENAME", host.file.getFileName());
    setChild (history, "PARENT_UID", parent);
}

bool hasSyncPoint (pugi::xml_node list, const juce::String& comment, const juce::String& low)
{
    const auto isThis = [&] (const auto& point) {
        return childText (point, "SYNC_POINT_COMMENT") == comment && childText (point, "SYNC_POINT_LOW") == low;
    };
    const auto points = list.children ("SYNC_POINT");
    return std::any_of (points.begin(), points.end(), isThis);
}

// Positions are counted from the file's first sample.
void addSyncPoints (pugi::xml_node root, std::span<const TakeMarker> markers)
{
    if (markers.empty())
        return;

    auto list = elementOf (root, "SYNC_POINT_LIST");

    for (const auto& marker : markers)
    {
        const juce::String low (marker.position & 0xFFFFFFFF);

        // A poly that is a combined file itself has those that we wrote.
        if (hasSyncPoint (list, marker.text, low))
            continue;

        auto point = list.append_child ("SYNC_POINT");
        setChild (point, "SYNC_POINT_TYPE", "RELATIVE");
        setChild (point, "SYNC_POINT_FUNCTION", "MARKER_GENERIC");
        setChild (point, "SYNC_POINT_COMMENT", marker.text);
        setChild (point, "SYNC_POINT_LOW", low);
        setChild (point, "SYNC_POINT_HIGH", juce::String (marker.position >> 32));
        setChild (point, "SYNC_POINT_EVENT_DURATION", "0");
    }

    const auto points = list.children ("SYNC_POINT");
    setChild (list, "SYNC_POINT_COUNT", juce::String ((int) std::distance (points.begin(), points.end())));
    list.prepend_move (list.child ("SYNC_POINT_COUNT"));
}

// The poly's own element of a track, by its place in the interleave: the user may have renamed it.
pugi::xml_node sourceTrack (pugi::xml_node list, const IxmlMetadata& ixml, int interleaveIndex)
{
    auto node = list.child ("TRACK");

    for (const auto& track : ixml.tracks)
    {
        if (track.interleaveIndex == interleaveIndex)
            return node;

        node = node.next_sibling ("TRACK");
    }

    return {};
}

// The recorder's fader and pan of the tracks that are kept, which the new track list knows nothing of.
void keepDefaultMix (pugi::xml_node root, const ExportRequest& request)
{
    const auto& host = request.host;
    pugi::xml_document source;
    source.load_buffer (host.ixml.rawXml.toRawUTF8(), host.ixml.rawXml.getNumBytesAsUTF8());
    const auto sourceList = source.document_element().child ("TRACK_LIST");
    auto target = root.child ("TRACK_LIST").child ("TRACK");

    if (request.includeMix)
        target = target.next_sibling ("TRACK");

    for (size_t i = 0; i < host.tracks.size(); ++i)
    {
        if (isChannelOmitted (host, (int) i))
            continue;

        if (const auto track = sourceTrack (sourceList, host.ixml, host.tracks[i].interleaveIndex))
            if (const auto mix = track.child ("DEFAULT_MIX"))
                target.append_copy (mix);

        target = target.next_sibling ("TRACK");
    }
}

}    // namespace

juce::String
makeCombinedIxml (const ExportRequest& request, int bits, const BextChunk& bext, std::span<const TakeMarker> markers)
{
    const auto tracks = buildExportTracks (request.host, request.guests, request.includeMix);

    return editIxml (serialiseIxml (fieldsOf (request, bits), tracks), [&] (pugi::xml_node root) {
        repeatBext (root, bext);

        if (request.hasNewIds)
            tellParent (root, request.host);

        addSyncPoints (root, markers);
        keepDefaultMix (root, request);
    });
}

}    // namespace ld
