#include "report/ReportFiles.h"

#include "output/ReplacingFile.h"
#include "report/ReportCsv.h"
#include "report/ReportPage.h"

namespace ld
{

juce::Result writeSoundReport (const SoundReport& report, const juce::File& page)
{
    const auto table = page.withFileExtension ("csv");
    const std::pair<juce::File, juce::String> texts[] = { { page, makeReportPage (report) },
                                                          { table, makeReportCsv (report) } };

    for (const auto& [file, text] : texts)
        if (! replaceTextFile (file, text))
            return juce::Result::fail ("Could not write " + file.getFullPathName());

    return juce::Result::ok();
}

}    // namespace ld
