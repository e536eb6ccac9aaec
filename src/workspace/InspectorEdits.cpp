#include "workspace/InspectorEdits.h"

#include "media/Timecode.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr auto separator = "  |  ";

}    // namespace

juce::String inspectorSummary (const GuestClip& guest, const GuestClock& clock)
{
    const auto& alignment = guest.alignment;
    juce::String text = alignment.detail.isEmpty() ? juce::String ("Unaligned") : alignment.detail;

    if (guest.isMissing)
        text = "Not found: " + guest.file.getFullPathName() + separator + text;

    if (alignment.evidence.isNotEmpty())
        text << separator << alignment.evidence;

    text << separator << alignment.offsetSamples << " smp";

    if (clock.sampleRate >= 1)
        text << separator
             << formatTimecode ((juce::uint64) std::max<juce::int64> (alignment.offsetSamples, 0),
                                clock.sampleRate,
                                clock.timecodeRate,
                                clock.timecodeFlag);

    if (guest.pieces.size() >= 2)
        text << separator << (int) guest.pieces.size() << " ISO pieces";

    if (alignment.needsManual)
        text << separator << "check by ear";

    return text;
}

juce::int64 samplesPerTimecodeFrame (const GuestClock& clock)
{
    constexpr double usualRate = 24.0;
    const auto parsed = parseFrameRate (clock.timecodeRate);
    return (juce::int64) std::round (clock.sampleRate / (parsed > 0.0 ? parsed : usualRate));
}

std::optional<juce::int64> nudgeOf (const juce::String& text, const GuestClock& clock)
{
    constexpr double secondsOfDay = 86400.0;
    const auto typed = text.removeCharacters (" ").toLowerCase().replaceCharacter (',', '.');
    const auto number = typed.initialSectionContainingOnly ("+-.0123456789");
    const auto unit = typed.substring (number.length());
    const std::pair<const char*, double> units[] = { { "", 1.0 },
                                                     { "smp", 1.0 },
                                                     { "ms", clock.sampleRate / 1000.0 },
                                                     { "s", (double) clock.sampleRate },
                                                     { "f", (double) samplesPerTimecodeFrame (clock) } };

    for (const auto& [name, samples] : units)
        if (unit == name && number.containsAnyOf ("0123456789"))
            if (const auto nudge = number.getDoubleValue() * samples;
                std::abs (nudge) <= secondsOfDay * clock.sampleRate)
                return (juce::int64) std::llround (nudge);

    return {};
}

InspectorFields fieldsOf (const GuestClip& guest, int lane)
{
    if (! juce::isPositiveAndBelow (lane, (int) guest.tracks.size()))
        return {};

    const auto& track = guest.tracks[(size_t) lane];
    return { track.name, juce::String (track.channelIndex), guest.notes };
}

InspectorLayout layOutInspector (juce::Rectangle<int> bounds)
{
    constexpr int nameWidth = 220, channelWidth = 70, gap = 10, nudgeWidth = 48;
    auto area = bounds.reduced (20, 10);
    InspectorLayout at;

    at.summary = area.removeFromTop (25);
    at.title = at.summary.removeFromLeft (140);
    area.removeFromTop (4);

    auto labels = area.removeFromTop (18), editors = area.removeFromTop (32);
    at.nameLabel = labels.removeFromLeft (nameWidth);
    at.name = editors.removeFromLeft (nameWidth);
    labels.removeFromLeft (gap);
    editors.removeFromLeft (gap);
    at.channelLabel = labels.removeFromLeft (channelWidth);
    at.channel = editors.removeFromLeft (channelWidth);
    labels.removeFromLeft (gap);
    editors.removeFromLeft (gap);
    at.notesLabel = labels;
    at.notes = editors;

    area.removeFromTop (8);
    auto buttons = area.removeFromTop (30);
    at.frameBack = buttons.removeFromLeft (nudgeWidth);
    buttons.removeFromLeft (6);
    at.frameForward = buttons.removeFromLeft (nudgeWidth);
    buttons.removeFromLeft (gap);
    at.sampleBack = buttons.removeFromLeft (nudgeWidth);
    buttons.removeFromLeft (6);
    at.sampleForward = buttons.removeFromLeft (nudgeWidth);
    buttons.removeFromLeft (16);
    at.remove = buttons.removeFromLeft (90);
    buttons.removeFromLeft (16);
    at.applyToMatching = buttons.removeFromLeft (260);
    buttons.removeFromLeft (16);
    at.search = buttons.removeFromLeft (110);
    buttons.removeFromLeft (16);
    at.nudgeBy = buttons.removeFromLeft (130);
    buttons.removeFromLeft (16);
    at.copyPlace = buttons.removeFromLeft (84);
    return at;
}

}    // namespace ld
