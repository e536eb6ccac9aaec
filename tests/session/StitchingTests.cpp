#include "session/Session.h"

#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"

#include <gmock/gmock.h>

#include <cmath>

namespace ld::test
{
namespace
{

using testing::ElementsAre;

constexpr int hostRate = 48000;
constexpr juce::uint64 hostStamp = 1'000'000;

/** A file of one value throughout, so that its place in the stitched clip can be read off. */
struct Piece
{
    const char* name;
    int frames;
    float value;                            // of the first channel; each further one is half of the one ahead of it
    std::optional<juce::int64> start {};    // host samples from the host's start; without it the file has no stamp
    int channels = 1, sampleRate = hostRate;
};

struct Stretch
{
    float value;
    int count;

    bool operator== (const Stretch& other) const
    {
        return count == other.count && std::abs (value - other.value) < 1e-6f;
    }

    friend void PrintTo (const Stretch& stretch, std::ostream* out) { *out << stretch.value << " x " << stretch.count; }
};

using Stretches = std::vector<Stretch>;

Stretches stretchesOf (const std::vector<float>& samples)
{
    Stretches stretches;

    for (const auto sample : samples)
    {
        if (stretches.empty() || ! (stretches.back() == Stretch { sample, stretches.back().count }))
            stretches.push_back ({ sample, 0 });

        ++stretches.back().count;
    }

    return stretches;
}

juce::File writePiece (const juce::File& file, const Piece& piece)
{
    Channels audio;

    for (int c = 0; c < piece.channels; ++c)
        audio.emplace_back ((size_t) piece.frames, std::ldexp (piece.value, -c));

    WaveBuilder builder ({ .channels = piece.channels, .sampleRate = piece.sampleRate }, audio);

    // The stamp counts at the file's own rate.
    if (piece.start)
    {
        const auto seconds = (double) ((juce::int64) hostStamp + *piece.start) / hostRate;
        builder.chunk ("bext",
                       bextBody ({ .timeReference = (juce::uint64) std::llround (seconds * piece.sampleRate) }));
    }

    return builder.writeTo (file);
}

HostTake hostTake (juce::uint64 stamp)
{
    HostTake host;
    host.format.valid = host.bext.present = true;
    host.format.sampleRate = hostRate;
    host.bext.timeReference = stamp;
    return host;
}

/** Files in a folder of their own, stitched on a host. */
struct Stitched
{
    explicit Stitched (const std::vector<Piece>& pieces, juce::uint64 stamp = hostStamp)
    {
        for (const auto& piece : pieces)
            clip.pieces.emplace_back().file = writePiece (temp.file (piece.name), piece);

        stitchGuest (hostTake (stamp), clip);
    }

    [[nodiscard]] Stretches channel (size_t index) const { return stretchesOf (clip.channelAudio.at (index)); }

    [[nodiscard]] std::vector<std::string> order() const
    {
        std::vector<std::string> names;

        for (const auto& piece : clip.pieces)
            names.push_back (
                (piece.file.getFileNameWithoutExtension() + " " + juce::String (piece.offsetSamples)).toStdString());

        return names;
    }

