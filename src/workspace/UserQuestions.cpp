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

// One box is open at a time; it goes with the questions that it belongs to, whatever is open then.
using OpenBox = std::shared_ptr<juce::ScopedMessageBox>;

void confirmRemoval (const OpenBox& box,
                     const juce::String& message,
                     juce::Component* parent,
                     std::function<void()> agreed)
{
    const auto options = juce::MessageBoxOptions()
                             .withIconType (juce::MessageBoxIconType::QuestionIcon)
                             .withTitle ("Remove track")
                             .withMessage (message)
                             .withButton ("Remove")
                             .withButton ("Cancel")
                             .withAssociatedComponent (parent);

    *box = juce::NativeMessageBox::showScopedAsync (options, [agreed = std::move (agreed)] (int button) {
        if (button == 0)
            agreed();
    });
}

void choose (const OpenBox& box, const Choice& choice, juce::Component* parent, std::function<void (int)> answer)
{
    auto options = juce::MessageBoxOptions()
                       .withIconType (juce::MessageBoxIconType::QuestionIcon)
                       .withTitle (choice.title)
                       .withMessage (choice.message)
                       .withAssociatedComponent (parent);

    for (const auto& text : choice.answers)
        options = options.withButton (text);

    *box = juce::NativeMessageBox::showScopedAsync (
        options, [count = choice.answers.size(), answer = std::move (answer)] (int button) {
            answer (juce::isPositiveAndBelow (button, count) ? button : count - 1);
        });
}

}    // namespace

UserQuestions systemQuestions()
{
    const auto box = std::make_shared<juce::ScopedMessageBox>();
    return {
        chooseFiles,
        [box] (const auto& message, auto* parent, auto agreed) {
        confirmRemoval (box, message, parent, std::move (agreed));
        },
        [box] (const auto& choice, auto* parent, auto answer) { choose (box, choice, parent, std::move (answer)); } };
}

}    // namespace ld
