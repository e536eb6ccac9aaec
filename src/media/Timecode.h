#pragma once

#include <juce_core/juce_core.h>

#include <optional>

namespace ld
{

// All time is a count of samples since midnight; timecode is only its text. It is counted at the nominal rate:
// no drop-frame numbers are ever left out.

/** Frames per second of a rate text such as "30000/1001", "25/1" or "24"; 24 where it names none. */
[[nodiscard]] double parseFrameRate (const juce::String& rateText);

/** HH:MM:SS:FF of a stamp. Hours run on past 24. The flag ("DF", "NDF") changes nothing.
    sampleRate   Hz; 48000 is taken where it is not above 0 */
[[nodiscard]] juce::String
formatTimecode (juce::uint64 samples, double sampleRate, const juce::String& rateText, const juce::String& flag);

/** How far the second stamp lies behind the first, in samples of targetRate; negative if it is earlier.
    Each stamp counts at its own rate, Hz; a rate not above 0 is replaced by targetRate, that by 48000. */
[[nodiscard]] juce::int64 timecodeOffsetSamples (
    juce::uint64 firstStamp, double firstRate, juce::uint64 secondStamp, double secondRate, double targetRate);

/** Samples since midnight of HH:MM:SS:FF (";" counts as ":"); 0 where the text has fewer than four parts. */
[[nodiscard]] juce::int64 timecodeToSamples (const juce::String& timecode, double fps, double sampleRate);

/** The frame that a label names, counted from midnight; nothing where the text is none.
    label      HH:MM:SS:FF; with ";" or "." ahead of the frames it drops frames
    nominal    whole frames of a labelled second: 30 for 29.97; numbers are dropped only at multiples of 30 (SMPTE ST 12-1) */
[[nodiscard]] std::optional<juce::int64> frameOfLabel (const juce::String& label, int nominal);

/** The last eight digits of a file name's first run of at least eight, as DD:DD:DD:DD; empty if there is none. */
[[nodiscard]] juce::String guessTimecodeFromFilename (const juce::String& fileName);

}    // namespace ld
