#include "cli/ConformTable.h"

#include <algorithm>
#include <iostream>
#include <numeric>

#if ! JUCE_WINDOWS
#include <unistd.h>
#endif

namespace ld
{
namespace
{

constexpr int lineWidth = 78;

bool isTerminal()
{
#if JUCE_WINDOWS
    return false;
#else
    return isatty (STDERR_FILENO) != 0;
#endif
}

juce::String namesOf (const GuestOutcome& guest)
{
    juce::StringArray names;

    for (const auto& piece : guest.pieces)
        names.add (piece.file.getFileName());

    return names.joinIntoString (", ");
}

juce::String describeGuest (const GuestOutcome& guest)
{
    if (guest.rejected)
        return "    left out  " + namesOf (guest) + "\n              " + guest.alignment.detail + "\n";

    return "    placed    " + namesOf (guest) + "\n              at sample "
           + juce::String (guest.alignment.offsetSamples) + ", " + methodWord (guest.alignment.method) + ": "
           + guest.alignment.detail + "\n";
}

// Every recording is tried on every take. One that was left out here and has its place in another take is no news,
// unless nobody could hear whether it has one here too.
bool belongsElsewhere (const GuestOutcome& guest, const std::set<juce::String>& placedFiles)
{
    const auto isPlaced = [&] (const GuestPiece& piece) { return placedFiles.contains (piece.file.getFullPathName()); };
    return guest.rejected && ! guest.isUnreadable && std::any_of (guest.pieces.begin(), guest.pieces.end(), isPlaced);
}

juce::String describeTake (const TakeOutcome& take, const std::set<juce::String>& placedFiles)
{
    auto text = take.poly.getFileName() + "  ->  "
                + (take.written ? take.output.getFileName() : "not written: " + take.error) + "\n";
    auto ofOtherTakes = 0;

    for (const auto& guest : take.guests)
    {
        if (belongsElsewhere (guest, placedFiles))
            ++ofOtherTakes;
        else
            text << describeGuest (guest);
    }

    if (take.guests.empty())
        text << "    no guests\n";

    if (ofOtherTakes > 0)
        text << "    left out  " << ofOtherTakes << " of other takes\n";

    return text;
}

juce::String listFiles (const juce::String& heading, const std::vector<juce::File>& files)
{
    if (files.empty())
        return {};

    auto text = heading + "\n";

    for (const auto& file : files)
        text << "    " << file.getFullPathName() << "\n";

    return text;
}

juce::String clockText (double seconds)
{
    const auto whole = (int) seconds;
    return juce::String (whole / 60) + ":" + juce::String (whole % 60).paddedLeft ('0', 2);
}

}    // namespace

juce::String makeConformTable (const ConformOutcome& outcome)
{
    const auto placedFiles = outcome.placedFiles();
    juce::String text;

    for (const auto& take : outcome.takes)
        text << describeTake (take, placedFiles);

    text << listFiles ("Could not be read:", outcome.unreadable);
    text << listFiles ("Belong to no take:", outcome.unmatched);
    return text + combineSummary (outcome.written(), (int) outcome.takes.size(), outcome.rejected()) + "\n";
}

ProgressLine::ProgressLine (bool isWanted, std::vector<double> secondsOfTakes)
    : isShown (isWanted && isTerminal()), takeSeconds (std::move (secondsOfTakes)),
      startedMs (juce::Time::getMillisecondCounter())
{
}

ProgressLine::~ProgressLine()
{
    clear();
}

void ProgressLine::show (int take, float fraction, const juce::String& phase)
{
    constexpr juce::uint32 shortestPauseMs = 100;
    constexpr double leastElapsed = 1.0;
    const auto now = juce::Time::getMillisecondCounter();

    if (! isShown || now - lastShownMs < shortestPauseMs)
        return;

    lastShownMs = now;
    const auto current = takeSeconds.begin() + take;
    const auto total = std::accumulate (takeSeconds.begin(), takeSeconds.end(), 0.0);
    const auto done = std::accumulate (takeSeconds.begin(), current, 0.0) + (double) fraction * *current;
    const auto elapsed = (now - startedMs) / 1000.0;
    auto line = "take " + juce::String (take + 1) + "/" + juce::String ((int) takeSeconds.size()) + "  ";

    if (elapsed > leastElapsed && done > 0.0)
        line << juce::String (done / elapsed, 1) << " x real time  " << clockText (elapsed * (total - done) / done)
             << " left  ";

    std::cerr << '\r' << (line + phase).substring (0, lineWidth).paddedRight (' ', lineWidth) << std::flush;
}

void ProgressLine::clear()
{
    if (isShown && lastShownMs != 0)
        std::cerr << '\r' << juce::String::repeatedString (" ", lineWidth) << '\r' << std::flush;

    lastShownMs = 0;
}

}    // namespace ld
