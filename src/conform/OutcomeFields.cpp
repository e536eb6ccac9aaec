#include "conform/OutcomeFields.h"

#include "output/JsonFields.h"
#include "output/JsonValues.h"

namespace ld
{
namespace
{

juce::var describePiece (const GuestPiece& piece)
{
    return makeJsonObject ({ { "file", piece.file.getFullPathName() },
                             { "offset", piece.offsetSamples },
                             { "xxh64", piece.xxh64 },
                             { "place", describeWholeAlignment (piece.alignment) } });
}

GuestPiece readPiece (const juce::var& value)
{
    const Fields fields (value);
    GuestPiece piece;
    fields.read ("file", piece.file);
    fields.read ("offset", piece.offsetSamples);
    fields.read ("xxh64", piece.xxh64);
    readWholeAlignment (fields.object ("place"), piece.alignment);
    return piece;
}

juce::var describeGuest (const GuestOutcome& guest)
{
    const auto itself = [] (const juce::String& name) { return juce::var (name); };
    return makeJsonObject ({ { "pieces", makeJsonArray (guest.pieces, describePiece) },
                             { "tracks", makeJsonArray (guest.trackNames, itself) },
                             { "place", describeWholeAlignment (guest.alignment) },
                             { "rejected", guest.rejected },
                             { "isUnreadable", guest.isUnreadable } });
}

GuestOutcome readGuest (const juce::var& value)
{
    const Fields fields (value);
    GuestOutcome guest;
    fields.readArray ("pieces", guest.pieces, readPiece);
    fields.readArray ("tracks", guest.trackNames, [] (const juce::var& name) { return name.toString(); });
    readWholeAlignment (fields.object ("place"), guest.alignment);
    fields.read ("rejected", guest.rejected);
    fields.read ("isUnreadable", guest.isUnreadable);
    return guest;
}

juce::var describeMix (const std::optional<MixLevel>& mix)
{
    if (! mix)
        return {};

    return makeJsonObject (
        { { "peak", mix->peak }, { "clippedFrames", mix->clippedFrames }, { "frames", mix->frames } });
}

std::optional<MixLevel> readMix (const juce::var& value)
{
    if (! value.isObject())
        return {};

    const Fields fields (value);
    MixLevel mix;
    fields.read ("peak", mix.peak);
    fields.read ("clippedFrames", mix.clippedFrames);
    fields.read ("frames", mix.frames);
    return mix;
}

}    // namespace

juce::var describeOutcome (const TakeOutcome& take)
{
    return makeJsonObject ({ { "poly", take.poly.getFullPathName() },
                             { "output", take.output.getFullPathName() },
                             { "written", take.written },
                             { "reason", take.reason },
                             { "score", take.score },
                             { "guests", makeJsonArray (take.guests, describeGuest) },
                             { "rejected", take.rejected },
                             { "mix", describeMix (take.mix) },
                             { "polyHash", take.hashes.poly },
                             { "outputHash", take.hashes.output } });
}

TakeOutcome readOutcome (const juce::var& value)
{
    const Fields fields (value);
    TakeOutcome take;
    fields.read ("poly", take.poly);
    fields.read ("output", take.output);
    fields.read ("written", take.written);
    fields.read ("reason", take.reason);
    fields.read ("score", take.score);
    fields.readArray ("guests", take.guests, readGuest);
    fields.read ("rejected", take.rejected);
    fields.read ("polyHash", take.hashes.poly);
    fields.read ("outputHash", take.hashes.output);
    take.mix = readMix (value["mix"]);
    take.isPolyRead = true;
    return take;
}

juce::var describePair (const ProvedPair& pair)
{
    return makeJsonObject ({ { "poly", pair.poly.getFullPathName() },
                             { "file", pair.guest.file.getFullPathName() },
                             { "place", describeWholeAlignment (pair.guest.alignment) },
                             { "accepted", pair.accepted },
                             { "first", describeWholeAlignment (pair.first) },
                             { "firstAccepted", pair.firstAccepted } });
}

ProvedPair readPair (const juce::var& value)
{
    const Fields fields (value);
    ProvedPair pair;
    fields.read ("poly", pair.poly);
    fields.read ("file", pair.guest.file);
    readWholeAlignment (fields.object ("place"), pair.guest.alignment);
    fields.read ("accepted", pair.accepted);
    readWholeAlignment (fields.object ("first"), pair.first);
    fields.read ("firstAccepted", pair.firstAccepted);
    return pair;
}

}    // namespace ld
