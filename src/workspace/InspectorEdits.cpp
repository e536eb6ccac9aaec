#include "workspace/InspectorEdits.h"

#include "media/Timecode.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr auto separator = "  |  ";

void completePair (std::vector<TrackInfo>& tracks)
{
    auto& left = tracks[0];
    auto& right = tracks[1];

    if (! left.name.endsWithIgnoreCase (" L") && ! left.name.endsWithIgnoreCase (" R"))
        right.name = left.name + " R";

    if (left.function == "LEFT")
        right.function = "RIGHT";
}

}    // namespace

juce::String inspectorSummary (const GuestClip& guest, const GuestClock& clock)
{
    const auto& alignment = guest.alignment;
    juce::String text = alignment.detail.isEmpty() ? juce::String ("Unaligned") : alignment.detail;

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

bool applyInspectorEdit (GuestClip& guest, const InspectorEdit& edit)
{
    if (guest.tracks.empty())
        return false;

    for (auto& track : guest.tracks)
    {
        track.name = edit.name.trim();
        track.channelIndex = std::max (edit.channel.getIntValue(), 1);
    }

    if (guest.tracks.size() == 2)
        completePair (guest.tracks);

    guest.notes = edit.notes;
    return true;
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
    return at;
}

}    // namespace ld
