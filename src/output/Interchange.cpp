#include "output/Interchange.h"

#include "media/BextIxml.h"
#include "media/Rounding.h"
#include "media/Timecode.h"
#include "output/ReplacingFile.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

using juce::int64;

constexpr int reelLength = 8;

// What the texts say of the take alike.
struct TakeFacts
{
    juce::String start, end;    // timecode
    double frameRate = 24.0;    // timecode frames a second
    juce::String frames;        // the take's length in them
};

TakeFacts factsOf (const HostTake& host)
{
    const auto& ixml = host.ixml;
    const auto sampleRate = std::max (host.format.sampleRate, 1);
    const auto numFrames = (double) host.format.numFrames;
    const auto stampRate = sampleRateForTimestamp (ixml, host.format);
    const auto stamp = (int64) timestampFromIxmlOrBext (ixml, host.bext);
    const auto timecodeOf = [&] (int64 samples) {
        return formatTimecode (
            (juce::uint64) std::max<int64> (samples, 0), stampRate, ixml.timecodeRate, ixml.timecodeFlag);
    };
    const auto frameRate = parseFrameRate (ixml.timecodeRate);
    return { .start = timecodeOf (stamp),
             .end = timecodeOf (stamp + roundToSamples (stampRate * numFrames / sampleRate)),
             .frameRate = frameRate,
             .frames = juce::String (roundToSamples (frameRate * numFrames / sampleRate)) };
}

juce::String escapedUrl (const juce::File& file)
{
    return xmlEsc (juce::URL (file).toString (true));
}

juce::String fcmWord (const juce::String& timecodeFlag)
{
    const auto flag = timecodeFlag.toUpperCase();
    return flag.contains ("DF") && ! flag.contains ("NDF") ? "DROP FRAME" : "NON-DROP FRAME";
}

juce::String
edlEvent (int number, const juce::String& reel, const char* track, const TakeFacts& facts, const juce::File& file)
{
    const auto span = facts.start + " " + facts.end;
    juce::String text;
    text << juce::String (number).paddedLeft ('0', 3) << "  " << reel.paddedRight (' ', reelLength) << " " << track
         << "   C        " << span << " " << span << "\n"
         << "* FROM CLIP NAME: " << file.getFileName() << "\n"
         << "* COMMENT: Lodestrand " << juce::String (facts.frameRate, 2) << "fps\n\n";
    return text;
}

juce::String fcpRate (double frameRate)
{
    constexpr double tolerance = 0.01;
    const auto isNtsc = std::min (std::abs (frameRate - 23.976), std::abs (frameRate - 29.97)) < tolerance;
    juce::String text;
    text << "<rate><timebase>" << std::max<int64> (roundToSamples (frameRate), 1) << "</timebase><ntsc>"
         << (isNtsc ? "TRUE" : "FALSE") << "</ntsc></rate>";
    return text;
}

juce::String fcpAudio (const InterchangeRequest& request, const TakeFacts& facts)
{
    const auto& format = request.host.format;
    const auto name = xmlEsc (request.combinedFile.getFileName());
    juce::String text;
    text << "      <audio>\n        <track>\n          <clipitem>\n"
         << "            <name>" << name << "</name>\n"
         << "            <duration>" << facts.frames << "</duration>\n"
         << "            " << fcpRate (facts.frameRate) << "\n"
         << "            <start>0</start><end>" << facts.frames << "</end>\n"
         << "            <in>0</in><out>" << facts.frames << "</out>\n"
         << "            <file>\n              <name>" << name << "</name>\n"
         << "              <pathurl>" << escapedUrl (request.combinedFile) << "</pathurl>\n"
         << "              <media><audio><samplecharacteristics><depth>" << format.bitsPerSample
         << "</depth><samplerate>" << format.sampleRate << "</samplerate></samplecharacteristics></audio></media>\n"
         << "            </file>\n"
         << "            <sourcetrack><mediatype>audio</mediatype><trackindex>1</trackindex></sourcetrack>\n"
         << "            <comment>" << xmlEsc (facts.start) << "</comment>\n"
         << "          </clipitem>\n        </track>\n      </audio>\n";
    return text;
}

juce::String fcpVideo (const juce::File& picture, const TakeFacts& facts)
{
    const auto name = xmlEsc (picture.getFileName());
    juce::String text;
    text << "      <video>\n        <track>\n          <clipitem>\n"
         << "            <name>" << name << "</name>\n"
         << "            <duration>" << facts.frames << "</duration>\n"
         << "            " << fcpRate (facts.frameRate) << "\n"
         << "            <start>0</start><end>" << facts.frames << "</end>\n"
         << "            <file><name>" << name << "</name>\n"
         << "              <pathurl>" << escapedUrl (picture) << "</pathurl></file>\n"
         << "          </clipitem>\n        </track>\n      </video>\n";
    return text;
}

