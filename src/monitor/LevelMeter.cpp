#include "monitor/LevelMeter.h"

#include "monitor/MixerPanelLayout.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int ticksHeld = 30;    // 1.5 s of a display at 20 Hz

}    // namespace

void HeldPeak::note (float newest, int ticks) noexcept
{
    isClipped = isClipped || newest > 1.0f;

    if (newest >= peak || --ticksLeft <= 0)
    {
        peak = newest;
        ticksLeft = ticks;
    }
}

LevelMeter::LevelMeter (const juce::String& title, const LookAndFeel* themeOrNull) : theme (themeOrNull)
{
    setTitle (title);
    setTooltip ("Click to reset the clip light");
}

void LevelMeter::show (float level, float newest)
{
    const auto before = std::tuple (shownLevel, hold.peak, hold.isClipped);
    shownLevel = level;
    hold.note (newest, ticksHeld);

    if (before == std::tuple (shownLevel, hold.peak, hold.isClipped))
        return;

    setDescription ("Peak " + peakText (hold.peak) + (hold.isClipped ? ", clipped" : ""));
    repaint();
}

void LevelMeter::reset()
{
    hold = {};
    repaint();
}

void LevelMeter::paint (juce::Graphics& g)
{
    constexpr float corner = 2.0f, barHeight = 8.0f, tickWidth = 2.0f;
    const auto palette = theme != nullptr ? theme->palette : Palette {};
    auto area = getLocalBounds().toFloat().withSizeKeepingCentre ((float) getWidth(), barHeight);
    const auto light = area.removeFromRight ((float) lightWidth);
    const auto track = area.withTrimmedRight ((float) gap);

    g.setColour (palette.line.withAlpha (0.28f));
    g.fillRoundedRectangle (track, corner);
    g.setColour (palette.accent);
    g.fillRoundedRectangle (track.withWidth (meterLevel (shownLevel) * track.getWidth()), corner);

    if (const auto at = meterLevel (hold.peak); at > 0.0f)
    {
        g.setColour (hold.peak > 1.0f ? palette.bad : palette.accentBright);
        g.fillRect (track.withX (track.getX() + at * (track.getWidth() - tickWidth)).withWidth (tickWidth));
    }

    g.setColour (hold.isClipped ? palette.bad : palette.line.withAlpha (0.28f));
    g.fillRoundedRectangle (light, corner);
}

}    // namespace ld
