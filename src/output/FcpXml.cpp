#include "output/Interchange.h"
#include "output/InterchangeTake.h"

#include <algorithm>

namespace ld
{
namespace
{

using juce::int64;

/** Writes one take as a sequence of xmeml, version 5. Every file is described where it is first used and only named by
    its id from then on. */
class SequenceText
{
public:
    SequenceText (const InterchangeRequest& requestToUse, int sequenceNumber)
        : request (requestToUse), take (interchangeTakeOf (request.host)), tracks (combinedTracks (request)),
          id (sequenceNumber)
    {
        rate << "<rate><timebase>" << take.rate.nominal << "</timebase><ntsc>" << (take.rate.isNtsc ? "TRUE" : "FALSE")
             << "</ntsc></rate>";
    }

    juce::String write()
    {
        text << "  <sequence id=\"sequence-" << id << "\">\n"
             << "    <name>" << xmlEsc (clipName (request)) << "</name>\n"
             << "    <duration>" << take.length << "</duration>\n"
             << "    " << rate << "\n"
             << "    " << timecodeAt (take.start) << "\n"
             << "    <media>\n";
        addPicture();
        addSound();
        return text << "    </media>\n  </sequence>\n";
    }

private:
    [[nodiscard]] juce::String timecodeAt (int64 frame) const
    {
        juce::String timecode;
        timecode << "<timecode>" << rate << "<string>" << frameLabel (frame, take.rate) << "</string><frame>" << frame
                 << "</frame><displayformat>" << (take.rate.dropsFrames ? "DF" : "NDF")
                 << "</displayformat></timecode>";
        return timecode;
    }

    void beginClip (const InterchangeClip& clip, int64 fileLength)
    {
        const auto first = clip.sourceStart - clip.sourceFirst;
        text << "        <track>\n          <clipitem id=\"clip-" << id << "-" << ++numClips << "\">\n"
             << "            <name>" << xmlEsc (clip.file.getFileName()) << "</name>\n"
             << "            <duration>" << fileLength << "</duration>\n"
             << "            " << rate << "\n"
             << "            <start>" << clip.start << "</start><end>" << clip.end() << "</end>\n"
             << "            <in>" << first << "</in><out>" << (first + clip.length) << "</out>\n";
    }

    void endClip() { text << "          </clipitem>\n        </track>\n"; }

    // media   what the file holds
    void describeFile (const juce::String& fileId, const InterchangeClip& clip, int64 length, const juce::String& media)
    {
        text << "            <file id=\"" << fileId << "\">\n"
             << "              <name>" << xmlEsc (clip.file.getFileName()) << "</name>\n"
             << "              <pathurl>" << xmlEsc (fileUrl (clip.file)) << "</pathurl>\n"
             << "              " << rate << "\n"
             << "              <duration>" << length << "</duration>\n"
             << "              " << timecodeAt (clip.sourceFirst) << "\n"
             << "              <media>" << media << "</media>\n"
             << "            </file>\n";
    }

    void addPicture()
    {
        const auto clip = pictureClip (request, take);

        if (! clip)
            return;

        // If the length of the picture is not known, the part in use counts.
        const auto length = clip->sourceStart - clip->sourceFirst + clip->length;
        text << "      <video>\n";
        beginClip (*clip, length);
        describeFile ("picture-" + juce::String (id), *clip, length, "<video/>");
        endClip();
        text << "      </video>\n";
    }

    // One clip for each track of the combined file.
    void addSound()
    {
        const auto clip = combinedClip (request, take);
        const auto fileId = "combined-" + juce::String (id);
        auto number = 0;
        text << "      <audio>\n";

        for (const auto& track : tracks)
        {
            beginClip (clip, take.length);

            if (++number == 1)
                describeFile (fileId, clip, take.length, soundMedia());
            else
                text << "            <file id=\"" << fileId << "\"/>\n";

            text << "            <sourcetrack><mediatype>audio</mediatype><trackindex>" << number
                 << "</trackindex></sourcetrack>\n"
                 << "            <logginginfo><description>" << xmlEsc (track.name) << "</description></logginginfo>\n"
                 << "            <comments><mastercomment1>" << frameLabel (take.start, take.rate)
                 << "</mastercomment1></comments>\n";
            endClip();
        }

        text << "      </audio>\n";
    }

    [[nodiscard]] juce::String soundMedia() const
    {
        juce::String media;
        media << "<audio><samplecharacteristics><depth>"
              << std::max ((request.host.format.bitsPerSample + 7) / 8 * 8, 16) << "</depth><samplerate>"
              << request.host.format.sampleRate << "</samplerate></samplecharacteristics><channelcount>"
              << (int) tracks.size() << "</channelcount></audio>";
        return media;
    }

    const InterchangeRequest& request;
    const InterchangeTake take;
    const std::vector<TrackInfo> tracks;
    const int id;
    juce::String rate, text;
    int numClips = 0;
};

}    // namespace

juce::String makeFcpXml (InterchangeTakes takes)
{
    juce::String text ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n<xmeml version=\"5\">\n");
    auto number = 0;

    for (const auto& request : takes)
        text << SequenceText (request, ++number).write();

    return text << "</xmeml>\n";
}

}    // namespace ld
