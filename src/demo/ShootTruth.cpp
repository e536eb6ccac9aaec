#include "demo/ShootTruth.h"

#include <algorithm>

namespace ld
{
namespace
{

template <typename Read>
auto readAll (const juce::var& array, Read&& read)
{
    std::vector<decltype (read (array[0]))> items;
    items.reserve ((size_t) array.size());

    for (int i = 0; i < array.size(); ++i)
        items.push_back (read (array[i]));

    return items;
}

TrueStretch readStretch (const juce::var& segment)
{
    return { (juce::int64) segment["fromSample"], (double) segment["hostSample"], (double) segment["slope"] };
}

TruePiece readPiece (const juce::File& folder, const juce::var& piece, const LagRange& lags)
{
    TruePiece result { folder.getChildFile (piece["file"].toString()),
                       (juce::int64) piece["frames"],
                       (int) piece["sampleRate"],
                       (double) piece["startSamples"],
                       (double) piece["hostSamplesPerFrame"],
                       (bool) piece["silent"],
                       readAll (piece["segments"], readStretch),
                       readAll (piece["segments"], [] (const auto& segment) { return (bool) segment["quiet"]; }),
                       readAll (piece["paths"], [] (const auto& path) {
                           return LagRange { (double) path[0], (double) path[1] };
                       }) };

    if (result.stretches.empty())
        result.stretches = {
            { 0, result.startSamples, result.hostSamplesPerFrame * result.sampleRate / demoSampleRate - 1.0 }
        };

    result.quietJumps.resize (result.stretches.size());

    if (result.paths.empty())
        result.paths = { lags };

    return result;
}

TrueGuest readGuest (const juce::File& folder, const juce::var& guest)
{
    constexpr auto samplesPerMs = demoSampleRate / 1000.0;
    const auto low = (double) guest["lagSpanMs"][0], high = (double) guest["lagSpanMs"][1];
    return { guest["source"].toString(),
             readAll (
                 guest["pieces"],
                 [&] (const auto& piece) {
        return readPiece (folder, piece, { low * samplesPerMs, high * samplesPerMs });
                 }),
             low,
             high };
}

TrueTake readTake (const juce::File& folder, const juce::var& take)
{
    return { folder.getChildFile (take["poly"].toString()),
             (juce::int64) take["frames"],
             readAll (take["guests"], [&] (const auto& guest) { return readGuest (folder, guest); }) };
}

}    // namespace

const TrueGuest* TrueTake::find (const juce::String& source) const
{
    for (const auto& guest : guests)
        if (guest.source == source)
            return &guest;

    return nullptr;
}

ShootTruth readShootTruth (const juce::File& shootFolder)
{
    const auto json = juce::JSON::parse (shootFolder.getChildFile ("truth.json"));
    const auto readSource = [] (const auto& source) {
        return TrueSource { source["source"].toString(), (double) source["ppm"] };
    };
    return { json["kind"].toString(),
             (int) json["seed"],
             readAll (json["takes"], [&] (const auto& take) { return readTake (shootFolder, take); }),
             readAll (json["sources"], readSource),
             readAll (json["unrelated"],
                      [&] (const auto& path) { return shootFolder.getChildFile (path.toString()); }) };
}

double hostSampleAt (const std::vector<TrueStretch>& stretches, int sampleRate, double frame) noexcept
{
    const auto next = std::find_if (stretches.begin() + 1, stretches.end(), [frame] (const auto& stretch) {
        return (double) stretch.fromSample > frame;
    });
    const auto& stretch = *std::prev (next);
    const auto step = (double) demoSampleRate / sampleRate * (1.0 + stretch.slope);
    return stretch.hostSample + (frame - (double) stretch.fromSample) * step;
}

}    // namespace ld
