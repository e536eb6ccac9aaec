#pragma once

#include "batch/MediaFiles.h"
#include "media/Records.h"

namespace ld
{

/** One poly and its guests. */
struct BatchMatch
{
    ScanFile host;
    std::vector<ScanFile> guests;    // each with its alignment where a comparison gave one
    juce::String reason;             // how they were matched, each reason once, joined by " + "
    float score = 0.0f;              // the highest of its pairs
    std::vector<int> omittedHost;    // 0-based channels left out for this take
};

/** The verdict on a pair from metadata alone. */
struct PairScore
{
    float score = 0.0f;    // 0 to 100
    juce::String reason;
    bool strong = false;    // the evidence stands by itself; a mere likeness of names does not
};

/** Where two files lie against each other by their timestamps; of a file that was cut short what it holds counts. */
struct TcOverlap
{
    bool valid = false;                // both have one and their spans overlap
    juce::int64 offsetSamples = 0;     // the guest's start on the host, host samples
    juce::int64 overlapSamples = 0;    // host samples
};

/** Reads a file's header; one that cannot be opened, or not be worked with, has format.valid false. */
[[nodiscard]] ScanFile inspectAudioFile (const juce::File&);

/** A clip that can be read and holds a picture alone: no fault, but no guest either. */
[[nodiscard]] bool isSilentClip (const ScanFile&);

/** A wave file that can be read and has three channels or more. */
[[nodiscard]] bool isPoly (const ScanFile&);

[[nodiscard]] TcOverlap tcOverlap (const ScanFile& host, const ScanFile& guest);

/** The strongest evidence that two files belong together: scene and take, common timecode, alike names. */
[[nodiscard]] PairScore scorePair (const ScanFile& host, const ScanFile& guest);

/** Adds a guest and its reason; a file that is there already changes nothing. */
void attachGuest (BatchMatch&, const ScanFile& guest, const PairScore&);

/** Pairs polys (wave files of three channels or more; or the only file there is) with every file that may belong to them. Every mono
    or stereo file, and every clip, is a candidate for every poly; further polys are attached where metadata speaks for them. */
[[nodiscard]] std::vector<BatchMatch> matchBatch (const std::vector<ScanFile>& scans);

/** What identifies a recording source: its family id, its tracks, or its file name without running number. */
[[nodiscard]] juce::String isoFamilyKey (const ScanFile&);

/** Groups files into clips: consecutive files of one source. Two of them that run at the same time, overlapping by half
    of the shorter or more, stay apart. */
[[nodiscard]] std::vector<std::vector<ScanFile>> clusterIsoFills (const std::vector<ScanFile>& scans);

}    // namespace ld
