#include "session/Session.h"

#include "batch/FolderScan.h"
#include "media/SoundFile.h"
#include "output/BwfWriter.h"

#include <algorithm>
#include <new>

namespace ld
{
namespace
{

// How well a track suits as the reference by its name; the first word that occurs decides.
int referenceScore (const juce::String& trackName)
{
    static constexpr std::pair<const char*, int> words[] = {
        { "boom", 3 }, { "mix", 2 }, { "lav", 1 }, { "radio", 1 }
    };
    const auto name = trackName.toLowerCase();

    for (const auto& [word, score] : words)
        if (name.contains (word))
            return score;

    return 0;
}

int chooseReference (const std::vector<TrackInfo>& tracks)
{
    const auto lower = [] (const auto& a, const auto& b) { return referenceScore (a.name) < referenceScore (b.name); };
    return tracks.empty() ? 0 : (int) (std::max_element (tracks.begin(), tracks.end(), lower) - tracks.begin());
}

// Opens a file whose claims can be worked with.
bool openSource (BwfReader& reader, const juce::File& file)
{
    return reader.open (file) && reader.isPlausible();
}

bool hasPiece (const GuestClip& guest, const juce::File& file)
{
    const auto files = filesOf (guest);
    return guest.file == file || std::find (files.begin(), files.end(), file) != files.end();
}

bool isOneSource (const GuestClip& guest, const GuestPiece& piece)
{
    std::vector<ScanFile> scans;

    for (const auto& known : guest.pieces)
        scans.push_back (scanFromPiece (known));

    scans.push_back (scanFromPiece (piece));
    return clusterIsoFills (scans).size() == 1;
}

int highestChannelIndex (const std::vector<TrackInfo>& tracks, int atLeast)
{
    for (const auto& track : tracks)
        atLeast = std::max (atLeast, track.channelIndex);

    return atLeast;
}

std::vector<TrackInfo> tracksNamedAfterFile (const juce::String& stem, int channels)
{
    std::vector<TrackInfo> tracks ((size_t) channels);

    for (int i = 1; i <= channels; ++i)
    {
        auto& track = tracks[(size_t) i - 1];
        track.interleaveIndex = i;

        if (channels == 1)
            track.name = stem;
        else if (channels == 2)
            track.name = stem + (i == 1 ? " L" : " R");
        else
            track.name = stem + " " + juce::String (i);
    }

    return tracks;
}

}    // namespace

// The guest that took a file, and whether it was made for it.
struct Session::AddedPiece
{
    juce::Uuid guest = juce::Uuid::null();
    bool isNewGuest = false;
};

ScanFile scanFromPiece (const GuestPiece& piece)
{
    ScanFile scan;
    copyIdentity (piece, scan);
    return scan;
}

juce::Result Session::loadHost (const juce::File& file)
{
    auto opened = openHost (file);

    if (opened.wasOk())
        extractHostAudio();

    return opened;
}

juce::Result Session::openHost (const juce::File& file)
{
    BwfReader reader;

    if (! openSource (reader, file))
        return juce::Result::fail ("Could not read " + file.getFileName() + " as a BWF/WAV.");

    HostTake take;
    copyIdentity (reader, take);
    take.tracks = reader.resolvedTracks();
    take.extraChunks = reader.extraChunks();

    host = std::move (take);
    guests.clear();
    selectedGuest = juce::Uuid::null();
    referenceChannel = chooseReference (host.tracks);
    resetMixer();
    return juce::Result::ok();
}

void Session::swapTake (Session& other)
{
    std::swap (host, other.host);
    std::swap (guests, other.guests);
    std::swap (selectedGuest, other.selectedGuest);
    std::swap (referenceChannel, other.referenceChannel);
    std::swap (mixer, other.mixer);

    resetMeters();
}

void Session::extractHostAudio()
{
    host.peaks.clear();
    host.referenceAudio.clear();
    BwfReader reader;

    if (! openSource (reader, host.file))
        return;

    const auto channel = std::clamp (referenceChannel, 0, std::max (reader.format.channels, 1) - 1);
    auto overview = reader.readOverview (channel, hostPeakBuckets);
    host.referenceAudio = std::move (overview.channel);
    host.peaks = std::move (overview.peaks);
}

juce::Result Session::addPiece (const juce::File& file, AddedPiece& added)
{
    if (! host.format.valid)
        return juce::Result::fail ("Load a polyphonic host take first.");

    if (file == host.file)
        return juce::Result::fail ("That file is already the host take.");

    if (std::any_of (guests.begin(), guests.end(), [&] (const auto& guest) { return hasPiece (guest, file); }))
        return juce::Result::fail ("File already added.");

    SoundFile sound;

    if (const auto described = sound.describe (file); described.failed())
        return described;

    if (! sound.isPlausible())
        return juce::Result::fail ("Could not read " + file.getFileName() + " as WAV/BWF.");

    GuestPiece piece;
    copyIdentity (sound, piece);

    for (auto& guest : guests)
    {
        if (guest.pieces.empty())
        {
            guest.pieces.emplace_back();
            copyIdentity (guest, guest.pieces.back());
        }

        if (isOneSource (guest, piece))
        {
            guest.pieces.push_back (piece);
            added = { guest.id, false };
            return juce::Result::ok();
        }
    }

    GuestClip guest;
    guest.id = juce::Uuid();
    copyIdentity (piece, guest);
    guest.tracks = guest.givenTracks = nameTracks (piece);
    guest.pieces.push_back (piece);
    added = { guest.id, true };
    guests.push_back (std::move (guest));
    return juce::Result::ok();
}

juce::Result Session::addGuest (const juce::File& file)
{
    AddedPiece added;

    if (const auto result = addPiece (file, added); result.failed())
        return result;

    try
    {
        extractGuestAudio (*findGuest (added.guest));
    }
    catch (const std::bad_alloc&)
    {
        return takeBack (file, added);
    }

    selectedGuest = added.guest;

    // A further piece changes no layout of the mixer, and the user's settings stay.
    if (added.isNewGuest)
        resetMixer();

    return juce::Result::ok();
}

std::vector<juce::Result> Session::addGuestsWithoutAudio (const std::vector<juce::File>& files)
{
    std::vector<juce::Result> results;

    for (const auto& file : files)
    {
        AddedPiece added;
        results.push_back (addPiece (file, added));

        if (results.back().wasOk())
            selectedGuest = added.guest;
    }

    resetMixer();
    return results;
}

// A guest that was there before keeps the audio that it had.
juce::Result Session::takeBack (const juce::File& file, const AddedPiece& added)
{
    if (added.isNewGuest)
        std::erase_if (guests, [&] (const auto& guest) { return guest.id == added.guest; });
    else if (auto* guest = findGuest (added.guest))
        std::erase_if (guest->pieces, [&] (const auto& piece) { return piece.file == file; });

    return juce::Result::fail ("Not enough memory to stitch " + file.getFileName() + ".");
}

std::vector<TrackInfo> Session::nameTracks (const GuestPiece& piece) const
{
    const auto channels = std::max (piece.format.channels, 1);
    auto tracks = piece.ixml.tracks;

    if ((int) tracks.size() != channels)
        tracks = tracksNamedAfterFile (piece.file.getFileNameWithoutExtension(), channels);

    auto highest = highestChannelIndex (host.tracks, 0);

    for (const auto& guest : guests)
        highest = highestChannelIndex (guest.tracks, highest);

    for (auto& track : tracks)
    {
        track.isHost = false;
        track.channelIndex = ++highest;
        track.function = isOriginalMixTrack (track) ? "MIX" : "SINGLE";
    }

    return tracks;
}

void Session::extractGuestAudio (GuestClip& guest) const
{
    stitchGuest (host, guest);
}

void Session::omitHostChannel (int channel)
{
    if (! host.format.valid || channel < 0 || channel >= host.format.channels)
        return;

    host.omittedChannels.resize (std::max (host.omittedChannels.size(), (size_t) host.format.channels));
    host.omittedChannels[(size_t) channel] = 1;
    resetMixer();
}

void Session::removeGuest (const juce::Uuid& id)
{
    std::erase_if (guests, [&] (const auto& guest) { return guest.id == id; });

    if (selectedGuest == id)
        selectedGuest = guests.empty() ? juce::Uuid::null() : guests.back().id;

    resetMixer();
}

GuestClip* Session::findGuest (const juce::Uuid& id)
{
    const auto at = std::find_if (guests.begin(), guests.end(), [&] (const auto& guest) { return guest.id == id; });
    return at == guests.end() ? nullptr : &*at;
}

const GuestClip* Session::findGuest (const juce::Uuid& id) const
{
    return const_cast<Session*> (this)->findGuest (id);
}

void Session::setReferenceChannel (int channel)
{
    if (! host.format.valid)
        return;

    referenceChannel = std::clamp (channel, 0, std::max (host.format.channels, 1) - 1);
    extractHostAudio();
}

std::vector<TrackInfo> Session::allExportTracks() const
{
    return buildExportTracks (host, guests, true);
}

void Session::resetMeters()
{
    for (auto* meters : { &mixerMeters, &mixerPeaks })
        for (auto& meter : *meters)
            meter.store (0.0f);

    mixMeter.store (0.0f);
    mixPeak.store (0.0f);
}

void Session::resetMixer()
{
    mixer.fill ({});

    resetMeters();

    if (host.format.valid)
        muteOriginalMixChannels (host, guests, channelsInUse (mixer, mixerCount()));
}

int Session::mixerCount() const
{
    if (! host.format.valid)
        return 0;

    auto count = 0;

    for (int c = 0; c < host.format.channels; ++c)
        count += isChannelOmitted (host, c) ? 0 : 1;

    for (const auto& guest : guests)
        count += lanesOf (guest);

    return std::min (count, mixerChannelLimit);
}

MixerChannel& Session::mixerAt (int index)
{
    return mixer[(size_t) std::clamp (index, 0, mixerChannelLimit - 1)];
}

const MixerChannel& Session::mixerAt (int index) const
{
    return mixer[(size_t) std::clamp (index, 0, mixerChannelLimit - 1)];
}

bool Session::anySolo() const
{
    return anySoloIn (channelsInUse (mixer, mixerCount()));
}

void Session::applyMixerTemplate (const MixerTemplate& mixerTemplate)
{
    ld::applyMixerTemplate (host, guests, channelsInUse (mixer, mixerCount()), mixerTemplate);
}

bool Session::isInUse (int mixerIndex) const
{
    return mixerIndex >= 0 && mixerIndex < mixerCount();
}

void Session::setMixerGain (int index, float db, juce::int64 sample, bool automationWrite)
{
    if (isInUse (index))
        writeMixerGain (mixerAt (index), db, sample, automationWrite);
}

void Session::setMixerMute (int index, bool mute, juce::int64 sample, bool automationWrite)
{
    if (isInUse (index))
        writeMixerMute (mixerAt (index), mute, sample, automationWrite);
}

void Session::drawMixerGain (int index, float db, juce::int64 sample, juce::int64 previousSample)
{
    if (isInUse (index))
        ld::drawMixerGain (mixerAt (index), db, sample, previousSample);
}

float Session::mixerGainDbAt (int index, juce::int64 sample) const
{
    return isInUse (index) ? ld::mixerGainDbAt (mixerAt (index), sample) : 0.0f;
}

bool Session::mixerMuteAt (int index, juce::int64 sample) const
{
    return isInUse (index) && ld::mixerMuteAt (mixerAt (index), sample);
}

void Session::clearVideo()
{
    video = {};
}

void Session::clear()
{
    host = {};
    guests.clear();
    selectedGuest = juce::Uuid::null();
    referenceChannel = 0;
    resetMixer();
    clearVideo();
}

}    // namespace ld