// attributes   of the clip, behind its path
juce::String
aafSlot (int number, const char* kind, const TakeFacts& facts, const juce::File& file, const juce::String& attributes)
{
    juce::String text;
    text << "      <TimelineMobSlot SlotID=\"" << number << "\" PhysicalTrackNumber=\"1\" Name=\"" << kind << "\">\n"
         << "        <Sequence DataDefinition=\"" << kind << "\">\n"
         << "          <SourceClip StartTimecode=\"" << facts.start << "\" EndTimecode=\"" << facts.end << "\" Path=\""
         << escapedUrl (file) << "\"" << attributes << "/>\n"
         << "        </Sequence>\n"
         << "      </TimelineMobSlot>\n";
    return text;
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
    const auto& tape = request.host.ixml.tape;

    if (tape.isNotEmpty())
        return tape.substring (0, reelLength);

    return request.host.file.getFileNameWithoutExtension().substring (0, reelLength).toUpperCase();
}

juce::String xmlEsc (const juce::String& text)
{
    return text.replace ("&", "&amp;").replace ("<", "&lt;").replace (">", "&gt;").replace ("\"", "&quot;");
}

juce::String makeEdl (const InterchangeRequest& request)
{
    const auto facts = factsOf (request.host);
    const auto reel = reelName (request);
    auto events = 0;
    juce::String text;
    text << "TITLE: " << clipName (request) << "\n"
         << "FCM: " << fcmWord (request.host.ixml.timecodeFlag) << "\n\n"
         << edlEvent (++events, reel, "AA", facts, request.combinedFile);

    if (request.video.loaded)
        text << edlEvent (++events, reel, "V", facts, request.video.file);

    for (const auto& guest : request.guests)
        text << edlEvent (++events, reel, "AA", facts, guest.file);

    return text;
}

juce::String makeFcpXml (const InterchangeRequest& request)
{
    const auto facts = factsOf (request.host);
    const auto rate = fcpRate (facts.frameRate);

    // "NDF" holds "DF" as well and has always been written so; readers of earlier files count on it.
    const auto* const displayFormat = request.host.ixml.timecodeFlag.containsIgnoreCase ("DF") ? "DF" : "NDF";
    juce::String text;
    text << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         << "<!DOCTYPE xmeml>\n"
         << "<xmeml version=\"5\">\n"
         << "  <sequence>\n"
         << "    <name>" << xmlEsc (clipName (request)) << "</name>\n"
         << "    <duration>" << facts.frames << "</duration>\n"
         << "    " << rate << "\n"
         << "    <timecode>" << rate << "<string>" << facts.start << "</string><frame>0</frame><displayformat>"
         << displayFormat << "</displayformat></timecode>\n"
         << "    <media>\n"
         << fcpAudio (request, facts);

    if (request.video.loaded)
        text << fcpVideo (request.video.file, facts);

    return text << "    </media>\n  </sequence>\n</xmeml>\n";
}

juce::String makeAle (const InterchangeRequest& request)
{
    const auto facts = factsOf (request.host);
    const auto& host = request.host;
    juce::String text;
    text << "Heading\n"
         << "FIELD_DELIM\tTABS\n"
         << "VIDEO_FORMAT\t" << juce::String (facts.frameRate, 2) << "\n"
         << "AUDIO_FORMAT\t" << host.format.sampleRate << "\n"
         << "FPS\t" << juce::String (facts.frameRate, 3) << "\n\n"
         << "Column\n"
         << "Name\tTape\tStart\tEnd\tTracks\tScene\tTake\tNotes\n\n"
         << "Data\n"
         << clipName (request) << "\t" << reelName (request) << "\t" << facts.start << "\t" << facts.end << "\tA"
         << host.format.channels << "\t" << host.ixml.scene << "\t" << host.ixml.take << "\tLodestrand "
         << request.combinedFile.getFileName() << "\n";
    return text;
}

juce::String makeAafXml (const InterchangeRequest& request)
{
    const auto facts = factsOf (request.host);
    const auto& format = request.host.format;
    juce::String sound, text;
    sound << " Channels=\"" << format.channels << "\" SampleRate=\"" << format.sampleRate << "\"";

    // The product's version is a part of the format, not the program's own.
    text << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         << "<AAF xmlns=\"urn:schemas-aafassoc-org:aaf\" version=\"1.1\">\n"
         << "  <Header CompanyName=\"Lodestrand\" ProductName=\"Lodestrand\" ProductVersion=\"0.1.0\"/>\n"
         << "  <ContentStorage>\n"
         << "    <CompositionMob Name=\"" << xmlEsc (clipName (request)) << "\" UsageCode=\"Usage_TopLevel\">\n"
         << aafSlot (1, "Sound", facts, request.combinedFile, sound);

    if (request.video.loaded)
        text << aafSlot (2, "Picture", facts, request.video.file, {});

    return text << "    </CompositionMob>\n  </ContentStorage>\n</AAF>\n";
}

juce::Result writeText (const juce::File& file, const juce::String& text)
{
    juce::ignoreUnused (file.getParentDirectory().createDirectory());

    if (! replaceTextFile (file, text))
        return juce::Result::fail ("Could not write " + file.getFileName());

    return juce::Result::ok();
}

juce::Result writeInterchangePackage (const InterchangeRequest& request)
{
    using Make = juce::String (*) (const InterchangeRequest&);
    constexpr std::pair<const char*, Make> files[] = {
        { "edl", makeEdl }, { "xml", makeFcpXml }, { "ale", makeAle }, { "aaf", makeAafXml }
    };

    for (const auto& [extension, make] : files)
        if (const auto written = writeText (request.baseFile.withFileExtension (extension), make (request));
            written.failed())
            return written;

    return juce::Result::ok();
}

}    // namespace ld
