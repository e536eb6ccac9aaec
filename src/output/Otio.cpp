#include "media/BextIxml.h"
#include "output/Interchange.h"
#include "output/InterchangeTake.h"
#include "output/JsonValues.h"

#include <algorithm>

// OpenTimelineIO, by the fields of its serialized schema: Timeline.1, Stack.1, Track.1, Gap.1, Clip.2,
// ExternalReference.1, Marker.2, TimeRange.1, RationalTime.1, SerializableCollection.1. Sound is counted in samples, the
// picture in frames. What the schema has no field for stands in metadata, under "lodestrand".

namespace ld
{
namespace
{

using juce::int64;
using juce::var;

using Properties = std::initializer_list<std::pair<const char*, var>>;

var emptyList()
{
    return juce::Array<var>();
}

var emptyObject()
{
    return makeJsonObject ({});
}

var time (double value, double rate)
{
    return makeJsonObject ({ { "OTIO_SCHEMA", "RationalTime.1" }, { "rate", rate }, { "value", value } });
}

var range (const var& start, const var& duration)
{
    return makeJsonObject ({ { "OTIO_SCHEMA", "TimeRange.1" }, { "duration", duration }, { "start_time", start } });
}

var ourMetadata (var ours)
{
    return makeJsonObject ({ { "lodestrand", std::move (ours) } });
}

// The fields that every item of a timeline has, and its own behind them.
var item (const char* schema, const juce::String& name, const var& sourceRange, const var& metadata, Properties own)
{
    auto object = makeJsonObject ({ { "OTIO_SCHEMA", schema },
                                    { "metadata", metadata },
                                    { "name", name },
                                    { "source_range", sourceRange },
                                    { "effects", emptyList() },
                                    { "markers", emptyList() },
                                    { "enabled", true } });

    for (const auto& [key, value] : own)
        object.getDynamicObject()->setProperty (key, value);

    return object;
}

var reference (const juce::File& file, const var& availableRange)
{
    return makeJsonObject ({ { "OTIO_SCHEMA", "ExternalReference.1" },
                             { "metadata", emptyObject() },
                             { "name", file.getFileName() },
                             { "available_range", availableRange },
                             { "available_image_bounds", var() },
                             { "target_url", fileUrl (file) } });
}

var clip (const juce::String& name, const var& sourceRange, const var& media, const var& metadata)
{
    return item ("Clip.2",
                 name,
                 sourceRange,
                 metadata,
                 { { "media_references", makeJsonObject ({ { "DEFAULT_MEDIA", media } }) },
                   { "active_media_reference_key", "DEFAULT_MEDIA" } });
}

var track (const juce::String& name, const char* kind, const var& children, const var& metadata)
{
    return item ("Track.1", name, var(), metadata, { { "children", children }, { "kind", kind } });
}

void addGap (juce::Array<var>& children, double length, double rate)
{
    if (length > 0.0)
        children.add (item ("Gap.1", {}, range (time (0.0, rate), time (length, rate)), emptyObject(), {}));
}

var nameOf (const TrackInfo& info)
{
    return info.name;
}

/** Makes the timeline of one take. */
class TimelineJson
{
public:
    explicit TimelineJson (const InterchangeRequest& requestToUse)
        : request (requestToUse), host (request.host), take (interchangeTakeOf (host)),
          hostRate (std::max (host.format.sampleRate, 1))
    {
    }

    [[nodiscard]] var make() const
    {
        juce::Array<var> tracks { combinedTrack() };

        for (size_t i = 0; i < request.guests.size(); ++i)
            tracks.add (guestTrack (request.guests[i], spansOfGuest (request, i)));

        if (const auto picture = pictureClip (request, take))
            tracks.insert (0, pictureTrack (*picture));

        auto stack = item ("Stack.1", "tracks", var(), emptyObject(), { { "children", tracks } });
        stack.getDynamicObject()->setProperty ("markers", markers());
        return makeJsonObject ({ { "OTIO_SCHEMA", "Timeline.1" },
                                 { "metadata", ourMetadata (takeFacts()) },
                                 { "name", clipName (request) },
                                 { "global_start_time", time ((double) take.start, take.rate.fps) },
                                 { "tracks", stack } });
    }

private:
    [[nodiscard]] var takeFacts() const
    {
        return makeJsonObject ({ { "poly", host.file.getFullPathName() },
                                 { "scene", host.ixml.scene },
                                 { "take", host.ixml.take },
                                 { "tape", host.ixml.tape },
                                 { "note", host.ixml.note },
                                 { "sampleRate", host.format.sampleRate },
                                 { "startTimecode", frameLabel (take.start, take.rate) } });
    }

