#include "clocks/ShootMatch.h"
#include "conform/CombineRun.h"
#include "media/BwfReader.h"
#include "media/LargeBuffers.h"

#include "demo/DemoShoot.h"
#include "support/ClipCases.h"
#include "support/ResidentMemory.h"
#include "support/TempFolder.h"
#include "support/WaveBuilder.h"
#include "support/WaveWalker.h"

#include <chrono>
#include <cstdlib>
#include <iostream>

// What takes too long or too much disk for every run of the tests: clips of every kind, made by ffmpeg; a shoot of 64 takes and 300 files, conformed again and
// again in one process, and a combined file beyond 4 GiB, written and read for real. Needs 7 GB in the folder for
// temporary files.

namespace
{

using ld::test::TempFolder;

void require (bool holds, const juce::String& promise)
{
    if (holds)
        return;

    std::cerr << "broken promise: " << promise << std::endl;
    std::exit (1);
}

/** What a process holds of the system. */
struct Holdings
{
    int descriptors = 0, threads = 0;
    double megabytes = 0.0;
};

Holdings holdings()
{
    const auto countIn = [] (const char* folder) {
        return juce::File (folder).findChildFiles (juce::File::findFilesAndDirectories, false).size();
    };
    return { countIn ("/proc/self/fd"), countIn ("/proc/self/task"), ld::test::residentMegabytes() };
}

void conform (const juce::File& shoot, const juce::File& output)
{
    std::vector<ld::ScanFile> scans;

    for (const auto& file : ld::collectMediaFiles (shoot))
        scans.push_back (ld::inspectAudioFile (file));

    const auto takes = ld::matchShoot (scans, {}).matches;
    output.createDirectory();

    for (const auto& outcome : ld::combineTakes (takes, {}, output, {}))
        require (outcome.written, outcome.poly.getFileName() + " is written: " + outcome.error);
}

void requireSameFiles (const juce::File& first, const juce::File& later)
{
    const auto files = first.findChildFiles (juce::File::findFiles, true);
    require (later.getNumberOfChildFiles (juce::File::findFiles) == files.size(), "every run writes the same files");

    for (const auto& file : files)
        require (later.getChildFile (file.getFileName()).hasIdenticalContentTo (file),
                 "every run writes the same bytes");
}

void conformAgainAndAgain()
{
    constexpr int rounds = 10, takes = 64, seconds = 5;
    constexpr double mostGrowth = 100.0;    // megabytes; a run goes through ten thousand
    const TempFolder temp;
    const auto shoot = temp.file ("shoot");
    require (ld::writeDemoShoot ({ shoot, seconds, takes, 1 }).wasOk(), "a shoot can be written");
    std::cout << ld::collectMediaFiles (shoot).size() << " files, " << takes << " takes" << std::endl;
    const auto first = temp.file ("first");
    Holdings early;

    for (int round = 1; round <= rounds; ++round)
    {
        const auto start = std::chrono::steady_clock::now();
        const auto output = round == 1 ? first : temp.file ("out");
        conform (shoot, output);
        ld::returnFreedMemory();
        const auto took = std::chrono::duration<double> (std::chrono::steady_clock::now() - start).count();

        requireSameFiles (first, output);
        const auto now = holdings();
        std::cout << "run " << round << ": " << took << " s, " << now.megabytes << " MB, " << now.descriptors
                  << " descriptors, " << now.threads << " threads" << std::endl;

        if (round == 2)
            early = now;

        if (round > 2)
        {
            require (now.descriptors <= early.descriptors, "no descriptor is left open");
            require (now.threads <= early.threads, "no thread is left behind");
            require (now.megabytes <= early.megabytes + mostGrowth, "memory goes back to where it was");
        }
    }
}

// A poly of eight channels in 32 bits, a hole but for its last second.
juce::File writeSparsePoly (const juce::File& file, juce::int64 frames)
{
    const ld::test::WaveFormat format { .channels = 8, .bits = 32 };
    const auto bytesOfFrame = format.channels * 4;
    ld::test::WaveBuilder()
        .rf64 ((juce::uint64) (frames * bytesOfFrame), (juce::uint64) frames)
        .chunk ("fmt ", ld::test::fmtBody (format))
        .chunk ("data", 0, ld::test::WaveBuilder::sizeInDs64)
        .writeTo (file);
    juce::FileOutputStream out (file);
    require (out.setPosition (file.getSize() + (frames - format.sampleRate) * bytesOfFrame), "a hole can be made");

    for (int i = 0; i < format.sampleRate * format.channels; ++i)
        out.writeInt (i << 8);

    return file;
}

void combineBeyondFourGigabytes()
{
    constexpr juce::int64 frames = 150'000'000;
    constexpr double bytesOfRiff = 4294967296.0;
    const TempFolder temp;
    ld::BatchMatch take;
    take.host = ld::inspectAudioFile (writeSparsePoly (temp.file ("huge.wav"), frames));
    const auto output = temp.file ("COMBINED_huge.wav");
    const auto start = std::chrono::steady_clock::now();
    const auto outcome = ld::combineTake (take, {}, output, {});
    const auto took = std::chrono::duration<double> (std::chrono::steady_clock::now() - start).count();
    require (outcome.written, "a file beyond 4 GiB is written: " + outcome.error);
    require ((double) output.getSize() > bytesOfRiff, "it is beyond 4 GiB");

    const auto walk = ld::test::walkWave (output);
    require (walk.complaints.empty() && walk.numFrames == frames && walk.channels == 9, "it is sound");

    ld::BwfReader reader;
    std::vector<juce::int32> last ((size_t) (9 * 48000));
    require (reader.open (output) && reader.format.isRf64, "it opens as RF64");
    require (reader.readInterleavedInt32 (frames - 48000, 48000, last.data()), "its end can be read");

    for (int i = 0; i < 48000; ++i)
        for (int c = 0; c < 8; ++c)
            require (last[(size_t) (9 * i + 1 + c)] == 8 * i + c, "its end is the poly's");

    std::cout << (double) output.getSize() / 1e9 << " GB written in " << took << " s" << std::endl;
}

void readEveryKindOfClip()
{
    auto faults = 0;
    const auto cases = ld::test::allClipCases();

    for (const auto& clip : cases)
    {
        const TempFolder temp;

        if (const auto fault = faultOf (clip, makeClip (clip, temp.folder)); fault.isNotEmpty())
        {
            std::cout << clip.name() << ": " << fault << std::endl;
            ++faults;
        }
    }

    std::cout << cases.size() << " clips, " << faults << " of them not where their waves would lie" << std::endl;
    require (faults == 0, "the sound of a clip lies where its wave file would");
}

}    // namespace

int main()
{
    readEveryKindOfClip();
    combineBeyondFourGigabytes();
    conformAgainAndAgain();
    return 0;
}
