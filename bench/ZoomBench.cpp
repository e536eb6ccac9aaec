#include "ZoomBench.h"

#include "BenchInput.h"

#include "output/SessionDocument.h"
#include "support/IdleView.h"

#include <algorithm>
#include <chrono>
#include <iostream>

namespace ld::bench
{
namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

double millisecondsSince (Clock::time_point start)
{
    return std::chrono::duration<double, std::milli> (Clock::now() - start).count();
}

/** Two takes of 32 channels, the first of twelve minutes, each with eight stereo recordings: 48 lanes. */
class LongTakes
{
public:
    LongTakes()
    {
        folder.createDirectory();
        std::vector<ScanFile> guests;

        for (int i = 0; i < 8; ++i)
            guests.push_back (write ("G" + juce::String (i) + ".wav", 2, 720));

        SessionDocument document;

        for (const auto& [name, seconds] : { std::pair ("T1.wav", 720), { "T2.wav", 450 } })
        {
            BatchMatch take;
            take.host = write (name, 32, seconds);
            take.guests = guests;
            document.takes.push_back (take);
        }

        if (writeSessionDocument (session(), document).failed())
            throw std::runtime_error ("The session could not be written.");
    }

    ~LongTakes() { folder.deleteRecursively(); }

    [[nodiscard]] juce::File session() const { return folder.getChildFile ("day.ldsession"); }

private:
    ScanFile write (const juce::String& name, int channels, int seconds)
    {
        const auto file = folder.getChildFile (name);
        writeWave (file, channels, seconds, seed++);
        auto scan = inspectAudioFile (file);
        scan.alignment.method = Alignment::Method::manual;
        return scan;
    }

    const juce::File folder = juce::File::createTempFile ("takes");
    juce::uint32 seed = 1;
};

WaveformSpine& spineOf (MainComponent& view)
{
    for (auto* child : view.getChildren())
        if (auto* const spine = dynamic_cast<WaveformSpine*> (child))
            return *spine;

    throw std::runtime_error ("no timeline");
}

void paintNow (MainComponent& view)
{
    view.getPeer()->performAnyPendingRepaintsNow();
}

/** A turn of the wheel over the timeline; returns what passes until it is painted. */
double turnWheel (MainComponent& view, float x, juce::ModifierKeys keys, float turn)
{
    auto& spine = spineOf (view);
    const auto at = juce::Point (x * (float) spine.getWidth(), 0.5f * (float) spine.getHeight());
    const auto now = juce::Time::getCurrentTime();
    const juce::MouseEvent event (juce::Desktop::getInstance().getMainMouseSource(),
                                  at,
                                  keys,
                                  0,
                                  0,
                                  0,
                                  0,
                                  0,
                                  &spine,
                                  &spine,
                                  now,
                                  at,
                                  now,
                                  1,
                                  false);
    const auto start = Clock::now();
    spine.mouseWheelMove (event, { 0.0f, turn, false, false, false });
    paintNow (view);
    return millisecondsSince (start);
}

void measureWheel (MainComponent& view)
{
    constexpr int turns = 600;
    juce::Random random (1);
    std::vector<double> times;

    for (int i = 0; i < turns; ++i)
    {
        const auto keys = i % 3 == 0 ? juce::ModifierKeys::shiftModifier : juce::ModifierKeys::ctrlModifier;
        const auto turn = random.nextFloat() - (i % 60 < 30 ? 0.3f : 0.7f);    // closer for a while, then away
        times.push_back (turnWheel (view, 0.3f + 0.6f * random.nextFloat(), keys, turn));

        // What is read for a close look comes in between, as it does for a user.
        ld::test::deliverPostedCalls();
    }

    std::ranges::sort (times);
    std::cout << "wheel to paint, 48 lanes of 12 min: median " << times[turns / 2] << " ms, 99 % "
              << times[turns * 99 / 100] << " ms, at most " << times.back() << " ms" << std::endl;
}

/** From a key to the picture of the other take's lanes, and to the whole take. */
void measureOpening (MainComponent& view, int key, const char* what)
{
    auto& spine = spineOf (view);
    const auto start = Clock::now();
    view.keyPressed (juce::KeyPress (key));
    ld::test::pumpUntil ([&] { return spine.isReading || ! view.isBusy(); });
    paintNow (view);
    std::cout << what << ": lanes after " << millisecondsSince (start) << " ms";
    ld::test::pumpUntilIdle (view);
    std::cout << ", all of it after " << millisecondsSince (start) / 1000.0 << " s; " << view.status() << std::endl;
}

}    // namespace

void measureLongTakes (MainComponent& view)
{
    const LongTakes takes;
    view.filesDropped ({ takes.session().getFullPathName() }, 0, 0);
    ld::test::pumpUntilIdle (view);
    measureOpening (view, juce::KeyPress::pageDownKey, "take of 450 s opened at once");
    measureWheel (view);
    measureOpening (view, juce::KeyPress::pageUpKey, "take of 720 s opened after it was left");
    measureWheel (view);
}

}    // namespace ld::bench
