#include "report/SoundReport.h"

#include "clocks/DayClock.h"
#include "clocks/RecorderClocks.h"
#include "media/BextIxml.h"
#include "media/ClockStretches.h"
#include "output/TimecodeLabels.h"

#include <pugixml.hpp>

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

// Below it more than half of such places are expected to be wrong.
constexpr float doubtfulBelow = 0.5f;

double secondsOf (const AudioFormatInfo& format)
{
    return (double) format.numFrames / std::max (format.sampleRate, 1);
}

template <typename Media>
std::optional<double> stampSecondsOf (const Media& media)
{
    if (! hasAudioTimestamp (media.ixml, media.bext))
        return {};

    return (double) timestampFromIxmlOrBext (media.ixml, media.bext)
           / std::max (sampleRateForTimestamp (media.ixml, media.format), 1.0);
}

// A session knows of a file only what it is recognised by.
template <typename Media>
Media withHeader (Media media)
{
    if (media.format.dataBytes == 0)
        if (const auto scan = inspectAudioFile (media.file); scan.format.valid)
            copyIdentity (scan, media);

    return media;
}

Standing standingOf (const GuestOutcome& guest)
{
    if (guest.rejected || guest.alignment.needsManual || guest.alignment.method == Alignment::Method::none)
        return Standing::leftOut;

    return guest.alignment.confidence < doubtfulBelow ? Standing::doubtful : Standing::placed;
}

// The stamps of a day wrap at midnight, and no shoot lasts half a day.
double stampLag (double poly, double file)
{
    constexpr double secondsPerDay = 86400.0;
    return std::remainder (file - poly, secondsPerDay);
}

juce::String signedSeconds (double seconds)
{
    return (seconds < 0.0 ? juce::String::fromUTF8 ("\xE2\x88\x92") : juce::String ("+"))
           + juce::String (std::abs (seconds), 3) + " s";
}

const char* wordsFor (Alignment::Method method)
{
    switch (method)
    {
        case Alignment::Method::timecode: return "by timecode";
        case Alignment::Method::waveform: return "by its sound";
        case Alignment::Method::timecodeRefined: return "by timecode and sound";
        case Alignment::Method::manual: return "by hand";
        default: return "";
    }
}

ReportGuest wordsOf (const GuestOutcome& guest, const RunTable::Guest& line, double hostRate)
{
    ReportGuest words;
    words.files = namesOf (line);
    words.standing = standingOf (guest);
    juce::StringArray tracks;

    for (const auto& track : guest.trackNames)
        tracks.add (track);

    tracks.removeEmptyStrings();
    words.tracks = tracks.joinIntoString (", ");
    words.detail = line.detail + (line.evidence.isEmpty() ? "" : "; " + line.evidence);

    if (words.standing == Standing::leftOut)
        return words;

    words.place =
        signedSeconds ((double) guest.alignment.offsetSamples / hostRate) + ", " + wordsFor (guest.alignment.method);

    if (line.confidence)
        words.sureness = juce::String (juce::roundToInt (*line.confidence * 100.0f)) + " %";

    return words;
}

// Takes and files that describeDay goes through, with their headers.
class DayBook
{
public:
    DayBook (const ConformOutcome& outcomeToUse, const RunTable& tableToUse)
        : outcome (outcomeToUse), table (tableToUse)
    {
        std::vector<double> stamps;

        for (const auto& take : outcome.takes)
        {
            polys.push_back (inspectAudioFile (take.poly));

            if (const auto stamp = stampSecondsOf (polys.back()))
                stamps.push_back (*stamp);
        }

        day = dayClockOf (std::move (stamps));

        for (const auto& file : outcome.unmatched)
            loose.push_back (inspectAudioFile (file));

        nameRecorders();
    }

    [[nodiscard]] ReportTake describe (size_t index)
    {
        const auto& done = outcome.takes[index];
        const auto& lines = table.takes[index];
        auto told = sheetOf (polys[index]);
        told.poly = done.poly.getFileName();
        told.output = done.written ? done.output.getFileName() : juce::String();
        told.fault = done.error;
        auto line = lines.guests.begin();

        for (const auto& guest : done.guests)
        {
            // The table leaves out what has its place in another take.
            if (line == lines.guests.end() || ! isAbout (*line, guest))
                continue;

            told.guests.push_back (wordsOf (guest, *line, rateOf (index)));
            ++line;
            addBlocks (index, guest, told);
        }

        return told;
    }

