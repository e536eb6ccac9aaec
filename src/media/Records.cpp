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

juce::String channelName (const HostTake& host, int channel)
{
    const auto isNamed =
        juce::isPositiveAndBelow (channel, (int) host.tracks.size()) && host.tracks[(size_t) channel].name.isNotEmpty();
    return isNamed ? host.tracks[(size_t) channel].name : "Ch " + juce::String (channel + 1);
}

std::vector<juce::File> filesOf (const GuestClip& guest)
{
    std::vector<juce::File> files;

    for (const auto* pieces : { &guest.pieces, &guest.leftOut })
        for (const auto& piece : *pieces)
            files.push_back (piece.file);

    if (files.empty())
        files.push_back (guest.file);

    return files;
}

}    // namespace ld
