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

/** The version that is written: from 2 on every file has its own place and stretches. */
constexpr int sessionVersion = 2;

/** The saved state of a piece of work: positions, settings and text by value, all media by absolute path. */
struct SessionDocument
{
    int version = sessionVersion;    // of the file that it was read from
    int batchIndex = 0;              // of the take that is open
    int referenceChannel = 0;        // 0-based
    juce::File videoFile;
    juce::int64 videoTimestampSamples = 0;    // the picture's start, on the host's clock
    juce::String videoTimecodeRate = "24/1";
    std::vector<BatchMatch> takes;
    MixerTemplate mixer;
    MetadataOverrides metadataOverrides;
    NameOverrides nameOverrides;
    std::vector<RecorderClock> recorders;    // as the scan found them
};

/** Writes the document as one line of JSON. An earlier file is replaced, or stays as it was where this fails. */
[[nodiscard]] juce::Result writeSessionDocument (const juce::File&, const SessionDocument&);

/** Replaces the document by what a file says. What is missing in it, or of another type, takes its default; media that
    have gone are no error: their format is not valid. A file that is no document leaves the document as it was; one
    without takes is told as a failure too, with the document filled. */
[[nodiscard]] juce::Result readSessionDocument (const juce::File&, SessionDocument&);

}    // namespace ld
