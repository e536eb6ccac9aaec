#pragma once

#include "batch/BatchMatcher.h"
#include "conform/CombineRun.h"
#include "monitor/PreviewEngine.h"
#include "session/TakeLoading.h"
#include "theme/LookAndFeel.h"
#include "work/MissingFiles.h"
#include "work/Recovery.h"
#include "work/SessionPlan.h"
#include "work/WorkEdits.h"
#include "workspace/InspectorPanel.h"
#include "workspace/JobDesk.h"
#include "workspace/KeyPanel.h"
#include "workspace/KeyTable.h"
#include "workspace/MainLayout.h"
#include "workspace/MixerWindow.h"
#include "workspace/PicturePlayer.h"
#include "workspace/RunPanel.h"
#include "workspace/TakeList.h"
#include "workspace/TakeSketches.h"
#include "workspace/UserQuestions.h"
#include "workspace/WaveformSpine.h"
#include "workspace/WorkBar.h"

#include <set>

namespace ld
{

/** The one view of the program, through which every action of the user enters. It has two faces: a welcome card while
    there is no work, and the workspace.

    The work is the document in the history, and nothing else is: an action makes an edit of it, perform takes the edit and
    brings the open session to the same state. Results of jobs come in by amend. Selection, playhead and the like are the
    view's own.

    Threads: everything here is the message thread's, and it alone writes the session; it takes sessionLock to do so,
    because the audio thread reads the session under it. Slow work runs as a job on values that are handed to it. */
class MainComponent : public juce::Component,
                      public juce::FileDragAndDropTarget,
                      public juce::TooltipClient,
                      private juce::Timer,
                      private juce::ChangeListener
{
public:
    MainComponent();
    ~MainComponent() override;

    /** Asks the user; to be replaced where no user is there to answer. */
    UserQuestions questions = systemQuestions();

    /** Given the name of the work, with a mark while it is not saved; empty where there is none. */
    std::function<void (const juce::String&)> onTitleChanged;

    /** Keeps a second copy of unsaved work from now on, and asks whether to open what an earlier program has left. */
    void keepRecovery (std::unique_ptr<RecoveryFile>);

    /** Leaves nothing for a next start: the user has saved or discarded the work. */
    void endRecovery();

    /** Writes that copy now, if anything is unsaved: the program ends. */
    void flushRecovery();

    /** Plays to the output that was chosen last, and notes in this file which one is chosen from now on. */
    void rememberOutput (const juce::File& settings);

    /** Goes on once nothing unsaved is left: at once, or when the user has saved or discarded it. */
    void askToSave (std::function<void()> goOn);

    // The state, for code that drives the view.
    [[nodiscard]] bool isBusy() const noexcept { return desk.isBusy(); }
    [[nodiscard]] const juce::String& status() const noexcept { return statusText; }
    [[nodiscard]] const Session& openSession() const noexcept { return session; }
    [[nodiscard]] const WorkHistory& history() const noexcept { return work; }
    [[nodiscard]] const std::vector<BatchMatch>& openBatch() const noexcept { return work.document().takes; }
    [[nodiscard]] juce::CriticalSection& lockOfSession() noexcept { return sessionLock; }
    [[nodiscard]] JobRunner::Count runningJobs() const { return desk.running(); }

    void paint (juce::Graphics&) override;
    void resized() override;
    juce::String getTooltip() override;
    bool keyPressed (const juce::KeyPress&) override;
    bool isInterestedInFileDrag (const juce::StringArray&) override;
    void fileDragEnter (const juce::StringArray&, int x, int y) override;
    void fileDragExit (const juce::StringArray&) override;
    void filesDropped (const juce::StringArray&, int x, int y) override;

private:
    enum class ExportScope
    {
        openTake,
        allTakes
    };

    void timerCallback() override;
    void changeListenerCallback (juce::ChangeBroadcaster*) override;

    // View (MainComponent.cpp, MainChildren.cpp)
    void setUpButtons();
    void setUpLabels();
    void setUpPanels();
    void setUpSpine();
    void setUpInspector();
    void setUpButton (juce::TextButton&, const juce::String& text, juce::Colour fill, std::function<void()> onClick);
    void showOutputName();
    void showChildren();
    void showWork();
    [[nodiscard]] bool hasWork() const noexcept { return ! work.document().takes.empty(); }
    [[nodiscard]] bool showsTake() const noexcept { return session.host.file != juce::File(); }
    [[nodiscard]] bool hasMissing() const;
    [[nodiscard]] bool hasUnreadTake() const;
    [[nodiscard]] juce::String headline() const;
    [[nodiscard]] juce::String shownStatus() const;
    void showStatus (const juce::String& text);
    void announce (const juce::String& text);
    void showAnnouncement();
    void repaintStatus();
    void beginProgress (const juce::String& text, double value);
    void updateProgress (double value, const juce::String& text);
    void refreshInspector();
    void clearInspector();
    void refreshTake();
    void fail (const juce::String& sentence);
    void openOutputSettings();

    // The work and what follows from it (MainWork.cpp)
    bool perform (WorkEdit, bool isOtherWork = false);
    void amend (SessionDocument);
    void undo();
    void redo();
    void travel (const juce::String& step, const juce::String& told, void (WorkHistory::*go)());
    void bringSession();
    void bringTake (const BatchMatch&);
    void putAside (const std::vector<juce::Uuid>&);
    void bringReferenceChannel();
    void bringPicture();
    void showPicture (const juce::File&);
    void closeTake();
    void keepUpRecovery();
    void discardReopened();
    void removeRecovery();
    void offerLostWork (const std::vector<LostWork>&);

    // Transport and picture (MainTransport.cpp)
    void togglePlay();
    void switchTransport();
    void stopPlaying();
    void resetPlayhead();
    void seekPlayhead (juce::int64 sample);
    void jumpSeconds (int seconds);
    void updateTransportDisplay();
    void syncVideoTransport();
    [[nodiscard]] double videoSecondsForPlayhead (juce::int64 sample) const;
    void loadVideo (const juce::File&);
    void takePicture (const juce::File&);
    void showVideoTimecode();
    void setVideoTimecode();

    // Keys, and what part of the take is seen (MainKeys.cpp)
    void obey (Command);
    [[nodiscard]] juce::int64 samplesPerFrame() const;
    void nudgeOrStep (juce::int64 nudge, juce::int64 step);
    void seekEdge (bool isForward);
    void playIn (bool isBackwards);
    void switchSelected (bool isSolo);
    void stepLane (int by);
    void showSelected();
    void readSamplesAsync (SpineSpan);
    void toggleKeyPanel();

    // The monitor mix in its window (MainMixer.cpp)
    void makeMixer();
    void toggleMonitorMixer();
    void refreshMixer();
    void fitMix();
    void commitFit (const TakeOutcome&);

    // What the user does to tracks (MainTracks.cpp)
    void selectGuest (const juce::Uuid&, int channel);
    void setReferenceChannel (int channel);
    void changeMixer (const juce::String& what, int mixerIndex, const std::function<void()>& change);
    void rememberLevels (const juce::String& name, const juce::String& stroke);
    void nudgeSelected (juce::int64 delta);
    void setOffset (const juce::Uuid&, juce::int64 offset);
    void editLane (const juce::Uuid&, int lane, LaneField, const juce::String& text);
    void searchSelected();
    void copyPlace();
    void removeSelected();
    void confirmRemoveTrack (bool isGuest, const juce::Uuid&, int channel);
    void removeTrackConfirmed (bool isGuest, const juce::Uuid&, int channel);
    [[nodiscard]] juce::String
    trackName (bool isGuest, const juce::Uuid&, int channel, const juce::String& absent) const;
    [[nodiscard]] juce::String laneName (int mixerIndex) const;
    void resetFolders();
    void resetConfirmed();

    // Files coming in (MainIntake.cpp)
    void handleIncomingFiles (const juce::StringArray&);
    void openHostChooser();
    void openFolderChooser();
    void openIsoFolderChooser();
    void openVideoChooser();
    void openSessionChooser();
    void saveSessionChooser();
    void saveSessionAs (std::function<void()> saved);
    void openPolys (std::vector<juce::File>);
    void saveUnlessThereIsAnother (const juce::File&, const std::function<void()>& saved);
    [[nodiscard]] bool mustWait() const;
    void combineAllChooser();
    void findMissingChooser();

    // One take (MainTake.cpp)
    void openTake (int index);
    void stepBatch (int by);
    void loadOpenTake();
    void loadHostAsync (const juce::File& host, std::vector<juce::File> guests);
    void startLoad (const LoadRequest&, std::function<void()> loaded, std::function<void (const juce::String&)> failed);
    void commitTake (LoadedTake, const std::function<void()>& loaded);
    void addFilesAsync (const std::vector<ScanFile>&);
    void commitAddedGuests (AddedGuests);
    void searchGuestsAsync (const std::vector<juce::Uuid>&);
    void commitPlace (PlacedGuest, const std::vector<FilePlace>& known);

    // A take that is being read, and those that may come next (MainSketch.cpp)
    [[nodiscard]] LoadRequest requestFor (const BatchMatch&) const;
    [[nodiscard]] const Session& shownSession() const { return sketch != nullptr ? *sketch : session; }
    void showSketchOf (const LoadRequest&);
    void showSketch (std::unique_ptr<Session>);
    void hideSketch();
    void keepSketchOf (std::unique_ptr<Session>);
    void readAhead();
    void readAheadOf (const BatchMatch&);

    // The list of takes (MainTakeList.cpp)
    void setUpTakeList();
    void refreshTakeList();
    void keepUpSurvey();
    void goToTake (int index);
    void noteCombined (const std::shared_ptr<const SessionDocument>&, const std::vector<TakeOutcome>&);

    // What happened in the last run (MainResults.cpp)
    void setUpResults();
    void showResults (RunTable, const juce::String& sentence);
    void bringResults (bool areShown);
    void goToPoly (const juce::File&);

    // The session file (MainFile.cpp)
    void saveSessionTo (const juce::File&);
    void loadSessionFile (const juce::File&);
    void openDocument (SessionDocument, const juce::File&);

    // Whole folders (MainScan.cpp) and the combine run (MainCombine.cpp)
    void runBatchAsync (const juce::File& folder);
    void loadPolyBatchAsync (const std::vector<juce::File>&);
    void addIsoFolderAsync (const juce::File& folder);
    void addIsoFolderToTake (const juce::File& folder);
    void addIsoFolderToBatch (const juce::File& folder);
    void addDroppedAudio (std::vector<juce::File>);
    void findMissingIn (const juce::File& folder);
    void showMatchProgress (const juce::String& what, int done, int total);
    [[nodiscard]] std::function<void (const juce::String& what, int done, int total)> matchProgress();
    void combineInto (const juce::File& folder);
    [[nodiscard]] CombineProgress takeProgress (const JobDesk::Progress&, const juce::String& what, int count);
    void cancelJobs();

    // Interchange files (MainExport.cpp)
    void exportChooser();
    void chooseExportFolder (ExportScope);
    void exportInto (const juce::File& folder, ExportScope);
    void soundReportChooser();
    void writeReportInto (const juce::File& folder);
    void chooseOutputFolder (const juce::String& title, std::function<void (const juce::File&)> chosen);

    LookAndFeel lookAndFeel;
    Session session;
    juce::CriticalSection sessionLock;
    PreviewEngine preview;
    WaveformSpine spine;
    InspectorPanel inspector;
    TakeList takeList { lookAndFeel };
    RunPanel runPanel { lookAndFeel };
    PicturePlayer video;

    juce::TextButton playButton, combineButton, openPolysButton, rewindButton, backFiveButton, forwardFiveButton,
        monitorMixButton, drawFadersButton, openFolderButton, addIsoButton, outputButton, resetButton, saveButton,
        openSessionButton, prevButton, nextButton, undoButton, redoButton, findButton, cancelButton, takesButton,
        resultsButton, exportButton;
    juce::Label transportLabel, batchLabel;
    juce::TextEditor videoTimecodeEditor;
    double progressValue = 0.0;    // -1: nothing can be counted
    WorkBar progressBar { progressValue, lookAndFeel };

    KeyPanel keyPanel { lookAndFeel };
    juce::TooltipWindow tooltips { this };
    std::unique_ptr<MixerWindow> mixerWindow;    // once it was opened

    MainLayout shownLayout;    // as resized found them
    juce::String statusText;
    juce::String announcement;    // to be read once the take is there
    float dragPulse = 0.0f;       // 0 to 1
    bool fileDragOver = false, wasPlaying = false;
    juce::File outputSettings;

    WorkHistory work;
    std::vector<GuestClip> shelf;      // guests of the open take that were removed, with their audio
    std::set<juce::String> onTrial;    // paths of files of an ISO folder: they stay only if they belong to the take

    std::unique_ptr<Session> sketch;    // shown while a take is read
    TakeSketches sketches;
    std::shared_ptr<std::atomic<bool>> aheadIsWanted = std::make_shared<std::atomic<bool>> (false);
    bool isReadingAhead = false;

    bool showsTakes = true, showsResults = false;
    TakeSurvey survey;                        // of the files of the work, as they were found last
    std::vector<juce::File> surveyedFiles;    // that it was made for
    juce::int64 surveyedState = -1;           // of the work, as it was looked through last
    bool isSurveying = false;
    CombinedTakes combined;
    std::map<juce::String, juce::File> combinedFiles;    // by the full path of the poly

    std::unique_ptr<RecoveryFile> recovery;
    bool isWritingRecovery = false;
    std::vector<LostWork> reopened;    // held until the own copy is written
    juce::int64 recoveredState = 0;    // of the work, as it was copied last
    juce::uint32 recoveredAt = 0;      // milliseconds

    JobDesk desk;    // the last member: what it delivers must find the others
};

}    // namespace ld
