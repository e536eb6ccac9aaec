#include "session/GuestPlacing.h"

#include "clocks/ShootMatch.h"
#include "media/BwfReader.h"
#include "media/LargeBuffers.h"
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

// Until a file kept a place of its own, the files of a guest all bore the guest's: they lie where their stamps put them
// beside the earliest one.
bool sharesOnePlace (const GuestClip& guest, const LockedPlacements& known)
{
    const Alignment* first = nullptr;

    for (const auto& piece : guest.pieces)
    {
        const auto at = known.find (piece.file.getFullPathName());

        if (at == known.end() || ! at->second.stretches.empty()
            || (first != nullptr && first->offsetSamples != at->second.offsetSamples))
            return false;

        first = &at->second;
    }

    return guest.pieces.size() >= 2;
}

// The place of one file that nobody has looked for yet, by its stamp and its sound; not proved.
Alignment searchPlace (const HostTake& host, const GuestPiece& piece, const SyncProgress& progress)
{
    BwfReader reader;

    if (! reader.open (piece.file))
        return inDoubt ("Could not read " + piece.file.getFileName() + " as WAV/BWF.");

    auto clip = readForSearch (reader, std::max (host.format.sampleRate, 1));
    clip.bext = reader.bext;
    clip.ixml = reader.ixml;
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

// Of a guest of several files: the place of the earliest, and the least that speaks for any.
Alignment placeOfAll (const std::vector<GuestPiece>& pieces, int64 first, size_t total)
{
    auto place = pieces.front().alignment;

    for (const auto& piece : pieces)
    {
        if (piece.alignment.confidence < place.confidence)
            place.evidence = piece.alignment.evidence;

        place.confidence = std::min (place.confidence, piece.alignment.confidence);
        place.method = piece.alignment.method == place.method ? place.method : Alignment::Method::waveform;
    }

    if (total > 1)
        place.evidence = juce::String ((int) pieces.size()) + " of " + juce::String ((int) total) + " files, at least "
                         + place.evidence;

    place.offsetSamples = first;
    place.stretches.clear();
    return place;
}

// Its audio stays as its stamps lay it out, so that the user can hear it and place it.
void leaveUnplaced (const HostTake& host, PlacedGuest& placed, const std::vector<GuestPiece>& searched)
{
    placed.alignment = searched.front().alignment;
    placed.alignment.stretches.clear();

    if (searched.size() > 1)
        placed.alignment.detail = "No ISO pieces waveform-matched this poly";

    placed.alignment.needsManual = true;
    stitchGuest (host, placed.guest);
}

void placeFiles (const HostTake& host, PlacedGuest& placed, const LockedPlacements& known, const SyncProgress& progress)
{
    auto& guest = placed.guest;

    if (guest.pieces.empty())
    {
        guest.pieces.emplace_back();
        copyIdentity (guest, guest.pieces.back());
    }

    if (sharesOnePlace (guest, known))
    {
        stitchGuest (host, guest);

        if (const auto* place = guest.channelAudio.empty() ? nullptr : findLocked (known, guest))
            SyncEngine::applyLockedAlignment (guest, *place);

        placed.alignment = guest.channelAudio.empty() ? inDoubt ("Its files cannot be read") : guest.alignment;
        return;
    }

    std::vector<GuestPiece> settled, searched;
    const auto total = guest.pieces.size();

    for (auto piece : guest.pieces)
    {
        const auto at = known.find (piece.file.getFullPathName());
        piece.alignment = at == known.end() ? Alignment {} : at->second;
        (at == known.end() ? searched : settled).push_back (std::move (piece));
    }

    searchAndProve (host, searched, progress);
    auto found = settled;
    std::copy_if (searched.begin(), searched.end(), std::back_inserter (found), [] (const GuestPiece& piece) {
        return ! piece.alignment.needsManual;
    });

    if (found.empty())
        return leaveUnplaced (host, placed, searched);

    guest.pieces = std::move (found);
    const auto first = layOutGuest (host, guest);
    placed.alignment =
        guest.channelAudio.empty() ? inDoubt ("Its files cannot be read") : placeOfAll (guest.pieces, first, total);
}

}    // namespace

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
