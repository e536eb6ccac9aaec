#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace ld
{

/** The colours of the program; a default-built record is the theme. */
struct Palette
{
    juce::Colour background { 0xFF141815 };      // window, popup menu and mixer panel ground
    juce::Colour panel { 0xFF1C231F };           // fill of text editors, combo boxes and mixer rows
    juce::Colour text { 0xFFF1F3EE };            // main text
    juce::Colour ink { 0xFF0B0F0D };             // default button fill, text on an accent button, inspector ground
    juce::Colour raised { 0xFF28332D };          // fill of the workspace's ordinary buttons
    juce::Colour muted { 0xFFAEB8B2 };           // secondary and disabled text, scroll bar thumb
    juce::Colour line { 0xFF53605A };            // outlines, disabled button fill, meter track
    juce::Colour accent { 0xFFD5AA4E };          // focus outline, caret, selection, meter fill, emphasised button
    juce::Colour accentBright { 0xFFF0CE7D };    // headings on panels
    juce::Colour good { 0xFF78A18E };            // tint of a host lane, at low alpha
    juce::Colour warn { 0xFFE1B45A };            // guest blocks
    juce::Colour bad { 0xFFDF6B5D };             // muted spans and mute marks
    juce::Colour shade { 0x665F806F };           // translucent green
};

/** The one theme: every panel draws with its palette and its three fonts. */
class LookAndFeel : public juce::LookAndFeel_V4
{
public:
    LookAndFeel();

    Palette palette;

    // Every font has a whole height. Callers state a nominal size: interface and fixed-width text is drawn one point
    // larger, and never below 15 and 14 points, so that it stays legible on a dim cart.
    [[nodiscard]] juce::Font wordmarkFont (float size) const;
    [[nodiscard]] juce::Font uiFont (float size, int style) const;    // of style, only bold and italic count
    [[nodiscard]] juce::Font monoFont (float size) const;

    void
    drawButtonBackground (juce::Graphics&, juce::Button&, const juce::Colour&, bool highlighted, bool down) override;
    void drawButtonText (juce::Graphics&, juce::TextButton&, bool highlighted, bool down) override;
    juce::Font getTextButtonFont (juce::TextButton&, int buttonHeight) override;
    juce::Font getLabelFont (juce::Label&) override;
    juce::Font getComboBoxFont (juce::ComboBox&) override;
    void drawComboBox (juce::Graphics&,
                       int width,
                       int height,
                       bool isDown,
                       int buttonX,
                       int buttonY,
                       int buttonW,
                       int buttonH,
                       juce::ComboBox&) override;
    void drawTextEditorOutline (juce::Graphics&, int width, int height, juce::TextEditor&) override;
    void fillTextEditorBackground (juce::Graphics&, int width, int height, juce::TextEditor&) override;
};

}    // namespace ld
