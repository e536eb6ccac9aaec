#include "support/ShootTruth.h"

namespace ld::test
{
namespace
{

TruePiece readPiece (const juce::File& folder, const juce::var& piece)
{
    return { folder.getChildFile (piece["file"].toString()),
             (juce::int64) piece["frames"],
             (int) piece["sampleRate"],
             (double) piece["startSamples"],
             (double) piece["hostSamplesPerFrame"] };
}

TrueGuest readGuest (const juce::File& folder, const juce::var& guest)
{
    TrueGuest result { guest["source"].toString(), {}, (double) guest["lagSpanMs"][0], (double) guest["lagSpanMs"][1] };

    for (int i = 0; i < guest["pieces"].size(); ++i)
        result.pieces.push_back (readPiece (folder, guest["pieces"][i]));

    return result;
}

TrueTake readTake (const juce::File& folder, const juce::var& take)
{
    TrueTake result { folder.getChildFile (take["poly"].toString()), (juce::int64) take["frames"], {} };

    for (int i = 0; i < take["guests"].size(); ++i)
        result.guests.push_back (readGuest (folder, take["guests"][i]));

    return result;
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
    ShootTruth truth;

    for (int i = 0; i < json["takes"].size(); ++i)
        truth.takes.push_back (readTake (shootFolder, json["takes"][i]));

    for (int i = 0; i < json["unrelated"].size(); ++i)
        truth.unrelated.push_back (shootFolder.getChildFile (json["unrelated"][i].toString()));

    return truth;
}

}    // namespace ld::test
