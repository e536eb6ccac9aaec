#include "workspace/MainComponent.h"

#include "support/MessageLoop.h"

#include <iostream>

// Takes the pictures of the guide from the real view: lodestrand-screenshots SHOOT OUT. SHOOT is a demo shoot.

namespace
{

using ld::test::pumpUntil;

struct Studio
{
    Studio (int width, int height, juce::File folder) : out (std::move (folder))
    {
        view.setSize (width, height);
        view.addToDesktop (0);
        view.setVisible (true);
    }

    bool drop (const juce::File& file)
    {
        view.filesDropped ({ file.getFullPathName() }, 0, 0);
        return pumpUntil ([this] { return view.isBusy(); }) && pumpUntil ([this] { return ! view.isBusy(); }, 300000);
    }

    void take (const juce::String& name)
    {
        ld::test::deliverPostedCalls();
        const auto file = out.getChildFile (name + ".png");
        file.deleteFile();
        juce::FileOutputStream stream (file);
        juce::PNGImageFormat().writeImageToStream (view.createComponentSnapshot (view.getLocalBounds()), stream);
        std::cout << file.getFullPathName() << "  " << view.status() << std::endl;
    }

    // The states that the guide shows.
    void tour (const juce::String& suffix)
    {
        auto& spine = child<ld::WaveformSpine>();
        const auto& session = view.openSession();
        ld::test::pumpUntil ([&] { return session.guests.empty() || session.guests.front().waveEmphasis == 0.0f; });
        spine.onGuestSelected (session.guests.front().id);
        take ("selected" + suffix);

        view.keyPressed (juce::KeyPress ('d'));
        const auto frames = session.host.format.numFrames;

        for (int i = 1; i < 60; ++i)
            spine.onDrawGain (2, -20.0f + 18.0f * (float) std::sin (i * 0.2), frames * i / 60, frames * (i - 1) / 60);

        spine.onMixerMute (3, true);
        take ("draw" + suffix);
        view.keyPressed (juce::KeyPress ('d'));
        spine.onSelectionCleared();
    }

    template <typename Child>
    Child& child()
    {
        for (auto* component : view.getChildren())
            if (auto* const found = dynamic_cast<Child*> (component))
                return *found;

        throw std::runtime_error ("not there");
    }

    juce::File out;
    ld::MainComponent view;
};

}    // namespace

int main (int argc, char** argv)
{
    if (argc != 3)
        return 2;

    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };
    const juce::ScopedJuceInitialiser_GUI framework;
    const juce::File shoot (juce::String::fromUTF8 (argv[1])), out (juce::String::fromUTF8 (argv[2]));
    out.createDirectory();

    for (const auto& [width, height] : { std::pair (1440, 900), std::pair (1100, 700), std::pair (2560, 1440) })
    {
        Studio studio (width, height, out);
        const auto suffix = "-" + juce::String (width);
        studio.take ("welcome" + suffix);
        studio.drop (shoot);
        studio.take ("take" + suffix);
        studio.tour (suffix);
        pumpUntil ([&] { return *studio.view.runningJobs() == 0; });
    }

    return 0;
}
