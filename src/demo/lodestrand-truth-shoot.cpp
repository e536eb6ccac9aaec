#include "demo/TruthShoot.h"
#include "output/Interrupt.h"
#include "output/ReplacingFile.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <map>

namespace
{

constexpr int exitWritten = 0, exitNotWritten = 1, exitBadUsage = 2;

int refuse (const juce::Result& result, int status)
{
    std::cerr << result.getErrorMessage() << std::endl;
    return status;
}

std::map<std::string, ld::TruthKind> kindsByName()
{
    std::map<std::string, ld::TruthKind> kinds;

    for (const auto kind : ld::allTruthKinds)
        kinds[ld::nameOf (kind).toStdString()] = kind;

    return kinds;
}

}    // namespace

int main (int argc, char** argv)
try
{
    ld::cleanUpOnInterrupt();
    ld::reportFileSizeLimitAsError();

    CLI::App app { "Writes a shoot that is hard to conform, with a truth.json that says where everything belongs." };
    app.set_version_flag ("--version", "lodestrand-truth-shoot " JUCE_APPLICATION_VERSION_STRING);
    ld::TruthShootRequest request;
    std::string folder;
    app.add_option ("FOLDER", folder, "where to write; made if it is missing")->required();
    app.add_option ("--kind", request.kind, "day, short, music, strangers or bad; day if not given")
        ->transform (CLI::CheckedTransformer (kindsByName(), CLI::ignore_case));
    app.add_option ("--seed", request.seed, "another seed is another shoot")->capture_default_str();
    app.add_option ("--takes", request.takes, "how many takes, or for strangers how many polys and how many files");
    app.add_option ("--seconds", request.seconds, "length of a take, a third longer or shorter, 10 to 900");
    app.add_option ("--long-takes", request.longTakes, "a day's further takes of 8 to 12 minutes, 0 to 4");

    try
    {
        app.parse (argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit (error) == 0 ? exitWritten : exitBadUsage;
    }

    if (const auto checked = ld::checkTruthShoot (request); checked.failed())
        return refuse (checked, exitBadUsage);

    request.folder = juce::File::getCurrentWorkingDirectory().getChildFile (juce::String::fromUTF8 (folder.c_str()));

    if (const auto written = ld::writeTruthShoot (request); written.failed())
        return refuse (written, exitNotWritten);

    std::cout << "Wrote the shoot and its truth.json to " << request.folder.getFullPathName() << "." << std::endl;
    return exitWritten;
}
catch (const std::exception& error)
{
    std::cerr << "lodestrand-truth-shoot: It could not go on: " << error.what() << std::endl;
    return exitNotWritten;
}
