#include "report/ReportCsv.h"

#include "report/ReportPage.h"

#include <algorithm>

namespace ld
{
namespace
{

// A spreadsheet takes a text that begins like this for a formula and obeys it.
juce::String field (const juce::String& text)
{
    const auto safe = juce::String ("=+-@").containsChar (text.trimStart()[0]) && text.isNotEmpty() ? "'" + text : text;
    return "\"" + safe.replace ("\"", "\"\"") + "\"";
}

juce::String placedText (const ReportGuest& guest)
{
    juce::StringArray facts { guest.tracks, guest.sureness, guest.standing == Standing::doubtful ? "doubtful" : "" };
    facts.removeEmptyStrings();
    return guest.files + (facts.isEmpty() ? "" : " (" + facts.joinIntoString ("; ") + ")");
}

juce::String rowOf (const ReportTake& take, int numTracks)
{
    juce::StringArray placed, leftOut;

    for (const auto& guest : take.guests)
    {
        if (guest.standing == Standing::leftOut)
            leftOut.add (guest.files + (guest.detail.isEmpty() ? "" : ": " + guest.detail));
        else
            placed.add (placedText (guest));
    }

    juce::StringArray fields { field (take.scene),
                               field (take.take),
                               field (take.timecodeIn),
                               field (take.timecodeOut),
                               field (lengthText (take.seconds)) };

    for (int i = 0; i < numTracks; ++i)
        fields.add (field (take.tracks[i]));

    fields.addArray (juce::StringArray { field (take.notes),
                                         take.isCircled ? "yes" : "",
                                         field (take.poly),
                                         field (placed.joinIntoString ("; ")),
                                         field (leftOut.joinIntoString ("; ")),
                                         field (take.output),
                                         field (take.fault) });
    return fields.joinIntoString (",") + "\n";
}

}    // namespace

juce::String makeReportCsv (const SoundReport& report)
{
    auto numTracks = 0;

    for (const auto& take : report.takes)
        numTracks = std::max (numTracks, take.tracks.size());

    constexpr juce::juce_wchar byteOrderMark = 0xFEFF;
    juce::String text (juce::String::charToString (byteOrderMark));
    text << "Scene,Take,Timecode in,Timecode out,Length";

    for (int i = 1; i <= numTracks; ++i)
        text << ",Track " << i;

    text << ",Notes,Circled,File,Guests,Left out,Combined file,Fault\n";

    for (const auto& take : report.takes)
        text << rowOf (take, numTracks);

    return text;
}

}    // namespace ld
