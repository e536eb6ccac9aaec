#include "FuzzSeeds.h"
#include "FuzzTargets.h"

#include <iostream>

// Writes the seeds of every target: fuzz-seeds FOLDER makes FOLDER/<target>/<number>.
int main (int argc, char** argv)
{
    if (argc != 2)
        return 2;

    const auto folder = juce::File::getCurrentWorkingDirectory().getChildFile (juce::String::fromUTF8 (argv[1]));

    for (const auto& target : ld::fuzz::targets())
    {
        auto number = 0;

        for (const auto& seed : ld::fuzz::seedsFor (target.name))
        {
            const auto file = folder.getChildFile (target.name).getChildFile (juce::String (++number));

            if (file.create().failed() || ! file.replaceWithData (seed.getData(), seed.getSize()))
            {
                std::cerr << "Could not write " << file.getFullPathName() << std::endl;
                return 1;
            }
        }
    }

    return 0;
}
