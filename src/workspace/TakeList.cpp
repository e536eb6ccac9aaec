#include "workspace/TakeList.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int headerHeight = 32, rowHeight = 66, margin = 10;

// Two texts on one line. The second one, at the right, gets what the first leaves it.
struct Line
{
    juce::String first;
    juce::Colour firstColour;
    juce::String second;
    juce::Colour secondColour;
};

void paintLine (juce::Graphics& g, juce::Rectangle<int> at, const juce::Font& firstFont, const Line& line)
{
    constexpr int gap = 10;
    const auto secondFont = firstFont.withStyle (juce::Font::plain);
    const auto widthOf = [] (const juce::Font& font, const juce::String& text) {
        return text.isEmpty() ? 0 : juce::GlyphArrangement::getStringWidthInt (font, text) + 2;
    };
    const auto firstWidth = widthOf (firstFont, line.first);
    g.setFont (firstFont);
    g.setColour (line.firstColour);
    g.drawText (line.first, at.removeFromLeft (firstWidth), juce::Justification::centredLeft);
    at.removeFromLeft (firstWidth > 0 ? gap : 0);
    g.setFont (secondFont);
    g.setColour (line.secondColour);
    g.drawText (line.second, at.removeFromRight (widthOf (secondFont, line.second)), juce::Justification::centredLeft);
}

void paintTake (juce::Graphics& g, const LookAndFeel& theme, juce::Rectangle<int> at, const TakeRow& take)
{
    const auto& palette = theme.palette;
    const auto lineHeight = at.getHeight() / 3;
    const auto plain = theme.uiFont (14.0f, juce::Font::plain), bold = theme.uiFont (14.0f, juce::Font::bold);
    paintLine (g, at.removeFromTop (lineHeight), bold, { take.name, palette.text, take.length, palette.muted });
    paintLine (
        g, at.removeFromTop (lineHeight), plain, { take.sceneAndTake, palette.text, filesText (take), palette.muted });
    paintLine (
        g,
        at,
        plain,
        { troubleText (take), palette.bad, progressText (take), take.isOutdated ? palette.warn : palette.muted });
}

}    // namespace

TakeList::TakeList (const LookAndFeel& themeToUse) : theme (themeToUse)
{
    const auto& palette = theme.palette;
    setTitle ("List of takes");
    countLabel.setFont (theme.uiFont (14.0f, juce::Font::bold));
    countLabel.setColour (juce::Label::textColourId, palette.text);
    addAndMakeVisible (countLabel);

    filterButton.setTitle ("Needs a look");
    filterButton.setTooltip ("Only takes with recordings in doubt, missing or not placed");
    filterButton.setColour (juce::ToggleButton::textColourId, palette.text);
    filterButton.setColour (juce::ToggleButton::tickColourId, palette.accent);
    filterButton.setColour (juce::ToggleButton::tickDisabledColourId, palette.muted);
    filterButton.setHasFocusOutline (true);
    filterButton.onClick = [this] { showTakes(); };
    addAndMakeVisible (filterButton);

    list.setTitle ("Takes");
    list.setRowHeight (rowHeight);
    list.setColour (juce::ListBox::backgroundColourId, palette.panel);
    list.setHasFocusOutline (true);
    addAndMakeVisible (list);
}

void TakeList::setTakes (std::vector<TakeRow> rows, int open)
{
    const auto isOtherTake = open != openTake || rows.size() != takes.size();

    if (! isOtherTake && rows == takes)
        return;

    takes = std::move (rows);
    openTake = open;
    showTakes();

    if (! isOtherTake)
        return;

    if (const auto at = std::ranges::find (shown, openTake); at != shown.end())
        list.selectRow ((int) (at - shown.begin()));
}

void TakeList::showTakes()
{
    const auto selected = list.getSelectedRow();
    const auto selectedTake = juce::isPositiveAndBelow (selected, (int) shown.size()) ? shown[(size_t) selected] : -1;
    const auto count = (int) takes.size(), troubled = (int) std::ranges::count_if (takes, needsALook);
    shown.clear();

    for (int i = 0; i < count; ++i)
        if (! filterButton.getToggleState() || needsALook (takes[(size_t) i]))
            shown.push_back (i);

    countLabel.setText (juce::String (count) + " takes", juce::dontSendNotification);
    filterButton.setButtonText ("Needs a look (" + juce::String (troubled) + ")");
    list.updateContent();

    if (const auto at = std::ranges::find (shown, selectedTake); at != shown.end())
        list.selectRow ((int) (at - shown.begin()), true);
    else
        list.deselectAllRows();

    list.repaint();
    repaint();
}

void TakeList::paint (juce::Graphics& g)
{
    g.fillAll (theme.palette.panel);
}

void TakeList::resized()
{
    auto area = getLocalBounds();
    auto header = area.removeFromTop (headerHeight);
    filterButton.setBounds (header.removeFromRight (166));
    countLabel.setBounds (header.withTrimmedLeft (margin - 5));
    list.setBounds (area);
}

void TakeList::paintListBoxItem (int row, juce::Graphics& g, int width, int height, bool isSelected)
{
    if (! juce::isPositiveAndBelow (row, (int) shown.size()))
        return;

    const auto& palette = theme.palette;
    const auto index = shown[(size_t) row];
    const auto isOpen = index == openTake;
    auto area = juce::Rectangle<int> (width, height);

    if (isOpen || isSelected)
        g.fillAll (palette.ink);

    g.setColour (palette.line);
    g.fillRect (area.removeFromBottom (1));

    if (isSelected)
    {
        g.setColour (list.hasKeyboardFocus (true) ? palette.accent : palette.line);
        g.drawRect (area);
    }

    if (isOpen)
    {
        g.setColour (palette.accent);
        g.fillRect (area.withWidth (4));
    }

    paintTake (g, theme, area.reduced (margin, 4), takes[(size_t) index]);
}

juce::String TakeList::getNameForRow (int row)
{
    if (! juce::isPositiveAndBelow (row, (int) shown.size()))
        return {};

    const auto index = shown[(size_t) row];
    return sentenceOf (takes[(size_t) index], index + 1) + (index == openTake ? ", open" : "");
}

void TakeList::listBoxItemClicked (int row, const juce::MouseEvent&)
{
    open (row);
}

void TakeList::returnKeyPressed (int row)
{
    open (row);
}

void TakeList::open (int row)
{
    if (juce::isPositiveAndBelow (row, (int) shown.size()) && onOpen)
        onOpen (shown[(size_t) row]);
}

}    // namespace ld
