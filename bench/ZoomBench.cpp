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

/** Lies over the timeline and is painted after it. */
class PaintProbe : public juce::Component
{
public:
    explicit PaintProbe (MainComponent& viewToWatch) : view (viewToWatch)
    {
        setInterceptsMouseClicks (false, false);
        view.addAndMakeVisible (this);
        setBounds (spineOf (view).getBounds());
    }

    /** Until the timeline is painted. The window system takes a picture only when it has shown the one before. */
    void await()
    {
        const auto before = painted;
        ld::test::pumpUntil ([&] {
            view.getPeer()->performAnyPendingRepaintsNow();
            return painted > before;
        });
    }

    void paint (juce::Graphics&) override { ++painted; }

private:
    MainComponent& view;
    int painted = 0;
};

/** A turn of the wheel over the timeline; returns what passes until it is painted, or nothing where nothing moves. */
std::optional<double> turnWheel (PaintProbe& probe, WaveformSpine& spine, float x, juce::ModifierKeys keys, float turn)
{
    const auto before = spine.view();
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

    if (spine.view() == before)
        return {};

    probe.await();
    return millisecondsSince (start);
}

void measureWheel (MainComponent& view)
{
    constexpr int turns = 600;
    juce::Random random (1);
    std::vector<double> times;
    PaintProbe probe (view);

    for (int i = 0; i < turns; ++i)
    {
        const auto keys = i % 3 == 0 ? juce::ModifierKeys::shiftModifier : juce::ModifierKeys::ctrlModifier;
        const auto turn = random.nextFloat() - (i % 60 < 30 ? 0.3f : 0.7f);    // closer for a while, then away

        // As fast as a hand turns it.
        const auto last = Clock::now();
        ld::test::pumpUntil ([last] { return Clock::now() - last > 20ms; });

        if (const auto time = turnWheel (probe, spineOf (view), 0.3f + 0.6f * random.nextFloat(), keys, turn))
            times.push_back (*time);
    }

    std::ranges::sort (times);
    std::cout << "wheel to paint, " << times.size() << " turns: median " << times[times.size() / 2] << " ms, 99 % "
              << times[times.size() * 99 / 100] << " ms, at most " << times.back() << " ms" << std::endl;
}

/** From a key to the picture of the other take's lanes, and to the whole take. */
void measureOpening (MainComponent& view, int key, const char* what)
{
    auto& spine = spineOf (view);
    const auto start = Clock::now();
    view.keyPressed (juce::KeyPress (key));
    ld::test::pumpUntil ([&] { return spine.isReading || ! view.isBusy(); });
    view.getPeer()->performAnyPendingRepaintsNow();
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
