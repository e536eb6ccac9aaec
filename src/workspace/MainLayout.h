#pragma once

#include <juce_graphics/juce_graphics.h>

namespace ld
{

/** What the main view has to find room for. */
struct MainFace
{
    bool hasWork = false;    // the workspace; else the welcome card
    bool hasPicture = false;
    bool hasSeveralTakes = false;
    bool hasMissing = false;    // files that are not there
    bool showsInspector = false;
    bool showsTakes = false;    // the list of them, where it has room
    bool hasResults = false;    // of a run
    bool showsResults = false;
};

/** Where the main view's children stand, in its own coordinates. Those that a face does not show have empty bounds. */
struct MainLayout
{
    juce::Rectangle<int> progressBar, cancel, output, openPolys;     // both faces; the bar ends left of its button
    juce::Rectangle<int> openFolder, openSession;                    // welcome card
    juce::Rectangle<int> combine, exporting, save, addIso, reset;    // workspace, top band
    juce::Rectangle<int> caption, headline;    // left of the buttons, or below; the caption where it has room
    juce::Rectangle<int> previousTake, nextTake, batchLabel, takes;         // with several takes
    juce::Rectangle<int> rewind, backFive, play, forwardFive, transport;    // transport row
    juce::Rectangle<int> monitorMix, drawFaders, undo, redo, spine, inspector;
    juce::Rectangle<int> findMissing;                 // with missing files
    juce::Rectangle<int> picture, pictureTimecode;    // with a picture
    juce::Rectangle<int> takeList;                    // with several takes, where it is shown
    juce::Rectangle<int> results, runPanel;           // with results: their button and, where they are shown, they
    juce::Rectangle<int> status;                      // both faces: the last action's sentence
};

/** Whether a window of this width can show the list of takes beside a timeline that is wide enough to work in. */
[[nodiscard]] bool hasRoomForTakes (int width) noexcept;

[[nodiscard]] MainLayout layOutMain (int width, int height, const MainFace&);

/** The welcome card and its lettering. */
struct WelcomeCard
{
    juce::Rectangle<float> card, title, rule, heading, hint;
};

[[nodiscard]] WelcomeCard layOutWelcomeCard (int width, int height);

}    // namespace ld
