#include "workspace/MainPainter.h"

namespace ld
{
namespace
{

constexpr float leastScale = 0.88f;
constexpr auto leftCentred = juce::Justification::centredLeft;

void paintCard (juce::Graphics& g, const LookAndFeel& theme, const WelcomeCard& at, std::optional<float> hover)
{
    constexpr float corner = 10.0f;
    const auto& palette = theme.palette;
    g.setColour (palette.panel);
    g.fillRoundedRectangle (at.card, corner);
    g.setColour (hover ? palette.accentBright : palette.line);
    g.drawRoundedRectangle (at.card, corner, hover ? 2.0f : 1.0f);

    g.setColour (palette.text);
    g.setFont (theme.wordmarkFont (54.0f));
    g.drawText ("Lodestrand", at.title, juce::Justification::centred);
    g.setColour (palette.accent);
    g.fillRect (at.rule);
    g.setColour (palette.text);
    g.setFont (theme.uiFont (20.0f, juce::Font::plain));
    g.drawText ("Start with one or more poly BWFs", at.heading, juce::Justification::centred);
    g.setColour (palette.muted);
    g.setFont (theme.uiFont (16.0f, juce::Font::plain));
    g.drawText (
        "Open one take, scan a shoot folder, or reopen a saved session.", at.hint, juce::Justification::centred);

    if (hover)
    {
        g.setColour (palette.accent.withAlpha (0.08f + 0.08f * *hover));
        g.fillRoundedRectangle (at.card, corner);
    }
}

void paintStatus (juce::Graphics& g, const LookAndFeel& theme, const MainLayout& at, const juce::String& status)
{
    g.setColour (theme.palette.text);
    g.setFont (theme.uiFont (15.0f, juce::Font::plain));
    g.drawText (status, at.status, leftCentred);
}

}    // namespace

void paintWelcome (juce::Graphics& g,
                   const LookAndFeel& theme,
                   juce::Rectangle<int> bounds,
                   const MainLayout& at,
                   const juce::String& status,
                   std::optional<float> hover)
{
    const auto& palette = theme.palette;
    const auto w = bounds.getWidth();
    g.fillAll (palette.background);
    g.setColour (palette.ink);
    g.fillRect (0, 0, w, 68);
    g.setColour (palette.accent);
    g.fillRect (0, 68, w, 2);
    g.setColour (palette.muted);
    g.setFont (theme.uiFont (15.0f, juce::Font::bold));
    g.drawText ("LODESTRAND  /  POLY BWF CONFORM", 24, 0, w - 48, 68, leftCentred);
    paintCard (g, theme, layOutWelcomeCard (w, bounds.getHeight()), hover);
    paintStatus (g, theme, at, status);
}

void paintWorkspace (juce::Graphics& g,
                     const LookAndFeel& theme,
                     juce::Rectangle<int> bounds,
                     const MainLayout& at,
                     const juce::String& headline,
                     const juce::String& status)
{
    const auto& palette = theme.palette;
    const auto w = bounds.getWidth(), h = bounds.getHeight();
    g.fillAll (palette.background);
    g.setColour (palette.ink);
    g.fillRect (0, 0, w, 84);
    g.setColour (palette.accent);
    g.fillRect (0, 82, w, 2);

    g.setColour (palette.muted);
    g.setFont (theme.uiFont (14.0f, juce::Font::bold));
    g.drawText ("LODESTRAND", at.caption, leftCentred);

    g.setColour (palette.text);
    g.setFont (theme.uiFont (at.headline.getHeight() < 32 ? 15.0f : 22.0f, juce::Font::bold));
    g.drawFittedText (headline, at.headline, leftCentred, 1, leastScale);

    g.setColour (palette.panel);
    g.fillRect (0, h - 38, w, 38);
    paintStatus (g, theme, at, status);
}

}    // namespace ld
