#include "monitor/MixerPanelLayout.h"

#include "monitor/LevelMeter.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

juce::String named (const std::vector<TrackInfo>& tracks, int index, const juce::String& otherwise)
{
    const auto isNamed = (size_t) index < tracks.size() && tracks[(size_t) index].name.isNotEmpty();
    return isNamed ? tracks[(size_t) index].name : otherwise;
}

// right   edge of the row; the bar of the meter ends 16 pixels before it
juce::Rectangle<int> meterAt (int right, int centreY)
{
    constexpr int barWidth = 78, space = 16;
    return { right - space - barWidth,
             centreY - LevelMeter::height / 2,
             barWidth + LevelMeter::gap + LevelMeter::lightWidth,
             LevelMeter::height };
}

}    // namespace

MixerPanelLayout layOutMixerPanel (juce::Rectangle<int> bounds)
{
    auto area = bounds.reduced (16, 12);
    auto header = area.removeFromTop (58);
    MixerPanelLayout at;
    at.headline = header.removeFromTop (25).withWidth (std::min (220, area.getWidth()));
    at.hint = header.removeFromTop (24);
    auto buttons = area.removeFromTop (34);
    at.allOn = buttons.removeFromLeft (120);
    buttons.removeFromLeft (8);
    at.muteAll = buttons.removeFromLeft (90);
    buttons.removeFromLeft (8);
    at.fit = buttons.removeFromLeft (90);
    at.mixMeter = meterAt (area.getX() + MixerRowLayout::width, buttons.getCentreY());
    at.mixPeak = buttons.withLeft (at.mixMeter.getX() - 74).withWidth (70);
    at.mixName = buttons.withRight (at.mixPeak.getX()).withLeft (at.mixPeak.getX() - 40);
    area.removeFromTop (8);
    at.viewport = area;
    return at;
}

MixerRowLayout layOutMixerRow (juce::Rectangle<int> bounds)
{
    auto area = bounds.reduced (8, 4);
    MixerRowLayout at;
    at.name = area.removeFromLeft (190);
    at.mute = area.removeFromLeft (34);
    area.removeFromLeft (4);
    at.solo = area.removeFromLeft (34);
    area.removeFromLeft (10);
    at.gain = area.removeFromLeft (190);
    area.removeFromLeft (8);
    at.pan = area.removeFromLeft (130);
    at.meter = meterAt (bounds.getWidth(), 20);
    return at;
}

std::vector<juce::String> mixerRowTexts (const Session& session)
{
    const auto dot = juce::String::fromUTF8 ("  ·  ");
    const auto& host = session.host;
    std::vector<juce::String> texts;

    for (int c = 0; host.format.valid && c < host.format.channels; ++c)
    {
        const auto number = juce::String (c + 1);

        if (! isChannelOmitted (host, c))
            texts.push_back ("POLY " + number + dot + named (host.tracks, c, "Channel " + number));
    }

    for (const auto& guest : session.guests)
        for (int lane = 0; lane < lanesOf (guest); ++lane)
            texts.push_back (
                "ISO" + dot
                + named (guest.tracks, lane, guest.file.getFileNameWithoutExtension() + " " + juce::String (lane + 1)));

    texts.resize (std::min (texts.size(), (size_t) mixerChannelLimit));
    return texts;
}

juce::String mixerRowName (const juce::String& text)
{
    return text.fromFirstOccurrenceOf (juce::String::fromUTF8 ("  ·  "), false, false);
}

juce::String panText (double pan)
{
    if (std::abs (pan) < 0.01)
        return "C";

    return juce::String (juce::roundToInt (std::abs (pan) * 100.0)) + (pan < 0.0 ? "L" : "R");
}

double panOf (const juce::String& text)
{
    const auto isLeft = text.containsIgnoreCase ("l");
    const auto isShare = text.containsAnyOf (".,");
    const auto number = text.replaceCharacter (',', '.').retainCharacters ("-.0123456789").getDoubleValue();
    const auto pan = isShare && std::abs (number) <= 1.0 ? number : number / 100.0;
    return std::clamp (isLeft ? -std::abs (pan) : pan, -1.0, 1.0);
}

juce::String peakText (float peak)
{
    if (! (peak > 0.0f))
        return "silent";

    const auto db = juce::roundToInt (200.0f * std::log10 (peak)) / 10.0;
    return (db > 0.0 ? "+" : "") + juce::String (db, 1) + " dB";
}

float meterLevel (float peak) noexcept
{
    if (! (peak > 0.0f))
        return 0.0f;

    const auto db = std::max (20.0f * std::log10 (peak), lowestGainDb);
    return std::clamp ((db - lowestGainDb) / -lowestGainDb, 0.0f, 1.0f);
}

}    // namespace ld
