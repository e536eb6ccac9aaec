#include "output/SessionDocument.h"

#include "media/NumberText.h"
#include "output/JsonValues.h"
#include "output/ReplacingFile.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace ld
{
namespace
{

using juce::int64;

constexpr int maxDecimalPlaces = 15;

// Thousands of takes with drawn mixes are some tens of megabytes; parsed, a hostile file takes twenty times its size.
constexpr int64 largestDocumentBytes = 128 << 20;

// The document nests five deep. The framework's parser calls itself for each level.
constexpr int deepestNesting = 64;

// The framework's parser does not look at the range of whole numbers, nor of what stands ahead of a point: longer ones are
// read as short reals.
constexpr int mostDigits = 18;

// Nor at the range of an exponent, for which a number must be longer than this.
constexpr size_t longestPlainReal = 10;

juce::var describe (const ScanFile& guest)
{
    const auto describeStretch = [] (const ClockStretch& stretch) {
        return makeJsonObject (
            { { "fromSample", stretch.fromSample }, { "hostSample", stretch.hostSample }, { "slope", stretch.slope } });
    };
    auto object = makeJsonObject ({ { "file", guest.file.getFullPathName() } }, guest.alignment);
    auto& properties = *object.getDynamicObject();
    properties.setProperty ("evidence", guest.alignment.evidence);
    properties.setProperty ("stretches", makeJsonArray (guest.alignment.stretches, describeStretch));
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
    return makeJsonObject (
        { { "host", take.host.file.getFullPathName() },
          { "reason", take.reason },
          { "score", take.score },
          { "guests", makeJsonArray (take.guests, [] (const auto& g) { return describe (g); }) },
          { "omittedHost", makeJsonArray (take.omittedHost, [] (int c) { return juce::var (c); }) } });
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

juce::var describe (const TrackInfo& track)
{
    return makeJsonObject ({ { "channelIndex", track.channelIndex },
                             { "interleaveIndex", track.interleaveIndex },
                             { "name", track.name },
                             { "function", track.function },
                             { "notes", track.notes },
                             { "isHost", track.isHost } });
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
    return root;
}

// Makes a text safe for the framework's parser: none if it nests too deep; over-long numbers are written as short reals.
class DocumentText
{
public:
    [[nodiscard]] static std::optional<juce::String> guarded (const juce::String& text)
    {
        DocumentText guard;

        for (auto p = text.toRawUTF8(); *p != 0 && guard.depth <= deepestNesting; ++p)
            guard.add (*p);

        if (guard.depth > deepestNesting)
            return {};

        guard.endNumber();
        return juce::String::fromUTF8 (guard.out.data(), (int) guard.out.size());
    }

private:
    void add (char c)
    {
        if (quote != 0)
            passString (c);
        else
            passOutside (c);

        out.push_back (c);
    }

    void passString (char c)
    {
        if (isEscaped)
            isEscaped = false;
        else if (c == '\\')
            isEscaped = true;
        else if (c == quote)
            quote = 0;
    }

    void passOutside (char c)
    {
        if (passNumber (c))
            return;

        endNumber();

        if (c == '"' || c == '\'')
            quote = c;

        depth += c == '{' || c == '[' ? 1 : 0;
        depth -= c == '}' || c == ']' ? 1 : 0;
    }

    // False where this is no part of a number.
    bool passNumber (char c)
    {
        if (c >= '0' && c <= '9')
        {
            if (! isNumber)
                numberStart = out.size();

            isNumber = true;
            wholeDigits += isReal ? 0 : 1;
            return true;
        }

        const auto isPoint = isNumber && (c == '.' || c == 'e' || c == 'E');
        const auto isSign = isReal && (c == '-' || c == '+');
        isReal = isReal || isPoint;
        return isPoint || isSign;
    }

    void endNumber()
    {
        if (wholeDigits > mostDigits || (isReal && out.size() - numberStart > longestPlainReal))
            shortenNumber();

        isNumber = isReal = false;
        wholeDigits = 0;
    }

    // The same value as a real with one digit ahead of the point.
    void shortenNumber()
    {
        constexpr auto largest = 1.0e308;
        const auto value = realNumberIn (out.substr (numberStart));
        std::array<char, 32> digits {};
        const auto end = std::to_chars (
            digits.data(), digits.data() + digits.size(), std::min (value, largest), std::chars_format::scientific);
        out.replace (numberStart, std::string::npos, digits.data(), (size_t) (end.ptr - digits.data()));
    }

    std::string out;
    char quote = 0;
    bool isEscaped = false, isNumber = false, isReal = false;
    size_t numberStart = 0;
    int wholeDigits = 0, depth = 0;
};

double realNumberOf (const juce::var& value)
{
    return value.isString() ? realNumberIn (value.toString()) : (double) value;
}

// A value of any type as the framework converts it, but for numbers that the target cannot hold: they are clamped.
int64 wholeNumberOf (const juce::var& value)
{
    if (! value.isDouble() && ! value.isString())
        return (int64) value;

    if (value.isString() && value.toString().length() <= mostDigits)
        return (int64) value;

    constexpr auto limit = 9.2e18;
    const auto real = realNumberOf (value);
    return std::isnan (real) ? 0 : (int64) juce::jlimit (-limit, limit, real);
}

double finiteNumberOf (const juce::var& value)
{
    const auto real = realNumberOf (value);
    return std::isfinite (real) ? real : 0.0;
}

// One object of the document; a value that is none reads as if all its keys were absent.
class Fields
{
public:
    explicit Fields (const juce::var& valueToRead) : value (valueToRead) {}

    void read (const char* key, int64& target) const
    {
        if (has (key))
            target = wholeNumberOf (value[key]);
    }

    void read (const char* key, int& target) const
    {
        using Limits = std::numeric_limits<int>;

        if (has (key))
            target = (int) juce::jlimit<int64> (Limits::min(), Limits::max(), wholeNumberOf (value[key]));
    }

    void read (const char* key, double& target) const
    {
        if (has (key))
            target = finiteNumberOf (value[key]);
    }

    void read (const char* key, float& target) const
    {
        constexpr double limit = std::numeric_limits<float>::max();

        if (has (key))
            target = (float) juce::jlimit (-limit, limit, finiteNumberOf (value[key]));
    }

    void read (const char* key, bool& target) const
    {
        if (has (key))
            target = (bool) value[key];
    }

    void read (const char* key, juce::String& target) const
    {
        if (has (key))
            target = value[key].toString();
    }

    // All media are stored by absolute path; any other would be looked for in the folder that the program runs in.
    void read (const char* key, juce::File& target) const
    {
        if (const auto path = value[key].toString(); juce::File::isAbsolutePath (path))
            target = juce::File (path);
    }

    void read (const char* key, Alignment::Method& target) const { target = methodOfWord (value[key].toString()); }

    template <typename Item, typename ReadItem>
    void readArray (const char* key, std::vector<Item>& target, ReadItem&& readItem) const
    {
        if (const auto* items = value[key].getArray())
            for (const auto& item : *items)
                target.push_back (readItem (item));
    }

    template <typename Item, typename ReadItem>
    void
    readMap (const char* key, const char* nameOfKey, std::map<juce::String, Item>& target, ReadItem&& readItem) const
    {
        if (const auto* items = value[key].getArray())
            for (const auto& item : *items)
                target[item[nameOfKey].toString()] = readItem (item);
    }

    [[nodiscard]] Fields object (const char* key) const { return Fields (value[key]); }

private:
    [[nodiscard]] bool has (const char* key) const { return value.hasProperty (key); }

    juce::var value;
};

void readScan (const Fields& fields, const char* key, ScanFile& scan)
{
    fields.read (key, scan.file);
    scan.format.valid = scan.file.existsAsFile();
}

ScanFile readGuest (const juce::var& value)
{
    const Fields fields (value);
    ScanFile guest;
    readScan (fields, "file", guest);
    fields.read ("offsetSamples", guest.alignment.offsetSamples);
    fields.read ("method", guest.alignment.method);
    fields.read ("confidence", guest.alignment.confidence);
    fields.read ("needsManual", guest.alignment.needsManual);
    fields.read ("driftSlope", guest.alignment.driftSlope);
    fields.read ("detail", guest.alignment.detail);
    fields.read ("evidence", guest.alignment.evidence);
    fields.readArray ("stretches", guest.alignment.stretches, [] (const juce::var& item) {
        ClockStretch stretch;
        Fields (item).read ("fromSample", stretch.fromSample);
        Fields (item).read ("hostSample", stretch.hostSample);
        Fields (item).read ("slope", stretch.slope);
        return stretch;
    });
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
        return (int) juce::jlimit<int64> (-1, std::numeric_limits<int>::max(), wholeNumberOf (channel));
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

// The root object; void where the file holds none.
juce::var parseDocument (const juce::File& file)
{
    if (file.getSize() > largestDocumentBytes)
        return {};

    const auto text = DocumentText::guarded (file.loadFileAsString());
    return text ? juce::JSON::parse (*text) : juce::var();
}

}    // namespace

juce::Result writeSessionDocument (const juce::File& file, const SessionDocument& doc)
{
    const auto text = juce::JSON::toString (describe (doc), true, maxDecimalPlaces);
    return replaceTextFile (file, text) ? juce::Result::ok() : juce::Result::fail ("Could not write session file.");
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
    return doc.takes.empty() ? juce::Result::fail ("Session has no takes.") : juce::Result::ok();
}

}    // namespace ld
