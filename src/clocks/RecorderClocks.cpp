#include "clocks/RecorderClocks.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace ld
{
namespace
{

constexpr double unevenness = 0.3e-6;      // by how much a crystal's rate wanders over a day
constexpr double sameJamSeconds = 0.12;    // stamps may be counted in timecode frames
constexpr double huberLimit = 1.5;

double medianOf (std::vector<double> values)
{
    const auto middle = values.begin() + (std::ptrdiff_t) values.size() / 2;
    std::nth_element (values.begin(), middle, values.end());
    return *middle;
}

double variance (const ClockReading& reading)
{
    return reading.slopeError * reading.slopeError + unevenness * unevenness;
}

void poolSlopes (std::vector<ClockReading> readings, const std::optional<CommonSlope>& common, RecorderClock& clock)
{
    // Begins at the weighted median, which the contradicting ones do not move.
    auto sorted = readings;
    std::sort (sorted.begin(), sorted.end(), [] (auto& a, auto& b) { return a.slope < b.slope; });
    auto total = 0.0, passed = 0.0;

    for (const auto& reading : sorted)
        total += 1.0 / variance (reading);

    for (const auto& reading : sorted)
    {
        clock.slope = reading.slope;

        if ((passed += 1.0 / variance (reading)) >= 0.5 * total)
            break;
    }

    // What neighbouring windows of all files agree on is one more reading, which no jump and no talker turns.
    if (common)
    {
        clock.slope = common->slope;
        readings.push_back ({ common->slope, common->error, {}, 0.0 });
    }

    constexpr int rounds = 8;

    for (int round = 0; round < rounds; ++round)
    {
        auto sum = 0.0, weights = 0.0, squares = 0.0;

        for (const auto& reading : readings)
        {
            const auto u = std::abs (reading.slope - clock.slope) / std::sqrt (variance (reading));
            const auto weight = (u > huberLimit ? huberLimit / u : 1.0) / variance (reading);
            sum += weight * reading.slope;
            weights += weight;
            squares += weight * (reading.slope - clock.slope) * (reading.slope - clock.slope);
        }

        clock.slope = sum / weights;

        // Readings that scatter more than they say make the mean less sure, too.
        const auto freedom = (double) std::max<size_t> (readings.size(), 2) - 1.0;
        clock.slopeError = std::sqrt (std::max (1.0, squares / freedom) / weights);
    }
}

struct Stamp
{
    double at, error;
};

// Steps are found along the day.
std::vector<JamError> findJams (const std::vector<Stamp>& stamps, double slope)
{
    struct Cluster
    {
        std::vector<double> errors;
        double from, last;
    };
    std::vector<Cluster> clusters;

    for (const auto& stamp : stamps)
    {
        const auto error = stamp.error - slope * stamp.at;
        const auto fits = [&] (const Cluster& cluster) {
            return std::abs (medianOf (cluster.errors) - error) < sameJamSeconds;
        };
        const auto at = std::find_if (clusters.rbegin(), clusters.rend(), fits);

        if (at == clusters.rend())
            clusters.push_back ({ { error }, stamp.at, stamp.at });
        else
        {
            at->errors.push_back (error);
            at->last = stamp.at;
        }
    }

    // Settings follow one another: of two that overlap in time, the one that fewer files show is none.
    std::stable_sort (
        clusters.begin(), clusters.end(), [] (auto& a, auto& b) { return a.errors.size() > b.errors.size(); });
    std::vector<Cluster> settings;

    for (auto& cluster : clusters)
    {
        const auto overlaps = [&] (const Cluster& known) {
            return cluster.from <= known.last && known.from <= cluster.last;
        };

        if (settings.empty()
            || (cluster.errors.size() >= 2 && std::none_of (settings.begin(), settings.end(), overlaps)))
            settings.push_back (std::move (cluster));
    }

    std::sort (settings.begin(), settings.end(), [] (auto& a, auto& b) { return a.from < b.from; });
    std::vector<JamError> jams;

    for (const auto& setting : settings)
        jams.push_back ({ setting.from, setting.last, medianOf (setting.errors), 0.0, (int) setting.errors.size() });

    return jams;
}

double scatterOf (const std::vector<Stamp>& stamps, double slope)
{
    std::vector<double> errors;

    for (const auto& stamp : stamps)
        errors.push_back (stamp.error - slope * stamp.at);

    const auto middle = medianOf (errors);
    auto sum = 0.0;

    for (const auto error : errors)
        sum += std::min (std::abs (error - middle), 2.0 * sameJamSeconds);

    return sum;
}

// Of a name, its numbers apart from what stands between them.
struct NameParts
{
    explicit NameParts (const juce::String& name)
    {
        auto isInNumber = false;

        for (auto at = name.getCharPointer(); ! at.isEmpty(); ++at)
        {
            const auto isDigit = juce::CharacterFunctions::isDigit (*at);

            if (isDigit && ! isInNumber)
            {
                numbers.add ({});
                pattern << "#";
            }

            if (isDigit)
                numbers.getReference (numbers.size() - 1) << juce::String::charToString (*at);
            else
                pattern << juce::String::charToString (*at);

            isInNumber = isDigit;
        }
    }

    juce::StringArray numbers;
    juce::String pattern;
};

struct NamedFile
{
    juce::String prefix;    // all of the key ahead of the name
    NameParts name;
    std::optional<FileSpan> span;
    std::vector<int> fixedNumbers;    // those that name the machine

    [[nodiscard]] juce::String key() const
    {
        juce::String text;
        auto number = 0;

        for (auto at = name.pattern.getCharPointer(); ! at.isEmpty(); ++at)
        {
            const auto isNumber = *at == '#';
            const auto isFixed =
                isNumber && std::find (fixedNumbers.begin(), fixedNumbers.end(), number) != fixedNumbers.end();
            text << (isFixed ? name.numbers[number] : juce::String::charToString (*at));
            number += isNumber ? 1 : 0;
        }

        return prefix + text;
    }
};

bool runTogether (const NamedFile& a, const NamedFile& b)
{
    if (! a.span || ! b.span)
        return false;

    constexpr double share = 0.25;
    const auto overlap = std::min (a.span->to, b.span->to) - std::max (a.span->from, b.span->from);
    return overlap > share * std::min (a.span->to - a.span->from, b.span->to - b.span->from) && overlap > 0.0;
}

// The first number, from the left, in which two files that ran together differ.
std::optional<int> tellingNumber (const NamedFile& a, const NamedFile& b)
{
    for (int i = 0; i < a.name.numbers.size(); ++i)
        if (a.name.numbers[i] != b.name.numbers[i]
            && std::find (a.fixedNumbers.begin(), a.fixedNumbers.end(), i) == a.fixedNumbers.end())
            return i;

    return {};
}

juce::File commonFolder (const std::vector<ScanFile>& scans)
{
    auto root = scans.empty() ? juce::File() : scans.front().file.getParentDirectory();

    for (const auto& scan : scans)
        while (! scan.file.isAChildOf (root) && root != root.getParentDirectory())
            root = root.getParentDirectory();

    return root;
}

size_t valuesOf (const std::vector<NamedFile*>& members, int number)
{
    std::set<juce::String> values;

    for (const auto* member : members)
        values.insert (member->name.numbers[number]);

    return values.size();
}

// The number in the names of a group that differs from machine to machine, if several are in it. A running number has as many
// values as there are files.
std::optional<int> machineNumber (const std::vector<NamedFile*>& members)
{
    std::map<int, int> telling;
    auto together = 0, pairs = 0;

    for (size_t i = 0; i < members.size(); ++i)
        for (size_t j = i + 1; j < members.size(); ++j, ++pairs)
            if (runTogether (*members[i], *members[j]))
                if (const auto number = tellingNumber (*members[i], *members[j]))
                {
                    ++telling[*number];
                    ++together;
                }

    for (const auto& [number, count] : telling)
        if (together == pairs || 2 * valuesOf (members, number) <= members.size())
            return number;

    return {};
}

// Files that cannot come from one machine are separated by one more number; false where none had to be.
bool splitOnce (std::vector<NamedFile>& files)
{
    std::map<juce::String, std::vector<NamedFile*>> groups;

    for (auto& file : files)
        groups[file.key()].push_back (&file);

    auto wasSplit = false;

    for (auto& [key, members] : groups)
        if (const auto number = machineNumber (members))
        {
            for (auto* member : members)
                member->fixedNumbers.push_back (*number);

            wasSplit = true;
        }

    return wasSplit;
}

}    // namespace

RecorderClock
poolReadings (const juce::String& key, std::vector<ClockReading> readings, std::optional<CommonSlope> common)
{
    RecorderClock clock;
    clock.key = key;
    clock.files = (int) readings.size();

    if (readings.empty())
        return clock;

    std::sort (readings.begin(), readings.end(), [] (auto& a, auto& b) { return a.atSeconds < b.atSeconds; });
    poolSlopes (readings, common, clock);
    std::vector<Stamp> stamps;

    for (const auto& reading : readings)
        if (reading.stampError)
            stamps.push_back ({ reading.atSeconds, *reading.stampError });

    if (stamps.empty())
        return clock;

    // A timecode that comes from a box of its own does not drift with the sound.
    const auto origin = stamps.front().at;

    for (auto& stamp : stamps)
        stamp.at -= origin;

    const auto drift = scatterOf (stamps, 0.0) < scatterOf (stamps, clock.slope) ? 0.0 : clock.slope;
    clock.jams = findJams (stamps, drift);

    for (auto& jam : clock.jams)
    {
        jam.errorSeconds += drift * jam.fromSeconds;
        jam.fromSeconds += origin;
        jam.toSeconds += origin;
        jam.drift = drift;
    }

    return clock;
}

std::optional<StampError> stampErrorAt (const RecorderClock& clock, double seconds)
{
    if (clock.jams.empty())
        return {};

    const auto errorOf = [&] (const JamError& jam) {
        return jam.errorSeconds + jam.drift * (seconds - jam.fromSeconds);
    };
    StampError error { errorOf (clock.jams.front()), 0.0 };

    for (size_t i = 1; i < clock.jams.size(); ++i)
    {
        const auto& before = clock.jams[i - 1];
        const auto& after = clock.jams[i];

        // Between the last file of one setting and the first of the next, it may be either.
        if (seconds >= after.fromSeconds - 1.0)
            error = { errorOf (after), 0.0 };
        else if (seconds > before.toSeconds + 1.0)
            error = { errorOf (before), std::abs (errorOf (after) - errorOf (before)) };
    }

    return error;
}

double slopeOfFile (const RecorderClock& clock, const ClockReading& reading)
{
    // The file's own reading is part of the pool already; it speaks twice only where it is very sure. Of a file alone it is
    // known that hardly any recorder is off by more than the usual.
    constexpr double usual = 15e-6, verySure = 1e-6;
    const auto isAlone = clock.files < 2;
    const auto expected = isAlone ? 0.0 : clock.slope;
    const auto own = reading.slopeError * reading.slopeError;
    const auto pooled = isAlone ? usual * usual : clock.slopeError * clock.slopeError + unevenness * unevenness;

    // No crystal is off by so much on one file alone: it ran at another rate, if the file itself is sure of it.
    const auto otherRate = isAlone ? 4.0 * usual : reading.slopeError < verySure ? 30e-6 : 300e-6;

    if (std::abs (reading.slope - expected) > std::max (otherRate, 4.0 * reading.slopeError))
        return reading.slope;

    return (reading.slope / own + expected / pooled) / (1.0 / own + 1.0 / pooled);
}

std::vector<juce::String> recorderKeysOf (const std::vector<ScanFile>& scans,
                                          const std::vector<std::optional<FileSpan>>& spans)
{
    std::vector<NamedFile> files;

    const auto root = commonFolder (scans);

    for (size_t i = 0; i < scans.size(); ++i)
    {
        const auto& scan = scans[i];
        const auto folder = scan.file.getParentDirectory();
        NamedFile file { folder == root ? juce::String() : folder.getRelativePathFrom (root) + "/",
                         NameParts (scan.file.getFileNameWithoutExtension().toLowerCase()),
                         spans[i],
                         {} };
        files.push_back (std::move (file));
    }

    constexpr int mostRounds = 4;

    for (int round = 0; round < mostRounds && splitOnce (files); ++round)
    {
    }

    std::vector<juce::String> keys;

    for (size_t i = 0; i < scans.size(); ++i)
    {
        auto key = files[i].key();
        const auto& originator = scans[i].bext.originator;
        key << (originator.isEmpty() ? "" : " (" + originator + ")")
            << (scans[i].format.sampleRate == 48000 ? "" : " " + juce::String (scans[i].format.sampleRate) + " Hz");
        keys.push_back (key);
    }

    return keys;
}

}    // namespace ld
