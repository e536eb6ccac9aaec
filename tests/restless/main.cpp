#include "app/LodestrandApp.h"

#include "support/FindChild.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <random>

// The program with a user who never rests, to be killed in the midst of it:
//   lodestrand-restless SHOOT SESSION LOG SEED KILLED
// It notes every state of the work in LOG, and at its start says on one line how much of what the log tells of the run before
// it is lost. KILLED: when that was killed, in milliseconds since 1970; 0 for the first run. SEED 0: it only tells.

namespace
{

using ld::SessionDocument;

juce::String digestOf (SessionDocument document)
{
    // Neither belongs to the work.
    document.batchIndex = 0;
    document.recoveredFrom = juce::File();
    return juce::String::toHexString (ld::sessionDocumentText (document).hashCode64());
}

/** What the runs before this one have noted. */
class Log
{
public:
    explicit Log (const juce::File& file) : out (file.getFullPathName().toStdString(), std::ios::app)
    {
        std::ifstream in (file.getFullPathName().toStdString());
        juce::int64 time = 0;

        for (std::string digest; in >> time >> digest;)
            states.emplace_back (time, digest);
    }

    void note (const juce::String& digest) { out << juce::Time::currentTimeMillis() << " " << digest << std::endl; }

    /** How old the oldest edit was that is lost if this is all that is left, milliseconds; none: the state is unknown. */
    [[nodiscard]] std::optional<juce::int64> loss (const juce::String& digest, juce::int64 killed) const
    {
        for (auto i = states.size(); i-- > 0;)
            if (states[i].second == digest.toStdString())
                return i + 1 < states.size() ? std::max<juce::int64> (killed - states[i + 1].first, 0) : 0;

        return {};
    }

private:
    std::vector<std::pair<juce::int64, std::string>> states;
    std::ofstream out;
};

class RestlessApp : public LodestrandApp, private juce::Timer
{
public:
    void initialise (const juce::String& commandLine) override
    {
        const auto words = getCommandLineParameterArray();
        shoot = juce::File (words[0]);
        session = juce::File (words[1]);
        log = std::make_unique<Log> (juce::File (words[2]));
        random.seed ((unsigned) words[3].getIntValue());
        LodestrandApp::initialise (commandLine);
        view = &dynamic_cast<LodestrandWindow*> (juce::TopLevelWindow::getTopLevelWindow (0))->view();
        tellLoss (words[4].getLargeIntValue());

        if (words[3] == "0")
            return quit();

        if (! hasRecovered)
            view->filesDropped ({ (session.existsAsFile() ? session : shoot).getFullPathName() }, 0, 0);

        startTimer (10);
    }

    void shutdown() override
    {
        stopTimer();
        LodestrandApp::shutdown();
    }

private:
    [[nodiscard]] ld::UserQuestions questions() override
    {
        ld::UserQuestions answers;
        answers.chooseFiles = [this] (const auto&, const auto& answer) { answer ({ session }); };
        answers.confirmRemoval = [] (const auto&, auto*, const auto& agreed) { agreed(); };
        answers.choose = [this] (const ld::Choice& choice, auto*, const auto& answer) {
            hasRecovered = choice.answers[0] == "Recover";
            answer (0);
        };
        return answers;
    }

    void tellLoss (juce::int64 killed)
    {
        if (killed == 0)
            return;

        // The user would open the one that has more.
        std::vector<juce::int64> losses;
        const auto consider = [&] (const SessionDocument& document) {
            if (const auto loss = log->loss (digestOf (document), killed))
                losses.push_back (*loss);
        };

        if (hasRecovered)
            consider (view->history().document());

        if (SessionDocument saved; ld::readSessionDocument (session, saved).wasOk())
            consider (saved);

        const auto least = std::ranges::min_element (losses);
        std::cout << (least != losses.end() ? juce::String (*least) : juce::String ("unknown"))
                  << (hasRecovered ? " recovered" : " saved") << std::endl;
    }

    void timerCallback() override
    {
        const auto& work = view->history();

        if (work.state() != noted && ! work.document().takes.empty())
        {
            noted = work.state();
            log->note (digestOf (work.document()));
        }

        if (! view->isBusy() && ! view->openBatch().empty() && --rest <= 0)
        {
            act();
            rest = below (12);
        }
    }

    [[nodiscard]] int below (int limit) { return std::uniform_int_distribution<int> (0, limit - 1) (random); }
    [[nodiscard]] ld::WaveformSpine& spine() { return *ld::test::findChild<ld::WaveformSpine> (*view, "Timeline"); }

    void key (char letter) { view->keyPressed (juce::KeyPress (letter, juce::ModifierKeys::commandModifier, 0)); }

    void act()
    {
        const auto& guests = view->openSession().guests;
        const auto guest = guests.empty() ? juce::Uuid::null() : guests[(size_t) below ((int) guests.size())].id;

        switch (below (14))
        {
            case 0: return key ('z');
            case 1: return key ('y');
            case 2: return ld::test::findChild<juce::Button> (*view, below (2) == 0 ? "Prev" : "Next")->onClick();
            case 3: return below (8) == 0 ? key ('s') : key ('z');
            case 4: return spine().onRemoveTrack (true, guest, 0);
            case 5: return spine().onDrawGain (below (4), (float) -below (40), below (900000), below (900000));
            case 6: return spine().onMixerMute (below (5), below (2) == 0);
            case 7: return spine().onStrokeEnded();
            case 8: return spine().onGuestSelected (guest, 0);
            case 9: return type();
            case 10:
            case 11: return spine().onMixerGain (below (5), (float) -below (40));
            default: return spine().onGuestMoved (guest, below (100000));
        }
    }

    void type()
    {
        if (auto* const name = ld::test::findChild<juce::TextEditor> (*view, "Name"))
            name->setText ("Name " + juce::String (below (100)), true);
    }

    ld::MainComponent* view = nullptr;
    juce::File shoot, session;
    std::unique_ptr<Log> log;
    std::mt19937 random;
    juce::int64 noted = -1;
    int rest = 0;
    bool hasRecovered = false;
};

}    // namespace

int main (int argc, char** argv)
{
    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return new RestlessApp; };
    return juce::JUCEApplicationBase::main (argc, const_cast<const char**> (argv));
}
