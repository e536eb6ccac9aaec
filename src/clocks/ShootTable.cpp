#include "clocks/ShootTable.h"

#include "batch/Workers.h"
#include "clocks/CommonSlope.h"
#include "media/BextIxml.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr double secondsPerDay = 86400.0;

DayFile dayFileOf (const ScanFile& scan)
{
    DayFile file;
    file.scan = scan;
    file.seconds = (double) scan.format.numFrames / std::max (scan.format.sampleRate, 1);

    if (hasAudioTimestamp (scan.ixml, scan.bext))
        file.stampSeconds = (double) timestampFromIxmlOrBext (scan.ixml, scan.bext)
                            / std::max (sampleRateForTimestamp (scan.ixml, scan.format), 1.0);

    return file;
}

DayClock dayOf (const std::vector<DayFile>& polys)
{
    std::vector<double> stamps;

    for (const auto& poly : polys)
        if (poly.stampSeconds)
            stamps.push_back (*poly.stampSeconds);

    return dayClockOf (std::move (stamps));
}

template <typename Entry>
size_t
indexOf (std::vector<Entry>& entries, std::map<juce::String, size_t>& known, const juce::String& key, Entry entry)
{
    const auto [at, isNew] = known.emplace (key, entries.size());

    if (isNew)
        entries.push_back (std::move (entry));

    return at->second;
}

std::optional<FileSpan> spanOf (const DayTable& table, size_t index, const std::vector<std::optional<double>>& starts)
{
    const auto& file = table.files[index];

    // By its own stamps a machine never runs twice at a time, however wrong they are.
    if (file.stampSeconds)
        return FileSpan { table.day.timeOf (*file.stampSeconds), table.day.timeOf (*file.stampSeconds) + file.seconds };

    if (starts[index])
        return FileSpan { *starts[index], *starts[index] + file.seconds };

    return {};
}

// When each file began, by the polys' clock, where its sound has proved it.
std::vector<std::optional<double>> provedStarts (const DayTable& table)
{
    std::vector<std::optional<double>> starts (table.files.size());

    for (const auto& pair : table.pairs)
        if (pair.isProved() && ! starts[pair.file])
            starts[pair.file] = table.timeAt (pair, 0.0, pair.proof->line->lagAt (0.0));

    return starts;
}

// Of the files of one recorder that share a poly's rate.
std::optional<CommonSlope>
commonSlopeOf (const DayTable& table, size_t recorder, const std::vector<ClockReading>& readings)
{
    constexpr double otherRate = 60e-6;
    std::vector<const std::vector<LagTrack>*> tracks;
    auto rate = 0;

    for (const auto& pair : table.pairs)
    {
        const auto hostRate = (int) table.rateOf (pair);

        if (! pair.isProved() || table.files[pair.file].recorder != recorder || (rate != 0 && rate != hostRate))
            continue;

        rate = hostRate;
        tracks.push_back (&pair.proof->tracks);
    }

    if (tracks.empty())
        return {};

    // Around the surest of the files' own.
    const auto surest = std::min_element (
        readings.begin(), readings.end(), [] (auto& a, auto& b) { return a.slopeError < b.slopeError; });
    const auto near = std::abs (surest->slope) > otherRate ? surest->slope : 0.0;
    return findCommonSlope (tracks, near, rate);
}

}    // namespace

std::optional<double> DayTable::stampLag (const DayPair& pair) const
{
    const auto& poly = polys[pair.poly];
    const auto& file = files[pair.file];

    if (! poly.stampSeconds || ! file.stampSeconds)
        return {};

    return std::remainder (*file.stampSeconds - *poly.stampSeconds, secondsPerDay);
}

std::optional<double> DayTable::timeAt (const DayPair& pair, double guestSample, double lag) const
{
    const auto& poly = polys[pair.poly];

    if (! poly.stampSeconds)
        return {};

    return day.timeOf (*poly.stampSeconds) + (guestSample + lag) / rateOf (pair);
}

DayTable makeDayTable (const std::vector<BatchMatch>& polys,
                       const std::vector<PairVerdict>& verdicts,
                       const MatchOptions& options)
{
    DayTable table;
    std::map<juce::String, size_t> knownFiles, knownSources, polyOf;

    for (const auto& match : polys)
    {
        polyOf.emplace (match.host.file.getFullPathName(), table.polys.size());
        table.polys.push_back (dayFileOf (match.host));
    }

    const auto sourceOf = [&] (const juce::File& file, int rate) {
        return indexOf (
            table.sources, knownSources, file.getFullPathName() + "|" + juce::String (rate), LagSource { file, rate });
    };

    for (const auto& verdict : verdicts)
    {
        const auto poly = polyOf.find (verdict.poly.getFullPathName());

        // A file is never its own guest.
        if (poly == polyOf.end() || verdict.guest.file == verdict.poly)
            continue;

        DayPair pair;
        pair.poly = poly->second;
        pair.file = indexOf (table.files, knownFiles, verdict.guest.file.getFullPathName(), dayFileOf (verdict.guest));
        const auto rate = std::max (table.polys[pair.poly].scan.format.sampleRate, 1);
        pair.hostSource = sourceOf (verdict.poly, rate);
        pair.guestSource = sourceOf (verdict.guest.file, rate);
        pair.first = verdict.guest.alignment;
        pair.firstAccepted = verdict.accepted;
        table.pairs.push_back (std::move (pair));
    }

    runWorkers (
        (int) table.sources.size(),
        [&] (int i) {
        auto& source = table.sources[(size_t) i];
        source = describeLagSource (source.file, source.rate, options.clips);
        },
        options.workers > 0 ? options.workers : defaultWorkers());
    table.day = dayOf (table.polys);
    return table;
}