    // A file's first sample since midnight, at the file's own rate; 0 where it has no stamp.
    template <typename Media>
    static double firstSample (const Media& media)
    {
        if (! hasAudioTimestamp (media.ixml, media.bext))
            return 0.0;

        const auto stamp = (double) timestampFromIxmlOrBext (media.ixml, media.bext);
        return std::round (stamp * std::max (media.format.sampleRate, 1)
                           / sampleRateForTimestamp (media.ixml, media.format));
    }

    [[nodiscard]] var combinedTrack() const
    {
        const auto whole = range (time (firstSample (host), hostRate), time ((double) host.format.numFrames, hostRate));
        const auto names =
            ourMetadata (makeJsonObject ({ { "tracks", makeJsonArray (combinedTracks (request), nameOf) } }));
        juce::Array<var> children { clip (clipName (request), whole, reference (request.combinedFile, whole), names) };
        return track ("COMBINED", "Audio", children, emptyObject());
    }

    [[nodiscard]] var guestClip (const GuestClip& guest, const GuestSpan& span) const
    {
        const auto rate = (double) std::max (span.piece.format.sampleRate, 1);
        const auto first = firstSample (span.piece);
        const auto held = range (time (first, rate), time ((double) framesHeld (span.piece.format), rate));

        // As long as it is on the timeline: a clock that runs off leaves the file itself a little longer or shorter.
        const auto heard =
            range (time (first + (double) span.sourceStart, rate), time ((double) span.length, hostRate));
        return clip (guestName (guest), heard, reference (span.piece.file, held), emptyObject());
    }

    [[nodiscard]] var guestTrack (const GuestClip& guest, const std::vector<GuestSpan>& spans) const
    {
        juce::Array<var> children;
        int64 end = 0;

        for (const auto& span : spans)
        {
            addGap (children, (double) (span.start - end), hostRate);
            children.add (guestClip (guest, span));
            end = span.end();
        }

        const auto facts = makeJsonObject (
            { { "tracks", makeJsonArray (guest.tracks, nameOf) }, { "notes", guest.notes } }, guest.alignment);
        return track (guestName (guest), "Audio", children, ourMetadata (facts));
    }

    [[nodiscard]] var pictureTrack (const InterchangeClip& picture) const
    {
        const auto frames = [&] (int64 count) { return time ((double) count, take.rate.fps); };
        const auto known = picture.sourceStart - picture.sourceFirst + picture.length;
        juce::Array<var> children;
        addGap (children, (double) picture.start, take.rate.fps);
        children.add (clip (picture.file.getFileName(),
                            range (frames (picture.sourceStart), frames (picture.length)),
                            reference (picture.file, range (frames (picture.sourceFirst), frames (known))),
                            emptyObject()));
        return track ("Picture", "Video", children, emptyObject());
    }

    [[nodiscard]] var
    marker (const juce::String& name, const char* colour, const juce::File& file, const Alignment& alignment) const
    {
        const auto place = std::clamp<int64> (alignment.offsetSamples, 0, std::max<int64> (host.format.numFrames, 0));
        const auto facts = makeJsonObject ({ { "file", file.getFullPathName() } }, alignment);
        return makeJsonObject ({ { "OTIO_SCHEMA", "Marker.2" },
                                 { "metadata", ourMetadata (facts) },
                                 { "name", name },
                                 { "color", colour },
                                 { "marked_range", range (time ((double) place, hostRate), time (0.0, hostRate)) },
                                 { "comment", alignment.detail } });
    }

    [[nodiscard]] var markers() const
    {
        juce::Array<var> list;

        for (const auto& guest : request.guests)
            if (guest.alignment.needsManual)
                list.add (marker ("Doubtful: " + guestName (guest), "ORANGE", guest.file, guest.alignment));

        for (const auto& left : request.leftOut)
            list.add (marker ("Left out: " + left.file.getFileName(), "RED", left.file, left.alignment));

        return list;
    }

    const InterchangeRequest& request;
    const HostTake& host;
    const InterchangeTake take;
    const double hostRate;
};

}    // namespace

juce::String makeOtio (InterchangeTakes takes)
{
    const auto timelineOf = [] (const InterchangeRequest& request) { return TimelineJson (request).make(); };

    if (takes.size() == 1)
        return juce::JSON::toString (timelineOf (takes.front())) + "\n";

    return juce::JSON::toString (makeJsonObject ({ { "OTIO_SCHEMA", "SerializableCollection.1" },
                                                   { "metadata", emptyObject() },
                                                   { "name", "Lodestrand" },
                                                   { "children", makeJsonArray (takes, timelineOf) } }))
           + "\n";
}

}    // namespace ld
