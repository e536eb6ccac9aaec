#include "support/ConformFolders.h"
#include "support/FolderSnapshot.h"

#include <gmock/gmock.h>

#if JUCE_LINUX || JUCE_MAC

#include <csignal>
#include <filesystem>

// The contract with engines: a run that is ended at any moment is called again, and goes on.

namespace ld::test
{
namespace
{

using testing::HasSubstr;

/** A day of six takes, one of them with guests, and a recording that belongs to none. */
struct EngineDay
{
    explicit EngineDay (bool hasStray = false)
    {
        folders.addTakeWithGuests();

        for (int i = 2; i <= 6; ++i)
            folders.addPoly ("T" + juce::String (i) + ".wav", 48000 * 5 * i);

        if (hasStray)
            WaveBuilder ({}, { noise (48000 * 8, 99, 0.2f) }).writeTo (folders.shoot.getChildFile ("stray.wav"));
    }

    [[nodiscard]] std::vector<juce::String> words (std::vector<juce::String> more = {}) const
    {
        std::vector<juce::String> words {
            LD_CONFORM_PROGRAM, folders.shoot.getFullPathName(), "--out", folders.out.getFullPathName(),
            "--report",         report.getFullPathName(),        "--iso", folders.isos.getFullPathName(),
            "--resume"
        };
        words.insert (words.end(), more.begin(), more.end());
        return words;
    }

    // The bytes that a user gets.
    [[nodiscard]] std::map<juce::String, juce::MemoryBlock> outputs() const
    {
        auto files = snapshotOf (folders.out);
        std::erase_if (files, [] (const auto& file) { return file.first.startsWith ("conform."); });
        report.loadFileAsData (files["report"]);
        return files;
    }

    [[nodiscard]] juce::File combined (int take) const
    {
        return folders.out.getChildFile ("COMBINED_T" + juce::String (take) + ".wav");
    }

    [[nodiscard]] bool isDone() const { return folders.out.getChildFile ("conform.done.json").existsAsFile(); }

    // A file that is written anew is another file.
    [[nodiscard]] std::map<int, std::filesystem::file_time_type> identities() const
    {
        std::map<int, std::filesystem::file_time_type> found;

        for (int take = 1; take <= 6; ++take)
            if (combined (take).existsAsFile())
                found[take] = std::filesystem::last_write_time (combined (take).getFullPathName().toStdString());

        return found;
    }

