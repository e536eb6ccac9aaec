#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <vector>

namespace ld
{

/** A question for files or folders. */
struct FileQuestion
{
    juce::String title;
    juce::File start;    // a file or folder; none: the system decides
    juce::String wildcard;
    int flags = 0;    // juce::FileBrowserComponent::FileChooserFlags
};

/** A question with a few answers. */
struct Choice
{
    juce::String title, message;
    juce::StringArray answers;    // the last one leaves all as it is
};

/** All that the program asks its user. The answers come later, on the message thread; a question that is cancelled has
    no answer. */
struct UserQuestions
{
    using FilesAnswer = std::function<void (std::vector<juce::File>)>;

    /** The answer is never empty; whether the files exist is for the asker to see. */
    std::function<void (const FileQuestion&, FilesAnswer)> chooseFiles;

    /** What is to be removed, where the question belongs on the screen, and what happens if the user agrees. */
    std::function<void (const juce::String& message, juce::Component*, std::function<void()> agreed)> confirmRemoval;

    /** The answer is the index of one; that of a closed question is the last. */
    std::function<void (const Choice&, juce::Component*, std::function<void (int)> answer)> choose;
};

/** Questions by the system's own dialogs. */
[[nodiscard]] UserQuestions systemQuestions();

}    // namespace ld