    TempFolder temp;
    GuestClip clip;
};

}    // namespace

TEST (Stitching, PiecesLieAtTheirStampsWithSilenceBetweenAndMeansWhereTheyOverlap)
{
    struct Case
    {
        std::vector<Piece> pieces;
        Stretches expected;
    };

    const Case cases[] = {
        { { { "a.wav", 100, 0.5f, 7 } }, { { 0.5f, 100 } } },
        { { { "a.wav", 100, 0.5f, 0 }, { "b.wav", 50, 0.25f, 300 } }, { { 0.5f, 100 }, { 0, 200 }, { 0.25f, 50 } } },
        { { { "b.wav", 50, 0.25f, 300 }, { "a.wav", 100, 0.5f, -200 } }, { { 0.5f, 100 }, { 0, 400 }, { 0.25f, 50 } } },
        { { { "a.wav", 100, 0.5f, 0 }, { "b.wav", 100, 0.25f, 60 } }, { { 0.5f, 60 }, { 0.375f, 40 }, { 0.25f, 60 } } },
        { { { "a.wav", 90, 0.75f, 0 }, { "b.wav", 60, 0.375f, 0 }, { "c.wav", 60, -0.375f, 0 } },
          { { 0.25f, 60 }, { 0.75f, 30 } } },
        { { { "c.wav", 10, 0.75f }, { "a.wav", 20, 0.5f, 0 }, { "b.wav", 10, 0.25f, 5 } },
          { { 0.5f, 5 }, { 0.375f, 10 }, { 0.5f, 5 }, { 0.75f, 10 } } },
        { { { "a.wav", 50, 0.5f, 0, 1, 24000 }, { "b.wav", 96, 0.25f, 120, 1, 96000 } },
          { { 0.5f, 100 }, { 0, 20 }, { 0.25f, 48 } } },
        // All of it ahead of the host; what has no stamp follows at the host's start, never before it.
        { { { "a.wav", 10, 0.5f, -100 }, { "b.wav", 10, 0.25f } }, { { 0.5f, 10 }, { 0, 90 }, { 0.25f, 10 } } },
        // A file without a frame counts for one sample.
        { { { "a.wav", 0, 0.5f, 0 }, { "b.wav", 10, 0.25f, 2 } }, { { 0, 2 }, { 0.25f, 10 } } },
    };

    for (const auto& [pieces, expected] : cases)
        EXPECT_EQ (Stitched (pieces).channel (0), expected);
}

TEST (Stitching, PiecesWithoutAStampFollowOneAnotherByName)
{
    const std::vector<Piece> pieces { { "A_2.wav", 20, 0.5f, 0 }, { "A_10.wav", 10, 0.25f, 500 } };
    EXPECT_THAT (Stitched (pieces).order(), ElementsAre ("A_2 0", "A_10 500"));

    // Without a stamp of the host those of the files say nothing.
    const Stitched unstamped (pieces, 0);
    EXPECT_THAT (unstamped.order(), ElementsAre ("A_10 0", "A_2 10"));
    EXPECT_EQ (unstamped.clip.file.getFileName(), "A_10.wav");

    EXPECT_THAT (Stitched ({ { "z.wav", 20, 0.5f, 40 }, { "c.wav", 5, 0.5f }, { "b.wav", 5, 0.5f } }).order(),
                 ElementsAre ("z 0", "b 20", "c 25"));
}

TEST (Stitching, AChannelThatAPieceLacksIsSilentUnderIt)
{
    const Stitched stitched ({ { "a.wav", 30, 0.5f, 0, 2 }, { "b.wav", 30, 0.25f, 20 } });
    EXPECT_EQ (stitched.clip.format.channels, 2);
    EXPECT_EQ (stitched.channel (0), (Stretches { { 0.5f, 20 }, { 0.375f, 10 }, { 0.25f, 20 } }));
    EXPECT_EQ (stitched.channel (1), (Stretches { { 0.25f, 30 }, { 0, 20 } }));
    const auto loudest = 0.75f / std::sqrt (2.0f);
    EXPECT_EQ (stretchesOf (stitched.clip.monoAudio).front(), (Stretch { loudest, 20 }));

    ASSERT_EQ (stitched.clip.peaks.size(), 2u);
    EXPECT_EQ (stitched.clip.peaks[0].sourceSamples, 50);
    EXPECT_EQ (stitched.clip.peaks[0].maxValues.size(), 2048u);
    EXPECT_EQ (*std::ranges::max_element (stitched.clip.peaks[0].maxValues), 0.5f);
    EXPECT_EQ (*std::ranges::max_element (stitched.clip.peaks[0].minValues), 0.0f);
}

TEST (Stitching, AnUnreadablePieceIsLeftOutAndWithNoneTheClipStaysAsItWas)
{
    Stitched stitched ({ { "a.wav", 10, 0.5f, 0 }, { "b.wav", 10, 0.25f, 20 } });
    stitched.clip.pieces[0].file.replaceWithText ("no longer audio");
    stitchGuest (hostTake (hostStamp), stitched.clip);
    EXPECT_THAT (stitched.order(), ElementsAre ("b 0"));
    EXPECT_EQ (stitched.channel (0), (Stretches { { 0.25f, 10 } }));

    stitched.clip.pieces[0].file.deleteFile();
    stitched.clip.alignment.offsetSamples = 5;
    stitchGuest (hostTake (hostStamp), stitched.clip);
    EXPECT_THAT (stitched.order(), ElementsAre ("b 0"));
    EXPECT_EQ (stitched.channel (0), (Stretches { { 0.25f, 10 } }));
    EXPECT_EQ (stitched.clip.alignment.offsetSamples, 5);
}

}    // namespace ld::test
