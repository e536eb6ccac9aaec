#pragma once

#include "theme/LookAndFeel.h"

namespace ld
{

/** What a meter keeps of peaks: the highest for a while, and for good that one went beyond full scale. */
struct HeldPeak
{
    float peak = 0.0f;    // 1 is full scale
    int ticksLeft = 0;
    bool isClipped = false;

    /** Taken over at each tick of the display.
        newest      the highest peak since the last tick
        ticksHeld   how many ticks a peak is held */
    void note (float newest, int ticksHeld) noexcept;
};

/** A level in dB from -60 to full scale, with the peak held and a light that stays on once something clipped, until it is
    clicked. */
class LevelMeter : public juce::Component, public juce::SettableTooltipClient
{
public:
    static constexpr int height = 16, lightWidth = 10, gap = 2;

    /** lookAndFeel   may be null */
    LevelMeter (const juce::String& title, const LookAndFeel*);

    /** level    as the preview lets it fall
        newest   the highest peak since the last call */
    void show (float level, float newest);

    /** Off again, until something clips anew. */
    void reset();

    [[nodiscard]] const HeldPeak& held() const noexcept { return hold; }

    void paint (juce::Graphics&) override;
    void mouseDown (const juce::MouseEvent&) override { reset(); }

private:
    const LookAndFeel* const theme;
    HeldPeak hold;
    float shownLevel = 0.0f;
};

}    // namespace ld
