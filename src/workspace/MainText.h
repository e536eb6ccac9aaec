#pragma once

#include "batch/FolderScan.h"
#include "conform/CombineRun.h"
#include "output/GuestSpans.h"
#include "work/WorkHistory.h"

namespace ld
{

// The sentences of the main view that are more than a fixed text.

/** Scene, take, start, channels and rate of the open poly; empty where none is open. */
[[nodiscard]] juce::String headlineOf (const HostTake&);

/** Where the playhead stands on the poly's clock, and how long the poly is; empty where none is open.
    playhead   host samples from the start of the take */
[[nodiscard]] juce::String transportText (const HostTake&, juce::int64 playhead);

/** Which take of the batch is open: counted from 1, with its name, its files and how they were found.
    index   0-based, in the batch */
[[nodiscard]] juce::String batchText (const std::vector<BatchMatch>& batch, int index);

[[nodiscard]] juce::String takeLoadedText (const std::vector<GuestClip>& guests);
[[nodiscard]] juce::String scanText (const std::vector<BatchMatch>& matches, const juce::String& folderName);
[[nodiscard]] juce::String isosAddedText (int added, int skipped);
[[nodiscard]] juce::String isosMatchedText (const std::vector<BatchMatch>& matches, const juce::String& folderName);
[[nodiscard]] juce::String alignedText (const Alignment&, bool isHidden);

/** The window's title: the session's name, with a mark while it is not saved; empty where there is no work. */
[[nodiscard]] juce::String titleOf (const WorkHistory&);

/** The files that no combined file holds, by name, the first few of them; empty where there are none. */
[[nodiscard]] juce::String namesOfLeftOut (const std::vector<TakeOutcome>&);

/** "3 / 40" and the like behind what is counted. */
[[nodiscard]] juce::String countText (const juce::String& what, int done, int total);

}    // namespace ld
