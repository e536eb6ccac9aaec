#include "work/WorkHistory.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr size_t mostSteps = 5000;

}    // namespace

SessionDocument WorkHistory::emptyDocument()
{
    SessionDocument document;
    document.referenceChannel = -1;
    return document;
}

void WorkHistory::restart (SessionDocument document, juce::File file)
{
    present = std::move (document);
    sessionFile = std::move (file);
    done.clear();
    undone.clear();
    revision = savedRevision = ++lastRevision;
    isStrokeOpen = false;
}

void WorkHistory::recover (SessionDocument document, juce::File file)
{
    restart (std::move (document), std::move (file));
    revision = ++lastRevision;
}

bool WorkHistory::perform (WorkEdit edit, bool isOtherWork)
{
    auto change = DocumentChange::between (present, edit.document);

    if (change.isEmpty())
        return false;

    undone.clear();

    if (isStrokeOpen && edit.stroke.isNotEmpty() && ! done.empty() && done.back().stroke == edit.stroke)
    {
        mergeIntoLast (std::move (edit.document));
        return true;
    }

    // The change turns round as it is made.
    change.exchange (present);
    Step next {
        std::move (edit.name), std::move (edit.stroke), std::move (change), present.batchIndex, 0, revision, {}
    };
    present.batchIndex = std::clamp (edit.document.batchIndex, 0, std::max ((int) present.takes.size() - 1, 0));
    next.takeAfter = present.batchIndex;

    if (isOtherWork)
        next.otherFile = std::exchange (sessionFile, {});

    isStrokeOpen = next.stroke.isNotEmpty();
    done.push_back (std::move (next));

    if (done.size() > mostSteps)
        done.pop_front();

    revision = ++lastRevision;
    return true;
}

void WorkHistory::mergeIntoLast (SessionDocument&& document)
{
    auto& last = done.back();
    auto base = present;
    last.change.exchange (base);
    last.change = DocumentChange::between (base, document);
    last.change.exchange (base);
    base.batchIndex = present.batchIndex;
    present = std::move (base);
    revision = ++lastRevision;
}

bool WorkHistory::amend (SessionDocument document)
{
    auto change = DocumentChange::between (present, document);

    if (change.isEmpty())
        return false;

    change.exchange (present);
    revision = ++lastRevision;

    // What was found stays when a step goes: no earlier state comes back as it was saved.
    for (auto* steps : { &done, &undone })
        for (auto& other : *steps)
            other.otherRevision = ++lastRevision;

    return true;
}

void WorkHistory::openTake (int index)
{
    present.batchIndex = std::clamp (index, 0, std::max ((int) present.takes.size() - 1, 0));
    isStrokeOpen = false;
}

void WorkHistory::step (std::deque<Step>& from, std::deque<Step>& to, bool isUndo)
{
    if (from.empty())
        return;

    auto next = std::move (from.back());
    from.pop_back();
    next.change.exchange (present);
    present.batchIndex = isUndo ? next.takeBefore : next.takeAfter;
    std::swap (next.otherRevision, revision);

    if (next.otherFile)
        std::swap (*next.otherFile, sessionFile);

    isStrokeOpen = false;
    to.push_back (std::move (next));
}

void WorkHistory::undo()
{
    step (done, undone, true);
}

void WorkHistory::redo()
{
    step (undone, done, false);
}

void WorkHistory::markSaved (const juce::File& file)
{
    sessionFile = file;
    savedRevision = revision;
    isStrokeOpen = false;
}

}    // namespace ld
