#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <optional>
#include <span>

namespace ld
{

/** All that a key does. */
enum class Command
{
    playOrPause,
    stop,
    play,
    playBackwards,
    previousEdge,
    nextEdge,
    takeStart,
    takeEnd,
    left,     // the selected recording a sample earlier; without one the playhead a frame back
    right,    // and the other way
    secondBack,
    secondForward,
    nudgeFrameBack,
    nudgeFrameForward,
    nudgeSampleBack,
    nudgeSampleForward,
    laneAbove,
    laneBelow,
    findPlace,
    rename,
    removeTrack,
    mute,
    solo,
    drawFaders,
    monitorMix,
    zoomIn,
    zoomOut,
    zoomAll,
    zoomToSelected,
    previousTake,
    nextTake,
    undo,
    redo,
    openPolys,
    openSession,
    save,
    saveAs,
    addFolder,
    openPicture,
    combine,
    exportTexts,
    soundReport,
    showKeys
};

/** A key, and what it does in words. */
struct KeyBinding
{
    Command command {};
    juce::KeyPress key;
    const char* keyText = "";    // as it is printed
    const char* group = "";
    const char* does = "";
};

/** All keys of the window, in the order in which they are shown; the one place that says which they are. */
[[nodiscard]] std::span<const KeyBinding> keyTable();

[[nodiscard]] std::optional<Command> commandOf (const juce::KeyPress&);

/** True for what has a meaning only while a take is open: elsewhere the key is anybody's. */
[[nodiscard]] bool needsTake (Command) noexcept;

/** A button's tooltip: what its command does, and its key. */
[[nodiscard]] juce::String keyHint (Command);

}    // namespace ld
