#pragma once

#include "batch/FolderScan.h"
#include "media/RecorderClock.h"
#include "mix/MixModel.h"

#include <map>

namespace ld
{

/** What the user changed on one guest. */
struct SavedGuestMeta
{
    juce::String familyKey;           // of the family that the guest belongs to
    std::vector<TrackInfo> tracks;    // as the user left them
    juce::String notes;               // on the clip

    bool operator== (const SavedGuestMeta&) const = default;
};

using MetadataOverrides = std::map<juce::String, SavedGuestMeta>;           // by guest key
using NameOverrides = std::map<juce::String, std::vector<juce::String>>;    // track names, by family key

/** The levels that were set in a take: by the full path of its poly and the lane (laneKeys). */
using LevelKey = std::pair<juce::String, juce::String>;
using TakeLevels = std::map<LevelKey, MixerChannel>;

/** The version that is written: from 2 on every file has its own place and stretches, from 3 on every take its levels. */
constexpr int sessionVersion = 3;

/** All that the user has made, and all that is saved of it: positions, settings and text by value, all media by absolute
    path. */
struct SessionDocument
{
    int version = sessionVersion;    // of the file that it was read from
    int batchIndex = 0;              // of the take that is open
    int referenceChannel = 0;        // 0-based; -1: in each take chosen by its name
    juce::File videoFile;
    juce::int64 videoTimestampSamples = 0;    // the picture's start, on the host's clock
    juce::String videoTimecodeRate = "24/1";
    std::vector<BatchMatch> takes;
    MixerTemplate mixer;    // for takes in which nothing was set; curves only from documents before version 3
    TakeLevels levels;
    MetadataOverrides metadataOverrides;
    NameOverrides nameOverrides;
    std::vector<RecorderClock> recorders;    // as the scan found them
    juce::File recoveredFrom;                // of a recovery file: where the work was saved before, if anywhere
};

/** The document as it is written: one line of JSON. */
[[nodiscard]] juce::String sessionDocumentText (const SessionDocument&);

/** Writes the document as one line of JSON. An earlier file is replaced, or stays as it was where this fails. */
[[nodiscard]] juce::Result writeSessionDocument (const juce::File&, const SessionDocument&);

/** Replaces the document by what a file says. What is missing in it, or of another type, takes its default; media that
    have gone are no error: their format is not valid, and has of its fields those that were saved. A file that is no document leaves the document as it was; one
    without takes is a failure too, with the document filled. */
[[nodiscard]] juce::Result readSessionDocument (const juce::File&, SessionDocument&);

}    // namespace ld
