#pragma once

#include "theme/LookAndFeel.h"
#include "workspace/RunRows.h"

namespace ld
{

/** What happened in the last scan or combine run, line by line. It stays beside the work until it is closed; a click on a
    line goes to its take. */
class RunPanel : public juce::Component, private juce::ListBoxModel
{
public:
    explicit RunPanel (const LookAndFeel&);

    /** Told the poly of the take that the user wants to see. */
    std::function<void (const juce::File& poly)> onOpen;
    std::function<void()> onClose;

    /** sentence   what the run came to, kept until the next run */
    void show (RunTable, const juce::String& sentence);

    [[nodiscard]] bool hasRun() const noexcept { return sentenceLabel.getText().isNotEmpty(); }

    /** Puts the keys on the lines. */
    void takeFocus() { list.grabKeyboardFocus(); }

    void paint (juce::Graphics&) override;
    void resized() override;

private:
    int getNumRows() override { return (int) rows.size(); }
    void paintListBoxItem (int row, juce::Graphics&, int width, int height, bool isSelected) override;
    juce::String getNameForRow (int row) override;
    juce::String getTooltipForRow (int row) override { return getNameForRow (row); }
    void listBoxItemClicked (int row, const juce::MouseEvent&) override { open (row); }
    void returnKeyPressed (int row) override { open (row); }

    void showRows();
    void open (int row);

    const LookAndFeel& theme;
    RunTable table;
    std::vector<RunRow> rows;

    juce::Label sentenceLabel;
    juce::ToggleButton filterButton { "Only what is left out" };
    juce::TextButton closeButton { "Close" };
    juce::ListBox list { "Results", this };
};

}    // namespace ld
