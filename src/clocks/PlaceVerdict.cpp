#include "clocks/PlaceVerdict.h"

#include "sync/PlaceLadder.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

using juce::int64;

constexpr float byClockConfidence = 0.9f;
constexpr double leastShared = 1.0;     // s, for a place by clocks alone
constexpr double sameSetting = 0.02;    // s
constexpr int enoughSound = 8;          // windows that would show a line if there were one

juce::String countOf (int number, const char* one, const char* many)
{
    return juce::String (number) + " " + (number == 1 ? one : many);
}

// The shares of such places that were right on shoots whose truth is known; docs/performance.md has the counts.
float confidenceOf (const LagLine& line)
{
    constexpr double barelySure = -8.0;    // decades of false alarms
    const auto share = (double) line.windowsOnLine / std::max (line.windowsWithSound, 1);

    if (! line.jumps.empty() && share < 0.5)
        return 0.75f;

    return line.log10FalseAlarms > barelySure ? 0.9f : 0.99f;
}

bool isStampedPair (const DayTable& table, const DayPair& pair)
{
    return table.stampLag (pair).has_value();
}

double fileRateOf (const DayTable& table, const DayPair& pair)
{
    return std::max (table.files[pair.file].scan.format.sampleRate, 1);
}

// A slope that a document holds to its last digit: what was saved gives the same file, byte for byte.
double writable (double slope)
{
    constexpr double steps = 1e12;
    return std::round (slope * steps) / steps;
}

double slopeFor (const DayTable& table, const DayPair& pair)
{
    return writable (slopeOfFile (table.recorders[table.files[pair.file].recorder], readClock (table, pair)));
}

juce::String wordsFor (const DayTable& table, const DayPair& pair, int64 offset)
{
    constexpr double sameSeconds = 0.5;
    const auto& first = pair.first;

    // The words of the comparison stand where its place does.
    if (! first.needsManual && first.method != Alignment::Method::timecode
        && std::abs ((double) (first.offsetSamples - offset)) < sameSeconds * table.rateOf (pair))
        return first.detail;

    const auto& clock = table.recorders[table.files[pair.file].recorder];
    const auto& reading = readClock (table, pair);

    if (! reading.stampError)
        return "Placed by its sound";

    const auto error = *reading.stampError;
    juce::String text = "Timecode rough-in / placed by its sound";

    if (std::abs (error) > 1.0)
        text << ", " << juce::String (std::abs (error), 1) << " s " << (error > 0.0 ? "later" : "earlier")
             << " than its timecode";

    if (const auto expected = stampErrorAt (clock, reading.atSeconds);
        expected && std::abs (expected->seconds - error) > 0.3 && clock.files > 1)
        text << "; " << juce::String (std::abs (expected->seconds - error), 2) << " s off its recorder's other files";

    return text;
}

PlaceVerdict provedVerdict (const DayTable& table, const DayPair& pair)
{
    const auto& proof = *pair.proof;
    const auto slope = slopeFor (table, pair);
    PlaceVerdict verdict;
    auto& a = verdict.alignment;
    a.stretches = stretchesOf (*proof.line, proof.cuts, slope, table.rateOf (pair), fileRateOf (table, pair));
    a.offsetSamples = a.stretches.front().hostSample;
    a.driftSlope = a.stretches.front().slope;
    a.method = isStampedPair (table, pair) ? Alignment::Method::timecodeRefined : Alignment::Method::waveform;
    a.confidence = confidenceOf (*proof.line);
    a.detail = wordsFor (table, pair, a.offsetSamples);
    a.evidence = describeLine (*proof.line, slope);
    verdict.accepted = true;
    return verdict;
}

PlaceVerdict refused (const DayPair& pair, const juce::String& why)
{
    PlaceVerdict verdict;
    verdict.alignment = pair.first;
    verdict.alignment.needsManual = true;
    verdict.alignment.detail = why;
    verdict.alignment.confidence = 0.0f;

    if (pair.proof && pair.proof->line)
        verdict.alignment.evidence = describeLine (*pair.proof->line, pair.proof->line->slope);

    return verdict;
}

juce::String soundOf (const DayPair& pair)
{
    if (! pair.proof || pair.proof->windowsWithSound == 0)
        return "no sound in common";

    return "no line through " + countOf (pair.proof->windowsWithSound, "window", "windows") + " with sound";
}

