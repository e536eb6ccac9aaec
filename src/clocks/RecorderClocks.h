#pragma once

#include "batch/FolderScan.h"
#include "media/RecorderClock.h"

#include <map>
#include <optional>

namespace ld
{

/** One file at one place, proved on its sound. */
struct ClockReading
{
    double slope = 0.0, slopeError = 1.0;
    std::optional<double> stampError;    // s, of its timecode; nothing where the file or its poly has none
    double atSeconds = 0.0;              // time of day in the middle of what it shares with the poly
};

/** A slope that is known apart from the files' own lines, and its standard error. */
struct CommonSlope
{
    double slope = 0.0, error = 0.0;
};

/** The clock of one recorder from the readings of its files, in any order: the slope by a mean of readings weighted by
    their errors, without those that contradict the others (Huber, 1964); the errors of its timecode as a line with that
    slope, or a level one, with a step where several files in a row say something else. */
[[nodiscard]] RecorderClock
poolReadings (const juce::String& key, std::vector<ClockReading>, std::optional<CommonSlope> = {});

/** The error of a timecode, s, and by how much it may be another. */
struct StampError
{
    double seconds = 0.0, doubtSeconds = 0.0;
};

/** The timecode's error that a recorder's files show at a time of day; nothing where none showed any. */
[[nodiscard]] std::optional<StampError> stampErrorAt (const RecorderClock&, double seconds);

/** The slope of one file from what it shows itself and what its recorder's other files show. */
[[nodiscard]] double slopeOfFile (const RecorderClock&, const ClockReading&);

/** When a file ran, seconds of the day. */
struct FileSpan
{
    double from = 0.0, to = 0.0;
};

/** Names the recorder that each file comes from. Files of one folder, originator and rate whose names differ in numbers
    only come from one; where two of them ran at the same time, the first number that tells them apart is a machine's.
    spans   of each file, where they are known */
[[nodiscard]] std::vector<juce::String> recorderKeysOf (const std::vector<ScanFile>&,
                                                        const std::vector<std::optional<FileSpan>>& spans);

}    // namespace ld
