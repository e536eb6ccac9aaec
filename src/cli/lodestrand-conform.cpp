#include "cli/ConformJob.h"
#include "output/Interrupt.h"
#include "output/ReplacingFile.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace
{

/** The options as they are typed. */
struct Words
{
    std::string input, output, report, session, soundReport, verified, progress;
    std::vector<std::string> isoFolders;
    int jobs = 0, memoryMiB = 0;
    bool writesInterchange = false, hasNoMarkers = false, givesNewIds = false, isScanOnly = false, isQuiet = false,
         writesHashLists = false, isResumable = false, isStrict = false;
};

void declare (CLI::App& app, Words& words)
{
    app.add_option ("INPUT", words.input, "The shoot: a folder of polys and other recordings; or a saved session");
    app.add_option ("--out", words.output, "Where the COMBINED files go; made where it does not exist");
    app.add_option ("--iso", words.isoFolders, "A further folder of recordings; may be given several times")
        ->expected (1)
        ->multi_option_policy (CLI::MultiOptionPolicy::TakeAll);
    app.add_option ("--report", words.report, "Write what was placed where, and why, as JSON");
    app.add_option ("--save-session", words.session, "Write the matched batch, to be reviewed in the window");
    app.add_option (
        "--sound-report", words.soundReport, "Write a sound report: a page (HTML), and beside it the rows (CSV)");
    app.add_flag (
        "--interchange", words.writesInterchange, "Write an EDL, an xmeml, an ALE and an OTIO text beside each file");
    app.add_flag ("--no-markers", words.hasNoMarkers, "No markers in the files where recordings begin and end");
    app.add_flag ("--new-ids", words.givesNewIds, "Give each file a UMID and FILE_UID of its own, not its poly's");
    app.add_flag ("--mhl", words.writesHashLists, "Write hash lists (ASC MHL) of the output folder and of the sources");
    app.add_option ("--verify", words.verified, "Do nothing but check a folder against its hash lists");
    app.add_flag ("--scan-only", words.isScanOnly, "Match and prove places, but combine nothing");
    app.add_flag ("--resume",
                  words.isResumable,
                  "Go on with what an earlier run has left in the output folder; do nothing if that is all");
    app.add_flag ("--strict", words.isStrict, "End with 3 where something was left out or belongs to no take");
    app.add_option ("--progress", words.progress, "How progress is told: a line on terminals, or json for machines")
        ->check (CLI::IsMember ({ "line", "json" }));
    app.add_flag ("--quiet", words.isQuiet, "No progress and no closing table");
    app.add_option ("--jobs", words.jobs, "Pairs compared at a time; one fewer than there are processors if not given")
        ->check (CLI::Range (1, 1024));
    app.add_option ("--memory", words.memoryMiB, "MiB for the comparison; a quarter of the machine's, at most 4096")
        ->check (CLI::Range (64, 1 << 24));
}

juce::File fileAt (const std::string& path)
{
    return juce::File::getCurrentWorkingDirectory().getChildFile (juce::String::fromUTF8 (path.c_str()));
}

std::optional<juce::File> fileIfAny (const std::string& path)
{
    return path.empty() ? std::optional<juce::File>() : fileAt (path);
}

ld::ConformOptions optionsOf (const Words& words)
{
    constexpr double bytesPerMiB = 1024.0 * 1024.0;
    ld::ConformOptions options;
    options.input = fileAt (words.input);
    options.output = fileIfAny (words.output);
    options.report = fileIfAny (words.report);
    options.session = fileIfAny (words.session);
    options.soundReport = fileIfAny (words.soundReport);
    options.writesInterchange = words.writesInterchange;
    options.writesMarkers = ! words.hasNoMarkers;
    options.givesNewIds = words.givesNewIds;
    options.verified = fileIfAny (words.verified);
    options.writesHashLists = words.writesHashLists;
    options.isScanOnly = words.isScanOnly;
    options.isQuiet = words.isQuiet;
    options.isResumable = words.isResumable;
    options.isStrict = words.isStrict;
    options.progress = words.progress == "json" ? ld::ProgressStyle::json
                       : words.isQuiet          ? ld::ProgressStyle::none
                                                : ld::ProgressStyle::line;
    options.jobs = words.jobs;
    options.memoryBudget = words.memoryMiB * bytesPerMiB;

    for (const auto& folder : words.isoFolders)
        options.isoFolders.push_back (fileAt (folder));

    return options;
}

}    // namespace

int main (int argc, char** argv)
try
{
    ld::cleanUpOnInterrupt();
    ld::reportFileSizeLimitAsError();

    Words words;
    CLI::App app ("Finds which recordings belong to which poly, places them and writes one COMBINED file per take.",
                  "lodestrand-conform");
    app.set_version_flag ("--version", "lodestrand-conform " JUCE_APPLICATION_VERSION_STRING);
    declare (app, words);

    try
    {
        app.parse (argc, argv);

        if (words.verified.empty() && words.input.empty())
            throw CLI::RequiredError ("INPUT");

        if (words.verified.empty() && words.output.empty() && ! words.isScanOnly)
            throw CLI::RequiredError ("--out");
    }
    catch (const CLI::ParseError& error)
    {
        return (int) (app.exit (error) == 0 ? ld::ConformStatus::allDone : ld::ConformStatus::badUsage);
    }

    const auto options = optionsOf (words);
    const auto status = (int) (options.verified ? ld::runVerify (options) : ld::runConform (options));

    if (options.progress == ld::ProgressStyle::json)
        std::cerr << "{\"event\": \"end\", \"status\": " << status << "}" << std::endl;

    return status;
}
catch (const std::exception& error)
{
    std::cerr << "lodestrand-conform: It could not go on: " << error.what() << std::endl;
    return (int) ld::ConformStatus::incomplete;
}
