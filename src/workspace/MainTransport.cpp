#include "workspace/MainComponent.h"

#include "media/BextIxml.h"
#include "media/Timecode.h"
#include "workspace/MainText.h"

#include <cmath>

// The playhead, and the picture that follows it. The audio clock leads.

namespace ld
{
namespace
{

constexpr double pictureTolerance = 0.08;    // seconds; within it a running picture is left alone

}    // namespace

void MainComponent::togglePlay()
{
    if (! preview.playing)
        preview.backwards = false;

    switchTransport();
}

// Plays in the direction that is set, or stops.
void MainComponent::switchTransport()
{
    // While a take loads, the one that is still to be seen is gone already.
    if (! session.host.format.valid || desk.isRunning (JobKind::load))
        return;

    preview.toggle (session, sessionLock);
    playButton.setButtonText (preview.playing ? "Pause" : "Play");
    syncVideoTransport();
}

void MainComponent::stopPlaying()
{
    preview.stop();
    playButton.setButtonText ("Play");
}

void MainComponent::resetPlayhead()
{
    preview.seek (0);
    spine.playhead = 0;
}

void MainComponent::seekPlayhead (juce::int64 sample)
{
    const auto& format = session.host.format;

    if (! format.valid || sketch != nullptr)
        return;

    const auto clamped = std::clamp<juce::int64> (sample, 0, std::max<juce::int64> (format.numFrames, 1) - 1);
    preview.seek (clamped);
    spine.playhead = clamped;
    updateTransportDisplay();
    syncVideoTransport();
    spine.repaint();
}

void MainComponent::jumpSeconds (int seconds)
{
    seekPlayhead (preview.playhead + (juce::int64) seconds * session.host.format.sampleRate);
}

void MainComponent::updateTransportDisplay()
{
    transportLabel.setText (transportText (shownSession().host, preview.playhead), juce::dontSendNotification);
}

double MainComponent::videoSecondsForPlayhead (juce::int64 sample) const
{
    const auto& host = session.host;

    if (! session.video.loaded || ! host.format.valid)
        return 0.0;

    const auto stampRate = std::max (sampleRateForTimestamp (host.ixml, host.format), 1.0);
    const auto start = (double) timestampFromIxmlOrBext (host.ixml, host.bext);
    const auto pictureStart = (double) session.video.timestampSamples;
    return std::max ((double) sample / std::max (host.format.sampleRate, 1) + (start - pictureStart) / stampRate, 0.0);
}

void MainComponent::syncVideoTransport()
{
    if (! session.video.loaded)
        return;

    const auto seconds = videoSecondsForPlayhead (preview.playhead);

    if (! preview.playing)
    {
        video.stop();
        video.setPosition (seconds);
        return;
    }

    if (std::abs (video.position() - seconds) > pictureTolerance)
        video.setPosition (seconds);

    if (! video.isPlaying())
        video.play();
}

void MainComponent::loadVideo (const juce::File& file)
{
    if (const auto result = video.load (file); result.failed())
    {
        showStatus (result.getErrorMessage());
        session.video.file = juce::File();
        return bringPicture();
    }

    const auto& host = session.host;
    const auto stampRate = sampleRateForTimestamp (host.ixml, host.format);
    const auto timecode = guessTimecodeFromFilename (file.getFileName());
    ReferencePicture picture;
    picture.file = file;
    picture.timecodeRate = host.format.valid ? host.ixml.timecodeRate : juce::String ("24/1");

    // A picture without a time in its name starts with the host.
    picture.timestampSamples = timecode.isNotEmpty()
                                   ? timecodeToSamples (timecode, parseFrameRate (picture.timecodeRate), stampRate)
                                   : (juce::int64) timestampFromIxmlOrBext (host.ixml, host.bext);
    takePicture (file);
    perform (setPicture (work.document(), picture));
    showStatus ("Picture loaded | " + file.getFileName());
}

// The player has it open.
void MainComponent::takePicture (const juce::File& file)
{
    video.setVolume (0.0f);
    const juce::ScopedLock lock (sessionLock);
    session.video.file = file;
    session.video.loaded = true;
    session.video.durationSeconds = video.duration();
}

void MainComponent::showVideoTimecode()
{
    const auto& host = session.host;
    const auto start = (juce::uint64) std::max<juce::int64> (session.video.timestampSamples, 0);
    videoTimecodeEditor.setText (
        formatTimecode (
            start, sampleRateForTimestamp (host.ixml, host.format), session.video.timecodeRate, host.ixml.timecodeFlag),
        false);
}

void MainComponent::setVideoTimecode()
{
    const auto& host = session.host;
    auto picture = session.video;
    picture.timestampSamples = timecodeToSamples (videoTimecodeEditor.getText(),
                                                  parseFrameRate (host.ixml.timecodeRate),
                                                  sampleRateForTimestamp (host.ixml, host.format));
    perform (setPicture (work.document(), picture));
    showStatus ("Video timecode set.");
}

}    // namespace ld
