#include "theme/LookAndFeel.h"

#include <gmock/gmock.h>

namespace ld::test
{
namespace
{

using testing::ElementsAre;

const Palette palette;

std::string hex (juce::Colour colour)
{
    return colour.toString().toStdString();
}

/** A control drawn by the theme on black; painter is given the graphics context. */
template <typename Painter>
juce::Image picture (int width, int height, Painter&& painter)
{
    juce::Image image (juce::Image::ARGB, width, height, true);
    juce::Graphics g (image);
    g.fillAll (juce::Colours::black);
    painter (g);
    return image;
}

// Lettering blends with its ground at its edges; its own colour shows only inside the strokes.
bool holds (const juce::Image& image, juce::Colour colour)
{
    for (int y = 0; y < image.getHeight(); ++y)
        for (int x = 0; x < image.getWidth(); ++x)
            if (image.getPixelAt (x, y) == colour)
                return true;

    return false;
}

class Theme : public testing::Test
{
protected:
    juce::Image button (bool highlighted, bool down, bool enabled, juce::Colour colour)
    {
        juce::TextButton shape;
        shape.setSize (60, 24);
        shape.setEnabled (enabled);
        return picture (60, 24, [&] (auto& g) { theme.drawButtonBackground (g, shape, colour, highlighted, down); });
    }

    juce::Image lettering (bool enabled, juce::Colour colour)
    {
        juce::TextButton shape ("HHH");
        shape.setSize (90, 40);
        shape.setEnabled (enabled);
        shape.setColour (juce::TextButton::buttonColourId, colour);
        return picture (90, 40, [&] (auto& g) { theme.drawButtonText (g, shape, false, false); });
    }

