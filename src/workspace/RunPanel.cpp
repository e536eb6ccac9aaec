#include "workspace/RunPanel.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int headerHeight = 38, rowHeight = 24, margin = 10;

struct Columns
{
    juce::Rectangle<int> kind, name, sure, words;
};

// A take's name stands ahead of those of its guests.
Columns columnsOf (juce::Rectangle<int> row, RunRow::Kind kind)
{
    constexpr int kindWidth = 76, sureWidth = 52, leastNameWidth = 120;
    row.reduce (margin, 0);
    auto names =
        row.removeFromLeft (kindWidth + std::max (row.getWidth() / 4, leastNameWidth)).withTrimmedRight (margin);
    Columns at;

    if (kind != RunRow::Kind::take && kind != RunRow::Kind::heading)
        at.kind = names.removeFromLeft (kindWidth);

    at.name = names;
    at.sure = row.removeFromLeft (sureWidth);
    at.words = row;
    return at;
}

void paintRow (juce::Graphics& g, const LookAndFeel& theme, juce::Rectangle<int> bounds, const RunRow& row)
{
    const auto& palette = theme.palette;
    const auto isHeading = row.kind == RunRow::Kind::take || row.kind == RunRow::Kind::heading;
    const auto at = columnsOf (bounds, row.kind);
    const auto draw = [&] (const juce::String& text, juce::Rectangle<int> place, juce::Colour colour, int style) {
        g.setFont (theme.uiFont (14.0f, style));
        g.setColour (colour);
        g.drawText (text, place, juce::Justification::centredLeft);
    };
    draw (wordFor (row.kind), at.kind, row.isTrouble ? palette.bad : palette.muted, juce::Font::plain);
    draw (row.name,
          at.name,
          isHeading ? palette.accentBright : palette.text,
          isHeading ? juce::Font::bold : juce::Font::plain);
    draw (row.sure, at.sure, palette.text, juce::Font::plain);
    draw (row.words, at.words, row.isTrouble ? palette.bad : palette.muted, juce::Font::plain);
}

}    // namespace

RunPanel::RunPanel (const LookAndFeel& themeToUse) : theme (themeToUse)
{
    const auto& palette = theme.palette;
    setTitle ("What happened");
    sentenceLabel.setTitle ("What the run came to");
    sentenceLabel.setFont (theme.uiFont (15.0f, juce::Font::bold));
    sentenceLabel.setColour (juce::Label::textColourId, palette.text);
    sentenceLabel.setMinimumHorizontalScale (1.0f);
    addAndMakeVisible (sentenceLabel);

    filterButton.setColour (juce::ToggleButton::textColourId, palette.text);
    filterButton.setColour (juce::ToggleButton::tickColourId, palette.accent);
    filterButton.setColour (juce::ToggleButton::tickDisabledColourId, palette.muted);
    filterButton.setTooltip ("Only recordings that are in no file of a take, and takes that were not written");
    filterButton.setHasFocusOutline (true);
    filterButton.onClick = [this] { showRows(); };
    addAndMakeVisible (filterButton);

    closeButton.setTitle ("Close the results");
    closeButton.setTooltip ("Close (Escape)");
    closeButton.setHasFocusOutline (true);
    closeButton.onClick = [this] {
        if (onClose)
            onClose();
    };
    addAndMakeVisible (closeButton);

    list.setTitle ("Results");
    list.setRowHeight (rowHeight);
    list.setColour (juce::ListBox::backgroundColourId, palette.panel);
    list.setHasFocusOutline (true);
    addAndMakeVisible (list);
}

void RunPanel::show (RunTable newTable, const juce::String& sentence)
{
    table = std::move (newTable);
    sentenceLabel.setText (sentence, juce::dontSendNotification);
    sentenceLabel.setTooltip (sentence);
    showRows();
    list.deselectAllRows();
    list.setVerticalPosition (0.0);
}

void RunPanel::showRows()
{
    rows = runRowsOf (table, filterButton.getToggleState());
    list.updateContent();
    list.repaint();
}

void RunPanel::paint (juce::Graphics& g)
{
    g.fillAll (theme.palette.panel);
    g.setColour (theme.palette.accent);
    g.fillRect (getLocalBounds().withHeight (2));
}

void RunPanel::resized()
{
    auto area = getLocalBounds();
    auto header = area.removeFromTop (headerHeight).withTrimmedTop (2).reduced (margin, 4);
    closeButton.setBounds (header.removeFromRight (72));
    header.removeFromRight (margin);
    filterButton.setBounds (header.removeFromRight (180));
    sentenceLabel.setBounds (header);
    list.setBounds (area);
}

void RunPanel::paintListBoxItem (int row, juce::Graphics& g, int width, int height, bool isSelected)
{
    if (! juce::isPositiveAndBelow (row, (int) rows.size()))
        return;

    const auto& line = rows[(size_t) row];
    const auto bounds = juce::Rectangle<int> (width, height);

    if (isSelected)
    {
        g.fillAll (theme.palette.ink);
        g.setColour (list.hasKeyboardFocus (true) ? theme.palette.accent : theme.palette.line);
        g.drawRect (bounds);
    }
    else if (line.kind == RunRow::Kind::take)
    {
        g.setColour (theme.palette.line);
        g.fillRect (bounds.withHeight (1));
    }

    paintRow (g, theme, bounds, line);
}

juce::String RunPanel::getNameForRow (int row)
{
    return juce::isPositiveAndBelow (row, (int) rows.size()) ? sentenceOf (rows[(size_t) row]) : juce::String();
}

void RunPanel::open (int row)
{
    if (! juce::isPositiveAndBelow (row, (int) rows.size()) || onOpen == nullptr)
        return;

    if (const auto& poly = rows[(size_t) row].poly; poly != juce::File())
        onOpen (poly);
}

}    // namespace ld
