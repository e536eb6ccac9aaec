#pragma once

#include "batch/BatchMatcher.h"
#include "conform/CombineRun.h"
#include "monitor/PreviewEngine.h"
#include "session/TakeLoading.h"
#include "theme/LookAndFeel.h"
#include "workspace/InspectorPanel.h"
#include "workspace/JobRunner.h"
#include "workspace/PicturePlayer.h"
#include "workspace/UserQuestions.h"
#include "workspace/WaveformSpine.h"
#include "workspace/WorkBar.h"

namespace ld
{

struct PlacedGuest;

/** The one view of the program, through which every action of the user enters. It has two faces: a welcome card while no
    poly is open, and the workspace.

    Threads: everything here is the message thread's, and it alone writes the session; it takes sessionLock to do so,
    because the audio thread reads the session under it. Slow work runs as a job on values that are handed to it; its
    commit, on the message thread again, stores the result. While busy is set, what would pull the ground from under a
    job is refused. */
class MainComponent : public juce::Component, public juce::FileDragAndDropTarget, private juce::Timer
{
public:
    MainComponent();
    ~MainComponent() override;

    /** Asks the user; to be replaced where no user is there to answer. */
    UserQuestions questions = systemQuestions();

    // What is going on, for those who drive the view.
    [[nodiscard]] bool isBusy() const noexcept { return busy; }
    [[nodiscard]] const juce::String& status() const noexcept { return statusText; }
    [[nodiscard]] const Session& openSession() const noexcept { return session; }
    [[nodiscard]] const std::vector<BatchMatch>& openBatch() const noexcept { return batch; }
    [[nodiscard]] juce::CriticalSection& lockOfSession() noexcept { return sessionLock; }
    [[nodiscard]] JobRunner::Count runningJobs() const { return jobs.running(); }

    void paint (juce::Graphics&) override;
    void resized() override;
    bool keyPressed (const juce::KeyPress&) override;
    bool isInterestedInFileDrag (const juce::StringArray&) override;
    void fileDragEnter (const juce::StringArray&, int x, int y) override;
    void fileDragExit (const juce::StringArray&) override;
    void filesDropped (const juce::StringArray&, int x, int y) override;

private:
    void timerCallback() override;

    // View (MainComponent.cpp, MainChildren.cpp)
    void setUpButtons();
    void setUpLabels();
    void setUpPanels();
    void setUpButton (juce::TextButton&, const juce::String& text, juce::Colour fill, std::function<void()> onClick);
    void showOutputName();
    void showChildren();
    [[nodiscard]] juce::String shownStatus() const;
    void showStatus (const juce::String& text);
    void repaintStatus();
    void beginProgress (const juce::String& text, double value);
    void updateProgress (double value, const juce::String& text);
    void finishProgress();
    void refreshInspector();
    void closeInspector();
    void refreshTake();
    void fail (const juce::String& sentence);

    // Transport, picture, and what the user does to tracks (MainTransport.cpp, MainTracks.cpp)
    void togglePlay();
    void stopPlaying();
    void resetPlayhead();
    void seekPlayhead (juce::int64 sample);
    void jumpSeconds (int seconds);
    void updateTransportDisplay();
    void syncVideoTransport();
    [[nodiscard]] double videoSecondsForPlayhead (juce::int64 sample) const;
    void loadVideo (const juce::File&);
    void restorePendingVideo();
    void showVideoTimecode();
    void setVideoTimecode();
    void openMonitorMixer();
    void openOutputSettings();
    void selectGuest (const juce::Uuid&);
    void setReferenceChannel (int channel);
    void changeMixer (const std::function<void()>& change);
    void rememberMixer();
    void nudgeSelected (juce::int64 delta);
    void setOffset (const juce::Uuid&, juce::int64 offset);
    void persistSelectedMetadata();
    void confirmRemoveTrack (bool isGuest, const juce::Uuid&, int channel);
    void removeTrackConfirmed (bool isGuest, const juce::Uuid&, int channel);
    [[nodiscard]] juce::String
    trackName (bool isGuest, const juce::Uuid&, int channel, const juce::String& absent) const;
    void resetFolders();

