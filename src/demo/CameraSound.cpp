#include "demo/CameraSound.h"

#include <algorithm>
#include <cmath>

namespace ld
{
namespace
{

constexpr auto coderProgram = "ffmpeg";
constexpr auto fullScale = 32767.0f;

constexpr auto attackSeconds = 0.03, releaseSeconds = 2.5;
constexpr auto quietestLevel = 0.004f, wantedLevel = 0.06f, mostGain = 6.0f;

constexpr auto standInCutoffHz = 15000.0;
constexpr auto standInNoiseRms = 2.0e-4f;

float shareWithin (double seconds, int sampleRate) noexcept
{
    return (float) (1.0 - std::exp (-1.0 / (seconds * sampleRate)));
}

bool runCoder (juce::StringArray words)
{
    words.insert (0, coderProgram);
    juce::ChildProcess program;

    if (! program.start (words))
        return false;

    // What it says must be read, or it waits for that; its status is only known when it has been waited for.
    (void) program.readAllProcessOutput();
    return program.waitForProcessToFinish (-1) && program.getExitCode() == 0;
}

// Silence follows the sound, because the coder's container rounds its length and can cut the end off.
bool writeRaw (const std::vector<std::vector<float>>& channels, const juce::File& file)
{
    constexpr size_t silentFrames = 4096;
    const auto numFrames = channels.front().size();
    juce::FileOutputStream out (file);
    std::vector<juce::int16> values;
    values.reserve ((numFrames + silentFrames) * channels.size());

    for (size_t i = 0; i < numFrames; ++i)
        for (const auto& channel : channels)
            values.push_back ((juce::int16) std::lround (juce::jlimit (-1.0f, 1.0f, channel[i]) * fullScale));

    values.resize ((numFrames + silentFrames) * channels.size());

    if (out.openedOk())
        out.write (values.data(), values.size() * sizeof (values[0]));

    out.flush();
    return out.openedOk() && out.getStatus().wasOk();
}

// What lies behind the sound is left out; a file that is too short was not decoded whole.
bool readRaw (const juce::File& file, std::vector<std::vector<float>>& channels)
{
    juce::MemoryBlock bytes;
    const auto frames = channels.front().size();

    if (! file.loadFileAsData (bytes) || bytes.getSize() < frames * channels.size() * sizeof (juce::int16))
        return false;

    const auto* at = static_cast<const juce::int16*> (bytes.getData());

    for (size_t i = 0; i < frames; ++i)
        for (auto& channel : channels)
            channel[i] = (float) *at++ / fullScale;

    return true;
}

}    // namespace

AutomaticGain::AutomaticGain (int sampleRate) noexcept
    : attack (shareWithin (attackSeconds, sampleRate)), release (shareWithin (releaseSeconds, sampleRate)),
      level (wantedLevel)
{
}

void AutomaticGain::process (std::vector<std::vector<float>>& channels, int count) noexcept
{
    for (size_t i = 0; i < (size_t) count; ++i)
    {
        auto loudest = quietestLevel;

        for (const auto& channel : channels)
            loudest = std::max (loudest, std::abs (channel[i]));

        level += (loudest > level ? attack : release) * (loudest - level);
        const auto gain = std::min (mostGain, wantedLevel / level);

        for (auto& channel : channels)
            channel[i] *= gain;
    }
}

bool LossyCoding::isCoderInstalled()
{
    static const auto isThere = runCoder ({ "-version" });
    return isThere;
}

void LossyCoding::add (const std::vector<std::vector<float>>& channels, int count)
{
    held.resize (channels.size());

    for (size_t c = 0; c < channels.size(); ++c)
        held[c].insert (held[c].end(), channels[c].begin(), channels[c].begin() + count);
}

juce::Result LossyCoding::finish (PlannedFileWriter& writer)
{
    constexpr size_t blockFrames = 1 << 16;

    if (! isCoderInstalled())
        standIn();
    else if (! code())
        return juce::Result::fail ("The camera's sound could not be coded by " + juce::String (coderProgram) + ".");

    for (size_t from = 0; from < held.front().size(); from += blockFrames)
    {
        const auto to = std::min (from + blockFrames, held.front().size());
        std::vector<std::vector<float>> block;

        for (const auto& channel : held)
            block.emplace_back (channel.begin() + (std::ptrdiff_t) from, channel.begin() + (std::ptrdiff_t) to);

        if (const auto written = writer.write (block, (int) (to - from)); written.failed())
            return written;
    }

    held.clear();
    return juce::Result::ok();
}

bool LossyCoding::code()
{
    const juce::TemporaryFile plain (".raw"), coded (".m4a"), decoded (".raw");
    const juce::StringArray always { "-nostdin", "-y", "-loglevel", "error" };
    const juce::StringArray raw { "-f", "s16le", "-ar", juce::String (sampleRate), "-ac", juce::String (held.size()) };
    const auto command = [&always] (std::initializer_list<juce::StringArray> parts) {
        auto words = always;

        for (const auto& part : parts)
            words.addArray (part);

        return words;
    };
    const auto path = [] (const juce::TemporaryFile& file) { return file.getFile().getFullPathName(); };

    // This container tells a decoder the coder's delay, which it leaves out.
    return writeRaw (held, plain.getFile())
           && runCoder (command (
               { raw, { "-i", path (plain), "-c:a", "aac", "-aac_coder", "fast", "-b:a", "128k", path (coded) } }))
           && runCoder (command ({ { "-i", path (coded) }, raw, { path (decoded) } }))
           && readRaw (decoded.getFile(), held);
}

void LossyCoding::standIn()
{
    const DelayKernel kernel (standInCutoffHz * demoSampleRate / sampleRate);
    DemoRandom random (1);
    std::vector<float> padded;

    for (auto& channel : held)
    {
        padded.assign (channel.size() + DelayKernel::taps, 0.0f);
        std::copy (channel.begin(), channel.end(), padded.begin() + DelayKernel::reach);

        for (size_t i = 0; i < channel.size(); ++i)
            channel[i] = kernel.read (padded.data() + DelayKernel::reach + i, 0.0) + standInNoiseRms * random.noise();
    }
}

}    // namespace ld
