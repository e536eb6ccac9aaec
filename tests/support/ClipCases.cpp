#include "support/ClipCases.h"

#include "media/SoundFile.h"
#include "support/RunProgram.h"
#include "support/WaveBuilder.h"

#include <cmath>
#include <numeric>

namespace ld::test
{
namespace
{

constexpr double clipSeconds = 1.3;

bool hasPicture (const ClipCase& clip)
{
    return clip.ending != "m4a" && clip.ending != "flac";
}

bool isBroadcast (const ClipCase& clip)
{
    return clip.ending == "mxf" || clip.ending == "mts";
}

// Sixteen bits, so that a lossless codec of any width gives back the same samples.
Signal soundOf (const ClipCase& clip, unsigned seed)
{
    return lowPassed (speech ((juce::int64) (clipSeconds * clip.sampleRate), clip.sampleRate, seed), 4);
}

int runFfmpeg (std::vector<juce::String> words, const juce::File& target)
{
    words.insert (words.begin(), { "ffmpeg", "-nostdin", "-v", "error", "-y" });
    words.push_back (target.getFullPathName());
    return run (words).status;
}

void encode (const ClipCase& clip, MadeClip& made, const juce::File& folder)
{
    std::vector<juce::String> words;
    const auto numTracks = (int) clip.tracks.size();
    size_t first = 0;

    for (int i = 0; i < numTracks; ++i)
    {
        const auto channels = (size_t) clip.tracks[(size_t) i];
        const WaveFormat format { .channels = (int) channels, .sampleRate = clip.sampleRate, .bits = 16 };
        const auto at = made.sound.begin() + (std::ptrdiff_t) first;
        const auto wave = WaveBuilder (format, Channels (at, at + (std::ptrdiff_t) channels))
                              .writeTo (folder.getChildFile ("track" + juce::String (i) + ".wav"));
        first += channels;

        // As it was rounded on its way into the file.
        BwfReader reader;
        const auto rounded = reader.open (wave) ? reader.readAllChannels() : Channels (channels);
        std::copy (rounded.begin(), rounded.end(), at);
        words.insert (words.end(), { "-itsoffset", juce::String (clip.lateSeconds), "-i", wave.getFullPathName() });
    }

    if (hasPicture (clip))
        words.insert (words.end(),
                      { "-f",
                        "lavfi",
                        "-i",
                        "color=c=gray:s=64x64:d=" + juce::String (clipSeconds) + ":r=" + clip.pictureRate,
                        "-map",
                        juce::String (numTracks) + ":v",
                        "-c:v",
                        isBroadcast (clip) ? "mpeg2video" : "mpeg4",
                        "-g",
                        "1" });

    for (int i = 0; i < numTracks; ++i)
        words.insert (words.end(), { "-map", juce::String (i) + ":a" });

    words.insert (words.end(), { "-c:a", clip.codec, "-strict", "-2" });

    if (! clip.isLossless())
        words.insert (words.end(), { "-b:a", clip.tracks.front() == 1 ? "128k" : "256k" });

    if (clip.ending == "mts")
        words.insert (words.end(), { "-f", "mpegts" });

    // Edit lists count in its units: sound could begin on whole milliseconds only.
    if (clip.ending == "mov" || clip.ending == "mp4" || clip.ending == "m4v")
        words.insert (words.end(), { "-movie_timescale", juce::String (clip.sampleRate) });

    if (clip.timecode.isNotEmpty())
        words.insert (words.end(), { "-timecode", clip.timecode });

    made.status = runFfmpeg (std::move (words), made.file);
}

void cutOff (const ClipCase& clip, MadeClip& made, const juce::File& folder)
{
    const auto whole = folder.getChildFile ("whole." + clip.ending);
    made.file.moveFileTo (whole);
    made.status = runFfmpeg ({ "-ss",
                               juce::String (clip.cutSeconds),
                               "-i",
                               whole.getFullPathName(),
                               "-map",
                               "0:v?",
                               "-map",
                               "0:a",
                               "-c",
                               "copy" },
                             made.file);
}

// How much of what went in is found again at a shift: the correlation with it, 1 for the same sound at any level.
double likeness (const Signal& in, const Signal& out, juce::int64 shift)
{
    double both = 0.0, ins = 0.0, outs = 0.0;
    constexpr juce::int64 edge = 4096;    // where a cut or a codec fades in

    for (juce::int64 g = edge; g < (juce::int64) out.size() - edge; ++g)
        if (const auto at = g - shift; at >= edge && at < (juce::int64) in.size() - edge)
        {
            both += (double) in[(size_t) at] * out[(size_t) g];
            ins += (double) in[(size_t) at] * in[(size_t) at];
            outs += (double) out[(size_t) g] * out[(size_t) g];
        }

    return both / std::sqrt (std::max (ins * outs, 1e-30));
}

bool isSame (const Signal& in, const Signal& out, juce::int64 shift)
{
    juce::int64 heard = 0;

    for (juce::int64 g = 0; g < (juce::int64) out.size(); ++g)
    {
        const auto at = g - shift;
        const auto wanted = at >= 0 && at < (juce::int64) in.size() ? in[(size_t) at] : 0.0f;
        heard += out[(size_t) g] != 0.0f;

        // A cut falls between packets: what comes ahead of the first whole one is silent.
        if (out[(size_t) g] != wanted && out[(size_t) g] != 0.0f)
            return false;
    }

    return heard > (juce::int64) in.size() / 4;
}

}    // namespace

juce::String ClipCase::name() const
{
    const auto layout =
        std::accumulate (tracks.begin(), tracks.end(), juce::String(), [] (const auto& text, int channels) {
            return text + juce::String (channels);
        });
    return codec + "_" + juce::String (sampleRate) + "_" + layout + (lateSeconds > 0.0 ? "_late" : "")
           + (cutSeconds > 0.0 ? "_cut" : "") + "_" + pictureRate.replaceCharacter ('/', '-') + "." + ending;
}

bool ClipCase::isLossless() const
{
    return codec.startsWith ("pcm") || codec == "alac" || codec == "flac";
}

std::vector<ClipCase> allClipCases()
{
    struct Kind
    {
        const char* ending;
        std::vector<const char*> codecs;
    };
    const Kind kinds[] = {
        { "mov", { "pcm_s16le", "pcm_s24le", "pcm_s24be", "pcm_f32le", "alac", "aac" } },
        { "mp4", { "aac", "alac", "ac3", "flac" } },
        { "m4v", { "aac" } },
        { "m4a", { "aac", "alac" } },
        { "mxf", { "pcm_s16le", "pcm_s24le" } },
        { "mts", { "aac", "ac3", "mp2" } },
        { "flac", { "flac" } },
    };
    std::vector<ClipCase> cases;

    for (const auto& [ending, codecs] : kinds)
        for (const auto* codec : codecs)
            for (const auto rate : { 48000, 44100, 32000 })
            {
                const ClipCase plain { .ending = ending, .codec = codec, .sampleRate = rate };

                if (ending == juce::String ("mxf") && rate != 48000)
                    continue;

                cases.push_back (plain);
                cases.push_back (plain);
                cases.back().tracks = { 1 };

                if (! hasPicture (plain))
                    continue;

                for (const auto& tracks : { std::vector { 1, 1 }, std::vector { 2, 2 }, std::vector { 1, 1, 1, 1 } })
                {
                    cases.push_back (plain);
                    cases.back().tracks = tracks;
                    cases.back().pictureRate = "30000/1001";
                }

                // As ffmpeg writes MXF, all of its tracks begin together.
                if (ending == juce::String ("mxf"))
                    continue;

                cases.push_back (plain);
                cases.back().lateSeconds = 0.44;

                // It cannot copy FLAC from one movie to another, and cuts a transport stream some pictures beside the mark.
                if (codec == juce::String ("flac") || ending == juce::String ("mts"))
                    continue;

                cases.push_back (plain);
                cases.back().cutSeconds = 0.36;
            }

    return cases;
}

std::vector<ClipCase> fewClipCases()
{
    return {
        { .ending = "mov", .codec = "pcm_s24le", .tracks = { 1, 1 } },
        { .ending = "mov", .codec = "aac", .sampleRate = 44100, .lateSeconds = 0.44 },
        { .ending = "mov", .codec = "pcm_s16le", .sampleRate = 32000, .lateSeconds = 0.44 },
        { .ending = "mp4", .codec = "aac", .cutSeconds = 0.36 },
        { .ending = "mp4", .codec = "aac", .sampleRate = 32000, .tracks = { 2, 2 } },
        { .ending = "m4a", .codec = "aac", .sampleRate = 44100 },
        { .ending = "mxf", .codec = "pcm_s24le", .tracks = { 1, 1, 1, 1 }, .pictureRate = "30000/1001" },
        { .ending = "mts", .codec = "ac3", .lateSeconds = 0.44 },
        { .ending = "flac", .codec = "flac", .tracks = { 1 } },
    };
}

MadeClip makeClip (const ClipCase& clip, const juce::File& folder)
{
    MadeClip made;
    made.file = folder.getChildFile (clip.name());

    for (int c = 0; c < std::accumulate (clip.tracks.begin(), clip.tracks.end(), 0); ++c)
        made.sound.push_back (soundOf (clip, (unsigned) c + 1));

    encode (clip, made, folder);

    if (clip.cutSeconds > 0.0 && made.status == 0)
        cutOff (clip, made, folder);

    return made;
}

juce::String faultOf (const ClipCase& clip, const MadeClip& made)
{
    constexpr double leastLikeness = 0.9;
    constexpr juce::int64 widest = 1500;    // samples; the longest delay of an encoder is 1105
    SoundFile sound;

    if (made.status != 0)
        return "ffmpeg made no clip";

    if (const auto opened = sound.open (made.file); opened.failed())
        return opened.getErrorMessage();

    if (sound.format.sampleRate != clip.sampleRate || sound.format.channels != (int) made.sound.size())
        return "it has another format";

    const auto audio = sound.readAllChannels();
    const auto shift = (juce::int64) std::llround ((clip.lateSeconds - clip.cutSeconds) * clip.sampleRate);

    for (size_t c = 0; c < audio.size(); ++c)
    {
        if (clip.isLossless() && ! isSame (made.sound[c], audio[c], shift))
            return "channel " + juce::String ((int) c + 1) + " holds other samples";

        auto best = shift;
        auto highest = likeness (made.sound[c], audio[c], shift);

        for (auto at = shift - widest; at < shift + widest && ! clip.isLossless(); ++at)
            if (const auto here = likeness (made.sound[c], audio[c], at); here > highest)
            {
                best = at;
                highest = here;
            }

        if (std::abs (best - shift) > 1 || highest < leastLikeness)
            return "channel " + juce::String ((int) c + 1) + " lies " + juce::String (best - shift)
                   + " samples late, likeness " + juce::String (highest);
    }

    return {};
}

}    // namespace ld::test
