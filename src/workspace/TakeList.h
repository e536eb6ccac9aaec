#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/TakeRows.h"

namespace ld
{

/** The takes of the work, one below the other, to be opened by a click or by the arrow keys and Return. */
class TakeList : public juce::Component, private juce::ListBoxModel
{
public:
    explicit TakeList (const LookAndFeel&);

    /** Told the take that the user wants to open, 0-based in the work. */
    std::function<void (int take)> onOpen;

    /** open   the take that is open, 0-based */
    void setTakes (std::vector<TakeRow>, int open);

    void paint (juce::Graphics&) override;
    void resized() override;

private:
    int getNumRows() override { return (int) shown.size(); }
    void paintListBoxItem (int row, juce::Graphics&, int width, int height, bool isSelected) override;
    juce::String getNameForRow (int row) override;
    juce::String getTooltipForRow (int row) override { return getNameForRow (row); }
    void listBoxItemClicked (int row, const juce::MouseEvent&) override;
    void returnKeyPressed (int row) override;

    void showTakes();
    void open (int row);

    const LookAndFeel& theme;
    std::vector<TakeRow> takes;
    std::vector<int> shown;    // those that the filter lets through
    int openTake = -1;

    juce::Label countLabel;
    juce::ToggleButton filterButton;
    juce::ListBox list { "Takes", this };
};

}    // namespace ld
