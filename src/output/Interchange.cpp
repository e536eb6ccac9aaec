#include "output/Interchange.h"

#include "output/InterchangeTake.h"
#include "output/ReplacingFile.h"

#include <algorithm>

namespace ld
{
namespace
{

using juce::int64;

constexpr int reelLength = 8;

juce::String reelOf (const juce::String& name)
{
    juce::String reel;

    for (auto at = name.getCharPointer(); ! at.isEmpty() && reel.length() < reelLength; ++at)
    {
        const auto isPlain = *at < 0x80 && (juce::CharacterFunctions::isLetterOrDigit (*at) || *at == '-');
        reel += isPlain ? *at : (juce::juce_wchar) '_';
    }

    // The format's own word for a source without a reel.
    return reel.isEmpty() ? "AX" : reel;
}

juce::String reelOfMedia (const IxmlMetadata& ixml, const juce::File& file)
{
    const auto tape = ixml.tape.trim();
    return reelOf (tape.isNotEmpty() ? tape : file.getFileNameWithoutExtension().trim().toUpperCase());
}

const char* fcmWord (const TimecodeRate& rate)
{
    return rate.dropsFrames ? "DROP FRAME" : "NON-DROP FRAME";
}

juce::String span (int64 start, int64 length, const TimecodeRate& rate)
{
    return frameLabel (start, rate) + " " + frameLabel (start + length, rate);
}

// Number, reel, track, transition, then source in and out and record in and out, each in its column.
juce::String edlEvent (int number,
                       const juce::String& reel,
                       const juce::String& track,
                       const InterchangeTake& take,
                       const InterchangeClip& clip)
{
    juce::String text;
    text << juce::String (number).paddedLeft ('0', 3) << "  " << reel.paddedRight (' ', reelLength) << " "
         << track.paddedRight (' ', 5) << " C        " << span (clip.sourceStart, clip.length, take.rate) << " "
         << span (take.start + clip.start, clip.length, take.rate) << "\n"
         << "* FROM CLIP NAME: " << oneLine (clip.file.getFileName()) << "\n"
         << "* COMMENT: Lodestrand " << juce::String (take.rate.fps, 2) << "fps\n\n";
    return text;
}

void addEdlEvents (const InterchangeRequest& request, int& number, juce::String& text)
{
    const auto& host = request.host;
    const auto take = interchangeTakeOf (host);
    text << edlEvent (++number, reelOfMedia (host.ixml, host.file), "AA", take, combinedClip (request, take));

    if (const auto picture = pictureClip (request, take))
        text << edlEvent (++number, reelOfMedia ({}, picture->file), "V", take, *picture);

    // The combined file is on the first two; events of one track do not overlap.
    constexpr size_t firstTrack = 3;

    for (size_t i = 0; i < request.guests.size(); ++i)
        for (const auto& clip : guestClips (request, i, take))
            text << edlEvent (++number,
                              reelOfMedia (request.guests[i].ixml, clip.file),
                              "A" + juce::String (firstTrack + i),
                              take,
                              clip);
}

// "25", "29.97", "23.976".
juce::String rateText (const TimecodeRate& rate)
{
    return juce::String (rate.fps, 3).trimCharactersAtEnd ("0").trimCharactersAtEnd (".");
}

juce::String aleHeading (const InterchangeRequest& request)
{
    const auto take = interchangeTakeOf (request.host);
    const auto kiloHertz = juce::String (request.host.format.sampleRate / 1000.0, 3);
    juce::String text;

    // There is no picture whose lines it could give; readers want one of the words that they know.
    text << "Heading\n"
         << "FIELD_DELIM\tTABS\n"
         << "VIDEO_FORMAT\t1080\n"
         << "AUDIO_FORMAT\t" << kiloHertz.trimCharactersAtEnd ("0").trimCharactersAtEnd (".") << "khz\n"
         << "FPS\t" << rateText (take.rate) << "\n\n"
         << "Column\n"
         << "Name\tTape\tStart\tEnd\tTracks\tScene\tTake\tNotes\tDuration\tSource File\tSource Path\n\n"
         << "Data\n";
    return text;
}

juce::String aleRow (const InterchangeRequest& request)
{
    const auto& host = request.host;
    const auto take = interchangeTakeOf (host);
    juce::String tracks;

    for (size_t i = 1; i <= combinedTracks (request).size(); ++i)
        tracks << "A" << juce::String (i);

    auto undropped = take.rate;
    undropped.dropsFrames = false;
    const auto name = oneLine (request.combinedFile.getFileName());
    juce::String text;
    text << oneLine (clipName (request)) << "\t" << reelName (request) << "\t" << frameLabel (take.start, take.rate)
         << "\t" << frameLabel (take.start + take.length, take.rate) << "\t" << tracks << "\t"
         << oneLine (host.ixml.scene) << "\t" << oneLine (host.ixml.take) << "\tLodestrand " << name << "\t"
         << frameLabel (take.length, undropped) << "\t" << name << "\t"
         << oneLine (request.combinedFile.getFullPathName()) << "\n";
    return text;
}

// Takes of one rate, which one log can hold.
struct RateGroup
{
    juce::String rate;
    std::vector<InterchangeRequest> takes;
};

std::vector<RateGroup> byRate (InterchangeTakes takes)
{
    std::vector<RateGroup> groups;

    for (const auto& request : takes)
    {
        const auto rate = rateText (interchangeTakeOf (request.host).rate);
        auto group = std::ranges::find (groups, rate, &RateGroup::rate);

        if (group == groups.end())
            group = groups.insert (groups.end(), { rate, {} });

        group->takes.push_back (request);
    }

    return groups;
}

juce::String aafSlot (
    int number, const char* kind, const InterchangeTake& take, const InterchangeClip& clip, const juce::String& more)
{
    juce::String text;
    text << "      <TimelineMobSlot SlotID=\"" << number << "\" PhysicalTrackNumber=\"1\" Name=\"" << kind << "\">\n"
         << "        <Sequence DataDefinition=\"" << kind << "\">\n"
         << "          <SourceClip StartTimecode=\"" << frameLabel (take.start + clip.start, take.rate)
         << "\" EndTimecode=\"" << frameLabel (take.start + clip.end(), take.rate) << "\" Path=\""
         << xmlEsc (fileUrl (clip.file)) << "\"" << more << "/>\n"
         << "        </Sequence>\n"
         << "      </TimelineMobSlot>\n";
    return text;
}

juce::String aafMob (const InterchangeRequest& request)
{
    const auto take = interchangeTakeOf (request.host);
    juce::String sound, text;
    sound << " Channels=\"" << request.host.format.channels << "\" SampleRate=\"" << request.host.format.sampleRate
          << "\"";
    text << "    <CompositionMob Name=\"" << xmlEsc (clipName (request)) << "\" UsageCode=\"Usage_TopLevel\">\n"
         << aafSlot (1, "Sound", take, combinedClip (request, take), sound);

    if (const auto picture = pictureClip (request, take))
        text << aafSlot (2, "Picture", take, *picture, {});

    return text << "    </CompositionMob>\n";
}

}    // namespace

juce::String clipName (const InterchangeRequest& request)
{
    const auto& ixml = request.host.ixml;

    if (ixml.scene.isEmpty())
        return request.host.file.getFileNameWithoutExtension();

    return ixml.take.isEmpty() ? ixml.scene : ixml.scene + "T" + ixml.take;
}

juce::String reelName (const InterchangeRequest& request)
{
    return reelOfMedia (request.host.ixml, request.host.file);
}

juce::String xmlEsc (const juce::String& text)
{
    return text.replace ("&", "&amp;").replace ("<", "&lt;").replace (">", "&gt;").replace ("\"", "&quot;");
}

juce::String makeEdl (InterchangeTakes takes)
{
    juce::String text ("TITLE: "), fcm;
    text << (takes.size() == 1 ? oneLine (clipName (takes.front())) : "Lodestrand") << "\n";
    auto number = 0;

    for (const auto& request : takes)
    {
        // It holds until the next one.
        if (const auto* const word = fcmWord (interchangeTakeOf (request.host).rate); fcm != word)
            text << "FCM: " << (fcm = word) << "\n\n";

        addEdlEvents (request, number, text);
    }

    return text;
}

juce::String makeAle (InterchangeTakes takes)
{
    auto text = takes.empty() ? juce::String() : aleHeading (takes.front());

    for (const auto& request : takes)
        text << aleRow (request);

    return text;
}

juce::String makeAafXml (InterchangeTakes takes)
{
    // The product's version is a part of the format, not the program's own.
    juce::String text;
    text << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         << "<!-- A description to be read by people and scripts. It is not an AAF file, and programs that import AAF\n"
         << "     refuse it: give them the .otio, .xml or .edl file beside it. -->\n"
         << "<AAF xmlns=\"urn:schemas-aafassoc-org:aaf\" version=\"1.1\">\n"
         << "  <Header CompanyName=\"Lodestrand\" ProductName=\"Lodestrand\" ProductVersion=\"0.1.0\"/>\n"
         << "  <ContentStorage>\n";

    for (const auto& request : takes)
        text << aafMob (request);

    return text << "  </ContentStorage>\n</AAF>\n";
}

juce::Result writeText (const juce::File& file, const juce::String& text)
{
    juce::ignoreUnused (file.getParentDirectory().createDirectory());

    if (! replaceTextFile (file, text))
        return juce::Result::fail ("Could not write " + file.getFileName());

    return juce::Result::ok();
}

juce::Result writeDayPackage (InterchangeTakes takes, const juce::File& folder)
{
    if (takes.size() < 2)
        return juce::Result::ok();

    const auto name = "DAY_" + folder.getFileName();
    auto written = writeText (folder.getChildFile (name + ".otio"), makeOtio (takes));

    if (written.wasOk())
        written = writeText (folder.getChildFile (name + ".xml"), makeFcpXml (takes));

    const auto groups = byRate (takes);

    for (const auto& group : groups)
    {
        const auto ending = &group == groups.data() ? juce::String() : "_" + group.rate;

        if (written.wasOk())
            written = writeText (folder.getChildFile (name + ending + ".ale"), makeAle (group.takes));
    }

    return written;
}

juce::Result writeInterchangePackage (const InterchangeRequest& request)
{
    using Make = juce::String (*) (InterchangeTakes);
    constexpr std::pair<const char*, Make> files[] = {
        { "edl", makeEdl }, { "xml", makeFcpXml }, { "ale", makeAle }, { "aaf", makeAafXml }, { "otio", makeOtio }
    };

    for (const auto& [extension, make] : files)
        if (const auto written = writeText (request.baseFile.withFileExtension (extension), make ({ &request, 1 }));
            written.failed())
            return written;

    return juce::Result::ok();
}

}    // namespace ld