    // Files coming in (MainIntake.cpp)
    void handleIncomingFiles (const juce::StringArray&);
    void openHostChooser();
    void openFolderChooser();
    void openIsoFolderChooser();
    void openVideoChooser();
    void openSessionChooser();
    void saveSessionChooser();
    void combineAllChooser();

    // One take (MainTake.cpp)
    void loadHostAsync (const juce::File& host, std::vector<juce::File> guests, bool removeUnmatched);
    void commitTake (LoadedTake, bool removeUnmatched);
    void addDroppedAudio (std::vector<juce::File>);
    void commitAddedFiles (std::vector<GuestClip>);
    void alignGuestsAsync (const std::vector<juce::Uuid>&, bool removeUnmatched);
    void commitPlace (PlacedGuest, bool removeUnmatched);
    void beginAlignmentProgress (int count);
    void completeAlignmentProgress();

    // The batch and its document (MainBatch.cpp)
    void loadBatchIndex (int index);
    void stepBatch (int by);
    void syncCurrentTakeIntoBatch();
    [[nodiscard]] SessionDocument captureSessionDocument() const;
    [[nodiscard]] juce::Result writeCurrentSessionTo (const juce::File&);
    void saveSessionTo (const juce::File&);
    void loadSessionFile (const juce::File&);
    void forgetTakes();

    // Whole folders (MainScan.cpp) and the combine run (MainCombine.cpp)
    void runBatchAsync (const juce::File& folder);
    void loadPolyBatchAsync (const std::vector<juce::File>&);
    void addIsoFolderAsync (const juce::File& folder);
    void addIsoFolderToTake (const juce::File& folder);
    void addIsoFolderToBatch (const juce::File& folder);
    void showMatchProgress (const juce::String& what, int done, int total);
    [[nodiscard]] std::function<void (const juce::String& what, int done, int total)> matchProgress();
    void endScan();
    void combineInto (const juce::File& folder);
    void showCombineProgress (int number, int count, float fraction, const juce::String& phase);

    LookAndFeel lookAndFeel;
    Session session;
    juce::CriticalSection sessionLock;
    PreviewEngine preview;
    WaveformSpine spine;
    InspectorPanel inspector;
    PicturePlayer video;

    juce::TextButton playButton, combineButton, openPolysButton, rewindButton, backFiveButton, forwardFiveButton,
        monitorMixButton, drawFadersButton, openFolderButton, addIsoButton, outputButton, resetButton, saveButton,
        openSessionButton, prevButton, nextButton;
    juce::Label transportLabel, batchLabel;
    juce::TextEditor videoTimecodeEditor;
    double progressValue = 0.0;    // -1: nothing can be counted
    WorkBar progressBar { progressValue, lookAndFeel };

    juce::String statusText;
    float dragPulse = 0.0f;    // 0 to 1
    bool busy = false, fileDragOver = false, wasPlaying = false, progressVisible = false;
    int alignmentTotal = 0, alignmentDone = 0;    // guests of the running alignment

    std::vector<BatchMatch> batch;
    int batchIndex = 0;
    std::vector<RecorderClock> recorders;    // of the last scan
    MetadataOverrides metadataOverrides;
    NameOverrides nameOverrides;
    MixerTemplate mixerTemplate;
    juce::File sessionFile;
    int pendingReferenceChannel = -1;
    juce::File pendingVideoFile;
    juce::int64 pendingVideoTimestamp = 0;
    juce::String pendingVideoRate;

    // Results that are meant for a take that has been replaced since are dropped.
    int loadSerial = 0, takeSerial = 0;
    bool isLoading = false;
    std::shared_ptr<std::atomic<bool>> alignmentIsWanted = std::make_shared<std::atomic<bool>> (true);

    JobRunner jobs;    // the last member: what it delivers must find the others
};

}    // namespace ld
