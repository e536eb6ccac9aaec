#include "session/GuestPlacing.h"

#include "clocks/ShootMatch.h"
#include "media/BwfReader.h"
#include "media/LargeBuffers.h"
#include "media/SoundFile.h"
#include "session/GuestLayout.h"

#include <algorithm>

namespace ld
{
namespace
{

using juce::int64;

constexpr int searchSeconds = 2;

Alignment inDoubt (const juce::String& why)
{
    Alignment alignment;
    alignment.needsManual = true;
    alignment.detail = why;
    return alignment;
}

// Until a file kept a place of its own, the files of a guest all had the guest's: they lie where their stamps put them
// beside the earliest one.
bool sharesOnePlace (const GuestClip& guest, const LockedPlacements& known)
{
    const Alignment* first = nullptr;

    for (const auto& piece : guest.pieces)
    {
        const auto at = known.find (piece.file.getFullPathName());

        if (at == known.end() || at->second.needsManual || ! at->second.stretches.empty()
            || (first != nullptr && first->offsetSamples != at->second.offsetSamples))
            return false;

        first = &at->second;
    }

    return guest.pieces.size() >= 2;
}

// The place of one file that was not searched for yet, by its stamp and its sound; not proved.
Alignment searchPlace (const HostTake& host, const GuestPiece& piece, const SyncProgress& progress)
{
    SoundFile sound;

    if (const auto opened = sound.open (piece.file); opened.failed())
        return inDoubt (opened.getErrorMessage());

    auto clip = readForSearch (sound, std::max (host.format.sampleRate, 1));
    clip.bext = sound.bext;
    clip.ixml = sound.ixml;
    return SyncEngine().alignBestChannel (host, clip, searchSeconds, progress);
}

// The pieces whose places are not known are searched, then proved together, as their clocks may be one.
void searchAndProve (const HostTake& host, std::vector<GuestPiece>& pieces, const SyncProgress& progress)
{
    if (pieces.empty())
        return;

    std::vector<PairVerdict> pairs;
    BatchMatch poly;
    copyIdentity (host, poly.host);

    for (size_t i = 0; i < pieces.size(); ++i)
    {
        const auto told = [&] (float fraction, const juce::String& phase) {
            if (progress)
                progress (((float) i + fraction) / (float) pieces.size(), phase);
        };
        auto scan = scanFromPiece (pieces[i]);
        scan.alignment = searchPlace (host, pieces[i], told);
        const auto isFound = ! scan.alignment.needsManual;
        pairs.push_back ({ host.file, std::move (scan), isFound });
    }

    MatchOptions options;
    options.workers = 1;
    const auto proved = proveMatches (
        { poly },
        pairs,
        [&] (const juce::String& what, int, int) {
        if (progress)
            progress (1.0f, what);
        },
        options);

    for (size_t i = 0; i < pieces.size(); ++i)
    {
        pieces[i].alignment = proved.comparisons[i].guest.alignment;
        pieces[i].alignment.needsManual = ! proved.comparisons[i].accepted;
    }
}

// Takes what was laid out without places of its own: each file lies where the clip has it.
void saveAsLaidOut (GuestClip& guest, const Alignment& clip)
{
    for (auto& piece : guest.pieces)
    {
        piece.saved = clip;
        piece.saved.offsetSamples = clip.offsetSamples + piece.offsetSamples;
    }
}

// Its audio stays as its stamps lay it out, so that the user can hear it and place it.
void leaveUnplaced (const HostTake& host, PlacedGuest& placed, std::vector<GuestPiece> doubtful)
{
    auto& guest = placed.guest;
    const auto base = doubtful.front();
    placed.alignment = base.alignment;
    placed.alignment.stretches.clear();

    if (doubtful.size() > 1)
        placed.alignment.detail = "No ISO pieces waveform-matched this poly";

    placed.alignment.needsManual = true;
    guest.pieces = std::move (doubtful);
    stitchGuest (host, guest);

    for (const auto& piece : guest.pieces)
        if (piece.file == base.file)
            placed.alignment.offsetSamples -= piece.offsetSamples;

    saveAsLaidOut (guest, placed.alignment);
}

std::vector<GuestPiece> allPiecesOf (const GuestClip& guest)
{
    auto pieces = guest.pieces;
    pieces.insert (pieces.end(), guest.leftOut.begin(), guest.leftOut.end());

    if (pieces.empty())
    {
        pieces.emplace_back();
        copyIdentity (guest, pieces.back());
    }

    return pieces;
}

void placeTogether (const HostTake& host, PlacedGuest& placed, const LockedPlacements& known)
{
    auto& guest = placed.guest;
    stitchGuest (host, guest);

    if (const auto* place = guest.channelAudio.empty() ? nullptr : findLocked (known, guest))
        SyncEngine::applyLockedAlignment (guest, *place);

    for (auto& piece : guest.pieces)
        if (const auto at = known.find (piece.file.getFullPathName()); at != known.end())
            piece.saved = at->second;

    placed.alignment = guest.channelAudio.empty() ? inDoubt ("Its files cannot be read") : guest.alignment;
}

void layOutFound (const HostTake& host, PlacedGuest& placed, std::vector<GuestPiece> found)
{
    auto& guest = placed.guest;
    guest.pieces = found;
    const auto first = layOutGuest (host, guest);

    // A file that could not be read still belongs to it.
    for (const auto& piece : found)
        if (std::none_of (
                guest.pieces.begin(), guest.pieces.end(), [&] (const auto& kept) { return kept.file == piece.file; }))
            guest.leftOut.push_back (piece);

    placed.alignment = guest.channelAudio.empty() ? inDoubt ("Its files cannot be read") : placeOfClip (guest, first);
}

void placeFiles (const HostTake& host, PlacedGuest& placed, const LockedPlacements& known, const SyncProgress& progress)
{
    auto& guest = placed.guest;
    guest.pieces = allPiecesOf (guest);
    guest.leftOut.clear();

    if (sharesOnePlace (guest, known))
        return placeTogether (host, placed, known);

    std::vector<GuestPiece> found, searched, doubtful;

    for (auto piece : guest.pieces)
    {
        const auto at = known.find (piece.file.getFullPathName());
        piece.alignment = at == known.end() ? Alignment {} : at->second;
        auto& group = at == known.end() ? searched : piece.alignment.needsManual ? doubtful : found;
        group.push_back (std::move (piece));
    }

    searchAndProve (host, searched, progress);

    for (auto& piece : searched)
        (piece.alignment.needsManual ? doubtful : found).push_back (std::move (piece));

    for (auto* group : { &found, &doubtful })
        for (auto& piece : *group)
            piece.saved = piece.alignment;

    if (found.empty())
        return leaveUnplaced (host, placed, std::move (doubtful));

    guest.leftOut = std::move (doubtful);
    layOutFound (host, placed, std::move (found));
}

}    // namespace

Alignment placeOfClip (const GuestClip& guest, int64 first)
{
    const auto& pieces = guest.pieces;
    const auto total = pieces.size() + guest.leftOut.size();
    auto place = pieces.front().saved;

    for (const auto& piece : pieces)
    {
        if (piece.saved.confidence < place.confidence)
            place.evidence = piece.saved.evidence;

        place.confidence = std::min (place.confidence, piece.saved.confidence);
        place.method = piece.saved.method == place.method ? place.method : Alignment::Method::waveform;
    }

    if (total > 1 && place.evidence.isNotEmpty())
        place.evidence = juce::String ((int) pieces.size()) + " of " + juce::String ((int) total) + " files, at least "
                         + place.evidence;

    place.offsetSamples = first;
    place.stretches.clear();
    return place;
}

std::vector<FilePlace> filePlacesOf (const GuestClip& guest)
{
    std::vector<FilePlace> places;

    for (const auto* pieces : { &guest.pieces, &guest.leftOut })
        for (const auto& piece : *pieces)
            places.push_back ({ piece.file, piece.saved });

    return places;
}

HostTake readHostForSearch (HostTake host, int referenceChannel)
{
    BwfReader reader;

    if (! reader.open (host.file) || ! reader.isPlausible())
        return host;

    try
    {
        const auto channel = std::clamp (referenceChannel, 0, std::max (reader.format.channels, 1) - 1);
        host.referenceAudio = makeZeros<float> ((size_t) reader.framesInFile());
        juce::ignoreUnused (reader.readChannel (channel, 0, reader.framesInFile(), host.referenceAudio.data(), 1));
    }
    catch (const std::bad_alloc&)
    {
        host.referenceAudio.clear();
    }

    return host;
}

PlacedGuest
placeGuest (const HostTake& host, GuestClip guest, const LockedPlacements& known, const SyncProgress& progress)
{
    PlacedGuest placed { std::move (guest), {} };

    try
    {
        placeFiles (host, placed, known, progress);
    }
    catch (const std::bad_alloc&)
    {
        // One damaged header in a folder must not cost every take of it.
        placed.guest.channelAudio.clear();
        placed.alignment = inDoubt ("Not enough memory to place it");
    }

    return placed;
}

GuestClip takeOverPlace (GuestClip& live, PlacedGuest placed)
{
    auto& found = placed.guest;

    if (! found.channelAudio.empty())
    {
        std::swap (live.file, found.file);
        std::swap (live.format, found.format);
        std::swap (live.bext, found.bext);
        std::swap (live.ixml, found.ixml);
        std::swap (live.pieces, found.pieces);
        std::swap (live.leftOut, found.leftOut);
        std::swap (live.channelAudio, found.channelAudio);
        std::swap (live.monoAudio, found.monoAudio);
        std::swap (live.peaks, found.peaks);
    }

    live.alignment = placed.alignment;
    live.matchPending = false;
    live.lanesHidden = false;
    live.waveEmphasis = 1.0f;
    return std::move (placed.guest);
}

}    // namespace ld
