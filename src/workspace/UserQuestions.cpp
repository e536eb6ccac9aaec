#include "workspace/UserQuestions.h"

#include <memory>

namespace ld
{
namespace
{

void chooseFiles (const FileQuestion& question, UserQuestions::FilesAnswer answer)
{
    const auto chooser = std::make_shared<juce::FileChooser> (question.title, question.start, question.wildcard);

    // The callback keeps the chooser alive until it has answered.
    chooser->launchAsync (question.flags, [chooser, answer = std::move (answer)] (const juce::FileChooser& closed) {
        const auto results = closed.getResults();

        if (! results.isEmpty())
            answer (std::vector<juce::File> (results.begin(), results.end()));
    });
}

void confirmRemoval (const juce::String& message, juce::Component* parent, std::function<void()> agreed)
{
    const auto options = juce::MessageBoxOptions()
                             .withIconType (juce::MessageBoxIconType::QuestionIcon)
                             .withTitle ("Remove track")
                             .withMessage (message)
                             .withButton ("Remove")
                             .withButton ("Cancel")
                             .withAssociatedComponent (parent);

    juce::NativeMessageBox::showAsync (options, [agreed = std::move (agreed)] (int button) {
        if (button == 0)
            agreed();
    });
}

void choose (const Choice& choice, juce::Component* parent, std::function<void (int)> answer)
{
    auto options = juce::MessageBoxOptions()
                       .withIconType (juce::MessageBoxIconType::QuestionIcon)
                       .withTitle (choice.title)
                       .withMessage (choice.message)
                       .withAssociatedComponent (parent);

    for (const auto& text : choice.answers)
        options = options.withButton (text);

    juce::NativeMessageBox::showAsync (options,
                                       [count = choice.answers.size(), answer = std::move (answer)] (int button) {
        answer (juce::isPositiveAndBelow (button, count) ? button : count - 1);
    });
}

}    // namespace

UserQuestions systemQuestions()
{
    return { chooseFiles, confirmRemoval, choose };
}

}    // namespace ld
