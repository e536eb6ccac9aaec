#include "FuzzInput.h"

#include "media/BextIxml.h"
#include "media/BwfReader.h"
#include "session/Session.h"
#include "sync/SyncEngine.h"

#include <cmath>

namespace ld::fuzz
{
namespace
{

// More would only cost time: what is read is what is there.
constexpr juce::int64 mostFrames = 1 << 20;

void readAudio (const BwfReader& reader)
{
    constexpr int buckets = 64;
    const auto frames = reader.framesInFile();
    const auto channels = reader.format.channels;
    require (frames >= 0 && frames <= reader.format.numFrames, "no more frames are there than are stated");

    const auto all = reader.readAllChannels();
    require ((int) all.size() == channels, "a vector for each channel");

    std::vector<float> one ((size_t) frames);
    juce::ignoreUnused (reader.readChannel (channels - 1, 0, frames, one.data(), 1));

    // Of a file that was cut off, each read gives the whole blocks of its own range.
    const auto isWhole = frames == reader.format.numFrames;
    require (! isWhole || one.empty() || std::memcmp (one.data(), all.back().data(), one.size() * sizeof (float)) == 0,
             "one channel reads as among all");

    std::vector<std::vector<float>> stretch;
    reader.readChannels (frames / 2, 100, stretch);
    std::vector<juce::int32> interleaved ((size_t) channels * 32);
    juce::ignoreUnused (reader.readInterleavedInt32 (std::max<juce::int64> (frames - 16, 0), 32, interleaved.data()));

    for (const auto sample : interleaved)
        require (std::abs ((juce::int64) sample) <= 8388608, "samples lie on the 24-bit scale");

    const auto overview = reader.readOverview (0, buckets);
    require ((int) overview.peaks.size() == channels, "a curve for each channel");
    require (reader.extractPeaks (0, buckets) == overview.peaks.front(), "a curve reads as among all");
}

}    // namespace

void readWave (Bytes bytes)
{
    static const InputFile input (".wav");
    BwfReader reader;

    if (! reader.open (input.holding (bytes)))
        return;

    require (reader.format.channels > 0 && reader.format.sampleRate > 0, "an open file has a format");
    juce::ignoreUnused (reader.extraChunks(), reader.resolvedTracks(), reader.isPlausible());

    if (reader.framesInFile() * reader.format.channels <= mostFrames)
        readAudio (reader);
}

void readBext (Bytes bytes)
{
    const auto bext = parseBext ({ reinterpret_cast<const char*> (bytes.data()), bytes.size() });

    if (! bext.present)
        return;

    const auto written = serialiseBext (bext);
    const auto again = parseBext (bytesOf (written));
    require (again.timeReference == bext.timeReference && again.umid == bext.umid, "numbers survive a rewrite");

    // A field that was cut can end with a blank, which the next reader trims.
    const auto rewritten = serialiseBext (again);
    const auto last = parseBext (bytesOf (rewritten));
    require (serialiseBext (last) == rewritten, "a later rewrite changes nothing");
}

void readIxml (Bytes bytes)
{
    const auto ixml = parseIxml (textOf (bytes));
    const auto written = serialiseIxml (ixml, ixml.tracks);
    const auto again = parseIxml (written);
    require (again.present, "what was written is a document");
    require (again.tracks.size() == ixml.tracks.size(), "no track is lost");
    require (! ixml.hasTimestamp || again.timestampSamples == ixml.timestampSamples, "a stamp survives a rewrite");

    // The first one drops what the source declared of its encoding, and blanks between elements.
    const auto rewritten = serialiseIxml (again, again.tracks);
    const auto last = parseIxml (rewritten);
    require (serialiseIxml (last, last.tracks) == rewritten, "a later rewrite changes nothing");
}

void conformTake (Bytes bytes)
{
    static const InputFile poly (".wav"), iso (".wav");
    const auto stated = take<std::uint32_t> (bytes);
    const auto length = std::min ((size_t) stated, bytes.size());
    Session session;

    if (session.loadHost (poly.holding (bytes.first (length))).failed())
        return;

    require (session.host.peaks.size() == (size_t) session.host.format.channels, "every channel has a curve");

    if (session.addGuest (iso.holding (bytes.subspan (length))).failed())
        return;

    auto& guest = session.guests.front();
    const auto audible = guest.channelAudio.empty() ? 0 : (juce::int64) guest.channelAudio.front().size();

    if (std::max (audible, (juce::int64) session.host.referenceAudio.size()) > mostFrames)
        return;

    guest.alignment = SyncEngine().alignAndPlacePieces (session.host, guest, 2, {});
    require (guest.alignment.detail.isNotEmpty(), "a placement says what it is");
    require (std::isfinite (guest.alignment.confidence) && std::isfinite (guest.alignment.driftSlope),
             "a placement is a number");
}

}    // namespace ld::fuzz
