#include "app/LodestrandApp.h"

#include "output/ReplacingFile.h"

#include <cstdlib>

void LodestrandApp::initialise (const juce::String&)
{
    ld::reportFileSizeLimitAsError();
    window = std::make_unique<LodestrandWindow>();
}

void LodestrandApp::shutdown()
{
    if (window == nullptr)
        return;

    const auto running = window->runningJobs();
    window.reset();

    if (*running == 0)
        return;

    // A search can take minutes yet, and the objects that it stands on go with the program's end.
    ld::abandonUnfinishedFiles();
    std::_Exit (getApplicationReturnValue());
}
