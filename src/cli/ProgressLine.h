#pragma once

#include <juce_core/juce_core.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace ld
{

/** How far a stage of the work is. */
struct ProgressState
{
    juce::String counts;          // "pair 12/64"
    juce::String phase;           // what is being done, or with which file
    double fraction = 0.0;        // of the stage, 0 to 1
    double audioSeconds = 0.0;    // of recordings that the stage has gone through
    double elapsedSeconds = 0.0;
};

/** Counts, rate, time left and phase, at most as wide as a terminal; rate and time left once they are known. */
[[nodiscard]] juce::String makeProgressText (const ProgressState&);

/** How progress is told on the error stream. */
enum class ProgressStyle
{
    none,
    line,    // that rewrites itself, on a terminal; silent elsewhere
    json     // an object a line, for machines
};

/** The state as one line of JSON. */
[[nodiscard]] juce::String makeProgressJson (const juce::String& stage, const ProgressState&);

/** Tells several times a second, or once a second to machines, whatever the work is at. All operations are for any
    thread. */
class ProgressLine
{
public:
    explicit ProgressLine (ProgressStyle);
    ~ProgressLine();
    ProgressLine (const ProgressLine&) = delete;
    ProgressLine& operator= (const ProgressLine&) = delete;

    /** Begins a stage: its rate and time count from here. */
    void beginStage (const juce::String& counts);
    void show (const juce::String& counts, const juce::String& phase, double fraction);
    void setAudioSeconds (double);
    void addAudioSeconds (double);

private:
    void draw();
    void keepDrawing();

    std::mutex mutex;
    std::condition_variable ended;
    ProgressStyle style;
    bool isEnding = false;
    juce::String stage;
    ProgressState state;
    juce::uint32 startedMs = 0;
    std::thread drawer;
};

}    // namespace ld
