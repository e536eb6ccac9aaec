#pragma once

#include "support/RunProgram.h"
#include "support/TempFolder.h"
#include "support/TestSignals.h"
#include "support/WaveBuilder.h"
#include "support/WaveLanes.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace ld::test
{

/** A shoot folder and an output folder beside it. */
struct ConformFolders
{
    ConformFolders() { shoot.createDirectory(); }

    [[nodiscard]] ProgramRun conform (std::vector<juce::String> more = {}, std::optional<juce::int64> limit = {}) const
    {
        std::vector<juce::String> words { LD_CONFORM_PROGRAM, shoot.getFullPathName(), "--out", out.getFullPathName() };
        words.insert (words.end(), more.begin(), more.end());
        return run (words, limit);
    }

    // The names of the files that are in the output folder.
    [[nodiscard]] std::vector<std::string> written() const
    {
        std::vector<std::string> names;

        for (const auto& file : out.findChildFiles (juce::File::findFiles, true))
            names.push_back (file.getFileName().toStdString());

        std::ranges::sort (names);
        return names;
    }

    juce::File addPoly (const juce::String& path, int frames = 4800) const
    {
        const auto file = shoot.getChildFile (path);
        file.getParentDirectory().createDirectory();
        return WaveBuilder ({ .channels = 3 }, Channels (3, noise (frames, 1, 0.2f))).writeTo (file);
    }

    // A poly of 20 s, and recordings of it: one in the shoot, one in a folder beside it.
    void addTakeWithGuests() const
    {
        const auto sound = speech (20 * 48000, 48000, 1);
        isos.createDirectory();
        WaveBuilder ({ .channels = 3 }, Channels (3, sound)).writeTo (shoot.getChildFile ("T1.wav"));
        WaveBuilder ({}, { stretchOf (sound, 48000, 15 * 48000) }).writeTo (shoot.getChildFile ("pack.wav"));
        WaveBuilder ({}, { stretchOf (sound, 3 * 48000, 12 * 48000) }).writeTo (isos.getChildFile ("boom.wav"));
    }

    const TempFolder temp;
    const juce::File shoot = temp.file ("shoot"), out = temp.file ("out"), isos = temp.file ("isos");
};

/** A poly whose sound is a hole in the file: it costs no disk, and its combined file takes a while. */
inline void addHugePoly (const juce::File& file)
{
    constexpr juce::uint32 audioBytes = 600'000'000;
    const WaveFormat format { .channels = 8 };
    WaveBuilder().chunk ("fmt ", fmtBody (format)).chunk ("data", 0, audioBytes).writeTo (file);
    juce::FileOutputStream stream (file);
    EXPECT_TRUE (stream.setPosition (file.getSize() + audioBytes - 1) && stream.writeByte (0));
}

inline std::string both (const ProgramRun& result)
{
    return (result.out + result.err).toStdString();
}

}    // namespace ld::test
