#include "session/TakeSketch.h"

#include <algorithm>

namespace ld
{
namespace
{

// Where the guest's files lie, all of them at the places that the work knows; others begin with the take.
void sketchPlace (GuestClip& guest, const BatchMatch& take)
{
    for (auto& piece : guest.pieces)
        for (const auto& scan : take.guests)
            if (scan.file == piece.file)
                piece.alignment = piece.saved = scan.alignment;

    const auto first =
        std::ranges::min_element (guest.pieces, {}, [] (const auto& piece) { return piece.saved.offsetSamples; });

    if (first == guest.pieces.end())
        return;

    guest.alignment = first->saved;

    for (auto& piece : guest.pieces)
        piece.offsetSamples = piece.saved.offsetSamples - guest.alignment.offsetSamples;
}

}    // namespace

std::unique_ptr<Session> sketchTake (const LoadRequest& request)
{
    const auto& take = request.take;
    auto sketch = std::make_unique<Session>();

    if (sketch->openHost (take.host.file).failed())
        return {};

    for (const auto channel : take.omittedHost)
        sketch->omitHostChannel (channel);

    std::vector<juce::File> files;

    for (const auto& scan : take.guests)
        files.push_back (scan.file);

    juce::ignoreUnused (sketch->addGuestsWithoutAudio (files));
    sketch->selectedGuest = juce::Uuid::null();

    for (auto& guest : sketch->guests)
    {
        sketchPlace (guest, take);
        guest.channelAudio.resize ((size_t) std::max (guest.format.channels, 1));
    }

    return sketch;
}

std::unique_ptr<Session> withoutAudio (std::unique_ptr<Session> session)
{
    const auto drop = [] (std::vector<float>& samples) { std::vector<float>().swap (samples); };
    drop (session->host.referenceAudio);
    session->selectedGuest = juce::Uuid::null();

    for (auto& guest : session->guests)
    {
        drop (guest.monoAudio);
        std::ranges::for_each (guest.channelAudio, drop);
        guest.matchPending = false;
    }

    return session;
}

double audioBytesOf (const BatchMatch& take)
{
    const auto rate = (double) std::max (take.host.format.sampleRate, 1);
    const auto framesAtHost = [&] (const ScanFile& scan) {
        return (double) scan.format.numFrames * rate / std::max (scan.format.sampleRate, 1);
    };
    auto frames = framesAtHost (take.host);

    // The channels, and their mixdown.
    for (const auto& scan : take.guests)
        frames += framesAtHost (scan) * (std::max (scan.format.channels, 1) + 1);

    return frames * sizeof (float);
}

}    // namespace ld
