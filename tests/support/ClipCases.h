#pragma once

#include "support/TestSignals.h"

namespace ld::test
{

/** A clip that ffmpeg makes of known sound. */
struct ClipCase
{
    juce::String ending, codec;
    int sampleRate = 48000;
    std::vector<int> tracks { 2 };    // channels of each sound track
    double lateSeconds = 0.0;         // that the sound begins behind the picture
    double cutSeconds = 0.0;          // by which the clip's beginning was cut off later on, nothing being encoded anew
    juce::String timecode {}, pictureRate = "25";

    [[nodiscard]] juce::String name() const;
    [[nodiscard]] bool isLossless() const;
};

struct MadeClip
{
    juce::File file;
    std::vector<Signal> sound;    // of each channel, as it went in
    int status = 0;               // of ffmpeg
};

/** Codecs, containers, rates, tracks, late sound and cuts, all with all: some hundred. */
[[nodiscard]] std::vector<ClipCase> allClipCases();

/** One of each kind. */
[[nodiscard]] std::vector<ClipCase> fewClipCases();

/** Makes a clip of about a second in a folder. */
[[nodiscard]] MadeClip makeClip (const ClipCase&, const juce::File& folder);

/** What is wrong with a clip's sound as it is read; empty where every sample lies where it should: of a lossless codec
    exactly as it went in, of others within a sample of where it was. */
[[nodiscard]] juce::String faultOf (const ClipCase&, const MadeClip&);

}    // namespace ld::test
