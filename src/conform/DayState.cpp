#include "conform/DayState.h"

#include "conform/OutcomeFields.h"
#include "output/JsonFields.h"
#include "output/JsonValues.h"
#include "output/ReplacingFile.h"

#include <algorithm>

namespace ld
{
namespace
{

constexpr int stateVersion = 1;

juce::var parseFile (const juce::File& file)
{
    const auto text = file.existsAsFile() ? guardedJson (file.loadFileAsString()) : std::nullopt;
    return text ? juce::JSON::parse (*text) : juce::var();
}

juce::Result writeJson (const juce::File& file, const juce::var& value)
{
    return replaceTextFile (file, juce::JSON::toString (value))
               ? juce::Result::ok()
               : juce::Result::fail ("Could not write " + file.getFullPathName());
}

juce::var describeKey (const DayKey& key)
{
    return makeJsonObject ({ { "version", stateVersion },
                             { "program", "lodestrand-conform " JUCE_APPLICATION_VERSION_STRING },
                             { "options", key.options },
                             { "inputs", makeJsonArray (key.inputs, describeRecord) } });
}

std::vector<FileRecord> recordsIn (const juce::var& value, const char* name)
{
    std::vector<FileRecord> records;
    Fields (value).readArray (name, records, readRecord);
    return records;
}

// A list without a file vouches for nothing.
bool areAsRecorded (const juce::var& value, const char* name)
{
    const auto records = recordsIn (value, name);
    return ! records.empty() && std::ranges::all_of (records, isAsRecorded);
}

// The inputs of a day that was finished are those of today, at the least by their hashes.
bool hasInputs (const juce::var& then, const std::vector<FileRecord>& now)
{
    const auto isSame = [] (const FileRecord& before, const FileRecord& today) {
        return before.file == today.file && before.size == today.size
               && (before.modified == today.modified || isAsRecorded (before));
    };
    return std::ranges::equal (recordsIn (then, "inputs"), now, isSame);
}

bool sameText (const juce::var& a, const juce::var& b)
{
    return juce::JSON::toString (a) == juce::JSON::toString (b);
}

}    // namespace

DayState::DayState (const juce::File& outputFolder, DayKey keyToUse)
    : state (outputFolder.getChildFile ("conform.state")), done (outputFolder.getChildFile ("conform.done.json")),
      key (std::move (keyToUse))
{
}

juce::File DayState::takeFile (int index) const
{
    return stateFile ("take_" + juce::String (index + 1).paddedLeft ('0', 4) + ".json");
}

std::optional<FinishedDay> DayState::finished (const std::vector<juce::File>& asked) const
{
    const auto root = parseFile (done), today = describeKey (key);
    const auto isThere = [] (const juce::File& file) { return file.existsAsFile(); };

    for (const auto* name : { "version", "program", "options" })
        if (! sameText (root[name], today[name]))
            return {};

    if (! hasInputs (root, key.inputs) || ! areAsRecorded (root, "outputs") || ! std::ranges::all_of (asked, isThere))
        return {};

    FinishedDay day;
    Fields (root).read ("needsLook", day.needsLook);
    return day;
}

std::optional<SavedScan> DayState::scan() const
{
    SavedScan scan;
    const auto pairs = parseFile (stateFile ("comparisons.json"));

    if (! sameText (parseFile (stateFile ("key.json")), describeKey (key)) || ! pairs.isObject()
        || readSessionDocument (stateFile ("scan.ldsession"), scan.document).failed())
        return {};

    Fields (pairs).readArray ("comparisons", scan.comparisons, readPair);
    return scan;
}

juce::Result DayState::keepScan (const SessionDocument& document, const std::vector<ProvedPair>& comparisons) const
{
    if (! done.deleteFile() || ! state.deleteRecursively() || state.createDirectory().failed())
        return juce::Result::fail ("Could not write to " + state.getFullPathName());

    if (const auto written = writeSessionDocument (stateFile ("scan.ldsession"), document); written.failed())
        return written;

    const auto pairs = makeJsonObject ({ { "comparisons", makeJsonArray (comparisons, describePair) } });

    if (const auto written = writeJson (stateFile ("comparisons.json"), pairs); written.failed())
        return written;

    // Last: with it the scan is whole.
    return writeJson (stateFile ("key.json"), describeKey (key));
}

std::optional<TakeOutcome> DayState::take (int index, const juce::File& output) const
{
    const auto root = parseFile (takeFile (index));

    if (! root.isObject() || ! areAsRecorded (root, "files"))
        return {};

    auto outcome = readOutcome (root["outcome"]);
    return outcome.written && outcome.output == output ? std::optional (std::move (outcome)) : std::nullopt;
}

juce::Result DayState::keepTake (int index, const TakeOutcome& take, const std::vector<juce::File>& files) const
{
    const auto record = [&] (const juce::File& file) {
        return describeRecord (recordOf (file, file == take.output ? take.hashes.output : juce::String()));
    };
    return writeJson (
        takeFile (index),
        makeJsonObject ({ { "files", makeJsonArray (files, record) }, { "outcome", describeOutcome (take) } }));
}

std::vector<FileRecord> DayState::outputsOf (const ConformOutcome& outcome) const
{
    std::vector<FileRecord> outputs;

    for (int i = 0; i < (int) outcome.takes.size(); ++i)
        std::ranges::copy (recordsIn (parseFile (takeFile (i)), "files"), std::back_inserter (outputs));

    return outputs;
}

juce::Result DayState::finish (const ConformOutcome& outcome,
                               const std::map<juce::String, juce::String>& hashes,
                               const std::vector<juce::File>& asked,
                               bool needsLook) const
{
    auto root = describeKey (key);
    auto inputs = key.inputs;
    auto outputs = outputsOf (outcome);

    for (auto& input : inputs)
        if (const auto known = hashes.find (input.file.getFullPathName()); known != hashes.end())
            input.xxh64 = known->second;

    for (const auto& file : asked)
        outputs.push_back (recordOf (file));

    auto& object = *root.getDynamicObject();
    object.setProperty ("inputs", makeJsonArray (inputs, describeRecord));
    object.setProperty ("outputs", makeJsonArray (outputs, describeRecord));
    object.setProperty ("written", outcome.written());
    object.setProperty ("count", (int) outcome.takes.size());
    object.setProperty ("needsLook", needsLook);
    return writeJson (done, root);
}

}    // namespace ld
