#include "media/Timecode.h"

#include "media/NumberText.h"

#include "media/Rounding.h"

#include <limits>

namespace ld
{
namespace
{

constexpr double defaultFps = 24.0;
constexpr double defaultSampleRate = 48000.0;
constexpr int stampDigits = 8;

double aboveZeroOr (double value, double fallback)
{
    return value > 0.0 ? value : fallback;
}

// Two digits at least.
juce::String field (int value)
{
    return juce::String (value).paddedLeft ('0', 2);
}

}    // namespace

double parseFrameRate (const juce::String& rateText)
{
    const auto text = rateText.trim();

    if (! text.containsChar ('/'))
        return aboveZeroOr (realNumberIn (text), defaultFps);

    const auto numerator = realNumberIn (text.upToFirstOccurrenceOf ("/", false, false));
    const auto denominator = realNumberIn (text.fromFirstOccurrenceOf ("/", false, false));

    if (denominator == 0.0)
        return aboveZeroOr (numerator, defaultFps);

    return numerator / denominator;
}

juce::String formatTimecode (juce::uint64 samples, double sampleRate, const juce::String& rateText, const juce::String&)
{
    // A stamp that lies exactly on a frame must not fall one short by rounding.
    constexpr double frameEpsilon = 1e-9;
    constexpr auto largest = (double) std::numeric_limits<int>::max();

    const auto fps = parseFrameRate (rateText);
    const auto rate = aboveZeroOr (sampleRate, defaultSampleRate);
    const auto exactFrames = std::floor ((double) samples / rate * fps + frameEpsilon);
    const auto totalFrames = std::isnan (exactFrames) ? 0 : (int) juce::jlimit (-largest, largest, exactFrames);
    const auto nominal = (int) juce::jlimit<juce::int64> (1, std::numeric_limits<int>::max(), roundToSamples (fps));

    const auto totalSeconds = totalFrames / nominal;
    return field (totalSeconds / 3600) + ":" + field (totalSeconds / 60 % 60) + ":" + field (totalSeconds % 60) + ":"
           + field (totalFrames - totalSeconds * nominal);
}

juce::int64 timecodeOffsetSamples (
    juce::uint64 firstStamp, double firstRate, juce::uint64 secondStamp, double secondRate, double targetRate)
{
    const auto firstSeconds = (double) firstStamp / aboveZeroOr (firstRate, targetRate);
    const auto secondSeconds = (double) secondStamp / aboveZeroOr (secondRate, targetRate);
    return roundToSamples (aboveZeroOr (targetRate, defaultSampleRate) * (secondSeconds - firstSeconds));
}

juce::int64 timecodeToSamples (const juce::String& timecode, double fps, double sampleRate)
{
    juce::StringArray parts;
    parts.addTokens (timecode.trim().replaceCharacter (';', ':'), ":", "");

    if (parts.size() < 4)
        return 0;

    const auto wholeSeconds = parts[0].getIntValue() * 3600.0 + parts[1].getIntValue() * 60.0 + parts[2].getIntValue();
    const auto seconds = wholeSeconds + parts[3].getIntValue() / aboveZeroOr (fps, defaultFps);
    return roundToSamples (aboveZeroOr (sampleRate, defaultSampleRate) * seconds);
}

std::optional<juce::int64> frameOfLabel (const juce::String& label, int nominal)
{
    const auto text = label.trim();
    const auto mark = text.lastIndexOfAnyOf (":;.");
    juce::StringArray parts;
    parts.addTokens (text, ":;.", "");

    if (nominal < 1 || parts.size() != 4)
        return {};

    for (const auto& part : parts)
        if (part.isEmpty() || part.length() > 3 || ! part.containsOnly ("0123456789"))
            return {};

    const auto hours = parts[0].getIntValue(), minutes = parts[1].getIntValue(), seconds = parts[2].getIntValue();
    const auto frames = parts[3].getIntValue();

    if (hours > 23 || minutes > 59 || seconds > 59 || frames >= nominal)
        return {};

    const auto number = (juce::int64) nominal * (hours * 3600 + minutes * 60 + seconds) + frames;

    if (text[mark] == ':' || nominal % 30 != 0)
        return number;

    const auto minutesSoFar = hours * 60 + minutes;
    return number - nominal / 15 * (minutesSoFar - minutesSoFar / 10);
}

juce::String guessTimecodeFromFilename (const juce::String& fileName)
{
    const auto name = fileName.fromLastOccurrenceOf ("/", false, false);
    const auto stem = name.containsChar ('.') ? name.upToLastOccurrenceOf (".", false, false) : name;
    juce::String digits;

    for (auto at = stem.getCharPointer(); ! at.isEmpty(); ++at)
    {
        if (juce::CharacterFunctions::isDigit (*at))
            digits += *at;
        else if (*at != ':' && *at != ';' && digits.length() < stampDigits)
            digits.clear();
    }

    if (digits.length() < stampDigits)
        return {};

    const auto stamp = digits.getLastCharacters (stampDigits);
    return stamp.substring (0, 2) + ":" + stamp.substring (2, 4) + ":" + stamp.substring (4, 6) + ":"
           + stamp.substring (6, 8);
}

}    // namespace ld
