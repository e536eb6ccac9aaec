#include <juce_core/juce_core.h>

#include <gmock/gmock.h>

#include <map>
#include <optional>
#include <set>

// The folders of src/ are floors of a house: an include goes to its own folder or down.

namespace ld::test
{
namespace
{

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

const std::map<std::string, int> floorOf {
    { "media", 1 },  { "theme", 1 },     { "mix", 2 },      { "sync", 2 },    { "batch", 3 }, { "clocks", 4 },
    { "output", 4 }, { "session", 5 },   { "manifest", 5 }, { "conform", 6 }, { "work", 6 },  { "monitor", 6 },
    { "report", 7 }, { "workspace", 8 }, { "cli", 8 },      { "demo", 8 },    { "app", 9 },
};

// These are built and tested without a display.
const std::set<std::string> windowless { "media",   "mix",     "sync", "batch",  "clocks",   "output",
                                         "session", "conform", "work", "report", "manifest", "demo" };

const char* const windowModules[] = { "juce_gui_",  "juce_graphics",      "juce_events",      "juce_opengl",
                                      "juce_video", "juce_audio_devices", "juce_audio_utils", "JuceHeader" };

struct SourceFile
{
    std::string folder, name;    // of src/media/BwfReader.cpp: "media", "BwfReader.cpp"
    std::vector<std::string> includes;
    bool hasHeader = false;    // a header of the same name stands beside it
};

std::string folderOf (const std::string& include)
{
    const auto slash = include.find ('/');
    return slash == std::string::npos ? "" : include.substr (0, slash);
}

std::optional<std::string> complaintAbout (const std::string& folder, const std::string& include)
{
    const auto target = folderOf (include);
    const auto isOurs = floorOf.contains (target);

    if (isOurs && target != folder && floorOf.at (target) >= floorOf.at (folder))
        return "does not go down";

    if (! windowless.contains (folder))
        return {};

    if (target == "theme")
        return "brings windows in";

    for (const auto* module : windowModules)
        if (include.starts_with (module))
            return "brings windows in";

    return {};
}

/** One sentence for each rule that a file breaks. */
std::vector<std::string> complaintsAbout (const SourceFile& source)
{
    const auto where = source.folder + "/" + source.name;

    if (! floorOf.contains (source.folder))
        return { where + " lies on no floor" };

    std::vector<std::string> complaints;

    for (const auto& include : source.includes)
        if (const auto complaint = complaintAbout (source.folder, include))
            complaints.push_back (where + ": " + include + " " + *complaint);

    const auto own = source.folder + "/" + source.name.substr (0, source.name.rfind ('.')) + ".h";

    if (source.hasHeader && (source.includes.empty() || source.includes.front() != own))
        complaints.push_back (where + " does not include its own header first");

    return complaints;
}

/** The names that the #include lines of a text hold, in their order, without brackets or quotes. */
std::vector<std::string> includesIn (const juce::String& text)
{
    std::vector<std::string> includes;

    for (const auto& line : juce::StringArray::fromLines (text))
    {
        const auto directive = line.removeCharacters (" \t");

        if (directive.startsWith ("#include"))
            includes.push_back (directive.substring (8)
                                    .trimCharactersAtStart ("<\"")
                                    .upToFirstOccurrenceOf (">", false, false)
                                    .upToFirstOccurrenceOf ("\"", false, false)
                                    .toStdString());
    }

    return includes;
}

std::vector<SourceFile> readSources()
{
    const auto root = juce::File (LD_SOURCE_DIR).getChildFile ("src");
    std::vector<SourceFile> sources;

    for (const auto& file : root.findChildFiles (juce::File::findFiles, true, "*.cpp;*.h;*.mm"))
    {
        const auto path = file.getRelativePathFrom (root).replaceCharacter ('\\', '/').toStdString();
        const auto isCode = ! file.hasFileExtension ("h");
        sources.push_back ({ folderOf (path),
                             path.substr (path.find ('/') + 1),
                             includesIn (file.loadFileAsString()),
                             isCode && file.withFileExtension ("h").existsAsFile() });
    }

    return sources;
}

TEST (Layers, EveryIncludeGoesDown)
{
    const auto sources = readSources();
    std::vector<std::string> complaints;
    std::set<std::string> folders;

    for (const auto& source : sources)
    {
        const auto found = complaintsAbout (source);
        complaints.insert (complaints.end(), found.begin(), found.end());
        folders.insert (source.folder);
    }

    EXPECT_THAT (complaints, IsEmpty());
    EXPECT_THAT (folders, testing::IsSupersetOf ({ "media", "theme", "workspace", "app" })) << "the sources were found";
}

TEST (Layers, IncludeLinesAreRead)
{
    EXPECT_THAT (includesIn ("#include \"media/Records.h\"\n  # include <vector> // why\nint include;\n#pragma once"),
                 testing::ElementsAre ("media/Records.h", "vector"));
}

TEST (Layers, WhatStandsOnItsFloorIsAccepted)
{
    const SourceFile sound[] = {
        { "media", "A.cpp", { "media/A.h", "media/B.h", "juce_core/juce_core.h", "cmath", "pugixml.hpp" }, true },
        { "sync", "A.h", { "media/B.h", "juce_dsp/juce_dsp.h" } },
        { "monitor", "A.h", { "session/Session.h", "juce_audio_devices/juce_audio_devices.h" } },
        { "workspace", "Part.cpp", { "workspace/MainComponent.h", "theme/LookAndFeel.h" } },
        { "app", "A.h", { "workspace/B.h", "media/C.h" } },
    };

    for (const auto& source : sound)
        EXPECT_THAT (complaintsAbout (source), IsEmpty());
}

TEST (Layers, EveryBreachIsNamed)
{
    const struct
    {
        SourceFile source;
        const char* complaint;
    } cases[] = {
        { { "media", "A.h", { "sync/B.h" } }, "sync/B.h does not go down" },
        { { "mix", "A.h", { "sync/B.h" } }, "does not go down" },
        { { "sync", "A.cpp", { "cmath", "mix/B.h" } }, "does not go down" },
        { { "batch", "A.h", { "output/B.h" } }, "does not go down" },
        { { "output", "A.h", { "session/B.h" } }, "does not go down" },
        { { "conform", "A.h", { "monitor/B.h" } }, "does not go down" },
        { { "monitor", "A.h", { "conform/B.h" } }, "does not go down" },
        { { "workspace", "A.h", { "cli/B.h" } }, "does not go down" },
        { { "workspace", "A.h", { "app/B.h" } }, "does not go down" },
        { { "theme", "A.h", { "media/B.h" } }, "does not go down" },
        { { "session", "A.h", { "theme/LookAndFeel.h" } }, "brings windows in" },
        { { "media", "A.h", { "juce_gui_basics/juce_gui_basics.h" } }, "brings windows in" },
        { { "mix", "A.h", { "juce_graphics/juce_graphics.h" } }, "brings windows in" },
        { { "session", "A.h", { "juce_events/juce_events.h" } }, "brings windows in" },
        { { "conform", "A.h", { "juce_audio_utils/juce_audio_utils.h" } }, "brings windows in" },
        { { "output", "A.h", { "juce_audio_devices/juce_audio_devices.h" } }, "brings windows in" },
        { { "media", "A.cpp", { "media/B.h", "media/A.h" }, true }, "own header first" },
        { { "media", "A.cpp", {}, true }, "own header first" },
        { { "helpers", "A.h", {} }, "lies on no floor" },
        { { "", "A.h", {} }, "lies on no floor" },
    };

    for (const auto& c : cases)
        EXPECT_THAT (complaintsAbout (c.source), Contains (HasSubstr (c.complaint)));
}

}    // namespace
}    // namespace ld::test
