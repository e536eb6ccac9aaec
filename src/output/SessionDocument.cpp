#include "output/SessionDocument.h"

#include "media/BextIxml.h"
#include "output/JsonFields.h"
#include "output/JsonValues.h"
#include "output/ReplacingFile.h"

#include <limits>

namespace ld
{
namespace
{

using juce::int64;

constexpr int maxDecimalPlaces = 15;

// Thousands of takes with drawn mixes are some tens of megabytes; parsed, a hostile file takes twenty times its size.
constexpr int64 largestDocumentBytes = 128 << 20;

// What a missing file is recognised by.
void describeIdentity (juce::DynamicObject& object, const ScanFile& scan)
{
    if (scan.format.numFrames < 1)
        return;

    object.setProperty ("frames", scan.format.numFrames);
    object.setProperty ("sampleRate", scan.format.sampleRate);
    object.setProperty ("channels", scan.format.channels);

    if (hasAudioTimestamp (scan.ixml, scan.bext))
        object.setProperty ("stamp", (int64) timestampFromIxmlOrBext (scan.ixml, scan.bext));
}

juce::var describe (const ScanFile& guest)
{
    auto object = describeWholeAlignment (guest.alignment, { { "file", guest.file.getFullPathName() } });
    describeIdentity (*object.getDynamicObject(), guest);
    return object;
}

juce::var describe (const RecorderClock& clock)
{
    const auto describeJam = [] (const JamError& jam) {
        return makeJsonObject ({ { "fromSeconds", jam.fromSeconds },
                                 { "toSeconds", jam.toSeconds },
                                 { "errorSeconds", jam.errorSeconds },
                                 { "drift", jam.drift },
                                 { "files", jam.files } });
    };
    return makeJsonObject ({ { "key", clock.key },
                             { "slope", clock.slope },
                             { "slopeError", clock.slopeError },
                             { "files", clock.files },
                             { "timecode", makeJsonArray (clock.jams, describeJam) } });
}

juce::var describe (const BatchMatch& take)
{
    auto object =
        makeJsonObject ({ { "host", take.host.file.getFullPathName() },
                          { "reason", take.reason },
                          { "score", take.score },
                          { "guests", makeJsonArray (take.guests, [] (const auto& g) { return describe (g); }) },
                          { "omittedHost", makeJsonArray (take.omittedHost, [] (int c) { return juce::var (c); }) } });
    describeIdentity (*object.getDynamicObject(), take.host);
    return object;
}

juce::var describe (const MixerTemplate::value_type& entry)
{
    const auto& [key, channel] = entry;
    const auto gainPoint = [] (const MixAutomationPoint& point) {
        return makeJsonObject ({ { "sample", point.sample }, { "gainDb", point.gainDb } });
    };
    const auto mutePoint = [] (const MixMutePoint& point) {
        return makeJsonObject ({ { "sample", point.sample }, { "mute", point.mute } });
    };
    return makeJsonObject ({ { "key", key },
                             { "gainDb", channel.gainDb },
                             { "pan", channel.pan },
                             { "mute", channel.mute },
                             { "solo", channel.solo },
                             { "automation", makeJsonArray (channel.automation, gainPoint) },
                             { "muteAutomation", makeJsonArray (channel.muteAutomation, mutePoint) } });
}

juce::var describe (const TakeLevels::value_type& entry)
{
    const auto& [take, lane] = entry.first;
    auto object = describe (MixerTemplate::value_type (lane, entry.second));
    object.getDynamicObject()->setProperty ("take", take);
    return object;
}

juce::var describe (const TrackInfo& track)
{
    return makeJsonObject ({ { "channelIndex", track.channelIndex },
                             { "interleaveIndex", track.interleaveIndex },
                             { "name", track.name },
                             { "function", track.function },
                             { "notes", track.notes },
                             { "isHost", track.isHost },
                             { "chosenChannel", track.chosenChannel } });
}

juce::var describe (const MetadataOverrides::value_type& entry)
{
    const auto& [key, saved] = entry;
    return makeJsonObject ({ { "key", key },
                             { "familyKey", saved.familyKey },
                             { "notes", saved.notes },
                             { "tracks", makeJsonArray (saved.tracks, [] (const auto& t) { return describe (t); }) } });
}

juce::var describe (const NameOverrides::value_type& entry)
{
    const auto& [familyKey, names] = entry;
    return makeJsonObject (
        { { "familyKey", familyKey },
          { "names", makeJsonArray (names, [] (const juce::String& name) { return juce::var (name); }) } });
}

juce::var describe (const SessionDocument& doc)
{
    const auto described = [] (const auto& item) { return describe (item); };
    auto root = makeJsonObject ({ { "version", sessionVersion },
                                  { "batchIndex", doc.batchIndex },
                                  { "referenceChannel", doc.referenceChannel } });
    auto& object = *root.getDynamicObject();

    if (doc.videoFile.getFullPathName().isNotEmpty())
        object.setProperty ("video",
                            makeJsonObject ({ { "file", doc.videoFile.getFullPathName() },
                                              { "timestampSamples", doc.videoTimestampSamples },
                                              { "timecodeRate", doc.videoTimecodeRate } }));

    object.setProperty ("takes", makeJsonArray (doc.takes, described));
    object.setProperty ("mixer", makeJsonArray (doc.mixer, described));
    object.setProperty ("metadataOverrides", makeJsonArray (doc.metadataOverrides, described));
    object.setProperty ("nameOverrides", makeJsonArray (doc.nameOverrides, described));
    object.setProperty ("recorders", makeJsonArray (doc.recorders, described));
    object.setProperty ("levels", makeJsonArray (doc.levels, described));

    if (doc.recoveredFrom != juce::File())
        object.setProperty ("recoveredFrom", doc.recoveredFrom.getFullPathName());

    return root;
}

void readScan (const Fields& fields, const char* key, ScanFile& scan)
{
    fields.read (key, scan.file);
    scan.format.valid = scan.file.existsAsFile();
    fields.read ("frames", scan.format.numFrames);
    fields.read ("sampleRate", scan.format.sampleRate);
    fields.read ("channels", scan.format.channels);

    int64 stamp = -1;
    fields.read ("stamp", stamp);

    if (stamp < 0)
        return;

    scan.ixml.present = scan.ixml.hasTimestamp = true;
    scan.ixml.timestampSamples = (juce::uint64) stamp;
    scan.ixml.timestampSampleRate = scan.format.sampleRate;
}

ScanFile readGuest (const juce::var& value)
{
    const Fields fields (value);
    ScanFile guest;
    readScan (fields, "file", guest);
    readWholeAlignment (fields, guest.alignment);
    return guest;
}

BatchMatch readTake (const juce::var& value)
{
    const Fields fields (value);
    BatchMatch take;
    readScan (fields, "host", take.host);
    fields.read ("reason", take.reason);
    fields.read ("score", take.score);
    fields.readArray ("guests", take.guests, readGuest);
    fields.readArray ("omittedHost", take.omittedHost, [] (const juce::var& channel) {
        return (int) juce::jlimit<int64> (-1, std::numeric_limits<int>::max(), wholeNumberIn (channel));
    });
    return take;
}

RecorderClock readRecorder (const juce::var& value)
{
    const Fields fields (value);
    RecorderClock clock;
    fields.read ("key", clock.key);
    fields.read ("slope", clock.slope);
    fields.read ("slopeError", clock.slopeError);
    fields.read ("files", clock.files);
    fields.readArray ("timecode", clock.jams, [] (const juce::var& item) {
        JamError jam;
        Fields (item).read ("fromSeconds", jam.fromSeconds);
        Fields (item).read ("toSeconds", jam.toSeconds);
        Fields (item).read ("errorSeconds", jam.errorSeconds);
        Fields (item).read ("drift", jam.drift);
        Fields (item).read ("files", jam.files);
        return jam;
    });
    return clock;
}

MixerChannel readChannel (const juce::var& value)
{
    const Fields fields (value);
    MixerChannel channel;
    fields.read ("gainDb", channel.gainDb);
    fields.read ("pan", channel.pan);
    fields.read ("mute", channel.mute);
    fields.read ("solo", channel.solo);
    fields.readArray ("automation", channel.automation, [] (const juce::var& item) {
        MixAutomationPoint point;
        Fields (item).read ("sample", point.sample);
        Fields (item).read ("gainDb", point.gainDb);
        return point;
    });
    fields.readArray ("muteAutomation", channel.muteAutomation, [] (const juce::var& item) {
        MixMutePoint point;
        Fields (item).read ("sample", point.sample);
        Fields (item).read ("mute", point.mute);
        return point;
    });
    return channel;
}

TrackInfo readTrack (const juce::var& value)
{
    const Fields fields (value);
    TrackInfo track;
    track.isHost = false;    // a saved track is a guest's, where nothing else is said
    fields.read ("channelIndex", track.channelIndex);
    fields.read ("interleaveIndex", track.interleaveIndex);
    fields.read ("name", track.name);
    fields.read ("function", track.function);
    fields.read ("notes", track.notes);
    fields.read ("isHost", track.isHost);
    fields.read ("chosenChannel", track.chosenChannel);
    return track;
}

SavedGuestMeta readMeta (const juce::var& value)
{
    const Fields fields (value);
    SavedGuestMeta meta;
    fields.read ("familyKey", meta.familyKey);
    fields.read ("notes", meta.notes);
    fields.readArray ("tracks", meta.tracks, readTrack);
    return meta;
}

std::vector<juce::String> readNames (const juce::var& value)
{
    std::vector<juce::String> names;
    Fields (value).readArray ("names", names, [] (const juce::var& name) { return name.toString(); });
    return names;
}

void readLevels (const juce::var& value, TakeLevels& levels)
{
    if (const auto* entries = value.getArray())
        for (const auto& entry : *entries)
            levels[{ entry["take"].toString(), entry["key"].toString() }] = readChannel (entry);
}

// The root object; void where the file holds none.
juce::var parseDocument (const juce::File& file)
{
    if (file.getSize() > largestDocumentBytes)
        return {};

    const auto text = guardedJson (file.loadFileAsString());
    return text ? juce::JSON::parse (*text) : juce::var();
}

}    // namespace

juce::String sessionDocumentText (const SessionDocument& doc)
{
    return juce::JSON::toString (describe (doc), true, maxDecimalPlaces);
}

juce::Result writeSessionDocument (const juce::File& file, const SessionDocument& doc)
{
    return replaceTextFile (file, sessionDocumentText (doc)) ? juce::Result::ok()
                                                             : juce::Result::fail ("Could not write session file.");
}

juce::Result readSessionDocument (const juce::File& file, SessionDocument& doc)
{
    if (! file.existsAsFile())
        return juce::Result::fail ("Session file not found.");

    const auto root = parseDocument (file);

    if (root.getDynamicObject() == nullptr)
        return juce::Result::fail ("Session file is not valid JSON.");

    doc = {};
    const Fields fields (root);
    doc.version = 1;    // of documents that do not say
    fields.read ("version", doc.version);
    fields.read ("batchIndex", doc.batchIndex);
    fields.read ("referenceChannel", doc.referenceChannel);

    const auto video = fields.object ("video");
    video.read ("file", doc.videoFile);
    video.read ("timestampSamples", doc.videoTimestampSamples);
    video.read ("timecodeRate", doc.videoTimecodeRate);

    fields.readArray ("takes", doc.takes, readTake);
    fields.readMap ("mixer", "key", doc.mixer, readChannel);
    fields.readMap ("metadataOverrides", "key", doc.metadataOverrides, readMeta);
    fields.readMap ("nameOverrides", "familyKey", doc.nameOverrides, readNames);
    fields.readArray ("recorders", doc.recorders, readRecorder);
    fields.read ("recoveredFrom", doc.recoveredFrom);
    readLevels (root["levels"], doc.levels);
    return doc.takes.empty() ? juce::Result::fail ("Session has no takes.") : juce::Result::ok();
}

}    // namespace ld
