#include "FuzzInput.h"

#include "media/BextIxml.h"
#include "media/Timecode.h"
#include "output/Interchange.h"
#include "output/SessionDocument.h"

namespace ld::fuzz
{

void openSession (Bytes bytes)
{
    static const InputFile input (".ldsession");
    SessionDocument document;

    if (readSessionDocument (input.holding (bytes), document).failed())
        return;

    juce::MemoryBlock first, second;
    require (writeSessionDocument (input.file, document).wasOk() && input.file.loadFileAsData (first),
             "what was read can be written");

    SessionDocument again;
    require (readSessionDocument (input.file, again).wasOk(), "what was written can be read");
    require (writeSessionDocument (input.file, again).wasOk() && input.file.loadFileAsData (second) && first == second,
             "a second save changes nothing");
}

void countTimecode (Bytes bytes)
{
    const auto stamp = take<std::uint64_t> (bytes);
    const auto rate = take<double> (bytes), otherRate = take<double> (bytes);
    const auto text = textOf (bytes);
    const auto fps = parseFrameRate (text);
    require (formatTimecode (stamp, rate, text, text).length() >= 11, "timecode has four parts");
    juce::ignoreUnused (timecodeToSamples (text, fps, rate),
                        timecodeOffsetSamples (stamp, rate, ~stamp, otherRate, fps),
                        guessTimecodeFromFilename (text));
}

void writeInterchange (Bytes bytes)
{
    InterchangeRequest request;
    auto& host = request.host;
    host.format.numFrames = take<std::int64_t> (bytes);
    host.format.sampleRate = take<std::int32_t> (bytes);
    host.format.channels = take<std::int32_t> (bytes);
    host.bext.timeReference = take<std::uint64_t> (bytes);
    const auto text = textOf (bytes);
    host.ixml = parseIxml (text);
    host.ixml.scene << text.substring (0, 40);
    host.file = juce::File ("/media").getChildFile (text.substring (0, 60));
    request.combinedFile = host.file.withFileExtension ("wav");
    request.video.file = host.file.withFileExtension ("mov");
    request.video.loaded = text.length() % 2 == 0;
    request.guests.emplace_back().file = host.file;

    const auto edl = makeEdl ({ &request, 1 });
    require (edl.startsWith ("TITLE: ") && edl.endsWith ("fps\n\n"), "an EDL is whole");
    require (makeFcpXml ({ &request, 1 }).endsWith ("</xmeml>\n"), "an xmeml text is whole");
    require (makeAle ({ &request, 1 }).startsWith ("Heading\n"), "a log is whole");
    require (makeAafXml ({ &request, 1 }).endsWith ("</AAF>\n"), "a composition is whole");
    require (juce::JSON::parse (makeOtio ({ &request, 1 })).isObject(), "a timeline is an object");
    require (! xmlEsc (text).containsAnyOf ("<>\""), "nothing in a text is taken for markup");
}

}    // namespace ld::fuzz
