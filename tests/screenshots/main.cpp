#include "support/IdleView.h"

#include <iostream>

// Takes the pictures of the documents from the real view:
//   lodestrand-screenshots SHOOT MOVIE OUT [WIDTH HEIGHT SCALE]
// SHOOT is a demo shoot, MOVIE a picture for its first take, SCALE of the pixels as a display with fine ones has it.

namespace
{

using ld::test::pumpUntil;

struct Studio
{
    Studio (int width, int height, float pixelScale, juce::File folder) : out (std::move (folder)), scale (pixelScale)
    {
        view.setSize (width, height);
        view.addToDesktop (0);
        view.setVisible (true);
    }

    static void pumpFor (int milliseconds)
    {
        const auto end = juce::Time::getMillisecondCounter() + (juce::uint32) milliseconds;
        pumpUntil ([end] { return juce::Time::getMillisecondCounter() >= end; });
    }

    void drop (const juce::File& file) { view.filesDropped ({ file.getFullPathName() }, 0, 0); }

    void settle()
    {
        if (! ld::test::pumpUntilIdle (view))
            throw std::runtime_error ("The view did not come to rest.");
    }

    void take (const juce::String& name)
    {
        pumpFor (200);
        keep (name);
    }

    // The view, with the boxes that stand over it.
    void keep (const juce::String& name)
    {
        auto picture = view.createComponentSnapshot (view.getLocalBounds(), true, scale);

        {
            juce::Graphics g (picture);
            auto& desktop = juce::Desktop::getInstance();

            for (int i = 0; i < desktop.getNumComponents(); ++i)
                if (auto* const box = desktop.getComponent (i); box != &view && box->isVisible())
                    g.drawImageAt (box->createComponentSnapshot (box->getLocalBounds(), true, scale),
                                   juce::roundToInt (scale * (float) (box->getScreenX() - view.getScreenX())),
                                   juce::roundToInt (scale * (float) (box->getScreenY() - view.getScreenY())));
        }

        const auto file = out.getChildFile (name + ".png");
        file.deleteFile();
        juce::FileOutputStream stream (file);

        if (! juce::PNGImageFormat().writeImageToStream (picture, stream))
            throw std::runtime_error ("A picture could not be written.");

        std::cout << file.getFullPathName() << "  " << view.status() << std::endl;
    }

    void takeDrawing()
    {
        auto& spine = child<ld::WaveformSpine>();
        const auto frames = view.openSession().host.format.numFrames;
        view.keyPressed (juce::KeyPress ('d'));

        for (int i = 1; i < 60; ++i)
            spine.onDrawGain (2, -20.0f + 18.0f * (float) std::sin (i * 0.2), frames * i / 60, frames * (i - 1) / 60);

        spine.onMixerMute (3, true);
        take ("draw");
        view.keyPressed (juce::KeyPress ('d'));
    }

    void takeZoomed()
    {
        auto& spine = child<ld::WaveformSpine>();
        const auto middle = view.openSession().host.format.numFrames / 2;

        for (const auto& [name, length] : { std::pair { "zoom", 96000 }, std::pair { "samples", 120 } })
        {
            spine.setView (ld::showing (spine.view(), { middle, length }));
            pumpFor (300);
            take (name);
        }

        view.keyPressed (juce::KeyPress ('0'));
        view.keyPressed (juce::KeyPress ('?'));
        take ("keys");
        view.keyPressed (juce::KeyPress ('?'));
    }

    // The next take, of which only the headers are known.
    void takeReading()
    {
        view.keyPressed (juce::KeyPress (juce::KeyPress::pageDownKey));
        pumpUntil ([this] { return child<ld::WaveformSpine>().isReading || ! view.isBusy(); });
        keep ("reading");
        settle();
        view.keyPressed (juce::KeyPress (juce::KeyPress::pageUpKey));
        settle();
    }

    void click (const juce::String& text)
    {
        for (auto* component : view.getChildren())
            if (auto* const button = dynamic_cast<juce::TextButton*> (component))
                if (button->getButtonText() == text)
                    button->onClick();
    }

    void takeMixer()
    {
        click ("Monitor mix");
        take ("mixer");
        click ("Monitor mix");
    }

    void takeCombined()
    {
        const auto folder = juce::File::createTempFile ("combined");

        if (const auto made = folder.createDirectory(); made.failed())
            throw std::runtime_error (made.getErrorMessage().toStdString());

        view.questions.chooseFiles = [folder] (const auto&, const auto& answer) { answer ({ folder }); };
        click ("Combine all tracks");
        settle();
        take ("combined");
        view.keyPressed (juce::KeyPress (juce::KeyPress::escapeKey));
        folder.deleteRecursively();
    }

    // A file that is no recording, and a session of which a recording has gone.
    void takeTrouble()
    {
        const juce::TemporaryFile broken (".wav"), session (".ldsession");

        if (! broken.getFile().replaceWithText ("RIFF, but nothing behind it"))
            throw std::runtime_error ("A file could not be written.");

        drop (broken.getFile());
        settle();
        take ("error");

        view.questions.chooseFiles = [&session] (const auto&, const auto& answer) { answer ({ session.getFile() }); };
        view.keyPressed ({ 's', juce::ModifierKeys::commandModifier | juce::ModifierKeys::shiftModifier, 0 });
        settle();
        const auto guest = view.openSession().guests.back().file, away = guest.getSiblingFile ("away");

        if (! guest.moveFileTo (away))
            throw std::runtime_error ("A recording could not be moved.");

        drop (session.getFile());
        settle();
        take ("missing");
        juce::ignoreUnused (away.moveFileTo (guest));
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
    const float scale;
    ld::MainComponent view;
};

void takeAll (Studio& studio, const juce::File& shoot, const juce::File& movie)
{
    studio.take ("welcome");
    studio.drop (shoot);
    Studio::pumpFor (900);
    studio.take ("scan");
    studio.settle();
    studio.take ("results");
    studio.view.keyPressed (juce::KeyPress (juce::KeyPress::escapeKey));
    studio.take ("take");

    auto& spine = studio.child<ld::WaveformSpine>();
    spine.onGuestSelected (studio.view.openSession().guests.front().id, 0);
    studio.take ("selected");
    spine.onSelectionCleared();
    studio.takeZoomed();
    studio.takeReading();
    studio.takeDrawing();
    studio.takeMixer();
    studio.takeCombined();

    studio.drop (movie);
    spine.onSeek (studio.view.openSession().host.format.numFrames / 3);
    Studio::pumpFor (1500);
    studio.take ("picture");
    studio.takeTrouble();
}

}    // namespace

int main (int argc, char** argv)
{
    if (argc != 4 && argc != 7)
        return 2;

    juce::JUCEApplicationBase::createInstance = []() -> juce::JUCEApplicationBase* { return nullptr; };
    const juce::ScopedJuceInitialiser_GUI framework;
    const auto fileOf = [&] (int i) { return juce::File (juce::String::fromUTF8 (argv[i])); };
    const auto out = fileOf (3);

    try
    {
        if (const auto made = out.createDirectory(); made.failed())
            throw std::runtime_error (made.getErrorMessage().toStdString());

        const auto numberOr = [&] (int i, int otherwise) { return argc > i ? std::atoi (argv[i]) : otherwise; };
        Studio studio (numberOr (4, 1440), numberOr (5, 900), (float) numberOr (6, 1), out);
        takeAll (studio, fileOf (1), fileOf (2));
        return 0;
    }
    catch (const std::exception& error)
    {
        std::cerr << error.what() << std::endl;
        return 1;
    }
}
