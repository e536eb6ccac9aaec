#include "demo/DemoShoot.h"
#include "output/Interrupt.h"
#include "output/ReplacingFile.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace
{

constexpr int exitWritten = 0, exitNotWritten = 1, exitBadUsage = 2;

int refuse (const juce::Result& result, int status)
{
    std::cerr << result.getErrorMessage() << std::endl;
    return status;
}

juce::String counted (int number, const juce::String& noun)
{
    return juce::String (number) + " " + noun + (number == 1 ? "" : "s");
}

}    // namespace

int main (int argc, char** argv)
try
{
    ld::cleanUpOnInterrupt();
    ld::reportFileSizeLimitAsError();

    CLI::App app { "Writes a small believable shoot with a truth.json that says where everything belongs." };
    app.set_version_flag ("--version", "lodestrand-demo-shoot " JUCE_APPLICATION_VERSION_STRING);
    ld::DemoShootRequest request;
    std::string folder;
    app.add_option ("FOLDER", folder, "where to write; made if it is missing")->required();
    app.add_option ("--seconds", request.seconds, "length of a take, 5 to 3600")->capture_default_str();
    app.add_option ("--takes", request.takes, "how many takes, 1 to 99")->capture_default_str();
    app.add_option ("--seed", request.seed, "another seed is another shoot")->capture_default_str();

    try
    {
        app.parse (argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit (error) == 0 ? exitWritten : exitBadUsage;
    }

    if (const auto checked = ld::checkDemoShoot (request); checked.failed())
        return refuse (checked, exitBadUsage);

    request.folder = juce::File::getCurrentWorkingDirectory().getChildFile (juce::String::fromUTF8 (folder.c_str()));

    if (const auto written = ld::writeDemoShoot (request); written.failed())
        return refuse (written, exitNotWritten);

    std::cout << "Wrote " << counted (request.takes, "take") << " in "
              << counted (ld::countDemoShootFiles (request), "wave file") << " and truth.json to "
              << request.folder.getFullPathName() << "." << std::endl;
    return exitWritten;
}
catch (const std::exception& error)
{
    std::cerr << "lodestrand-demo-shoot: It could not go on: " << error.what() << std::endl;
    return exitNotWritten;
}
