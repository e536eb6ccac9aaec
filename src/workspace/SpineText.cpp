#include "workspace/SpineText.h"

#include "workspace/MainText.h"

namespace ld
{
namespace
{

juce::String placeText (const Alignment& alignment)
{
    using enum Alignment::Method;

    // For a doubtful one the reason, for the others the evidence.
    const auto showsEvidence = alignment.evidence.isNotEmpty() && ! alignment.needsManual;

    if (const auto& words = showsEvidence ? alignment.evidence : alignment.detail; words.isNotEmpty())
        return words.replace ("on one line in ", "").toUpperCase();    // the column is narrow; the panel has it whole

    switch (alignment.method)
    {
        case timecode: return "TIMECODE";
        case waveform: return "WAVEFORM";
        case timecodeRefined: return "TC + WAVEFORM";
        case manual: return "MANUAL";
        default: return "UNMATCHED";
    }
}

}    // namespace

LaneText hostLaneText (const HostTake& host, int channel)
{
    const auto isKnown = juce::isPositiveAndBelow (channel, (int) host.tracks.size());
    const auto track = isKnown ? host.tracks[(size_t) channel] : TrackInfo {};
    const auto function = track.function.isEmpty() ? juce::String ("POLY") : track.function;
    return { channelName (host, channel),
             isOriginalMixTrack (track) ? juce::String ("RECORDER MIX  ->  OLDMIX") : function };
}

LaneText guestLaneText (const GuestClip& guest, int channel)
{
    const auto& alignment = guest.alignment;
    const auto isNamed = juce::isPositiveAndBelow (channel, (int) guest.tracks.size())
                         && guest.tracks[(size_t) channel].name.isNotEmpty();
    LaneText text;

    if (isNamed)
        text.name = guest.tracks[(size_t) channel].name;
    else
        text.name = guest.tracks.empty() ? guest.file.getFileNameWithoutExtension() : guest.tracks.front().name;

    if (guest.isMissing)
    {
        text.detail = guest.file.existsAsFile() ? "CANNOT BE READ" : "FILE NOT FOUND";
        return text;
    }

    text.detail = placeText (alignment);

    // A score of a search is above 1, and no share of anything.
    if (alignment.method != Alignment::Method::none && alignment.confidence <= 1.0f)
        text.detail << "  " << juce::roundToInt (alignment.confidence * 100.0f) << "%";

    if (guest.pieces.size() >= 2)
        text.detail << "  |  " << (int) guest.pieces.size() << " files";

    if (! guest.leftOut.empty())
        text.detail << "  |  " << (int) guest.leftOut.size() << " without a place";

    return text;
}

juce::String hostLaneTip (const HostTake& host, int channel)
{
    const auto text = hostLaneText (host, channel);
    return text.name + "\n" + text.detail;
}

juce::String guestLaneTip (const GuestClip& guest, int channel)
{
    juce::StringArray lines { guestLaneText (guest, channel).name };

    for (const auto& file : filesOf (guest))
        lines.add (file.getFileName());

    lines.addArray ({ guest.alignment.detail, guest.alignment.evidence });
    lines.removeEmptyStrings();
    return lines.joinIntoString ("\n");
}

}    // namespace ld
