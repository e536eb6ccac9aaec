#include "cli/ProgressLine.h"

#include "output/JsonValues.h"

#include <chrono>
#include <iostream>

#if ! JUCE_WINDOWS
#include <unistd.h>
#endif

namespace ld
{
namespace
{

constexpr int lineWidth = 78, decimalPlaces = 3;

bool isTerminal()
{
#if JUCE_WINDOWS
    return false;
#else
    return isatty (STDERR_FILENO) != 0;
#endif
}

juce::String clockText (double seconds)
{
    const auto whole = (juce::int64) seconds;
    const auto minutes = juce::String (whole / 60 % 60), rest = juce::String (whole % 60).paddedLeft ('0', 2);

    if (whole < 3600)
        return minutes + ":" + rest;

    return juce::String (whole / 3600) + ":" + minutes.paddedLeft ('0', 2) + ":" + rest;
}

}    // namespace

juce::String makeProgressText (const ProgressState& state)
{
    constexpr double leastElapsed = 1.0;
    juce::StringArray parts (state.counts);

    if (state.elapsedSeconds > leastElapsed)
    {
        if (state.audioSeconds > 0.0)
            parts.add (juce::String (state.audioSeconds / state.elapsedSeconds, 1) + " x real time");

        if (state.fraction > 0.0)
            parts.add (clockText (state.elapsedSeconds * (1.0 - state.fraction) / state.fraction) + " left");
        else
            parts.add (clockText (state.elapsedSeconds));
    }

    parts.add (state.phase);
    return parts.joinIntoString ("  ").substring (0, lineWidth);
}

juce::String makeProgressJson (const juce::String& stage, const ProgressState& state)
{
    return juce::JSON::toString (makeJsonObject ({ { "event", "progress" },
                                                   { "stage", stage },
                                                   { "counts", state.counts },
                                                   { "what", state.phase },
                                                   { "fraction", state.fraction },
                                                   { "audioSeconds", state.audioSeconds },
                                                   { "elapsedSeconds", state.elapsedSeconds } }),
                                 true,
                                 decimalPlaces)
           + "\n";
}

ProgressLine::ProgressLine (ProgressStyle styleToUse)
    : style (styleToUse == ProgressStyle::line && ! isTerminal() ? ProgressStyle::none : styleToUse)
{
    if (style != ProgressStyle::none)
        drawer = std::thread ([this] { keepDrawing(); });
}

ProgressLine::~ProgressLine()
{
    if (style == ProgressStyle::none)
        return;

    {
        const std::scoped_lock lock (mutex);
        isEnding = true;
    }

    ended.notify_all();
    drawer.join();

    if (style == ProgressStyle::line)
        std::cerr << '\r' << juce::String::repeatedString (" ", lineWidth) << '\r' << std::flush;
}

void ProgressLine::beginStage (const juce::String& counts)
{
    const std::scoped_lock lock (mutex);
    state = {};
    state.counts = stage = counts;
    startedMs = juce::Time::getMillisecondCounter();

    // A machine is told of each stage, however short.
    if (style == ProgressStyle::json)
        draw();
}

void ProgressLine::show (const juce::String& counts, const juce::String& phase, double fraction)
{
    const std::scoped_lock lock (mutex);
    state.counts = counts;
    state.phase = phase;
    state.fraction = juce::jlimit (0.0, 1.0, fraction);
}

void ProgressLine::setAudioSeconds (double seconds)
{
    const std::scoped_lock lock (mutex);
    state.audioSeconds = seconds;
}

void ProgressLine::addAudioSeconds (double seconds)
{
    const std::scoped_lock lock (mutex);
    state.audioSeconds += seconds;
}

void ProgressLine::keepDrawing()
{
    using namespace std::chrono_literals;
    std::unique_lock lock (mutex);

    const auto pause = style == ProgressStyle::json ? 1000ms : 200ms;

    while (! ended.wait_for (lock, pause, [this] { return isEnding; }))
        draw();
}

void ProgressLine::draw()
{
    if (state.counts.isEmpty())
        return;

    state.elapsedSeconds = (juce::Time::getMillisecondCounter() - startedMs) / 1000.0;

    if (style == ProgressStyle::json)
        std::cerr << makeProgressJson (stage, state) << std::flush;
    else
        std::cerr << '\r' << makeProgressText (state).paddedRight (' ', lineWidth) << std::flush;
}

}    // namespace ld
