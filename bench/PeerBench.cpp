#include "BenchInput.h"
#include "output/BwfWriter.h"
#include "session/Session.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>

// Whole jobs on one set of files, beside the system's own tools on the same files in the same run: 5 minutes, 8 channels,
// 24 bit, and four mono guests, all in the page cache. Each job and its peer run in turn; medians are told.

namespace
{

constexpr int seconds = 300;
constexpr int rounds = 5;
const juce::String ffmpeg = "ffmpeg -nostdin -loglevel error -y ";

double timed (const std::function<void()>& job)
{
    const auto start = std::chrono::steady_clock::now();
    job();
    return std::chrono::duration<double> (std::chrono::steady_clock::now() - start).count();
}

void runShell (const juce::String& command)
{
    if (std::system (command.toRawUTF8()) != 0)
        std::cerr << "failed: " << command << std::endl;
}

// What an earlier job left for the disk is written first, so that none pays for another.
double timedFromRest (const std::function<void()>& job)
{
    runShell ("sync");
    return timed (job);
}

double medianOf (std::vector<double> values)
{
    std::sort (values.begin(), values.end());
    return values[values.size() / 2];
}

void compare (const juce::String& name,
              const std::function<void()>& job,
              const juce::String& peer,
              const std::function<void()>& peerJob)
{
    std::vector<double> own, others;
    job();
    peerJob();

    for (int i = 0; i < rounds; ++i)
    {
        own.push_back (timedFromRest (job));
        others.push_back (timedFromRest (peerJob));
    }

    const auto ownMedian = medianOf (own), peerMedian = medianOf (others);
    std::cout << name.paddedRight (' ', 34) << juce::String (ownMedian, 3).paddedLeft (' ', 8) << " s   "
              << juce::String (seconds / ownMedian, 0).paddedLeft (' ', 6) << " x real time   "
              << peer.paddedRight (' ', 18) << juce::String (peerMedian, 3).paddedLeft (' ', 8) << " s   ratio "
              << juce::String (ownMedian / peerMedian, 2) << std::endl;
}

juce::String quoted (const juce::File& file)
{
    return file.getFullPathName().quoted();
}

}    // namespace

int main()
{
    const ld::bench::BenchShoot shoot (seconds);
    ld::Session session;
    const auto load = [&] {
        if (session.loadHost (shoot.poly).failed())
            std::abort();
    };

    std::cout << "Files: " << seconds << " s, " << shoot.polyChannels << " channels and " << shoot.guestCount
              << " mono guests, 24 bit, 48 kHz; medians of " << rounds << std::endl;

    compare ("load a poly", load, "cat", [&] { runShell ("cat " + quoted (shoot.poly) + " > /dev/null"); });
    compare ("load a poly", load, "ffmpeg to nowhere", [&] {
        runShell (ffmpeg + "-i " + quoted (shoot.poly) + " -f null -");
    });

    load();
    juce::String sources = quoted (shoot.poly), inputs = "-i " + quoted (shoot.poly);

    for (const auto& guest : shoot.guests)
    {
        if (session.addGuest (guest).failed())
            return EXIT_FAILURE;

        sources << " " << quoted (guest);
        inputs << " -i " << quoted (guest);
    }

    ld::ExportRequest request;
    request.host = session.host;
    request.guests = session.guests;
    request.mixer = session.mixer;
    request.mixerCount = session.mixerCount();
    request.outputFile = shoot.folder.getChildFile ("COMBINED_poly.wav");

    const auto write = [&] {
        if (ld::PolyExporter::write (request).failed())
            std::abort();
    };
    const auto merged = shoot.folder.getChildFile ("merged.wav");

    compare ("write COMBINED (MIX + 8 + 4)", write, "sox -M (8 + 4)", [&] {
        runShell ("sox -M " + sources + " " + quoted (merged));
    });
    compare ("write COMBINED (MIX + 8 + 4)", write, "ffmpeg amerge", [&] {
        runShell (ffmpeg + inputs + " -filter_complex amerge=inputs=" + juce::String (1 + shoot.guestCount)
                  + " -c:a pcm_s24le " + quoted (merged));
    });
    // Ours is on the disk when it is done, which the peers leave to the system.
    compare ("write COMBINED (MIX + 8 + 4)", write, "cp, then sync", [&] {
        runShell ("cp " + quoted (request.outputFile) + " " + quoted (merged) + " && sync " + quoted (merged));
    });

    return EXIT_SUCCESS;
}
