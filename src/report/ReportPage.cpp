#include "report/ReportPage.h"

#include "output/Interchange.h"
#include "report/ClockChart.h"
#include "report/DayChart.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr auto style = R"(
@page { size: A4 landscape; margin: 11mm 11mm 12mm }
* { box-sizing: border-box }
body { font: 13px/1.4 "DejaVu Sans", "Helvetica Neue", Arial, sans-serif; color: #14181a; background: #fff; margin: 24px auto;
  max-width: 1120px; padding: 0 20px; -webkit-print-color-adjust: exact; print-color-adjust: exact }
h1 { font-size: 22px; margin: 0 0 2px }
h2 { font-size: 15px; margin: 22px 0 8px; border-bottom: 1px solid #9aa5a0; padding-bottom: 3px; break-after: avoid }
h2 + p { break-after: avoid }
.legend { margin-bottom: 6px }
h3 { font-size: 12px; margin: 0 0 2px; overflow-wrap: anywhere }
p { margin: 2px 0 }
figure { margin: 0 0 12px; break-inside: avoid }
figcaption { font-size: 11px; color: #4b5652; margin-bottom: 2px }
table { border-collapse: collapse; width: 100%; font-size: 11px; table-layout: fixed }
th, td { text-align: left; vertical-align: top; padding: 3px 5px; border-bottom: 1px solid #cfd6d2; overflow-wrap: anywhere }
th { border-bottom: 1px solid #14181a; font-size: 10px }
thead { display: table-header-group }
tr { break-inside: avoid }
ul { margin: 0; padding: 0; list-style: none }
li { overflow-wrap: anywhere; margin-bottom: 2px }
ul.loose li { margin-bottom: 4px }
.small { font-size: 10px; color: #4b5652 }
.bad .small { color: inherit }
.bad { color: #b3261e }
.ring { border: 1.5px solid #14181a; border-radius: 10px; padding: 0 6px; font-weight: bold }
.clocks { display: grid; grid-template-columns: 1fr 1fr; gap: 14px 22px }
.clocks figure { margin: 0 }
.legend span { margin-right: 16px; white-space: nowrap }
.legend i { display: inline-block; width: 20px; height: 9px; margin-right: 5px }
svg { display: block; width: 100%; height: auto }
svg text { font: 9px "DejaVu Sans", "Helvetica Neue", Arial, sans-serif; fill: #14181a }
svg .time { fill: #4b5652 }
svg .end { text-anchor: end }
svg .middle { text-anchor: middle }
svg .column { fill: #eef1ef }
svg .grid { stroke: #d5dbd8; stroke-width: 0.6 }
svg .axis { stroke: #6d7874; stroke-width: 0.9 }
svg .poly { fill: #2f4a41 }
svg .placed { fill: #6fa58d; stroke: #fff; stroke-width: 0.4 }
svg .doubtful { fill: #d1483a; stroke: #fff; stroke-width: 0.4 }
svg .out { fill: #f6cfca; stroke: #b3261e; stroke-width: 0.8; stroke-dasharray: 3 2 }
svg .clock { stroke: #2f6f8f; stroke-width: 1.6 }
svg .jam { stroke: #b3261e; stroke-width: 1; stroke-dasharray: 3 3 }
svg .point { fill: #14181a; fill-opacity: 0.75 }
i.poly { background: #2f4a41 } i.placed { background: #6fa58d } i.doubtful { background: #d1483a }
i.out { background: #f6cfca; border: 1px dashed #b3261e }
@media print { body { margin: 0; padding: 0; max-width: none } }
)";

juce::String tagged (const char* tag, const juce::String& content)
{
    const juce::String open ("<"), name (tag);
    return open + name + ">" + content + "</" + name.upToFirstOccurrenceOf (" ", false, false) + ">";
}

juce::String cell (const juce::String& text)
{
    return tagged ("td", xmlEsc (text));
}

juce::String countText (int count, const char* one, const char* several)
{
    return juce::String (count) + " " + (count == 1 ? one : several);
}

int countGuests (const SoundReport& report, Standing standing)
{
    auto count = 0;

    for (const auto& take : report.takes)
        count += (int) std::ranges::count (take.guests, standing, &ReportGuest::standing);

    return count;
}

// The dates of the takes, in their order, each once.
juce::String datesOf (const SoundReport& report)
{
    juce::StringArray dates;

    for (const auto& take : report.takes)
        dates.addIfNotAlreadyThere (take.date);

    dates.removeEmptyStrings();
    return dates.joinIntoString (", ");
}

juce::String makeHead (const SoundReport& report)
{
    auto seconds = 0.0;

    for (const auto& take : report.takes)
        seconds += take.seconds;

    const auto circled = (int) std::ranges::count (report.takes, true, &ReportTake::isCircled);
    const auto doubtful = countGuests (report, Standing::doubtful), out = countGuests (report, Standing::leftOut);
    const auto dates = datesOf (report);
    juce::StringArray facts;
    facts.add (countText ((int) report.takes.size(), "take", "takes") + ", " + lengthText (seconds));
    facts.add (juce::String (circled) + " circled");
    facts.add (countText (countGuests (report, Standing::placed), "recording placed", "recordings placed"));

    if (doubtful > 0)
        facts.add (juce::String (doubtful) + " doubtful");

    if (out > 0)
        facts.add (juce::String (out) + " left out");

    return tagged ("h1", "Sound report: " + xmlEsc (report.title))
           + tagged ("p", xmlEsc (dates.isEmpty() ? "" : dates + ". ") + facts.joinIntoString ("; ") + ".") + "\n";
}

juce::String makeDay (const SoundReport& report)
{
    juce::String text (tagged ("h2", "The day") + "\n");
    text << "<p class=\"small legend\"><span><i class=\"poly\"></i>poly</span>"
            "<span><i class=\"placed\"></i>placed</span>"
            "<span><i class=\"doubtful\"></i>placed, but doubtful</span>"
            "<span><i class=\"out\"></i>left out, where it was thought to lie</span>"
            "<span>Time without takes is shortened.</span></p>\n";

    for (const auto& picture : drawDay (report))
        text << "<figure><figcaption>" << xmlEsc (picture.caption) << "</figcaption>\n" << picture.svg << "</figure>\n";

    return text;
}

juce::String textOf (const ReportGuest& guest)
{
    // The two stay in one line.
    const auto space = juce::String::fromUTF8 ("\xC2\xA0");
    return xmlEsc (guest.files)
           + (guest.sureness.isEmpty() ? "" : space + xmlEsc (guest.sureness.replace (" ", space)));
}

// In a line each what is wrong, ahead of it in one line what is not.
juce::String guestList (const ReportTake& take)
{
    juce::StringArray placed;
    juce::String bad;

    for (const auto& guest : take.guests)
    {
        if (guest.standing == Standing::placed)
            placed.add (textOf (guest));
        else if (guest.standing == Standing::doubtful)
            bad << "<li class=\"bad\">" << textOf (guest) << ": doubtful</li>";
        else
            bad << "<li class=\"bad\">" << textOf (guest) << ": left out. " << xmlEsc (guest.detail) << "</li>";
    }

    if (take.guests.empty())
        return "none";

    return tagged ("ul", (placed.isEmpty() ? "" : tagged ("li", placed.joinIntoString (", "))) + bad);
}

juce::String tracksOf (const ReportTake& take)
{
    juce::StringArray names;

    for (int i = 0; i < take.tracks.size(); ++i)
        names.add (juce::String (i + 1) + " " + take.tracks[i]);

    return names.joinIntoString ("; ");
}

juce::String takeRow (const ReportTake& take)
{
    const auto number = xmlEsc (take.take.isEmpty() ? juce::String ("-") : take.take);
    const auto file = xmlEsc (take.poly)
                      + (take.output.isEmpty() ? "" : "<br/><span class=\"small\">" + xmlEsc (take.output) + "</span>")
                      + (take.fault.isEmpty() ? "" : "<br/><span class=\"bad\">" + xmlEsc (take.fault) + "</span>");
    return "<tr>" + cell (take.scene)
           + tagged ("td", take.isCircled ? "<span class=\"ring\">" + number + "</span>" : number)
           + tagged ("td", xmlEsc (take.timecodeIn) + "<br/>" + xmlEsc (take.timecodeOut))
           + cell (lengthText (take.seconds)) + cell (tracksOf (take)) + cell (take.notes) + tagged ("td", file)
           + tagged ("td", guestList (take)) + "</tr>\n";
}

struct Column
{
    const char* heading;
    int percent;
};

juce::String makeTable (std::initializer_list<Column> columns, const juce::String& rows)
{
    juce::String widths, headings;

    for (const auto& column : columns)
    {
        widths << "<col style=\"width:" << column.percent << "%\"/>";
        headings << tagged ("th", column.heading);
    }

    return "<table>" + tagged ("colgroup", widths) + "\n" + tagged ("thead", tagged ("tr", headings)) + "\n<tbody>\n"
           + rows + "</tbody></table>\n";
}

juce::String makeTakes (const SoundReport& report)
{
    juce::String rows;

    for (const auto& take : report.takes)
        rows << takeRow (take);

    return tagged ("h2", "Takes") + "\n"
           + makeTable ({ { "Scene", 6 },
                          { "Take", 5 },
                          { "Timecode in, out", 9 },
                          { "Length", 7 },
                          { "Tracks", 17 },
                          { "Notes", 11 },
                          { "File", 15 },
                          { "Guests, and how surely they are placed", 30 } },
                        rows);
}

juce::String guestRow (const ReportTake& take, const ReportGuest& guest)
{
    const auto isOut = guest.standing == Standing::leftOut;
    return (guest.standing == Standing::placed ? "<tr>" : "<tr class=\"bad\">") + cell (nameOf (take))
           + cell (guest.files) + cell (guest.tracks) + cell (isOut ? "left out" : guest.sureness) + cell (guest.place)
           + tagged ("td class=\"small\"", xmlEsc (guest.detail)) + "</tr>\n";
}

juce::String makeGuests (const SoundReport& report)
{
    juce::String rows;

    for (const auto& take : report.takes)
        for (const auto& guest : take.guests)
            rows << guestRow (take, guest);

    if (rows.isEmpty())
        return {};

    return tagged ("h2", "Guests") + "\n"
           + makeTable ({ { "Take", 7 },
                          { "File", 19 },
                          { "Tracks", 13 },
                          { "Sure", 6 },
                          { "Place, from the take's start", 19 },
                          { "What speaks for it, or why it was left out", 36 } },
                        rows);
}

juce::String makeLoose (const juce::String& heading, const std::vector<RunTable::LooseFile>& files)
{
    if (files.empty())
        return {};

    auto text = tagged ("h2", heading) + "\n<ul class=\"loose\">\n";

    for (const auto& file : files)
        text << "<li class=\"bad\">" << xmlEsc (file.path)
             << (file.note.isEmpty() ? "" : "<br/><span class=\"small\">" + xmlEsc (file.note) + "</span>")
             << "</li>\n";

    return text + "</ul>\n";
}

juce::String makeClocks (const SoundReport& report)
{
    if (report.clocks.empty())
        return {};

    auto text = tagged ("h2", "Clocks")
                + "\n<p class=\"small\">By how much each recorder's timecode is off: above 0 its files"
                + " belong later than their stamps say. Dots are files, dashes show where it was jammed anew.</p>\n"
                + "<div class=\"clocks\">\n";

    for (const auto& clock : report.clocks)
        text << "<figure>" << tagged ("h3", xmlEsc (clock.clock.key))
             << tagged ("figcaption", xmlEsc (clockSentence (clock.clock))) << "\n"
             << drawClock (clock) << "</figure>\n";

    return text + "</div>\n";
}

}    // namespace

juce::String lengthText (double seconds)
{
    const auto whole = (juce::int64) std::llround (std::max (seconds, 0.0));
    const auto field = [] (juce::int64 value) { return juce::String (value).paddedLeft ('0', 2); };
    return field (whole / 3600) + ":" + field (whole / 60 % 60) + ":" + field (whole % 60);
}

juce::String makeReportPage (const SoundReport& report)
{
    juce::String page ("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n");
    page << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
         << tagged ("title", "Sound report: " + xmlEsc (report.title)) << "\n<style>" << style
         << "</style>\n</head>\n<body>\n"
         << makeHead (report) << makeDay (report) << makeTakes (report) << makeGuests (report)
         << makeLoose ("Belong to no take", report.unmatched) << makeLoose ("Could not be read", report.unreadable)
         << makeClocks (report) << "</body>\n</html>\n";
    return page;
}

}    // namespace ld
