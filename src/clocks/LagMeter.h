#pragma once

#include "batch/SourceAudio.h"

namespace ld
{

/** A recording whose lags are measured. All positions and lengths in it are samples at this rate, the host's. */
struct LagSource
{
    juce::File file;
    int rate = 48000;
    int channels = 0;                        // 0 if the file cannot be read
    juce::int64 length = 0;                  // samples
    std::shared_ptr<ClipSounds> clips {};    // where the decoded sound of clips is kept
};

/** Opens the file to see what is in it. */
[[nodiscard]] LagSource describeLagSource (const juce::File&, int rate, const std::shared_ptr<ClipSounds>& clips);

/** Stands for all channels of a file, mixed down. */
constexpr int mixdownChannel = -1;

/** A peak of the correlation of two windows: a lag L puts guest sample g on host sample g + L. */
struct LagPeak
{
    double lag = 0.0;        // samples; between them by a parabola through three values
    float height = 0.0f;     // 1 where the two hold the same sound at any level; its sign is that of the polarity
    float overRms = 0.0f;    // size against the RMS of all lags of the window
};

/** One window of a host, against the stretch of a guest that a rough lag puts there. */
struct LagQuery
{
    size_t host = 0, guest = 0;    // indices of sources
    juce::int64 hostStart = 0;     // of the window, which holds 2^order samples
    int order = 18;
    juce::int64 reach =
        0;    // how far to either side of the rough lag is looked; the guest's stretch is shorter by twice that
    juce::int64 roughLag = 0;
    std::vector<int> hostChannels, guestChannels;
};

/** What one pair of channels says in a window. */
struct LagReading
{
    int hostChannel = 0, guestChannel = 0;
    std::vector<LagPeak> peaks;    // the largest first, at most maxLagPeaks; none where no lag stands out
};

struct LagAnswer
{
    juce::int64 guestCentre = 0;                   // guest sample in the middle of the stretch
    std::vector<float> hostLevels, guestLevels;    // RMS, full scale 1, of each channel asked for
    std::vector<LagReading> readings;              // each host channel with each guest channel
};

constexpr size_t maxLagPeaks = 4;

/** The order of the window that holds about this many seconds, at least 12 and at most RealFft::largestOrder. */
[[nodiscard]] int lagWindowOrder (double seconds, int rate) noexcept;

/** Told on the workers' threads how many windows are measured, and of which guest the last one was: an index of a source. */
using LagProgress = std::function<void (int done, int total, size_t guest)>;

/** Measures lags by cross-correlation with phase transform (Knapp and Carter, 1976) over the band from 120 Hz to 10 kHz.
    Files are read stretch by stretch as queries need them, a window of a host once for all guests.
    onRead    given the seconds of audio that were read, on the workers' threads
    Returns one answer for each query, in their order. Files that have gone, and stretches beyond a file's ends, are
    silence. Throws std::bad_alloc. */
[[nodiscard]] std::vector<LagAnswer> measureLags (const std::vector<LagSource>&,
                                                  const std::vector<LagQuery>&,
                                                  int workers,
                                                  const LagProgress& progress = {},
                                                  const OnAudioRead& onRead = {});

}    // namespace ld
