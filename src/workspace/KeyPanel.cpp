#include "workspace/KeyPanel.h"

#include "workspace/KeyTable.h"

namespace ld
{
namespace
{

constexpr int rowHeight = 21, keyWidth = 118, inset = 22, width = 980, headingHeight = 30;

// The groups go into two columns, the first of which ends ahead of this one.
constexpr auto firstOfSecondColumn = "Mix";

/** Where each row stands: the first of a group has a heading above it. */
struct KeyRow
{
    const KeyBinding* binding = nullptr;
    juce::Rectangle<int> heading, key, text;
};

std::vector<KeyRow> layOutRows (juce::Rectangle<int> area)
{
    std::vector<KeyRow> rows;
    auto column = area.removeFromLeft (area.getWidth() / 2).withTrimmedRight (inset / 2);
    const auto second = area.withTrimmedLeft (inset / 2);
    juce::String group;

    for (const auto& binding : keyTable())
    {
        KeyRow row { &binding, {}, {}, {} };

        if (group != binding.group)
        {
            group = binding.group;

            if (group == firstOfSecondColumn)
                column = second;

            row.heading = column.removeFromTop (headingHeight);
        }

        auto line = column.removeFromTop (rowHeight);
        row.key = line.removeFromLeft (keyWidth);
        row.text = line;
        rows.push_back (row);
    }

    return rows;
}

int lowestRow()
{
    auto bottom = 0;

    for (const auto& row : layOutRows ({ 0, 0, width, 10000 }))
        bottom = std::max (bottom, row.text.getBottom());

    return bottom;
}

}    // namespace

KeyPanel::KeyPanel (const LookAndFeel& themeToUse) : theme (themeToUse)
{
    setTitle ("Keys");
    setWantsKeyboardFocus (true);
    juce::String text;

    for (const auto& binding : keyTable())
        text << binding.keyText << ": " << binding.does << ". ";

    setDescription (text);
}

juce::Rectangle<int> KeyPanel::fittedInto (juce::Rectangle<int> view) const
{
    return view.withSizeKeepingCentre (std::min (width, view.getWidth() - 16),
                                       std::min (lowestRow() + 2 * inset, view.getHeight() - 16));
}

void KeyPanel::paint (juce::Graphics& g)
{
    constexpr float corner = 8.0f, leastScale = 0.75f;
    const auto& palette = theme.palette;
    g.setColour (palette.panel);
    g.fillRoundedRectangle (getLocalBounds().toFloat(), corner);
    g.setColour (palette.accent);
    g.drawRoundedRectangle (getLocalBounds().toFloat().reduced (0.5f), corner, 1.0f);

    for (const auto& row : layOutRows (getLocalBounds().reduced (inset, inset / 2)))
    {
        g.setColour (palette.accentBright);
        g.setFont (theme.uiFont (14.0f, juce::Font::bold));
        g.drawText (row.heading.isEmpty() ? juce::String() : juce::String (row.binding->group),
                    row.heading,
                    juce::Justification::bottomLeft);
        g.setColour (palette.text);
        g.setFont (theme.monoFont (13.0f));
        g.drawText (row.binding->keyText, row.key, juce::Justification::centredLeft);
        g.setFont (theme.uiFont (13.0f, juce::Font::plain));
        g.drawFittedText (row.binding->does, row.text, juce::Justification::centredLeft, 1, leastScale);
    }
}

bool KeyPanel::keyPressed (const juce::KeyPress& key)
{
    if (key != juce::KeyPress::escapeKey)
        return false;

    setVisible (false);
    return true;
}

}    // namespace ld
