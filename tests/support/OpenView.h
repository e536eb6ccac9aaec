#pragma once

#include "support/FindChild.h"
#include "support/IdleView.h"

#include <stdexcept>

namespace ld::test
{

/** The main view on the desktop, with a user who answers at once. */
class OpenView
{
public:
    OpenView()
    {
        view->setSize (1440, 900);
        view->addToDesktop (0);
        view->setVisible (true);
        view->questions.chooseFiles = [this] (const FileQuestion& question, UserQuestions::FilesAnswer answer) {
            asked = question;

            if (! chosen.empty())
                answer (chosen);
        };
        view->questions.confirmRemoval = [this] (const juce::String& message, auto*, std::function<void()> agreed) {
            removalMessage = message;

            if (agrees)
                agreed();
        };
        view->questions.choose = [this] (const Choice& choice, auto*, std::function<void (int)> answer) {
            questionAsked = choice.message;
            answer (std::max (choice.answers.indexOf (chosenAnswer), 0));
        };
    }

    /** What workers still do must not outlive the test. */
    ~OpenView()
    {
        const auto running = view->runningJobs();
        view.reset();
        pumpUntil ([&] { return *running == 0; });
    }

    OpenView (const OpenView&) = delete;
    OpenView& operator= (const OpenView&) = delete;

    void drop (const std::vector<juce::File>& files)
    {
        juce::StringArray paths;

        for (const auto& file : files)
            paths.add (file.getFullPathName());

        view->filesDropped (paths, 0, 0);
    }

    bool press (const juce::KeyPress& key) { return view->keyPressed (key); }

    /** Runs until no work is left. */
    [[nodiscard]] bool settle() { return pumpUntilIdle (*view); }

    /** Throws where there is none, which fails the test. */
    template <typename Child>
    Child& child (const juce::String& textOrTitle)
    {
        auto* const found = findChild<Child> (*view, textOrTitle);
        return found != nullptr ? *found : throw std::runtime_error ("no child " + textOrTitle.toStdString());
    }

    void click (const juce::String& button) { child<juce::Button> (button).onClick(); }

    std::unique_ptr<MainComponent> view = std::make_unique<MainComponent>();
    std::vector<juce::File> chosen;    // in answer to a file chooser
    FileQuestion asked;
    juce::String removalMessage;
    bool agrees = true;    // to a removal
    juce::String questionAsked, chosenAnswer { "Discard" };
};

}    // namespace ld::test
