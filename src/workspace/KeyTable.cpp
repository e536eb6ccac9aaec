#include "workspace/KeyTable.h"

#include <algorithm>
#include <vector>

namespace ld
{
namespace
{

using Key = juce::KeyPress;
using Mods = juce::ModifierKeys;

constexpr auto command = Mods::commandModifier;
constexpr auto shift = Mods::shiftModifier;
constexpr auto alt = Mods::altModifier;

Key with (int modifiers, int key)
{
    return { key, modifiers, 0 };
}

std::vector<KeyBinding> makeTable()
{
    using enum Command;
    constexpr auto playback = "Playback", moving = "Place", mixing = "Mix", seeing = "View", working = "Work";
    return {
        { playOrPause, Key (Key::spaceKey), "Space", playback, "Play or pause" },
        { playBackwards, Key ('j'), "J", playback, "Play backwards" },
        { stop, Key ('k'), "K", playback, "Stop" },
        { play, Key ('l'), "L", playback, "Play" },
        { secondBack, with (shift, Key::leftKey), "Shift+Left", playback, "Back one second" },
        { secondForward, with (shift, Key::rightKey), "Shift+Right", playback, "Forward one second" },
        { previousEdge, Key (Key::upKey), "Up", playback, "To where the recording before begins or ends" },
        { nextEdge, Key (Key::downKey), "Down", playback, "To where the next recording begins or ends" },
        { takeStart, Key (Key::homeKey), "Home", playback, "To the start of the take" },
        { takeEnd, Key (Key::endKey), "End", playback, "To the end of the take" },
        { laneAbove, with (command, Key::upKey), "Ctrl+Up", moving, "Select the lane above" },
        { laneBelow, with (command, Key::downKey), "Ctrl+Down", moving, "Select the lane below" },
        { left, Key (Key::leftKey), "Left", moving, "Recording one sample earlier, or playhead one frame back" },
        { right, Key (Key::rightKey), "Right", moving, "Recording one sample later, or playhead one frame on" },
        { nudgeFrameBack, with (alt, Key::leftKey), "Alt+Left", moving, "Selected recording one frame earlier" },
        { nudgeFrameForward, with (alt, Key::rightKey), "Alt+Right", moving, "Selected recording one frame later" },
        { nudgeSampleBack,
          with (alt | shift, Key::leftKey),
          "Alt+Shift+Left",
          moving,
          "Selected recording one sample earlier" },
        { nudgeSampleForward,
          with (alt | shift, Key::rightKey),
          "Alt+Shift+Right",
          moving,
          "Selected recording one sample later" },
        { findPlace, Key ('f'), "F", moving, "Find the place of the selected recording by its sound" },
        { rename, Key (Key::F2Key), "F2", moving, "Name the selected recording" },
        { removeTrack, Key (Key::deleteKey), "Delete", moving, "Remove the selected lane" },
        { mute, Key ('m'), "M", mixing, "Mute the selected lane" },
        { solo, Key ('s'), "S", mixing, "Solo the selected lane" },
        { drawFaders, Key ('d'), "D", mixing, "Draw fader lines, or stop drawing" },
        { monitorMix, Key ('x'), "X", mixing, "Open the monitor mix" },
        { zoomIn, Key ('='), "=", seeing, "Closer, around the playhead" },
        { zoomOut, Key ('-'), "-", seeing, "Further away" },
        { zoomAll, Key ('0'), "0", seeing, "The whole take" },
        { zoomToSelected, Key ('z'), "Z", seeing, "The selected recording" },
        { previousTake, Key (Key::pageUpKey), "Page up", seeing, "Previous take" },
        { nextTake, Key (Key::pageDownKey), "Page down", seeing, "Next take" },
        { showKeys, Key ('?'), "?", seeing, "Show or hide this list" },
        { undo, with (command, 'z'), "Ctrl+Z", working, "Undo" },
        { redo, with (command | shift, 'z'), "Ctrl+Shift+Z", working, "Redo" },
        { redo, with (command, 'y'), "Ctrl+Y", working, "Redo" },
        { openPolys, with (command, 'o'), "Ctrl+O", working, "Open polys" },
        { openSession, with (command | shift, 'o'), "Ctrl+Shift+O", working, "Open a session" },
        { save, with (command, 's'), "Ctrl+S", working, "Save the session" },
        { saveAs, with (command | shift, 's'), "Ctrl+Shift+S", working, "Save the session under another name" },
        { addFolder, with (command, 'f'), "Ctrl+F", working, "Add an ISO folder; without a take, scan a shoot folder" },
        { openPicture, with (command, 'i'), "Ctrl+I", working, "Open a picture" },
        { combine, with (command, 'e'), "Ctrl+E", working, "Combine all takes" },
        { exportTexts, with (command | shift, 'e'), "Ctrl+Shift+E", working, "Export to editing systems" },
        { soundReport, with (command, 'r'), "Ctrl+R", working, "Write a sound report" },
    };
}

}    // namespace

std::span<const KeyBinding> keyTable()
{
    static const auto table = makeTable();
    return table;
}

std::optional<Command> commandOf (const juce::KeyPress& key)
{
    // Which keys make a question mark differs from keyboard to keyboard.
    if (key.getTextCharacter() == '?')
        return Command::showKeys;

    const auto found = std::ranges::find_if (keyTable(), [&] (const auto& binding) { return binding.key == key; });
    return found != keyTable().end() ? std::optional (found->command) : std::nullopt;
}

bool needsTake (Command command) noexcept
{
    using enum Command;

    switch (command)
    {
        case playOrPause:
        case left:
        case right:
        case undo:
        case redo:
        case openPolys:
        case openSession:
        case save:
        case saveAs:
        case addFolder:
        case openPicture:
        case combine:
        case exportTexts:
        case soundReport:
        case showKeys: return false;
        default: return true;
    }
}

juce::String keyHint (Command command)
{
    const auto found =
        std::ranges::find_if (keyTable(), [&] (const auto& binding) { return binding.command == command; });
    return found != keyTable().end() ? juce::String (found->does) + " (" + found->keyText + ")" : juce::String();
}

}    // namespace ld
