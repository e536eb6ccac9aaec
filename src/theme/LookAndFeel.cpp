#include "theme/LookAndFeel.h"

#include <cmath>

namespace ld
{
namespace
{

constexpr float cornerRadius = 3.0f;
constexpr float outlineWidth = 1.2f;
constexpr int buttonTextMargin = 6;
constexpr float smallestTextScale = 0.88f;

// The shape that every control shares, sitting on pixel centres so that its outline is crisp.
juce::Rectangle<float> controlShape (int width, int height)
{
    return { 0.5f, 0.5f, (float) width - 1.0f, (float) height - 1.0f };
}

juce::Rectangle<float> clampedControlShape (int width, int height)
{
    const auto shape = controlShape (width, height);
    return shape.withSize (std::max (shape.getWidth(), 0.0f), std::max (shape.getHeight(), 0.0f));
}

void drawControlOutline (juce::Graphics& g, int width, int height, juce::Colour colour)
{
    g.setColour (colour);
    g.drawRoundedRectangle (clampedControlShape (width, height), cornerRadius, outlineWidth);
}

// What the stock controls are drawn in that the theme does not name one by one: sliders, dialogs, file lists.
juce::LookAndFeel_V4::ColourScheme schemeOf (const Palette& palette)
{
    return { palette.background,    // windows
             palette.panel,         // widgets
             palette.background,    // menus
             palette.line,          // outlines
             palette.text,
             palette.accent,    // what is filled
             palette.text,      // text on what is highlighted
             palette.ink,       // what is highlighted
             palette.text };    // in menus
}

}    // namespace

LookAndFeel::LookAndFeel() : juce::LookAndFeel_V4 (schemeOf (Palette {}))
{
    setColour (juce::ResizableWindow::backgroundColourId, palette.background);
    setColour (juce::TextButton::buttonColourId, palette.ink);
    setColour (juce::TextButton::textColourOffId, palette.text);
    setColour (juce::TextButton::textColourOnId, palette.text);
    setColour (juce::Label::textColourId, palette.text);
    setColour (juce::ComboBox::backgroundColourId, palette.panel);
    setColour (juce::ComboBox::outlineColourId, palette.line);
    setColour (juce::ComboBox::textColourId, palette.text);
    setColour (juce::ComboBox::arrowColourId, palette.text);
    setColour (juce::TextEditor::backgroundColourId, palette.panel);
    setColour (juce::TextEditor::outlineColourId, palette.line);
    setColour (juce::TextEditor::focusedOutlineColourId, palette.accent);
    setColour (juce::TextEditor::textColourId, palette.text);
    setColour (juce::TextEditor::highlightColourId, palette.accent.withAlpha (0.28f));
    setColour (juce::PopupMenu::backgroundColourId, palette.background);
    setColour (juce::PopupMenu::textColourId, palette.text);
    setColour (juce::PopupMenu::highlightedBackgroundColourId, palette.ink);
    setColour (juce::PopupMenu::highlightedTextColourId, palette.text);
    setColour (juce::ScrollBar::thumbColourId, palette.muted);
    setColour (juce::CaretComponent::caretColourId, palette.accent);
}

juce::Font LookAndFeel::wordmarkFont (float size) const
{
    return juce::Font (juce::FontOptions (std::round (size), juce::Font::bold));
}

juce::Font LookAndFeel::uiFont (float size, int style) const
{
    return juce::Font (juce::FontOptions (std::round (std::max (size + 1.0f, 15.0f)),
                                          style & (juce::Font::bold | juce::Font::italic)));
}

juce::Font LookAndFeel::monoFont (float size) const
{
    return juce::Font (juce::FontOptions (
        juce::Font::getDefaultMonospacedFontName(), std::round (std::max (size + 1.0f, 14.0f)), juce::Font::plain));
}

void LookAndFeel::drawButtonBackground (
    juce::Graphics& g, juce::Button& button, const juce::Colour& backgroundColour, bool highlighted, bool down)
{
    auto colour = backgroundColour;

    if (! button.isEnabled())
        colour = palette.line;
    else if (down)
        colour = colour.darker (0.12f);
    else if (highlighted)
        colour = colour.brighter (0.08f);

    g.setColour (colour);
    g.fillRoundedRectangle (clampedControlShape (button.getWidth(), button.getHeight()), cornerRadius);
}

void LookAndFeel::drawButtonText (juce::Graphics& g, juce::TextButton& button, bool, bool)
{
    g.setFont (uiFont (std::max ((float) button.getHeight() * 0.44f, 15.0f), juce::Font::bold));

    // The button's own colour alone decides: an accent button is an emphasised action and wants dark lettering.
    const auto isEmphasised = button.findColour (juce::TextButton::buttonColourId, false) == palette.accent;
    g.setColour (! button.isEnabled() ? palette.muted : isEmphasised ? palette.ink : palette.text);
    g.drawFittedText (button.getButtonText(),
                      button.getLocalBounds().reduced (buttonTextMargin, 0),
                      juce::Justification::centred,
                      1,
                      smallestTextScale);
}

juce::Font LookAndFeel::getTextButtonFont (juce::TextButton&, int buttonHeight)
{
    return uiFont ((float) std::max (buttonHeight / 2, 15), juce::Font::bold);
}

juce::Font LookAndFeel::getLabelFont (juce::Label&)
{
    return uiFont (15.0f, juce::Font::plain);
}

juce::Font LookAndFeel::getComboBoxFont (juce::ComboBox&)
{
    return uiFont (15.0f, juce::Font::plain);
}

void LookAndFeel::drawComboBox (juce::Graphics& g, int width, int height, bool, int, int, int, int, juce::ComboBox& box)
{
    g.setColour (palette.panel);
    g.fillRoundedRectangle (clampedControlShape (width, height), cornerRadius);
    drawControlOutline (g, width, height, box.hasKeyboardFocus (true) ? palette.accent : palette.line);

    const auto x = (float) width - 16.0f;
    const auto y = (float) height / 2.0f;
    juce::Path arrow;
    arrow.addTriangle (x - 5.0f, y - 2.0f, x + 5.0f, y - 2.0f, x, y + 4.0f);
    g.setColour (palette.text);
    g.fillPath (arrow);
}

void LookAndFeel::drawTextEditorOutline (juce::Graphics& g, int width, int height, juce::TextEditor& editor)
{
    drawControlOutline (g, width, height, editor.hasKeyboardFocus (true) ? palette.accent : palette.line);
}

void LookAndFeel::fillTextEditorBackground (juce::Graphics& g, int width, int height, juce::TextEditor&)
{
    g.setColour (palette.panel);
    g.fillRoundedRectangle (controlShape (width, height), cornerRadius);
}

}    // namespace ld
