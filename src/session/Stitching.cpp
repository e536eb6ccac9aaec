#include "media/BextIxml.h"
#include "media/MemoryBudget.h"
#include "media/SoundFile.h"
#include "session/Session.h"
#include "sync/ClipAudio.h"
#include "sync/Signal.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace ld
{
namespace
{

using juce::int64;

// One piece that could be read, on the timeline of its clip.
struct LoadedPiece
{
    GuestPiece piece;                            // with metadata fresh from the file
    std::vector<std::vector<float>> channels;    // at the host's rate
    int64 start = 0, duration = 0;               // host samples; before the host is negative
    bool hasTimecode = false;

    [[nodiscard]] int64 end() const { return start + duration; }
};

double rateOf (const AudioFormatInfo& format)
{
    return std::max (format.sampleRate, 1);
}

std::optional<LoadedPiece> loadPiece (const HostTake& host, const juce::File& file)
{
    SoundFile sound;

    if (sound.open (file).failed() || ! sound.isPlausible())
        return {};

    LoadedPiece loaded;
    copyIdentity (sound, loaded.piece);
    requireMemory ((double) sound.framesInFile() * sound.format.channels * (double) sizeof (float)
                   * (1.0 + rateOf (host.format) / rateOf (sound.format)));
    loaded.channels = sound.readAllChannels();

    // A file without a single frame still counts for one sample.
    for (auto& channel : loaded.channels)
    {
        channel.resize (std::max<size_t> (channel.size(), 1));
        channel = resampleTo (std::move (channel), sound.format.sampleRate, rateOf (host.format));
    }

    loaded.duration = (int64) loaded.channels.front().size();

    const auto byStamps = offsetByStamps (host, sound);
    loaded.hasTimecode = byStamps.has_value();
    loaded.start = byStamps.value_or (0);
    return loaded;
}

bool goesAhead (const LoadedPiece& a, const LoadedPiece& b)
{
    if (a.hasTimecode != b.hasTimecode)
        return a.hasTimecode;

    if (a.hasTimecode && a.start != b.start)
        return a.start < b.start;

    return a.piece.file.getFileName() < b.piece.file.getFileName();
}

// Pieces without timecode follow one another behind all that have it.
void placeUnstamped (std::vector<LoadedPiece>& pieces)
{
    int64 cursor = 0;

    for (const auto& piece : pieces)
        if (piece.hasTimecode)
            cursor = std::max (cursor, piece.end());

    for (auto& piece : pieces)
    {
        if (piece.hasTimecode)
            continue;

        piece.start = cursor;
        cursor += piece.duration;
    }
}

}    // namespace

void stitchGuest (const HostTake& host, GuestClip& guest)
{
    if (guest.pieces.empty())
    {
        guest.pieces.emplace_back();
        copyIdentity (guest, guest.pieces.back());
    }

    std::vector<LoadedPiece> loaded;

    for (const auto& piece : guest.pieces)
        if (auto audio = loadPiece (host, piece.file))
            loaded.push_back (std::move (*audio));

    if (loaded.empty())
        return;

    std::stable_sort (loaded.begin(), loaded.end(), goesAhead);
    placeUnstamped (loaded);

    const auto startsEarlier = [] (const auto& a, const auto& b) { return a.start < b.start; };
    const auto earliest = std::min_element (loaded.begin(), loaded.end(), startsEarlier);
    const auto base = earliest->start;
    std::vector<PlacedAudio> placed;
    std::vector<GuestPiece> pieces;
    size_t channelCount = 1;
    int64 length = 1;

    for (auto& piece : loaded)
    {
        piece.piece.offsetSamples = piece.start - base;
        pieces.push_back (piece.piece);
        placed.push_back ({ &piece.channels, piece.piece.offsetSamples });
        channelCount = std::max (channelCount, piece.channels.size());
        length = std::max (length, piece.end() - base);
    }

    auto audio = layOutAudio (placed, channelCount, length);
    copyIdentity (earliest->piece, guest);
    guest.format.channels = (int) channelCount;
    guest.pieces = std::move (pieces);
    guest.channelAudio = std::move (audio);
    guest.monoAudio = mixdown (guest.channelAudio);
    rebuildGuestPeaks (guest);
}

}    // namespace ld
