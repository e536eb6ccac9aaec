#include "clocks/RecorderClocks.h"

#include <algorithm>
#include <cmath>
#include <limits>

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

void poolSlopes (const std::vector<ClockReading>& readings, RecorderClock& clock)
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

// Steps are found along the day; a file that stands alone against those before and behind it is no step.
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

    const auto largest = std::max_element (
        clusters.begin(), clusters.end(), [] (auto& a, auto& b) { return a.errors.size() < b.errors.size(); });
    std::vector<JamError> jams;

    for (const auto& cluster : clusters)
        if (cluster.errors.size() >= 2 || &cluster == &*largest)
            jams.push_back ({ cluster.from, medianOf (cluster.errors), 0.0, (int) cluster.errors.size() });

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

// Files that cannot come from one machine are told apart by one more number; false where none had to be.
bool splitOnce (std::vector<NamedFile>& files)
{
    std::map<juce::String, std::vector<NamedFile*>> groups;

    for (auto& file : files)
        groups[file.key()].push_back (&file);

    auto wasSplit = false;

    for (auto& [key, members] : groups)
    {
        std::optional<int> number;

        for (size_t i = 0; i < members.size() && ! number; ++i)
            for (size_t j = i + 1; j < members.size() && ! number; ++j)
                if (runTogether (*members[i], *members[j]))
                    number = tellingNumber (*members[i], *members[j]);

        if (! number)
            continue;

        for (auto* member : members)
            member->fixedNumbers.push_back (*number);

        wasSplit = true;
    }

    return wasSplit;
}

}    // namespace

RecorderClock poolReadings (const juce::String& key, std::vector<ClockReading> readings)
{
    RecorderClock clock;
    clock.key = key;
    clock.files = (int) readings.size();

    if (readings.empty())
        return clock;

    std::sort (readings.begin(), readings.end(), [] (auto& a, auto& b) { return a.atSeconds < b.atSeconds; });
    poolSlopes (readings, clock);
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
        jam.drift = drift;
    }

    return clock;
}

std::optional<double> stampErrorAt (const RecorderClock& clock, double seconds)
{
    if (clock.jams.empty())
        return {};

    const auto* jam = &clock.jams.front();

    for (const auto& later : clock.jams)
        if (later.fromSeconds <= seconds + 1.0)
            jam = &later;

    return jam->errorSeconds + jam->drift * (seconds - jam->fromSeconds);
}

double slopeOfFile (const RecorderClock& clock, const ClockReading& reading)
{
    // The file's own reading is part of the pool already; it speaks twice only where it is very sure.
    constexpr double contradiction = 5.0;
    const auto own = reading.slopeError * reading.slopeError;
    const auto pooled = clock.slopeError * clock.slopeError + unevenness * unevenness;

    if (clock.files < 2 || std::abs (reading.slope - clock.slope) > contradiction * std::sqrt (own + pooled))
        return reading.slope;

    return (reading.slope / own + clock.slope / pooled) / (1.0 / own + 1.0 / pooled);
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