PlaceVerdict byClock (const DayTable& table, const DayPair& pair, const ExpectedPlace& place)
{
    const auto& clock = table.recorders[table.files[pair.file].recorder];
    PlaceVerdict verdict;
    auto& a = verdict.alignment;

    // The lag holds in the middle of what the two share; the file begins earlier, where the clock has drifted less.
    const auto& guest = table.sources[pair.guestSource];
    const auto host = (double) table.hostOf (pair).length;
    const auto middle =
        0.5 * (std::max (place.lag, 0.0) + std::min (place.lag + (double) guest.length, host)) - place.lag;
    a.offsetSamples = (int64) std::llround (place.lag - clock.slope * middle);
    a.driftSlope = writable (clock.slope);
    a.method = place.isByFile ? Alignment::Method::waveform : Alignment::Method::timecode;
    a.confidence = byClockConfidence;
    a.stretches = { { 0, a.offsetSamples, a.driftSlope } };
    a.detail = place.isByFile ? "By its place in another take" : "By its recorder's clock";
    a.evidence = soundOf (pair) + "; "
                 + (place.isByFile ? juce::String ("the file runs on from another take")
                                   : "clock proved by " + countOf (clock.files, "file", "files"));
    verdict.accepted = true;
    return verdict;
}

// Only the stamps speak, and no file of the recorder has shown how far they can be trusted.
PlaceVerdict byTimecode (const DayTable& table, const DayPair& pair)
{
    const auto& clock = table.recorders[table.files[pair.file].recorder];
    PlaceVerdict verdict { pair.first, pair.firstAccepted };
    verdict.alignment.confidence = timecodeOnlyConfidence;
    verdict.alignment.driftSlope = writable (clock.slope);
    verdict.alignment.stretches = { { 0, pair.first.offsetSamples, verdict.alignment.driftSlope } };
    verdict.alignment.evidence = "timecode alone, " + soundOf (pair);
    return verdict;
}

bool isTooShortToProve (const DayPair& pair)
{
    return ! pair.proof || pair.proof->centres.size() < 4;
}

}    // namespace

juce::String describeLine (const LagLine& line, double slope)
{
    auto drops = 0, repeats = 0;

    for (const auto& jump : line.jumps)
        ++(jump.size > 0.0 ? drops : repeats);

    juce::String text;
    text << "on one line in " << line.windowsOnLine << " of " << std::max (line.windowsWithSound, line.windowsOnLine)
         << " windows, " << juce::String (slope * 1e6, 1) << " ppm";

    if (drops > 0)
        text << ", " << countOf (drops, "drop", "drops");

    if (repeats > 0)
        text << ", " << countOf (repeats, "repeat", "repeats");

    return text;
}

std::vector<ClockStretch>
stretchesOf (const LagLine& line, const std::vector<double>& cuts, double slope, double hostRate, double fileRate)
{
    std::vector<ClockStretch> stretches;
    const auto toFile = [&] (double guestSample) { return (int64) std::llround (guestSample * fileRate / hostRate); };

    // A slope that was pooled from other files turns the line about its own middle.
    const auto middle = 0.5 * (line.firstX + line.lastX);
    auto jumped = 0.0;
    const auto lagAt = [&] (double x) { return line.lagAtZero + line.slope * middle + slope * (x - middle) + jumped; };
    stretches.push_back ({ 0, (int64) std::llround (lagAt (0.0)), slope });

    for (size_t i = 0; i < line.jumps.size(); ++i)
    {
        jumped += line.jumps[i].size;
        const auto from = cuts[i] + std::max (-line.jumps[i].size, 0.0);    // what was said already is passed over
        stretches.push_back ({ toFile (from), (int64) std::llround (from + lagAt (from)), slope });
    }

    return stretches;
}

PlaceVerdict judgePair (const DayTable& table, const DayPair& pair)
{
    if (pair.refusal.isNotEmpty())
        return refused (pair, pair.refusal);

    if (pair.isProved())
        return provedVerdict (table, pair);

    const auto place = expectedPlace (table, pair);
    const auto isExpected = place && place->sharedSeconds >= leastShared;
    const auto& clock = table.recorders[table.files[pair.file].recorder];

    if (isExpected && place->ambiguousSeconds > sameSetting)
        return refused (
            pair,
            "Its sound says nothing here, and between this file and the next its recorder's timecode was set anew, by "
                + juce::String (place->ambiguousSeconds, 2) + " s");

    if (isExpected)
        return byClock (table, pair, *place);

    if (place && ! pair.first.needsManual)
        return refused (pair,
                        (place->isByFile ? juce::String ("Another take proves that this file ran at another time")
                                         : "Its recorder's clock, proved by " + countOf (clock.files, "file", "files")
                                               + ", puts it at another time than this take"));

    if (pair.first.needsManual || isTooShortToProve (pair))
        return { pair.first, pair.firstAccepted };

    const auto& proof = *pair.proof;
    const auto onLine = proof.line ? proof.line->windowsOnLine : 0;

    if (pair.first.method == Alignment::Method::timecode && proof.windowsWithSound < enoughSound)
        return byTimecode (table, pair);

    return refused (pair,
                    "Its sound lies on no line with this take (at best " + juce::String (onLine) + " of "
                        + countOf (std::max (proof.windowsWithSound, onLine), "window", "windows") + " agree)");
}

}    // namespace ld
