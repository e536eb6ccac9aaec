#include "workspace/SpineGround.h"

#include <cmath>

namespace ld
{
namespace
{

using Area = juce::Rectangle<float>;

// Those that an area covers altogether.
juce::Rectangle<int> wholePixelsOf (Area area)
{
    return juce::Rectangle<int>::leftTopRightBottom ((int) std::ceil (area.getX()),
                                                     (int) std::ceil (area.getY()),
                                                     (int) std::floor (area.getRight()),
                                                     (int) std::floor (area.getBottom()));
}

void fill (juce::Graphics& g, juce::Colour colour, Area area)
{
    g.setColour (colour);
    g.fillRect (area);
}

}    // namespace

void fillAroundLanes (juce::Graphics& g,
                      juce::Colour colour,
                      const std::vector<SpineLane>& lanes,
                      juce::Rectangle<int> lanesArea)
{
    juce::RectangleList<int> rest (g.getClipBounds());

    for (const auto& lane : lanes)
        rest.subtract (wholePixelsOf (lane.timeline).getIntersection (lanesArea));

    g.setColour (colour);
    g.fillRectList (rest);
}

// Tints are laid on each other beforehand, as blending would take longer than all the rest.
void fillLaneGround (juce::Graphics& g, const Palette& palette, const SpineLane& lane, bool isDrawing)
{
    const auto& timeline = lane.timeline;
    const auto& remove = lane.removeButton;
    const auto ground = lane.isGuest ? palette.panel : palette.ink.overlaidWith (palette.raised.withAlpha (0.42f));
    const auto tinted = [&] (juce::Colour colour) {
        return lane.isGuest ? colour : colour.overlaidWith (palette.good.withAlpha (0.1f));
    };
    const auto lined = [&] (juce::Colour colour, float alpha) {
        return tinted (ground.overlaidWith (colour.withAlpha (alpha)));
    };
    fill (g, ground, lane.label.withWidth (SpineFrame::labelColumn));
    fill (g, tinted (ground), timeline);
    fill (g, ground, { remove.getX() - 4.0f, timeline.getY(), remove.getWidth() + 8.0f, timeline.getHeight() });
    fill (g, lined (palette.line, 0.28f), timeline.withTop (timeline.getBottom() - 1.0f));

    if (isDrawing && lane.hasMixer)
    {
        g.setColour (lined (palette.accent, 0.45f));
        g.drawRect (timeline, 1.2f);
    }

    for (int i = 1; i <= 4; ++i)
        fill (
            g,
            lined (palette.line, 0.16f),
            { timeline.getX() + timeline.getWidth() * (float) i / 5.0f, timeline.getY(), 1.0f, timeline.getHeight() });
}

}    // namespace ld
