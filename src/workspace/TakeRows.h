#pragma once

#include "output/SessionDocument.h"

#include <memory>
#include <set>

namespace ld
{

/** What is on the disk of the files of the work. */
struct TakeSurvey
{
    struct Header
    {
        juce::String scene, take;
        AudioFormatInfo format;
    };

    std::set<juce::String> missing;            // full paths of recordings that are not there
    std::map<juce::String, Header> headers;    // of polys whose texts the work does not hold, by full path
};

/** Looks at every file of the work and reads headers of polys; may take long. */
[[nodiscard]] TakeSurvey surveyTakes (const SessionDocument&);

/** The work as it was when a take was combined, by the full path of its poly. */
using CombinedTakes = std::map<juce::String, std::shared_ptr<const SessionDocument>>;

/** One take as the list of takes shows it. */
struct TakeRow
{
    juce::String name, sceneAndTake, length;    // empty where it is not known
    int files = 0;                              // of guests
    int doubtful = 0, missing = 0, unplaced = 0;
    bool isPolyMissing = false;
    bool isEdited = false;      // the user has set something in it: a place, a level, a name, a channel left out
    bool isCombined = false;    // since the program began
    bool isOutdated = false;    // what was combined would come out otherwise now

    bool operator== (const TakeRow&) const = default;
};

[[nodiscard]] std::vector<TakeRow> takeRowsOf (const SessionDocument&, const TakeSurvey&, const CombinedTakes&);

/** Whether something in the take waits for the user. */
[[nodiscard]] bool needsALook (const TakeRow&) noexcept;

/** What needs a look: "1 in doubt, 2 missing"; empty where nothing does. */
[[nodiscard]] juce::String troubleText (const TakeRow&);

/** What was done to the take: "edited, combined"; empty where nothing was. */
[[nodiscard]] juce::String progressText (const TakeRow&);

/** All of it in one line, for tooltips and screen readers.
    number   of the take, from 1 */
[[nodiscard]] juce::String sentenceOf (const TakeRow&, int number);

/** "7 ISO files", "1 ISO file". */
[[nodiscard]] juce::String filesText (const TakeRow&);

}    // namespace ld