    [[nodiscard]] std::vector<ReportBlock> looseBlocks() const
    {
        std::vector<ReportBlock> blocks;

        for (const auto& scan : loose)
            if (const auto stamp = stampSecondsOf (scan); stamp && scan.format.valid)
                blocks.push_back ({ scan.file.getFileName(),
                                    recorderOf (scan.file),
                                    Standing::leftOut,
                                    day.timeOf (*stamp),
                                    day.timeOf (*stamp) + secondsOf (scan.format) });

        return blocks;
    }

    // After all takes were gone through.
    [[nodiscard]] std::vector<ReportClock> clocks() const
    {
        std::vector<ReportClock> told;

        for (const auto& clock : outcome.recorders)
        {
            const auto known = seen.find (clock.key);
            told.push_back (known != seen.end() ? known->second : ReportClock());
            told.back().clock = clock;
            std::ranges::sort (told.back().points, {}, &ClockPoint::atSeconds);
        }

        return told;
    }

private:
    static bool isAbout (const RunTable::Guest& line, const GuestOutcome& guest)
    {
        return std::ranges::equal (line.files, guest.pieces, {}, {}, &GuestPiece::file);
    }

    [[nodiscard]] double rateOf (size_t take) const { return std::max (polys[take].format.sampleRate, 1); }

    ReportTake sheetOf (const ScanFile& poly) const
    {
        const auto& ixml = poly.ixml;
        ReportTake sheet;
        sheet.scene = ixml.scene;
        sheet.take = ixml.take;
        sheet.tape = ixml.tape;
        sheet.notes = ixml.note.isNotEmpty() ? ixml.note : poly.bext.description;
        sheet.date = poly.bext.originationDate;
        sheet.seconds = secondsOf (poly.format);
        pugi::xml_document document;
        document.load_string (ixml.rawXml.toRawUTF8());
        sheet.isCircled = childText (document.document_element(), "CIRCLED").equalsIgnoreCase ("TRUE");

        for (int i = 0; i < poly.format.channels; ++i)
            sheet.tracks.add ({});

        for (const auto& track : ixml.tracks)
            if (track.interleaveIndex >= 1 && track.interleaveIndex <= sheet.tracks.size())
                sheet.tracks.set (track.interleaveIndex - 1, track.name);

        if (const auto stamp = stampSecondsOf (poly))
        {
            const auto rate = timecodeRateOf (ixml.timecodeRate, ixml.timecodeFlag);
            const auto first =
                frameAt (timestampFromIxmlOrBext (ixml, poly.bext), sampleRateForTimestamp (ixml, poly.format), rate);
            const auto length = framesOf (poly.format.numFrames, std::max (poly.format.sampleRate, 1), rate);
            sheet.timecodeIn = frameLabel (first, rate);
            sheet.timecodeOut = frameLabel (first + length, rate);
            sheet.startSeconds = day.timeOf (*stamp);
        }

        return sheet;
    }

    void addBlocks (size_t index, const GuestOutcome& guest, ReportTake& told)
    {
        for (const auto& known : guest.pieces)
        {
            const auto piece = withHeader (known);
            const auto polyStamp = stampSecondsOf (polys[index]), stamp = stampSecondsOf (piece);
            const auto isPlaced = standingOf (guest) != Standing::leftOut;
            const auto lag = polyStamp && stamp ? std::optional (stampLag (*polyStamp, *stamp)) : std::nullopt;
            auto start = lag;

            // A place that nothing vouches for is still where it was thought to lie.
            if (isPlaced || guest.alignment.method != Alignment::Method::none)
                start = (double) stretchesOnHost (guest.alignment, piece).front().hostSample / rateOf (index);

            if (! start || ! piece.format.valid)
                continue;

            told.blocks.push_back ({ piece.file.getFileName(),
                                     recorderOf (piece.file),
                                     standingOf (guest),
                                     *start,
                                     *start + secondsOf (piece.format) });

            if (isPlaced && told.startSeconds)
                noteClock (told, told.blocks.back(), lag, lagsOf (guest, piece, index));
        }
    }

    // Where the stretches of a file begin in the take, s, and how far each lies behind where the file's own count has it.
    struct StretchLag
    {
        double from, lag, slope;

        [[nodiscard]] double at (double seconds) const { return lag + slope * (seconds - from); }
    };

