#include "app/LodestrandApp.h"

#include <iostream>

// The program with a user who begins some work and closes the window in the midst of it:
//   lodestrand-quitting SHOOT OUT scan|files|folder|combine MILLISECONDS
// It tells the time at which it was closed, in milliseconds since 1970, and whether work was going on.

namespace
{

class QuittingApp : public LodestrandApp, private juce::Timer
{
public:
    void initialise (const juce::String& commandLine) override
    {
        LodestrandApp::initialise (commandLine);
        const auto words = getCommandLineParameterArray();

        if (words.size() != 4)
        {
            setApplicationReturnValue (2);
            return quit();
        }

        shoot = juce::File (words[0]);
        out = juce::File (words[1]);
        work = words[2];
        delayMs = words[3].getIntValue();
        auto* const opened = dynamic_cast<LodestrandWindow*> (juce::TopLevelWindow::getTopLevelWindow (0));
        view = dynamic_cast<ld::MainComponent*> (opened->getContentComponent());
        view->questions.chooseFiles = [this] (const auto&, const auto& answer) { answer ({ out }); };
        next = work == "scan" ? &QuittingApp::dropShoot : &QuittingApp::openTake;
        startTimer (5);
    }

    void shutdown() override
    {
        stopTimer();
        LodestrandApp::shutdown();
    }

private:
    using Step = void (QuittingApp::*)();

    // One step at a time, each when the one before it has come to rest.
    void timerCallback() override
    {
        if (! view->isBusy())
            (this->*next)();
    }

    void drop (const juce::StringArray& paths) { view->filesDropped (paths, 0, 0); }

    [[nodiscard]] juce::File poly() const { return shoot.getChildFile ("Poly/101_T01.wav"); }

    void openTake()
    {
        if (work == "combine")
            drop ({ shoot.getFullPathName() });
        else
            drop ({ poly().getFullPathName() });

        next = work == "combine" ? &QuittingApp::combine
               : work == "files" ? &QuittingApp::dropFiles
                                 : &QuittingApp::dropShoot;
    }

    void dropShoot()
    {
        drop ({ shoot.getFullPathName() });
        quitSoon();
    }

    void dropFiles()
    {
        juce::StringArray paths;

        for (const auto& file : shoot.findChildFiles (juce::File::findFiles, true, "*.wav"))
            if (file != poly())
                paths.add (file.getFullPathName());

        drop (paths);
        quitSoon();
    }

    void combine()
    {
        view->keyPressed (juce::KeyPress ('e', juce::ModifierKeys::commandModifier, 0));
        quitSoon();
    }

    void quitSoon()
    {
        stopTimer();
        juce::Timer::callAfterDelay (delayMs, [this] {
            std::cout << juce::Time::currentTimeMillis() << (view->isBusy() ? " busy" : " idle") << std::endl;
            systemRequestedQuit();
        });
    }

    ld::MainComponent* view = nullptr;
    juce::File shoot, out;
    juce::String work;
    int delayMs = 0;
    Step next = nullptr;
};

}    // namespace

int main (int argc, char** argv)
{
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return new QuittingApp; };
    return juce::JUCEApplicationBase::main (argc, const_cast<const char**> (argv));
}
