#include "cli/ConformTable.h"
#include "cli/Interrupt.h"
#include "conform/ConformReport.h"
#include "output/ReplacingFile.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace
{

enum ExitStatus
{
    allDone = 0,
    incomplete = 1,
    badUsage = 2
};

struct Options
{
    std::string input, output, report;
    bool isQuiet = false;
};

juce::File fileAt (const std::string& path)
{
    return juce::File::getCurrentWorkingDirectory().getChildFile (juce::String::fromUTF8 (path.c_str()));
}

int fail (ExitStatus status, const juce::String& sentence)
{
    std::cerr << "lodestrand-conform: " << sentence << std::endl;
    return status;
}

std::vector<ld::ScanFile> scanFolder (const juce::File& folder)
{
    std::vector<ld::ScanFile> scans;

    for (const auto& file : ld::collectMediaFiles (folder))
        scans.push_back (ld::inspectAudioFile (file));

    return scans;
}

ld::ConformOutcome combineAll (const std::vector<ld::BatchMatch>& matches, const juce::File& folder, bool isQuiet)
{
    ld::ConformOutcome outcome;
    ld::OutputNames names (folder);
    std::vector<double> takeSeconds;
    takeSeconds.reserve (matches.size());

    for (const auto& match : matches)
        takeSeconds.push_back ((double) match.host.format.numFrames / match.host.format.sampleRate);

    ld::ProgressLine line (! isQuiet, takeSeconds);

    for (int i = 0; i < (int) matches.size(); ++i)
    {
        const auto& match = matches[(size_t) i];
        const auto told = [&] (float fraction, const juce::String& phase) { line.show (i, fraction, phase); };
        told (0.0f, match.host.file.getFileName());
        outcome.takes.push_back (ld::combineTake (match, {}, names.nameFor (match.host.file), told));
    }

    return outcome;
}

int conform (const Options& options)
{
    const auto input = fileAt (options.input);
    const auto output = fileAt (options.output);

    if (! input.exists())
        return fail (badUsage, "There is no " + input.getFullPathName() + ".");

    if (output.existsAsFile())
        return fail (badUsage, output.getFullPathName() + " is a file, not a folder.");

    const auto scans = scanFolder (input);
    const auto matches = ld::matchBatch (scans);

    if (matches.empty())
        return fail (incomplete, "Found no poly in " + input.getFullPathName() + ".");

    if (const auto made = output.createDirectory(); made.failed())
        return fail (incomplete, "Could not create " + output.getFullPathName() + ".");

    auto outcome = combineAll (matches, output, options.isQuiet);
    ld::accountForFiles (outcome, scans);

    if (! options.isQuiet)
        std::cout << ld::makeConformTable (outcome) << std::flush;

    if (! options.report.empty() && ! ld::writeConformReport (outcome, fileAt (options.report)))
        return fail (incomplete, "Could not write " + fileAt (options.report).getFullPathName() + ".");

    return outcome.isComplete() ? allDone : incomplete;
}

}    // namespace

int main (int argc, char** argv)
try
{
    ld::cleanUpOnInterrupt();
    ld::reportFileSizeLimitAsError();

    Options options;
    CLI::App app ("Finds which recordings belong to which poly, places them and writes one COMBINED file per take.",
                  "lodestrand-conform");
    app.add_option ("FOLDER", options.input, "The shoot: polys and other recordings, in any subfolders")->required();
    app.add_option ("--out", options.output, "Where the COMBINED files go; made where it does not exist")->required();
    app.add_option ("--report", options.report, "Write what was placed where, and why, as JSON");
    app.add_flag ("--quiet", options.isQuiet, "No progress and no closing table");

    try
    {
        app.parse (argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit (error) == 0 ? allDone : badUsage;
    }

    return conform (options);
}
catch (const std::exception& error)
{
    std::cerr << "lodestrand-conform: It could not go on: " << error.what() << std::endl;
    return incomplete;
}
