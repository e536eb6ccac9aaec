#include "batch/FolderScan.h"

#include "media/BextIxml.h"
#include "media/Rounding.h"
#include "media/SoundFile.h"

#include <algorithm>
#include <optional>
#include <set>

namespace ld
{
namespace
{

using juce::int64;

constexpr float leastScore = 20.0f;
const char* const sceneTakeReason = "scene/take";

bool isStamped (const ScanFile& scan)
{
    return hasAudioTimestamp (scan.ixml, scan.bext);
}

juce::uint64 stampOf (const ScanFile& scan)
{
    return timestampFromIxmlOrBext (scan.ixml, scan.bext);
}

double stampRateOf (const ScanFile& scan)
{
    return sampleRateForTimestamp (scan.ixml, scan.format);
}

juce::String normalised (const juce::String& text)
{
    return text.trim().toLowerCase();
}

bool isSameSceneAndTake (const ScanFile& a, const ScanFile& b)
{
    return a.ixml.scene.isNotEmpty() && a.ixml.take.isNotEmpty() && b.ixml.scene.isNotEmpty()
           && b.ixml.take.isNotEmpty() && normalised (a.ixml.scene) == normalised (b.ixml.scene)
           && normalised (a.ixml.take) == normalised (b.ixml.take);
}

// Percent, at most 40, of the shorter name that both names begin with.
int likenessOfNames (const ScanFile& a, const ScanFile& b)
{
    const auto first = a.file.getFileNameWithoutExtension().toLowerCase();
    const auto second = b.file.getFileNameWithoutExtension().toLowerCase();
    const auto shorter = std::min (first.length(), second.length());

    if (shorter == 0)
        return 0;

    auto common = 0;

    for (auto p = first.getCharPointer(), q = second.getCharPointer(); common < shorter && *p == *q; ++p, ++q)
        ++common;

    return common * 40 / shorter;
}

// A second recorder's poly of the same take has common timecode with it, for half the length of the shorter at least.
// Where one is much longer than the other it may hold the take somewhere inside.
bool mayShareTake (const ScanFile& poly, const ScanFile& other)
{
    constexpr double muchLonger = 1.5;
    const auto shorter = std::min (framesHeld (poly.format), framesHeld (other.format));
    const auto longer = std::max (framesHeld (poly.format), framesHeld (other.format));

    if (shorter > 0 && (double) longer >= muchLonger * (double) shorter)
        return true;

    const auto overlap = tcOverlap (poly, other);
    return overlap.valid && (double) std::max<int64> (shorter, 1) <= 2.0 * (double) overlap.overlapSamples;
}

void attachFurtherPolys (BatchMatch& match, const std::vector<ScanFile>& valid, std::set<juce::String>& assigned)
{
    for (const auto& other : valid)
    {
        if (! isPoly (other) || other.file == match.host.file)
            continue;

        const auto pair = scorePair (match.host, other);

        if (pair.score < leastScore || ! pair.strong)
            continue;

        if (pair.reason != sceneTakeReason && other.format.channels == match.host.format.channels
            && ! mayShareTake (match.host, other))
            continue;

        attachGuest (match, other, pair);
        assigned.insert (other.file.getFullPathName());
    }
}

// The last resort for a file that nothing spoke for: the poly whose name is most like its own.
void attachByName (std::vector<BatchMatch>& matches, const ScanFile& scan)
{
    BatchMatch* bestMatch = nullptr;
    PairScore best;

    for (auto& match : matches)
    {
        const auto pair = scorePair (match.host, scan);

        if (! pair.strong && pair.score >= leastScore && pair.score > best.score)
        {
            best = pair;
            bestMatch = &match;
        }
    }

    if (bestMatch != nullptr)
        attachGuest (*bestMatch, scan, best);
}

juce::String joinedTrackNames (const ScanFile& scan)
{
    juce::String text;

    for (const auto& track : scan.ixml.tracks)
        text << "|" << normalised (track.name) << ":" << normalised (track.function);

    return text;
}

// A name without its running number. Names that end in no number, or have hardly anything ahead of it, stand whole and
// in their own case.
juce::String stemOfName (const juce::String& name)
{
    const auto withoutDigits = name.trimCharactersAtEnd ("0123456789");
    const auto length = withoutDigits.length();

    if (length == name.length() || length < 3)
        return name;

    if (! juce::String (" -._").containsChar (withoutDigits.getLastCharacter()))
        return withoutDigits.toLowerCase();

    return length >= 4 ? withoutDigits.dropLastCharacters (1).toLowerCase() : name;
}

bool isEarlier (const ScanFile& a, const ScanFile& b)
{
    const auto aStamped = isStamped (a), bStamped = isStamped (b);

    if (aStamped != bStamped)
        return aStamped;

    if (aStamped && stampOf (a) != stampOf (b))
        return stampOf (a) < stampOf (b);

    return a.file.getFileName() < b.file.getFileName();
}

struct TimeSpan
{
    double start, seconds;
};

TimeSpan spanOf (const ScanFile& scan)
{
    return { (double) stampOf (scan) / std::max (stampRateOf (scan), 1.0),
             (double) framesHeld (scan.format) / std::max (scan.format.sampleRate, 1) };
}

bool runAtTheSameTime (const ScanFile& a, const ScanFile& b)
{
    if (! isStamped (a) || ! isStamped (b))
        return false;

    const auto first = spanOf (a), second = spanOf (b);
    const auto overlap =
        std::min (first.start + first.seconds, second.start + second.seconds) - std::max (first.start, second.start);
    return overlap > 0.0 && 2.0 * overlap >= std::max (std::min (first.seconds, second.seconds), 1e-9);
}

}    // namespace

bool isSilentClip (const ScanFile& scan)
{
    return scan.format.isClip && ! scan.format.valid;
}

bool isPoly (const ScanFile& scan)
{
    constexpr int fewestChannels = 3;
    return scan.format.valid && ! scan.format.isClip && scan.format.channels >= fewestChannels;
}

ScanFile inspectAudioFile (const juce::File& file)
{
    ScanFile scan;
    scan.file = file;

    SoundFile sound;

    if (const auto described = sound.describe (file); sound.isPlausible() && described.wasOk())
        copyIdentity (sound, scan);
    else
        scan.format.isClip = sound.format.isClip && ! sound.format.valid;

    return scan;
}

TcOverlap tcOverlap (const ScanFile& host, const ScanFile& guest)
{
    const auto offset = offsetByStamps (host, guest);

    if (! offset)
        return {};

    const auto rate = (double) std::max (host.format.sampleRate, 1);
    const auto guestFrames =
        roundToSamples ((double) framesHeld (guest.format) * rate / std::max (guest.format.sampleRate, 1));
    const auto start = std::max<int64> (*offset, 0);
    const auto end = std::min (guestFrames + *offset, framesHeld (host.format));

    if (end <= start)
        return {};

    return { true, *offset, end - start };
}

PairScore scorePair (const ScanFile& host, const ScanFile& guest)
{
    if (isSameSceneAndTake (host, guest))
        return { 100.0f, sceneTakeReason, true };

    if (const auto overlap = tcOverlap (host, guest); overlap.valid)
    {
        const auto share = (double) overlap.overlapSamples / (double) std::max<int64> (framesHeld (host.format), 1);
        return { (float) (70.0 + 25.0 * juce::jlimit (0.0, 1.0, share)), "timecode", true };
    }

    if (const auto percent = (float) likenessOfNames (host, guest); percent >= leastScore)
        return { percent, "filename", false };

    return {};
}

void attachGuest (BatchMatch& match, const ScanFile& guest, const PairScore& pair)
{
    const auto isThisFile = [&] (const ScanFile& other) { return other.file == guest.file; };

    if (std::any_of (match.guests.begin(), match.guests.end(), isThisFile))
        return;

    match.guests.push_back (guest);
    match.score = std::max (match.score, pair.score);

    if (pair.reason.isNotEmpty() && ! match.reason.contains (pair.reason))
        match.reason = match.reason.isEmpty() ? pair.reason : match.reason + " + " + pair.reason;
}

std::vector<BatchMatch> matchBatch (const std::vector<ScanFile>& scans)
{
    const PairScore candidate { 20.0f, "waveform candidate", true };
    std::vector<ScanFile> valid;
    std::copy_if (
        scans.begin(), scans.end(), std::back_inserter (valid), [] (const auto& scan) { return scan.format.valid; });

    std::vector<BatchMatch> matches;
    const auto anyPoly = std::any_of (valid.begin(), valid.end(), isPoly);

    for (const auto& scan : valid)
    {
        if (isPoly (scan) || (! anyPoly && valid.size() == 1 && ! scan.format.isClip))
        {
            matches.emplace_back();
            matches.back().host = scan;
        }
    }

    std::set<juce::String> assigned;

    for (auto& match : matches)
    {
        for (const auto& scan : valid)
        {
            if (! isPoly (scan) && scan.file != match.host.file)
            {
                attachGuest (match, scan, candidate);
                assigned.insert (scan.file.getFullPathName());
            }
        }

        attachFurtherPolys (match, valid, assigned);
    }

    for (const auto& scan : valid)
        if (! isPoly (scan) && ! assigned.contains (scan.file.getFullPathName()))
            attachByName (matches, scan);

    return matches;
}

juce::String isoFamilyKey (const ScanFile& scan)
{
    if (scan.ixml.familyUid.isNotEmpty())
        return "fam:" + normalised (scan.ixml.familyUid);

    if (const auto tracks = joinedTrackNames (scan); tracks.isNotEmpty())
        return "tr:" + juce::String (scan.format.channels) + tracks;

    return "st:" + juce::String (std::max (scan.format.channels, 1)) + ":"
           + stemOfName (scan.file.getFileNameWithoutExtension());
}

std::vector<std::vector<ScanFile>> clusterIsoFills (const std::vector<ScanFile>& scans)
{
    auto sorted = scans;
    std::stable_sort (sorted.begin(), sorted.end(), isEarlier);
    std::vector<std::vector<ScanFile>> clusters;

    for (const auto& scan : sorted)
    {
        const auto key = isoFamilyKey (scan);
        const auto takes = [&] (const auto& cluster) {
            const auto conflicts = [&] (const ScanFile& member) { return runAtTheSameTime (member, scan); };
            return isoFamilyKey (cluster.front()) == key && std::none_of (cluster.begin(), cluster.end(), conflicts);
        };

        if (const auto at = std::find_if (clusters.begin(), clusters.end(), takes); at != clusters.end())
            at->push_back (scan);
        else
            clusters.push_back ({ scan });
    }

    return clusters;
}

}    // namespace ld
