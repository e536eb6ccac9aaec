#pragma once

#include "work/DocumentChange.h"

#include <deque>

namespace ld
{

/** A named edit: the document that it leads to. */
struct WorkEdit
{
    juce::String name;    // "Nudge Lav 1": what undo and redo say
    SessionDocument document;
    juce::String stroke {};    // edits of one stroke in a row are one step; empty: a step of its own
};

/** The work and the steps that led to it: the only owner of the document. Which take is open is changed without a
    step, as are the results of jobs, which belong to the step that asked for them. */
class WorkHistory
{
public:
    [[nodiscard]] const SessionDocument& document() const noexcept { return present; }

    /** The session file that the work was saved to or opened from; none for new work. */
    [[nodiscard]] const juce::File& file() const noexcept { return sessionFile; }

    /** Starts over: with a document that was opened, or with none. */
    void restart (SessionDocument = emptyDocument(), juce::File = {});

    /** Starts over with work that was not saved when it was lost; the file is the one that it belongs to. No step leads back
        behind it. */
    void recover (SessionDocument, juce::File);

    /** Takes an edit as the next step; what was undone is gone. Returns false where it changes nothing.
        isOtherWork   the takes of another session from here on: it has no file yet */
    bool perform (WorkEdit, bool isOtherWork = false);

    /** The next edit begins a step of its own, whatever its stroke. */
    void endStroke() noexcept { isStrokeOpen = false; }

    /** Takes over what a job has found, without a step. Returns false where it changes nothing. */
    bool amend (SessionDocument);

    /** Which take is open. */
    void openTake (int index);

    [[nodiscard]] bool canUndo() const noexcept { return ! done.empty(); }
    [[nodiscard]] bool canRedo() const noexcept { return ! undone.empty(); }

    /** The step that is next to be undone or redone; empty where there is none. */
    [[nodiscard]] juce::String undoName() const { return canUndo() ? done.back().name : juce::String(); }
    [[nodiscard]] juce::String redoName() const { return canRedo() ? undone.back().name : juce::String(); }

    /** The take of the step is then the open one. Nothing happens where there is no step. */
    void undo();
    void redo();

    /** True if a save would change the session file, or there is none and something to be saved. */
    [[nodiscard]] bool isUnsaved() const noexcept { return revision != savedRevision; }

    void markSaved (const juce::File&);

    /** Changes with each change of the document. */
    [[nodiscard]] juce::int64 state() const noexcept { return revision; }

    [[nodiscard]] static SessionDocument emptyDocument();

private:
    struct Step
    {
        juce::String name, stroke;
        DocumentChange change;
        int takeBefore = 0, takeAfter = 0;
        juce::int64 otherRevision = 0;    // of the document on the other side
        std::optional<juce::File> otherFile;
    };

    void step (std::deque<Step>& from, std::deque<Step>& to, bool isUndo);
    void mergeIntoLast (SessionDocument&&);

    SessionDocument present = emptyDocument();
    juce::File sessionFile;
    std::deque<Step> done, undone;
    juce::int64 revision = 0, savedRevision = 0, lastRevision = 0;
    bool isStrokeOpen = false;
};

}    // namespace ld
