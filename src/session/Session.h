#pragma once

#include "mix/MixModel.h"

#include <atomic>

namespace ld
{

struct ScanFile;

/** What a folder scan would have seen of a piece. */
[[nodiscard]] ScanFile scanFromPiece (const GuestPiece&);

/** Turns a guest's pieces into its working audio at the host's rate: placed by timecode against each other where host
    and piece have one, the others end to end behind them in the order of their names; gaps are silence, overlaps the
    mean. Replaces channelAudio, monoAudio, peaks, pieces and the clip's identity; pieces that cannot be read are left
    out, and where none can be read the clip stays as it was.
    Throws std::bad_alloc where the stitched clip would not fit the machine's memory. */
void stitchGuest (const HostTake& host, GuestClip& guest);

/** The work in hand: one poly, its guests, the mixer bank and the reference picture. It holds no lock and no thread. */
class Session
{
public:
    HostTake host;
    std::vector<GuestClip> guests;    // in order of adding
    juce::Uuid selectedGuest = juce::Uuid::null();
    int referenceChannel = 0;    // 0-based; the one in host.referenceAudio
    MixerBank mixer {};          // used from 0 up to mixerCount

    // Written by the audio thread: levels that fall, and the highest peak since the display took it (by exchange with 0).
    std::array<std::atomic<float>, mixerChannelLimit> mixerMeters {}, mixerPeaks {};
    std::atomic<float> mixMeter { 0.0f }, mixPeak { 0.0f };    // of the new MIX, before it is brought to full scale

    ReferencePicture video;

    /** Replaces the host and discards every guest; a file that cannot be read changes nothing. */
    [[nodiscard]] juce::Result loadHost (const juce::File&);

    /** The same without reading any audio: there are no curves then. */
    [[nodiscard]] juce::Result openHost (const juce::File&);

    /** Takes over the take of another session, with its guests, choices and mixer, and gives it the own one. Costs nothing but
        moves, so that it may stand under a lock. The picture stays. */
    void swapTake (Session&);

    /** Adds a file as a new guest, or as a further piece of the guest that it belongs to. */
    [[nodiscard]] juce::Result addGuest (const juce::File&);

    /** Adds several files, in order, as addGuest does one by one, but leaves the guests without audio: whoever places
        the pieces of a guest one by one needs none, and a day's pieces stitched together can be hours of silence.
        Returns one result for each file. */
    [[nodiscard]] std::vector<juce::Result> addGuestsWithoutAudio (const std::vector<juce::File>&);

    void omitHostChannel (int channel);
    void removeGuest (const juce::Uuid&);
    [[nodiscard]] GuestClip* findGuest (const juce::Uuid&);
    [[nodiscard]] const GuestClip* findGuest (const juce::Uuid&) const;
    void setReferenceChannel (int channel);

    /** Reads the reference channel and all peaks again, in one pass over the file. */
    void extractHostAudio();
    void extractGuestAudio (GuestClip&) const;

    /** The tracks of the combined file. No command reaches it: writers ask buildExportTracks. */
    [[nodiscard]] std::vector<TrackInfo> allExportTracks() const;

    /** Back to the default bank, with the recorder's own mix muted. */
    void resetMixer();
    [[nodiscard]] int mixerCount() const;
    [[nodiscard]] MixerChannel& mixerAt (int index);
    [[nodiscard]] const MixerChannel& mixerAt (int index) const;
    [[nodiscard]] bool anySolo() const;
    void applyMixerTemplate (const MixerTemplate&);

    // These do nothing for an index that is not in use.
    void setMixerGain (int index, float db, juce::int64 sample, bool automationWrite);
    void setMixerMute (int index, bool mute, juce::int64 sample, bool automationWrite);
    void drawMixerGain (int index, float db, juce::int64 sample, juce::int64 previousSample);
    [[nodiscard]] float mixerGainDbAt (int index, juce::int64 sample) const;
    [[nodiscard]] bool mixerMuteAt (int index, juce::int64 sample) const;

    void clearVideo();
    void clear();

private:
    struct AddedPiece;

    [[nodiscard]] juce::Result addPiece (const juce::File&, AddedPiece&);
    [[nodiscard]] juce::Result takeBack (const juce::File&, const AddedPiece&);
    void resetMeters();
    [[nodiscard]] bool isInUse (int mixerIndex) const;
    [[nodiscard]] std::vector<TrackInfo> nameTracks (const GuestPiece&) const;
};

}    // namespace ld
