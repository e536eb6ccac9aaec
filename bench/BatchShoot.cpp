#include "BenchInput.h"

namespace ld::bench
{
namespace
{

constexpr int secondsBetweenTakes = 3600;

// The sound of a take, which the poly's channels and one file hear.
std::vector<float> soundOfTake (int take, int seconds)
{
    return makeSignal ((size_t) seconds * sampleRate, (juce::uint32) (1000 + take));
}

float sampleOf (const std::vector<float>& signal, juce::int64 at)
{
    return at >= 0 && at < (juce::int64) signal.size() ? signal[(size_t) at] : 0.0f;
}

}    // namespace

BatchShoot::BatchShoot (int numPolys, int numGuests, bool stamped)
    : folder (juce::File::getSpecialLocation (juce::File::tempDirectory)
                  .getChildFile ("lodestrand-bench-" + juce::Uuid().toString())),
      isStamped (stamped)
{
    folder.createDirectory();

    for (int take = 0; take < numPolys; ++take)
    {
        const auto sound = soundOfTake (take, polySeconds);
        polys.push_back (folder.getChildFile ("poly" + juce::String (take) + ".wav"));

        // Each microphone hears it later and in noise of its own.
        writeWave (polys.back(), polyChannels, polySeconds, (juce::uint32) take, [&] (int channel, juce::int64 frame) {
            return 0.5f * sampleOf (sound, frame - 40 * channel);
        });
    }

    for (int guest = 0; guest < numGuests; ++guest)
    {
        const auto sound = soundOfTake (guest % numPolys, polySeconds);
        guests.push_back (folder.getChildFile ("iso" + juce::String (guest) + ".wav"));
        writeWave (guests.back(), 1, guestSeconds, (juce::uint32) (100 + guest), [&] (int, juce::int64 frame) {
            return 0.5f * sampleOf (sound, frame - guestLeadSeconds * sampleRate);
        });
    }
}

BatchShoot::~BatchShoot()
{
    folder.deleteRecursively();
}

std::vector<ScanFile> BatchShoot::scans() const
{
    std::vector<ScanFile> scans;
    const auto add = [&] (const juce::File& file, int startSeconds) {
        scans.push_back (inspectAudioFile (file));
        scans.back().ixml.hasTimestamp = isStamped;
        scans.back().ixml.present = isStamped;
        scans.back().ixml.timestampSamples = (juce::uint64) (startSeconds * (juce::int64) sampleRate);
    };

    for (size_t i = 0; i < polys.size(); ++i)
        add (polys[i], (int) (i + 1) * secondsBetweenTakes);

    for (size_t i = 0; i < guests.size(); ++i)
        add (guests[i], (int) (i % polys.size() + 1) * secondsBetweenTakes - guestLeadSeconds);

    return scans;
}

}    // namespace ld::bench