    ConformFolders folders;
    juce::File report = folders.temp.file ("report.json");
};

}    // namespace

TEST (Resume, ADayThatIsDoneIsLeftAlone)
{
    const EngineDay day;
    const auto first = run (day.words());
    ASSERT_EQ (first.status, 0) << both (first);
    EXPECT_TRUE (day.isDone());
    const auto outputs = day.outputs();
    const auto identities = day.identities();
    const auto done = juce::JSON::parse (day.folders.out.getChildFile ("conform.done.json"));
    EXPECT_EQ (done["inputs"].size(), 8);
    EXPECT_EQ (done["inputs"][0]["xxh64"].toString().length(), 16);

    const auto again = run (day.words());
    EXPECT_EQ (again.status, 0);
    EXPECT_THAT (again.out.toStdString(), testing::StartsWith ("Nothing to do: "));
    EXPECT_EQ (day.identities(), identities);

    // A take that has gone, a report that was not there: only these are made, and the bytes are those of one go.
    ASSERT_TRUE (day.combined (1).deleteFile() && day.report.deleteFile());
    ASSERT_EQ (run (day.words()).status, 0);
    EXPECT_EQ (day.outputs(), outputs);
    auto others = day.identities(), before = identities;
    EXPECT_NE (others.at (1), before.at (1));
    others.erase (1);
    before.erase (1);
    EXPECT_EQ (others, before);

    // What only looks newer is not; what is other is done anew.
    const auto poly = day.folders.shoot.getChildFile ("T3.wav");
    const auto identitiesNow = day.identities();
    ASSERT_TRUE (poly.setLastModificationTime (juce::Time::getCurrentTime() + juce::RelativeTime::hours (1)));
    EXPECT_THAT (run (day.words()).out.toStdString(), testing::StartsWith ("Nothing to do: "));
    EXPECT_EQ (day.identities(), identitiesNow);
    juce::ignoreUnused (day.folders.addPoly ("T3.wav", 48000 * 9));
    EXPECT_THAT (run (day.words()).out.toStdString(), HasSubstr ("Wrote 6 of 6"));
    EXPECT_THAT (run (day.words ({ "--no-markers" })).out.toStdString(), HasSubstr ("Wrote 6 of 6"));
}

TEST (Resume, WhereverItIsKilledTheNextRunGoesOnToTheSameBytes)
{
    const EngineDay unbroken;
    ASSERT_EQ (run (unbroken.words ({ "--interchange" })).status, 0);
    const auto wanted = snapshotOf (unbroken.folders.out);
    const EngineDay day;
    const auto state = day.folders.out.getChildFile ("conform.state");

    // As soon as this is there.
    for (const auto* sign : { "", "scan.ldsession", "key.json", "take_0001.json", "take_0004.json", "take_0006.json" })
    {
        ChildProgram program (day.words ({ "--interchange" }));
        EXPECT_TRUE (becomesTrue ([&] { return state.getChildFile (sign).exists() || ! program.isRunning(); }));
        program.send (SIGKILL);
        program.wait();
        const auto identities = day.identities();
        auto kept = 0;

        for (int take = 1; take <= 6; ++take)
            kept += state.getChildFile ("take_000" + juce::String (take) + ".json").existsAsFile() ? 1 : 0;

        EXPECT_LE (kept, (int) identities.size()) << "no take is noted ahead of its file";
    }

    const auto before = day.identities();
    ASSERT_EQ (run (day.words ({ "--interchange" })).status, 0);
    EXPECT_EQ (day.identities(), before) << "all takes were noted";
    EXPECT_TRUE (day.isDone());

    // The texts name the folder that they lie in.
    const auto textOf = [] (const juce::MemoryBlock& bytes, const EngineDay& from) {
        return bytes.toString().replace (from.folders.temp.folder.getFullPathName(), "TEMP");
    };

    for (const auto& [name, bytes] : snapshotOf (day.folders.out))
    {
        if (name.startsWith ("conform."))
            continue;

        if (name.endsWith (".wav"))
            EXPECT_EQ (bytes, wanted.at (name)) << name;
        else
            EXPECT_EQ (textOf (bytes, day), textOf (wanted.at (name), unbroken)) << name;
    }

    EXPECT_TRUE (wanted.contains ("DAY_out.otio"));
}

TEST (Resume, WhatNeedsALookIsAStatusOnlyWhereItIsAskedFor)
{
    const EngineDay day (true);
    const std::vector<juce::String> plain {
        LD_CONFORM_PROGRAM, day.folders.shoot.getFullPathName(), "--out", day.folders.out.getFullPathName()
    };
    EXPECT_EQ (run (plain).status, 1);
    EXPECT_EQ (run (day.words ({ "--strict" })).status, 3);
    EXPECT_TRUE (day.isDone());
    EXPECT_EQ (run (day.words ({ "--strict" })).status, 3) << "it was not looked at since";
    EXPECT_EQ (run (day.words()).status, 0);
    juce::ignoreUnused (day.folders.shoot.getChildFile ("broken.wav").replaceWithText ("RIFF"));
    EXPECT_EQ (run (day.words()).status, 1);
    EXPECT_FALSE (day.isDone()) << "what has failed is tried again";
    EXPECT_EQ (run (day.words()).status, 1);
}

TEST (Resume, MachinesAreToldOfProgressInLinesOfJson)
{
    const EngineDay day;
    const auto told = run (day.words ({ "--quiet", "--progress", "json" }));
    EXPECT_EQ (told.out, "");
    auto lines = juce::StringArray::fromLines (told.err.trim());
    ASSERT_GE (lines.size(), 4);
    juce::StringArray stages;

    for (const auto& line : lines)
        stages.addIfNotAlreadyThere (juce::JSON::parse (line)["stage"].toString());

    stages.removeEmptyStrings();
    EXPECT_EQ (stages.joinIntoString (", "), "Reading headers, Comparing and proving, Examining and combining");
    const auto last = juce::JSON::parse (lines[lines.size() - 1]);
    EXPECT_EQ (last["event"].toString(), "end");
    EXPECT_EQ ((int) last["status"], 0);
    EXPECT_EQ (run (day.words ({ "--progress", "loud" })).status, 2);
}

}    // namespace ld::test

#endif
