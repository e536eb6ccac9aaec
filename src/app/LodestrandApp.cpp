#include "app/LodestrandApp.h"

#include "output/ReplacingFile.h"

#include <cstdlib>

namespace
{

juce::File outputSettings()
{
    return juce::File::getSpecialLocation (juce::File::userApplicationDataDirectory)
        .getChildFile ("lodestrand")
        .getChildFile ("output.xml");
}

}    // namespace

void LodestrandApp::initialise (const juce::String&)
{
    ld::reportFileSizeLimitAsError();
    window = std::make_unique<LodestrandWindow>();
    window->view().questions = questions();
    window->view().rememberOutput (outputSettings());
    window->view().keepRecovery (std::make_unique<ld::RecoveryFile>());
}

void LodestrandApp::shutdown()
{
    if (window == nullptr)
        return;

    window->view().flushRecovery();
    const auto running = window->view().runningJobs();
    window.reset();

    if (*running == 0)
        return;

    // A search can take minutes yet, and the objects that it stands on go with the program's end.
    ld::abandonUnfinishedFiles();
    std::_Exit (getApplicationReturnValue());
}
