#include "work/WorkEdits.h"

#include "output/GuestSpans.h"
#include "session/MetadataOverrides.h"
#include "session/TakeLevels.h"
#include "session/TakeLoading.h"

#include <algorithm>

namespace ld
{
namespace
{

template <typename Takes>
auto* findIn (Takes& takes, const juce::File& poly)
{
    const auto at = std::find_if (takes.begin(), takes.end(), [&] (const auto& t) { return t.host.file == poly; });
    return at == takes.end() ? nullptr : &*at;
}

bool holds (const std::vector<juce::File>& files, const juce::File& file)
{
    return std::find (files.begin(), files.end(), file) != files.end();
}

bool holds (const BatchMatch& take, const juce::File& file)
{
    return take.host.file == file || std::ranges::any_of (take.guests, [&] (const auto& g) { return g.file == file; });
}

// A field of a guest that the user fills in.
struct GuestField
{
    juce::String step;    // what its edit is called
    juce::String field;
    bool ofFamily = false;
};

template <typename Change>
WorkEdit editGuest (
    const SessionDocument& doc, const Session& session, const juce::Uuid& id, const GuestField& field, Change&& change)
{
    WorkEdit edit { field.step, doc, field.field + " " + id.toString() };
    Session described;
    described.host = describeHost (session.host);
    std::transform (session.guests.begin(), session.guests.end(), std::back_inserter (described.guests), describeGuest);

    if (auto* const guest = described.findGuest (id))
    {
        change (*guest);
        rememberMetadata (described, edit.document.metadataOverrides, edit.document.nameOverrides, id, field.ofFamily);
    }

    return edit;
}

juce::String nameOfGuest (const Session& session, const juce::Uuid& id)
{
    const auto* const guest = session.findGuest (id);
    return guest != nullptr ? guestName (*guest) : juce::String();
}

// A renamed source goes on with the levels that it had where nothing was set yet.
void carryLevels (MixerTemplate& mixer, const TrackInfo& before, const TrackInfo& after, int lane)
{
    const auto from = mixer.find (mixerSourceKey (false, before, lane));

    if (from != mixer.end())
        mixer.try_emplace (mixerSourceKey (false, after, lane), MixerChannel (from->second));
}

}    // namespace

const BatchMatch* findTake (const SessionDocument& doc, const juce::File& poly)
{
    return findIn (doc.takes, poly);
}

const BatchMatch* openTakeOf (const SessionDocument& doc)
{
    return juce::isPositiveAndBelow (doc.batchIndex, (int) doc.takes.size()) ? &doc.takes[(size_t) doc.batchIndex]
                                                                             : nullptr;
}

WorkEdit nudgeGuest (const SessionDocument& doc,
                     const juce::File& poly,
                     const GuestClip& guest,
                     juce::int64 samples,
                     juce::String stroke)
{
    WorkEdit edit { (stroke.isEmpty() ? "Nudge " : "Move ") + guestName (guest), doc, std::move (stroke) };
    const auto files = filesOf (guest);

    if (auto* const take = findIn (edit.document.takes, poly); take != nullptr && samples != 0)
        for (auto& scan : take->guests)
            if (holds (files, scan.file))
                scan.alignment = SyncEngine::applyNudge (scan.alignment, samples);

    return edit;
}

SessionDocument withPlaces (SessionDocument doc, const juce::File& poly, const std::vector<FilePlace>& places)
{
    if (auto* const take = findIn (doc.takes, poly))
        for (const auto& found : places)
            for (auto& scan : take->guests)
                if (scan.file == found.file)
                    scan.alignment = found.place;

    return doc;
}

WorkEdit searchGuestAgain (const SessionDocument& doc, const juce::File& poly, const GuestClip& guest)
{
    std::vector<FilePlace> unsearched;

    for (const auto& file : filesOf (guest))
        unsearched.push_back ({ file, {} });

    return { "Find the place of " + guestName (guest), withPlaces (doc, poly, unsearched) };
}

WorkEdit removeGuest (const SessionDocument& doc, const juce::File& poly, const GuestClip& guest)
{
    return { "Remove " + guestName (guest), withoutFiles (doc, poly, filesOf (guest)) };
}

WorkEdit
removeChannel (const SessionDocument& doc, const juce::File& poly, int channel, const juce::String& channelName)
{
    WorkEdit edit { "Remove " + channelName, doc };

    if (auto* const take = findIn (edit.document.takes, poly))
        if (auto& omitted = take->omittedHost; std::ranges::find (omitted, channel) == omitted.end())
            omitted.insert (std::ranges::upper_bound (omitted, channel), channel);

    return edit;
}

WorkEdit addFiles (const SessionDocument& doc,
                   const juce::File& poly,
                   const std::vector<ScanFile>& files,
                   const juce::String& what)
{
    WorkEdit edit { "Add " + what, doc };

    if (auto* const take = findIn (edit.document.takes, poly))
        for (const auto& scan : files)
            if (! holds (*take, scan.file))
            {
                take->guests.push_back (scan);
                take->guests.back().alignment = {};
            }

    return edit;
}

SessionDocument withoutFiles (SessionDocument doc, const juce::File& poly, const std::vector<juce::File>& files)
{
    if (auto* const take = findIn (doc.takes, poly))
        std::erase_if (take->guests, [&] (const auto& scan) { return holds (files, scan.file); });

    return doc;
}

WorkEdit openPoly (const SessionDocument& doc, const BatchMatch& poly)
{
    WorkEdit edit { "Open " + poly.host.file.getFileName(), doc };
    auto& takes = edit.document.takes;
    const auto* known = findTake (edit.document, poly.host.file);

    if (known == nullptr)
        known = &takes.emplace_back (poly);

    edit.document.batchIndex = (int) (known - takes.data());
    return edit;
}

WorkEdit replaceTakes (const SessionDocument& doc,
                       std::vector<BatchMatch> takes,
                       std::vector<RecorderClock> recorders,
                       const juce::String& name)
{
    WorkEdit edit { name, doc };
    edit.document.takes = std::move (takes);
    edit.document.recorders = std::move (recorders);
    edit.document.batchIndex = 0;
    return edit;
}

WorkEdit joinMatches (const SessionDocument& doc,
                      const std::vector<BatchMatch>& found,
                      std::vector<RecorderClock> recorders,
                      const juce::String& folderName)
{
    WorkEdit edit { "Add ISO folder " + folderName, doc };
    edit.document.recorders = std::move (recorders);

    for (auto& take : edit.document.takes)
    {
        const auto* const match = findIn (found, take.host.file);

        if (match == nullptr)
            continue;

        for (const auto& scan : match->guests)
        {
            const auto known =
                std::ranges::find_if (take.guests, [&] (const auto& guest) { return guest.file == scan.file; });

            if (known == take.guests.end())
                take.guests.push_back (scan);
            else if (known->alignment.method != Alignment::Method::manual)
                *known = scan;
        }

        if (match->reason.isNotEmpty())
            take.reason = match->reason;

        take.score = std::max (take.score, match->score);
    }

    return edit;
}

WorkEdit resetWork()
{
    return { "Reset folders", WorkHistory::emptyDocument() };
}

WorkEdit renameLane (const SessionDocument& doc,
                     const Session& session,
                     const LaneOfGuest& place,
                     const juce::String& name,
                     bool ofFamily)
{
    const auto& [id, lane] = place;
    const GuestField field { "Rename " + nameOfGuest (session, id), "name", ofFamily };
    auto edit = editGuest (doc, session, id, field, [&, at = lane] (GuestClip& guest) {
        if (juce::isPositiveAndBelow (at, (int) guest.tracks.size()))
            guest.tracks[(size_t) at].name = name.trim();
    });

    if (const auto* const guest = session.findGuest (id);
        guest != nullptr && juce::isPositiveAndBelow (lane, (int) guest->tracks.size()))
    {
        auto after = guest->tracks[(size_t) lane];
        after.name = name.trim();
        carryLevels (edit.document.mixer, guest->tracks[(size_t) lane], after, lane);
    }

    return edit;
}

WorkEdit numberLane (const SessionDocument& doc, const Session& session, const LaneOfGuest& place, int number)
{
    const GuestField field { "Channel of " + nameOfGuest (session, place.guest), "number", false };
    return editGuest (doc, session, place.guest, field, [&] (GuestClip& guest) {
        if (juce::isPositiveAndBelow (place.lane, (int) guest.tracks.size()))
        {
            auto& track = guest.tracks[(size_t) place.lane];
            track.channelIndex = track.chosenChannel = std::max (number, 1);
        }
    });
}

WorkEdit noteGuest (const SessionDocument& doc, const Session& session, const juce::Uuid& id, const juce::String& note)
{
    const GuestField field { "Note on " + nameOfGuest (session, id), "note", false };
    return editGuest (doc, session, id, field, [&] (GuestClip& guest) { guest.notes = note; });
}

WorkEdit
setLevels (const SessionDocument& doc, const Session& session, const juce::String& name, const juce::String& stroke)
{
    WorkEdit edit { name, doc, stroke };
    rememberLevels (edit.document.levels,
                    edit.document.mixer,
                    session.host,
                    session.guests,
                    channelsInUse (session.mixer, session.mixerCount()));
    return edit;
}

WorkEdit setPicture (const SessionDocument& doc, const ReferencePicture& picture)
{
    const auto isMoved = doc.videoFile == picture.file;
    WorkEdit edit { isMoved ? juce::String ("Picture start") : "Open picture " + picture.file.getFileName(), doc };
    edit.document.videoFile = picture.file;
    edit.document.videoTimestampSamples = picture.timestampSamples;
    edit.document.videoTimecodeRate = picture.timecodeRate;
    return edit;
}

WorkEdit setReferenceChannel (const SessionDocument& doc, int channel)
{
    WorkEdit edit { "Show channel " + juce::String (channel + 1), doc };
    edit.document.referenceChannel = channel;
    return edit;
}

}    // namespace ld
