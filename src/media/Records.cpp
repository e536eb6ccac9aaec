#include "media/Records.h"

namespace ld
{

juce::String methodWord (Alignment::Method method)
{
    switch (method)
    {
        case Alignment::Method::timecode: return "timecode";
        case Alignment::Method::waveform: return "waveform";
        case Alignment::Method::timecodeRefined: return "timecodeRefined";
        case Alignment::Method::manual: return "manual";
        default: return "none";
    }
}

Alignment::Method methodOfWord (const juce::String& word)
{
    using enum Alignment::Method;

    for (const auto method : { timecode, waveform, timecodeRefined, manual })
        if (word == methodWord (method))
            return method;

    return none;
}

}    // namespace ld
