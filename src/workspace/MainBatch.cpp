#include "workspace/MainComponent.h"

#include "session/BatchTakes.h"
#include "workspace/MainText.h"

// The takes of which one is open, and the document that keeps them.

namespace ld
{

void MainComponent::loadBatchIndex (int index)
{
    if (batch.empty() || busy)
        return;

    batchIndex = juce::jlimit (0, (int) batch.size() - 1, index);
    batchLabel.setText (batchText (batch, batchIndex), juce::dontSendNotification);
    const auto& take = batch[(size_t) batchIndex];
    std::vector<juce::File> files;

    for (const auto& guest : take.guests)
        files.push_back (guest.file);

    loadHostAsync (take.host.file, std::move (files), true);
}

void MainComponent::stepBatch (int by)
{
    if (busy)
        return;

    syncCurrentTakeIntoBatch();

    // What was set in the mixer's panel goes along; settings of sources that this take lacks stay.
    auto others = std::exchange (mixerTemplate, {});
    rememberMixer();
    mixerTemplate.merge (others);
    loadBatchIndex (batchIndex + by);
}

void MainComponent::syncCurrentTakeIntoBatch()
{
    if (session.host.format.valid)
        batchIndex = mergeTake (batch, describeTake (session));
}

SessionDocument MainComponent::captureSessionDocument() const
{
    SessionDocument document;
    document.batchIndex = batchIndex;
    document.referenceChannel =
        session.host.format.valid ? session.referenceChannel : std::max (pendingReferenceChannel, 0);
    document.mixer = mixerTemplate;
    document.takes = batch;
    document.recorders = recorders;
    document.metadataOverrides = metadataOverrides;
    document.nameOverrides = nameOverrides;

    if (session.video.file != juce::File())
    {
        document.videoFile = session.video.file;
        document.videoTimestampSamples = session.video.timestampSamples;
        document.videoTimecodeRate = session.video.timecodeRate;
    }

    return document;
}

juce::Result MainComponent::writeCurrentSessionTo (const juce::File& file)
{
    syncCurrentTakeIntoBatch();
    rememberMixer();
    return writeSessionDocument (file, captureSessionDocument());
}

void MainComponent::saveSessionTo (const juce::File& file)
{
    if (const auto result = writeCurrentSessionTo (file); result.failed())
    {
        showStatus (result.getErrorMessage());
        return;
    }

    sessionFile = file;
    showStatus ("Session saved | " + file.getFileName());
}

void MainComponent::loadSessionFile (const juce::File& file)
{
    if (busy)
    {
        showStatus ("Wait for the current scan or export to finish before opening a session.");
        return;
    }

    SessionDocument document;

    if (const auto result = readSessionDocument (file, document); result.failed())
    {
        showStatus (result.getErrorMessage());
        return;
    }

    preview.stop();
    forgetTakes();
    resetPlayhead();
    metadataOverrides = std::move (document.metadataOverrides);
    nameOverrides = std::move (document.nameOverrides);
    mixerTemplate = std::move (document.mixer);
    batch = std::move (document.takes);
    recorders = std::move (document.recorders);
    batchIndex = juce::jlimit (0, std::max ((int) batch.size(), 1) - 1, document.batchIndex);
    pendingReferenceChannel = document.referenceChannel;
    pendingVideoFile = document.videoFile;
    pendingVideoTimestamp = document.videoTimestampSamples;
    pendingVideoRate = document.videoTimecodeRate;
    sessionFile = file;

    showStatus ("Opening session | " + file.getFileName());
    loadBatchIndex (batchIndex);
}

// Everything that belongs to the takes at hand; not the position of the playback.
void MainComponent::forgetTakes()
{
    video.stop();
    video.close();
    closeInspector();
    const auto old = std::make_shared<Session>();
    ++takeSerial;
    *alignmentIsWanted = false;

    {
        const juce::ScopedLock lock (sessionLock);
        session.swapTake (*old);
        session.clear();
    }

    jobs.discard (old);
    metadataOverrides.clear();
    nameOverrides.clear();
    mixerTemplate.clear();
    batch.clear();
    recorders.clear();
    batchIndex = 0;
    sessionFile = juce::File();
    pendingReferenceChannel = -1;
    pendingVideoFile = juce::File();
    pendingVideoTimestamp = 0;
    pendingVideoRate.clear();
    batchLabel.setText ({}, juce::dontSendNotification);
    videoTimecodeEditor.setText ({}, false);
    playButton.setButtonText ("Play");
    spine.playhead = 0;
}

}    // namespace ld
