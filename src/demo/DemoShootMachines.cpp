#include "demo/DemoShootMachines.h"

#include <cmath>

namespace ld
{
namespace
{

constexpr auto shootDate = "2025-03-14";
constexpr int firstScene = 101;

juce::String padded (int number, int digits)
{
    return juce::String (number).paddedLeft ('0', digits);
}

juce::String uid (std::uint64_t seed, juce::int64 stamp)
{
    DemoRandom random (DemoRandom (seed).fork ((std::uint64_t) stamp));
    return juce::String::toHexString ((juce::int64) random.next()).paddedLeft ('0', 16).toUpperCase();
}

juce::String timeOfDay (juce::int64 stamp, int rate)
{
    const auto seconds = (int) (stamp / rate);
    return padded (seconds / 3600 % 24, 2) + ":" + padded (seconds / 60 % 60, 2) + ":" + padded (seconds % 60, 2);
}

AudioFormatInfo formatOf (int channels, int sampleRate, int bits, juce::int64 numFrames)
{
    AudioFormatInfo format;
    format.channels = channels;
    format.sampleRate = sampleRate;
    format.bitsPerSample = bits;
    format.bytesPerSample = bits / 8;
    format.numFrames = numFrames;
    format.dataBytes = numFrames * channels * format.bytesPerSample;
    format.valid = true;
    return format;
}

BextChunk bextOf (const juce::String& originator,
                  const juce::String& description,
                  juce::int64 stamp,
                  const AudioFormatInfo& format)
{
    BextChunk bext;
    bext.present = true;
    bext.description = description;
    bext.originator = originator;
    bext.originationDate = shootDate;
    bext.originationTime = timeOfDay (stamp, format.sampleRate);
    bext.timeReference = (juce::uint64) stamp;
    bext.version = 1;
    bext.codingHistory = "A=PCM,F=" + juce::String (format.sampleRate) + ",W=" + juce::String (format.bitsPerSample)
                         + ",M="
                         + (format.channels == 1   ? "mono"
                            : format.channels == 2 ? "stereo"
                                                   : "multichannel");
    return bext;
}

IxmlMetadata ixmlOf (const ShootNames& names, juce::int64 stamp, const AudioFormatInfo& format)
{
    IxmlMetadata ixml;
    ixml.present = true;
    ixml.project = names.project;
    ixml.tape = names.tape;
    ixml.fileUid = uid (names.uidSeed + (std::uint64_t) format.channels, stamp);
    ixml.timecodeRate = names.timecodeRate;
    ixml.fileSampleRate = ixml.timestampSampleRate = format.sampleRate;
    ixml.timestampSamples = (juce::uint64) stamp;
    ixml.hasTimestamp = true;
    ixml.audioBitDepth = format.bitsPerSample;
    return ixml;
}

// Files that one press of the record button made share a family.
juce::String fileSetXml (const juce::String& familyUid, const juce::String& familyName)
{
    return "<FILE_SET><TOTAL_FILES>1</TOTAL_FILES><FAMILY_UID>" + familyUid + "</FAMILY_UID><FAMILY_NAME>" + familyName
           + "</FAMILY_NAME><FILE_SET_INDEX>A</FILE_SET_INDEX></FILE_SET>";
}

// The stamp and the frames of one file.
struct FileSpan
{
    juce::int64 stamp, numFrames;
};

PlannedFile planGuestFile (
    Machine& machine, const ShootNames& names, const juce::String& familyUid, const FileSpan& part, int numChannels)
{
    const auto [stamp, numFrames] = part;
    const auto name = machine.filePrefix + "_" + padded (machine.nextNumber++, 3) + machine.fileSuffix + ".wav";
    PlannedFile file;
    file.path = machine.source + "/" + name;
    file.format = formatOf (numChannels, machine.clock.sampleRate, machine.bits, numFrames);

    if (machine.stamp != Stamp::none)
        file.bext = bextOf (machine.source, {}, stamp, file.format);

    if (machine.stamp == Stamp::bextAndIxml)
    {
        file.ixml = ixmlOf (names, stamp, file.format);
        file.ixml.originalFilename = name;
        file.ixml.rawXml = "<BWFXML>" + fileSetXml (familyUid, machine.filePrefix) + "</BWFXML>";
        file.tracks = { { 1, 1, machine.trackName, "LAV", {}, false } };
    }

    return file;
}

}    // namespace

juce::int64 MachineClock::stampAt (double seconds) const noexcept
{
    const auto reading = jammedAt + errorSeconds + (seconds - jammedAt) * (1.0 + ppm * 1.0e-6);
    return std::llround (reading * sampleRate);
}

double MachineClock::momentOf (juce::int64 stamp) const noexcept
{
    const auto sinceJam = (double) stamp / sampleRate - errorSeconds - jammedAt;
    return jammedAt + sinceJam / (1.0 + ppm * 1.0e-6);
}

ShootNames planNames (DemoRandom random)
{
    ShootNames names;
    names.project = "Table Talk";
    names.tape = "D" + padded (1 + random.below (30), 3);
    names.timecodeRate = random.chance (0.5) ? "25/1" : "24/1";
    names.uidSeed = random.next();
    return names;
}

Recording planGuestFiles (Machine& machine, const ShootNames& names, const GuestPlan& plan)
{
    const auto& [polyStamp, span, numChannels, numFiles] = plan;
    Recording guest;
    guest.source = machine.source;
    guest.hostSamplesPerFrame = demoSampleRate / machine.clock.framesPerSecond();
    const auto polySeconds = (double) polyStamp / demoSampleRate;
    auto stamp = machine.clock.stampAt (polySeconds + span.from);
    const auto end = machine.clock.stampAt (polySeconds + span.to);
    const auto familyUid = uid (names.uidSeed + (std::uint64_t) machine.source.hashCode64(), stamp);

    for (int left = numFiles; left > 0; --left)
    {
        const auto frames = (end - stamp) / left;
        auto file = planGuestFile (machine, names, familyUid, { stamp, frames }, numChannels);
        file.startSamples = (machine.clock.momentOf (stamp) - polySeconds) * demoSampleRate;
        guest.files.push_back (std::move (file));
        stamp += frames;
    }

    return guest;
}

void countJumps (PlannedFile& file)
{
    auto& format = file.format;

    for (const auto& jump : file.jumps)
        format.numFrames -= jump.frames;

    format.dataBytes = format.numFrames * format.channels * format.bytesPerSample;
}

PlannedFile planPolyFile (const ShootNames& names, const PolyPlan& plan, const std::vector<TrackInfo>& tracks)
{
    const auto& [scene, take, stamp, numFrames] = plan;
    const juce::String sceneName (firstScene + scene);
    const auto stem = sceneName + "_T" + padded (take + 1, 2);
    PlannedFile file;
    file.path = "Poly/" + stem + ".wav";
    file.format = formatOf ((int) tracks.size(), demoSampleRate, 24, numFrames);
    file.isExtensible = true;
    file.bext = bextOf ("Demo shoot", "Scene " + sceneName + ", take " + juce::String (take + 1), stamp, file.format);
    file.ixml = ixmlOf (names, stamp, file.format);
    file.ixml.scene = sceneName;
    file.ixml.take = juce::String (take + 1);
    file.ixml.originalFilename = stem + ".wav";
    file.ixml.note = take == 0 ? "First take" : "Once more";

    // Elements that no record knows, as recorders write them.
    file.ixml.rawXml = "<BWFXML><CIRCLED>FALSE</CIRCLED>" + fileSetXml (uid (names.uidSeed, stamp), stem) + "</BWFXML>";
    file.tracks = tracks;
    file.comment = "Two cups of tea, no sugar";
    file.makerText = "fan=off;preroll=5;case=B2";    // an odd number of bytes: readers must see the padding
    return file;
}

}    // namespace ld
