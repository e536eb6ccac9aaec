#include "workspace/TakeRows.h"

#include "work/MissingFiles.h"
#include "work/WorkEdits.h"

#include <algorithm>

namespace ld
{
namespace
{

// The keys of a take's names and notes begin with its poly and a line's end.
juce::String metadataPrefix (const juce::File& poly)
{
    return poly.getFullPathName() + "\n";
}

std::vector<const MetadataOverrides::value_type*> metadataOf (const SessionDocument& doc, const juce::File& poly)
{
    const auto prefix = metadataPrefix (poly);
    std::vector<const MetadataOverrides::value_type*> entries;

    for (auto at = doc.metadataOverrides.lower_bound (prefix);
         at != doc.metadataOverrides.end() && at->first.startsWith (prefix);
         ++at)
        entries.push_back (&*at);

    return entries;
}

std::vector<const TakeLevels::value_type*> levelsOf (const SessionDocument& doc, const juce::File& poly)
{
    const auto path = poly.getFullPathName();
    std::vector<const TakeLevels::value_type*> entries;

    for (auto at = doc.levels.lower_bound ({ path, {} }); at != doc.levels.end() && at->first.first == path; ++at)
        entries.push_back (&*at);

    return entries;
}

template <typename Entries>
bool areSame (const Entries& a, const Entries& b)
{
    return std::ranges::equal (a, b, [] (const auto* x, const auto* y) { return *x == *y; });
}

// Whether a combined file of the take would be another one now. Levels of other takes go along where it has none.
bool isOutdated (const SessionDocument& now, const BatchMatch& take, const SessionDocument& then)
{
    const auto& poly = take.host.file;
    const auto* const before = findTake (then, poly);
    const auto levels = levelsOf (now, poly);
    return before == nullptr || ! isSameTake (take, *before) || now.nameOverrides != then.nameOverrides
           || ! areSame (levels, levelsOf (then, poly)) || ! areSame (metadataOf (now, poly), metadataOf (then, poly))
           || (levels.empty() && now.mixer != then.mixer);
}

bool isEdited (const SessionDocument& doc, const BatchMatch& take)
{
    const auto isByHand = [] (const ScanFile& scan) { return scan.alignment.method == Alignment::Method::manual; };
    const auto& poly = take.host.file;
    return ! take.omittedHost.empty() || std::ranges::any_of (take.guests, isByHand) || ! levelsOf (doc, poly).empty()
           || ! metadataOf (doc, poly).empty();
}

juce::String lengthText (const AudioFormatInfo& format)
{
    if (format.numFrames < 1 || format.sampleRate < 1)
        return {};

    const auto seconds = format.numFrames / format.sampleRate;
    const auto twoDigits = [] (juce::int64 n) { return juce::String (n).paddedLeft ('0', 2); };
    const auto minutes = seconds / 60;
    return minutes < 60 ? juce::String (minutes) + ":" + twoDigits (seconds % 60)
                        : juce::String (minutes / 60) + ":" + twoDigits (minutes % 60) + ":" + twoDigits (seconds % 60);
}

juce::String sceneText (const juce::String& scene, const juce::String& take)
{
    juce::StringArray parts;

    if (scene.isNotEmpty())
        parts.add ("Scene " + scene);

    if (take.isNotEmpty())
        parts.add ("Take " + take);

    return parts.joinIntoString (", ");
}

bool isKnown (const ScanFile& poly)
{
    return poly.ixml.rawXml.isNotEmpty() || poly.ixml.scene.isNotEmpty();
}

TakeRow
rowOf (const SessionDocument& doc, const BatchMatch& take, const TakeSurvey& survey, const CombinedTakes& combined)
{
    const auto path = take.host.file.getFullPathName();
    TakeSurvey::Header header { take.host.ixml.scene, take.host.ixml.take, take.host.format };

    if (const auto at = survey.headers.find (path); at != survey.headers.end())
        header = at->second;

    TakeRow row;
    row.name = take.host.file.getFileNameWithoutExtension();
    row.sceneAndTake = sceneText (header.scene, header.take);
    row.length = lengthText (header.format);
    row.files = (int) take.guests.size();
    row.isPolyMissing = survey.missing.contains (path);
    row.isEdited = isEdited (doc, take);

    for (const auto& guest : take.guests)
    {
        // Where the file is missing, its place does not matter.
        if (survey.missing.contains (guest.file.getFullPathName()))
            ++row.missing;
        else if (guest.alignment.needsManual)
            ++row.doubtful;
        else if (isUnsearched (guest.alignment))
            ++row.unplaced;
    }

    if (const auto at = combined.find (path); at != combined.end())
    {
        row.isCombined = true;
        row.isOutdated = isOutdated (doc, take, *at->second);
    }

    return row;
}

}    // namespace

TakeSurvey surveyTakes (const SessionDocument& doc)
{
    TakeSurvey survey;

    for (const auto& file : missingFilesOf (doc))
        survey.missing.insert (file.getFullPathName());

    for (const auto& take : doc.takes)
        if (! isKnown (take.host))
            if (const auto scan = inspectAudioFile (take.host.file); scan.format.valid)
                survey.headers[take.host.file.getFullPathName()] = { scan.ixml.scene, scan.ixml.take, scan.format };

    return survey;
}

std::vector<TakeRow> takeRowsOf (const SessionDocument& doc, const TakeSurvey& survey, const CombinedTakes& combined)
{
    std::vector<TakeRow> rows;

    for (const auto& take : doc.takes)
        rows.push_back (rowOf (doc, take, survey, combined));

    return rows;
}

bool needsALook (const TakeRow& row) noexcept
{
    return row.isPolyMissing || row.doubtful > 0 || row.missing > 0 || row.unplaced > 0;
}

juce::String troubleText (const TakeRow& row)
{
    juce::StringArray parts;

    if (row.isPolyMissing)
        parts.add ("poly missing");

    for (const auto& [count, what] :
         { std::pair (row.doubtful, " in doubt"), { row.missing, " missing" }, { row.unplaced, " not placed" } })
        if (count > 0)
            parts.add (juce::String (count) + what);

    return parts.joinIntoString (", ");
}

juce::String progressText (const TakeRow& row)
{
    if (row.isCombined)
        return row.isOutdated ? "changed since combined" : "combined";

    return row.isEdited ? "edited" : "";
}

juce::String filesText (const TakeRow& row)
{
    return juce::String (row.files) + (row.files == 1 ? " ISO file" : " ISO files");
}

juce::String sentenceOf (const TakeRow& row, int number)
{
    juce::StringArray parts { juce::String (number) + ": " + row.name };

    for (const auto& text : { row.sceneAndTake, row.length, filesText (row), troubleText (row), progressText (row) })
        if (text.isNotEmpty())
            parts.add (text);

    return parts.joinIntoString (", ");
}

}    // namespace ld
