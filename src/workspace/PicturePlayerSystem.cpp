#include "workspace/PicturePlayer.h"

#if JUCE_MAC || JUCE_WINDOWS

#include <juce_video/juce_video.h>

// The picture through the system's own player.

namespace ld
{

class PicturePlayer::Player
{
public:
    explicit Player (PicturePlayer& parent) { parent.addAndMakeVisible (video); }

    juce::VideoComponent video { false };
};

PicturePlayer::PicturePlayer() : player (std::make_unique<Player> (*this))
{
    setTitle ("Picture");
}

PicturePlayer::~PicturePlayer() = default;

juce::Result PicturePlayer::load (const juce::File& file)
{
    return player->video.load (file);
}

void PicturePlayer::close()
{
    player->video.closeVideo();
}

void PicturePlayer::play()
{
    player->video.play();
}

void PicturePlayer::stop()
{
    player->video.stop();
}

bool PicturePlayer::isPlaying() const
{
    return player->video.isPlaying();
}

void PicturePlayer::setPosition (double seconds)
{
    player->video.setPlayPosition (seconds);
}

double PicturePlayer::position() const
{
    return player->video.getPlayPosition();
}

double PicturePlayer::duration() const
{
    return player->video.getVideoDuration();
}

void PicturePlayer::setVolume (float volume)
{
    player->video.setAudioVolume (volume);
}

void PicturePlayer::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colours::black);
}

void PicturePlayer::resized()
{
    player->video.setBounds (getLocalBounds());
}

}    // namespace ld

#endif
