#pragma once

#include "conform/RunTable.h"

namespace ld
{

/** How a recording stands in a take. */
enum class Standing
{
    placed,
    doubtful,    // in the combined file, but hardly anything vouches for its place
    leftOut
};

/** A file of a guest, where it lies in a take. */
struct ReportBlock
{
    juce::String name;
    juce::String recorder;    // key of its recorder, as RecorderClock has it
    Standing standing = Standing::placed;
    double from = 0.0, to = 0.0;    // s, from the take's first sample
};

/** A guest of a take, in words. */
struct ReportGuest
{
    juce::String files, tracks;    // lists of names
    Standing standing = Standing::placed;
    juce::String sureness;    // of one that is in the file: "98 %"; empty where no share is known
    juce::String place;     // of one that is in the file: where it begins from the take's start, and how that is known
    juce::String detail;    // what speaks for the place, or why it was left out
};

/** One take, as a location recorder's sheet has it. */
struct ReportTake
{
    juce::String poly, output;    // names; output is empty where nothing was written
    juce::String fault;           // why it, or a text beside it, was not written
    juce::String scene, take, tape, notes, date;
    bool isCircled = false;
    juce::String timecodeIn, timecodeOut;    // empty where it has none
    double seconds = 0.0;                    // it lasts
    std::optional<double> startSeconds;      // time of the day, past midnight above 86,400; none without timecode
    juce::StringArray tracks;                // by interleave index; empty texts where they have no name
    std::vector<ReportGuest> guests;         // but for those of other takes
    std::vector<ReportBlock> blocks;
};

/** A file's timecode against its place. */
struct ClockPoint
{
    double atSeconds = 0.0;       // time of day in the middle of what it shares with the take
    double errorSeconds = 0.0;    // above 0: it belongs later than its stamp says
};

/** A recorder's clock, and the files that tell of it. */
struct ReportClock
{
    RecorderClock clock;
    std::vector<ClockPoint> points {};            // in order of time
    double fromSeconds = 0.0, toSeconds = 0.0;    // of the day, in which its files ran; equal where that is not known
};

/** A shooting day for the people who get its files. */
struct SoundReport
{
    juce::String title;
    std::vector<ReportTake> takes;
    std::vector<ReportBlock> looseBlocks;    // files of no take, by their timecode; seconds of the day
    std::vector<RunTable::LooseFile> unreadable, unmatched;
    std::vector<ReportClock> clocks;
};

/** The scene and take, or the poly's name where it has no scene. */
[[nodiscard]] juce::String nameOf (const ReportTake&);

/** The day as a run left it. Reads the headers of the polys, and of guests that are known from a session only; no audio.
    title   of the report: the shoot's name */
[[nodiscard]] SoundReport describeDay (const ConformOutcome&, const juce::String& title);

}    // namespace ld
