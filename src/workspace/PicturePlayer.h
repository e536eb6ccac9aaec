#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <memory>

namespace ld
{

/** Shows a movie's picture, silently. Which player the system uses is hidden here; the message thread alone may
    use it. Without a loaded movie every function does nothing, and all numbers are 0. */
class PicturePlayer : public juce::Component
{
public:
    PicturePlayer();
    ~PicturePlayer() override;

    /** Opens a movie, stopped at its start, in place of the one before. Fails with a sentence where the file cannot be shown;
        the one before stays then. Waits for the first frame, at most a few seconds. */
    [[nodiscard]] juce::Result load (const juce::File&);
    void close();

    void play();
    void stop();
    [[nodiscard]] bool isPlaying() const;

    /** Seconds from the movie's start. While it is stopped, the newest of quickly set positions wins. */
    void setPosition (double seconds);
    [[nodiscard]] double position() const;
    [[nodiscard]] double duration() const;

    /** 0 to 1. */
    void setVolume (float);

    void paint (juce::Graphics&) override;
    void resized() override;

private:
    class Player;

    std::unique_ptr<Player> player;
};

}    // namespace ld