    [[nodiscard]] std::vector<StretchLag> lagsOf (const GuestOutcome& guest, const GuestPiece& piece, size_t take) const
    {
        std::vector<StretchLag> lags;

        for (const auto& stretch : stretchesOnHost (guest.alignment, piece))
        {
            const auto from = (double) stretch.hostSample / rateOf (take);
            lags.push_back (
                { from, from - (double) stretch.fromSample / std::max (piece.format.sampleRate, 1), stretch.slope });
        }

        return lags;
    }

    // stampLag   by which the file begins behind the take by the stamps of both
    void noteClock (const ReportTake& take,
                    const ReportBlock& block,
                    std::optional<double> stampLag,
                    const std::vector<StretchLag>& lags)
    {
        const auto from = std::clamp (block.from, 0.0, take.seconds), to = std::clamp (block.to, 0.0, take.seconds);
        const auto middle = 0.5 * (from + to);
        const auto [at, isNew] = seen.emplace (block.recorder, ReportClock());
        auto& clock = at->second;
        clock.fromSeconds = isNew ? *take.startSeconds + from : std::min (clock.fromSeconds, *take.startSeconds + from);
        clock.toSeconds = isNew ? *take.startSeconds + to : std::max (clock.toSeconds, *take.startSeconds + to);
        const auto after = std::ranges::upper_bound (lags, middle, {}, &StretchLag::from);

        if (stampLag)
            clock.points.push_back ({ *take.startSeconds + middle,
                                      (after == lags.begin() ? *after : *(after - 1)).at (middle) - *stampLag });
    }

    // As the match told them apart: by the files that were compared, or by those of the takes.
    void nameRecorders()
    {
        std::set<juce::String> listed;
        std::vector<ScanFile> scans;
        std::vector<std::optional<FileSpan>> spans;
        const auto add = [&] (const auto& media, std::optional<double> start) {
            if (! listed.insert (media.file.getFullPathName()).second)
                return;

            copyIdentity (withHeader (media), scans.emplace_back());
            const auto seconds = secondsOf (scans.back().format);

            if (const auto stamp = stampSecondsOf (scans.back()))
                start = day.timeOf (*stamp);

            spans.push_back (start ? std::optional (FileSpan { *start, *start + seconds }) : std::nullopt);
        };

        for (size_t t = 0; t < outcome.takes.size(); ++t)
            for (const auto& guest : outcome.takes[t].guests)
                for (const auto& piece : guest.pieces)
                    add (piece, startOf (t, guest, piece));

        for (const auto& pair : outcome.comparisons)
            add (pair.guest, {});

        for (const auto& scan : loose)
            add (scan, {});

        const auto keys = recorderKeysOf (scans, spans);

        for (size_t i = 0; i < scans.size(); ++i)
            recorders[scans[i].file.getFullPathName()] = keys[i];
    }

    // By the polys' clock.
    std::optional<double> startOf (size_t take, const GuestOutcome& guest, const GuestPiece& piece) const
    {
        const auto stamp = stampSecondsOf (polys[take]);

        if (! stamp || standingOf (guest) == Standing::leftOut)
            return {};

        return day.timeOf (*stamp)
               + (double) stretchesOnHost (guest.alignment, piece).front().hostSample / rateOf (take);
    }

    [[nodiscard]] juce::String recorderOf (const juce::File& file) const
    {
        const auto known = recorders.find (file.getFullPathName());
        return known != recorders.end() ? known->second : juce::String();
    }

    const ConformOutcome& outcome;
    const RunTable& table;
    std::vector<ScanFile> polys, loose;
    DayClock day;
    std::map<juce::String, juce::String> recorders;    // by full path
    std::map<juce::String, ReportClock> seen;          // by key
};

}    // namespace

juce::String nameOf (const ReportTake& take)
{
    if (take.scene.isEmpty())
        return take.poly.upToLastOccurrenceOf (".", false, false);

    return take.take.isEmpty() ? take.scene : take.scene + "/" + take.take;
}

SoundReport describeDay (const ConformOutcome& outcome, const juce::String& title)
{
    const auto table = tableOfScan (outcome);
    DayBook book (outcome, table);
    SoundReport report;
    report.title = title;

    for (size_t i = 0; i < outcome.takes.size(); ++i)
        report.takes.push_back (book.describe (i));

    report.looseBlocks = book.looseBlocks();
    report.clocks = book.clocks();
    report.unreadable = table.unreadable;
    report.unmatched = table.unmatched;
    return report;
}

}    // namespace ld