    LookAndFeel theme;
};

TEST_F (Theme, HasTheseColours)
{
    EXPECT_THAT (std::vector<std::string> ({ hex (palette.background),
                                             hex (palette.panel),
                                             hex (palette.text),
                                             hex (palette.ink),
                                             hex (palette.raised),
                                             hex (palette.muted),
                                             hex (palette.line),
                                             hex (palette.accent),
                                             hex (palette.accentBright),
                                             hex (palette.good),
                                             hex (palette.warn),
                                             hex (palette.bad),
                                             hex (palette.shade) }),
                 ElementsAre ("ff141815",
                              "ff1c231f",
                              "fff1f3ee",
                              "ff0b0f0d",
                              "ff28332d",
                              "ffaeb8b2",
                              "ff53605a",
                              "ffd5aa4e",
                              "fff0ce7d",
                              "ff78a18e",
                              "ffe1b45a",
                              "ffdf6b5d",
                              "665f806f"));
}

TEST_F (Theme, GivesStockControlsItsColours)
{
    const std::pair<int, const char*> cases[] = {
        { juce::ResizableWindow::backgroundColourId, "ff141815" },
        { juce::TextButton::buttonColourId, "ff0b0f0d" },
        { juce::TextButton::textColourOffId, "fff1f3ee" },
        { juce::TextButton::textColourOnId, "fff1f3ee" },
        { juce::Label::textColourId, "fff1f3ee" },
        { juce::ComboBox::backgroundColourId, "ff1c231f" },
        { juce::ComboBox::outlineColourId, "ff53605a" },
        { juce::ComboBox::textColourId, "fff1f3ee" },
        { juce::ComboBox::arrowColourId, "fff1f3ee" },
        { juce::TextEditor::backgroundColourId, "ff1c231f" },
        { juce::TextEditor::outlineColourId, "ff53605a" },
        { juce::TextEditor::focusedOutlineColourId, "ffd5aa4e" },
        { juce::TextEditor::textColourId, "fff1f3ee" },
        { juce::TextEditor::highlightColourId, "47d5aa4e" },    // 0.28 of 255 is 71.4
        { juce::PopupMenu::backgroundColourId, "ff141815" },
        { juce::PopupMenu::textColourId, "fff1f3ee" },
        { juce::PopupMenu::highlightedBackgroundColourId, "ff0b0f0d" },
        { juce::PopupMenu::highlightedTextColourId, "fff1f3ee" },
        { juce::ScrollBar::thumbColourId, "ffaeb8b2" },
        { juce::CaretComponent::caretColourId, "ffd5aa4e" },
    };

    for (const auto& [id, colour] : cases)
        EXPECT_EQ (hex (theme.findColour (id)), colour) << std::hex << id;
}

TEST_F (Theme, FontsHaveWholeHeightsAndAFloor)
{
    const struct
    {
        float size, wordmark, ui, mono;
    } cases[] = {
        { 10.0f, 10.0f, 15.0f, 14.0f }, { 13.4f, 13.0f, 15.0f, 14.0f }, { 13.5f, 14.0f, 15.0f, 15.0f },
        { 14.5f, 15.0f, 16.0f, 16.0f }, { 15.0f, 15.0f, 16.0f, 16.0f }, { 30.4f, 30.0f, 31.0f, 31.0f },
    };

    for (const auto& c : cases)
    {
        EXPECT_EQ (theme.wordmarkFont (c.size).getHeight(), c.wordmark) << c.size;
        EXPECT_EQ (theme.uiFont (c.size, juce::Font::plain).getHeight(), c.ui) << c.size;
        EXPECT_EQ (theme.monoFont (c.size).getHeight(), c.mono) << c.size;
    }
}

TEST_F (Theme, FontsHaveTheirStyleAndFamily)
{
    const auto everyStyle = juce::Font::bold | juce::Font::italic | juce::Font::underlined;

    EXPECT_TRUE (theme.wordmarkFont (20.0f).isBold());
    EXPECT_FALSE (theme.uiFont (15.0f, juce::Font::underlined).isUnderlined());
    EXPECT_FALSE (theme.uiFont (15.0f, everyStyle).isUnderlined());
    EXPECT_TRUE (theme.uiFont (15.0f, everyStyle).isBold());
    EXPECT_TRUE (theme.uiFont (15.0f, everyStyle).isItalic());
    EXPECT_EQ (theme.uiFont (15.0f, 0).getTypefaceName(), juce::Font::getDefaultSansSerifFontName());
    EXPECT_EQ (theme.monoFont (15.0f).getTypefaceName(), juce::Font::getDefaultMonospacedFontName());
    EXPECT_EQ (theme.monoFont (15.0f).getStyleFlags(), juce::Font::plain);
}

TEST_F (Theme, ControlsAskForTheirFonts)
{
    juce::TextButton button;
    juce::Label label;
    juce::ComboBox box;

    EXPECT_EQ (theme.getTextButtonFont (button, 24).getHeight(), 16.0f);
    EXPECT_EQ (theme.getTextButtonFont (button, 41).getHeight(), 21.0f);
    EXPECT_TRUE (theme.getTextButtonFont (button, 41).isBold());
    EXPECT_EQ (theme.getLabelFont (label).getHeight(), 16.0f);
    EXPECT_EQ (theme.getComboBoxFont (box).getHeight(), 16.0f);
    EXPECT_FALSE (theme.getComboBoxFont (box).isBold());
}

TEST_F (Theme, AButtonShowsItsState)
{
    const juce::Colour fill { 0xFF808080 };
    const auto centre = [] (const juce::Image& image) { return hex (image.getPixelAt (30, 12)); };

    EXPECT_EQ (centre (button (false, false, true, fill)), "ff808080");
    EXPECT_EQ (centre (button (true, false, true, fill)), hex (fill.brighter (0.08f)));
    EXPECT_EQ (centre (button (true, true, true, fill)), hex (fill.darker (0.12f)));
    EXPECT_EQ (centre (button (true, true, false, fill)), hex (palette.line));
    EXPECT_NE (fill.brighter (0.08f), fill);
    EXPECT_NE (fill.darker (0.12f), fill);
}

TEST_F (Theme, AButtonIsRoundedAndHasNoOutline)
{
    const auto image = button (false, false, true, juce::Colours::white);

    EXPECT_EQ (image.getPixelAt (0, 0), juce::Colours::black);
    EXPECT_EQ (image.getPixelAt (59, 23), juce::Colours::black);
    EXPECT_EQ (image.getPixelAt (1, 12), juce::Colours::white);
    EXPECT_EQ (image.getPixelAt (58, 12), juce::Colours::white);
    EXPECT_EQ (image.getPixelAt (30, 1), juce::Colours::white);
    EXPECT_EQ (image.getPixelAt (30, 22), juce::Colours::white);
}

TEST_F (Theme, OnlyTheExactAccentTurnsLetteringDark)
{
    const auto nearly = juce::Colour (palette.accent.getARGB() ^ 1);

    EXPECT_TRUE (holds (lettering (true, palette.raised), palette.text));
    EXPECT_TRUE (holds (lettering (true, nearly), palette.text));
    EXPECT_TRUE (holds (lettering (true, palette.accent), palette.ink));
    EXPECT_FALSE (holds (lettering (true, palette.accent), palette.text));
    EXPECT_TRUE (holds (lettering (false, palette.accent), palette.muted));
}

TEST_F (Theme, ATinyButtonIsDrawnWithoutHarm)
{
    juce::TextButton shape ("HHH");

    for (const auto size : { 0, 1, 8 })
    {
        shape.setSize (size, size);
        picture (16, 16, [&] (auto& g) {
            theme.drawButtonBackground (g, shape, palette.raised, false, false);
            theme.drawButtonText (g, shape, false, false);
        });
    }
}

TEST_F (Theme, AComboBoxHasAGroundAnOutlineAndAnArrow)
{
    juce::ComboBox box;
    const auto image = picture (80, 24, [&] (auto& g) { theme.drawComboBox (g, 80, 24, true, 0, 0, 9, 9, box); });

    EXPECT_EQ (image.getPixelAt (20, 12), palette.panel);
    EXPECT_EQ (image.getPixelAt (0, 12), palette.line);
    EXPECT_EQ (image.getPixelAt (40, 23), palette.line);

    // The arrow points down from (59, 10) and (69, 10) to (64, 16).
    EXPECT_EQ (image.getPixelAt (64, 11), palette.text);
    EXPECT_EQ (image.getPixelAt (61, 10), palette.text);
    EXPECT_EQ (image.getPixelAt (63, 13), palette.text);
    EXPECT_EQ (image.getPixelAt (64, 13), palette.text);
    EXPECT_EQ (image.getPixelAt (64, 9), palette.panel);
    EXPECT_EQ (image.getPixelAt (61, 15), palette.panel);
    EXPECT_EQ (image.getPixelAt (64, 17), palette.panel);
}

TEST_F (Theme, ATextEditorHasAGroundAndAnOutline)
{
    juce::TextEditor editor;
    const auto ground = picture (60, 24, [&] (auto& g) { theme.fillTextEditorBackground (g, 60, 24, editor); });
    const auto outline = picture (60, 24, [&] (auto& g) { theme.drawTextEditorOutline (g, 60, 24, editor); });

    EXPECT_EQ (ground.getPixelAt (30, 12), palette.panel);
    EXPECT_EQ (ground.getPixelAt (0, 0), juce::Colours::black);
    EXPECT_EQ (outline.getPixelAt (0, 12), palette.line);
    EXPECT_EQ (outline.getPixelAt (30, 0), palette.line);
    EXPECT_EQ (outline.getPixelAt (30, 12), juce::Colours::black);
}

TEST_F (Theme, AFocusedControlHasAnAccentOutline)
{
    juce::Component window;
    juce::TextEditor editor;
    juce::ComboBox box;
    window.setSize (100, 100);
    window.addAndMakeVisible (editor);
    window.addAndMakeVisible (box);
    window.addToDesktop (juce::ComponentPeer::windowIsTemporary);
    window.setVisible (true);

    editor.grabKeyboardFocus();

    if (! editor.hasKeyboardFocus (true))
        GTEST_SKIP() << "this display gives no keyboard focus";

    const auto focused = picture (60, 24, [&] (auto& g) { theme.drawTextEditorOutline (g, 60, 24, editor); });
    EXPECT_EQ (focused.getPixelAt (0, 12), palette.accent);
    box.grabKeyboardFocus();
    const auto left = picture (60, 24, [&] (auto& g) { theme.drawTextEditorOutline (g, 60, 24, editor); });
    const auto chosen = picture (60, 24, [&] (auto& g) { theme.drawComboBox (g, 60, 24, false, 0, 0, 0, 0, box); });
    EXPECT_EQ (left.getPixelAt (0, 12), palette.line);
    EXPECT_EQ (chosen.getPixelAt (0, 12), palette.accent);
}

}    // namespace
}    // namespace ld::test