ClockReading readClock (const DayTable& table, const DayPair& pair)
{
    const auto& line = *pair.proof->line;

    // Talkers who move turn the line, the more the fewer windows lie on it; two recordings of one microphone do not.
    const auto share = (double) line.windowsOnLine / std::max (line.windowsWithSound, 1);
    const auto turn = (isOneMicrophone (line) ? 1.5
                       : share > 0.75         ? 8.0
                                              : 60.0)
                      / std::max (line.lastX - line.firstX, 1.0);
    const auto middle = 0.5 * (line.firstX + line.lastX);
    const auto lag = line.lagAt (middle);
    ClockReading reading;
    reading.slope = line.slope;
    reading.slopeError = std::sqrt (line.slopeError * line.slopeError + turn * turn);
    reading.atSeconds = table.timeAt (pair, middle, lag).value_or (0.0);

    if (const auto stamp = table.stampLag (pair))
        reading.stampError = lag / table.rateOf (pair) - *stamp;

    return reading;
}

void learnClocks (DayTable& table)
{
    const auto starts = provedStarts (table);
    std::vector<ScanFile> scans;
    std::vector<std::optional<FileSpan>> spans;

    for (size_t i = 0; i < table.files.size(); ++i)
    {
        scans.push_back (table.files[i].scan);
        spans.push_back (spanOf (table, i, starts));
    }

    const auto keys = recorderKeysOf (scans, spans);
    std::map<juce::String, size_t> known;
    std::vector<std::vector<ClockReading>> readings;
    table.recorders.clear();

    for (size_t i = 0; i < keys.size(); ++i)
    {
        RecorderClock clock;
        clock.key = keys[i];
        table.files[i].recorder = indexOf (table.recorders, known, keys[i], clock);
    }

    readings.resize (table.recorders.size());

    for (const auto& pair : table.pairs)
        if (pair.isProved())
            readings[table.files[pair.file].recorder].push_back (readClock (table, pair));

    for (size_t r = 0; r < readings.size(); ++r)
    {
        const auto common = commonSlopeOf (table, r, readings[r]);
        table.recorders[r] = poolReadings (table.recorders[r].key, std::move (readings[r]), common);
    }
}

std::optional<ExpectedPlace> expectedPlace (const DayTable& table, const DayPair& pair)
{
    const auto& poly = table.polys[pair.poly];
    const auto& host = table.hostOf (pair);
    const auto& guest = table.sources[pair.guestSource];
    const auto rate = table.rateOf (pair);

    if (! poly.stampSeconds || host.channels < 1 || guest.channels < 1)
        return {};

    const auto polyTime = table.day.timeOf (*poly.stampSeconds);
    const auto& clock = table.recorders[table.files[pair.file].recorder];
    std::optional<double> start;    // s from the poly's first sample
    ExpectedPlace place;
    auto slope = clock.slope;

    // The same file in another take knows best.
    for (const auto& other : table.pairs)
        if (other.file == pair.file && other.poly != pair.poly && other.isProved())
            if (const auto time = table.timeAt (other, 0.0, other.proof->line->lagAt (0.0)))
            {
                start = *time - polyTime;
                slope = other.proof->line->slope;
                place.isByFile = true;
                place.doubtSeconds = 0.5;
                break;
            }

    if (! start)
    {
        const auto stamp = table.stampLag (pair);

        if (! stamp || clock.jams.empty())
            return {};

        const auto error = stampErrorAt (clock, polyTime + 0.5 * (double) host.length / rate).value_or (StampError {});
        start = *stamp + error.seconds;
        place.doubtSeconds = 0.5 + error.doubtSeconds;
        place.ambiguousSeconds = error.doubtSeconds;
    }

    const auto from = std::max (*start, 0.0);
    const auto to = std::min (*start + (double) guest.length / rate, (double) host.length / rate);
    place.sharedSeconds = std::max (to - from, 0.0);
    const auto middle = 0.5 * (from + to) - *start;    // of the file
    place.lag = (*start + (place.isByFile ? slope * middle : 0.0)) * rate;
    return place;
}

std::optional<double> continuedLag (const DayTable& table, const DayPair& pair)
{
    const auto& file = table.files[pair.file];
    const auto nameOf = [&] (size_t index) { return table.files[index].scan.file.getFileName(); };
    std::vector<size_t> family;

    for (size_t i = 0; i < table.files.size(); ++i)
        if (table.files[i].recorder == file.recorder)
            family.push_back (i);

    std::sort (
        family.begin(), family.end(), [&] (auto a, auto b) { return nameOf (a).compareNatural (nameOf (b)) < 0; });
    const auto placeOf = [&] (size_t index) {
        return std::find (family.begin(), family.end(), index) - family.begin();
    };
    const auto length = (double) table.sources[pair.guestSource].length, host = (double) table.hostOf (pair).length;

    for (const auto& other : table.pairs)
    {
        if (other.poly != pair.poly || ! other.isProved() || table.files[other.file].recorder != file.recorder)
            continue;

        const auto distance = placeOf (pair.file) - placeOf (other.file);
        const auto otherLength = (double) table.sources[other.guestSource].length;
        const auto& line = *other.proof->line;
        const auto lag = distance == 1 ? otherLength + line.lagAt (otherLength) : line.lagAt (0.0) - length;

        if (std::abs (distance) == 1 && lag < host && lag + length > 0.0)
            return lag;
    }

    return {};
}

}    // namespace ld
