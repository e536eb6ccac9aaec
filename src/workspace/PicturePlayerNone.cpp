#include "workspace/PicturePlayer.h"

#if ! (LD_HAS_MPV || JUCE_MAC || JUCE_WINDOWS)

// A build without anything that plays movies.

namespace ld
{

class PicturePlayer::Player
{
};

PicturePlayer::PicturePlayer() = default;
PicturePlayer::~PicturePlayer() = default;

juce::Result PicturePlayer::load (const juce::File&)
{
    return juce::Result::fail ("This build of Lodestrand cannot show pictures.");
}

void PicturePlayer::close()
{
}

void PicturePlayer::play()
{
}

void PicturePlayer::stop()
{
}

bool PicturePlayer::isPlaying() const
{
    return false;
}

void PicturePlayer::setPosition (double)
{
}

double PicturePlayer::position() const
{
    return 0.0;
}

double PicturePlayer::duration() const
{
    return 0.0;
}

void PicturePlayer::setVolume (float)
{
}

void PicturePlayer::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colours::black);
}

void PicturePlayer::resized()
{
}

}    // namespace ld

#endif
